#include <tavrix/spatial/detail/WideTreeKernel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include <tavrix/foundation/Box3.h>

namespace tavrix
{

namespace
{

using detail::WideNode;

constexpr float infinity = std::numeric_limits<float>::infinity();

/// A root over nodes of faces, 64 or less, some of whose boxes are points, touch others, or are infinite.
struct TestTree
{
    std::vector<WideNode> nodes;
    std::vector<detail::WideFace> faces;
    std::vector<Box3F> boxes;  ///< of the faces

    explicit TestTree(uint32 seed)
    {
        std::mt19937 random(seed);
        const auto number = [&] { return static_cast<float>(random() % 9) - 4; };
        nodes.resize(1);
        const uint32 count = 2 + seed % 7;
        for (uint32 n = 0; n < WideNode::width; ++n) setChild(nodes[0], n, WideNode::noChild, farAround());
        for (uint32 n = 0; n < count; ++n)
        {
            nodes.emplace_back();
            Box3F around = Box3F::empty();
            for (uint32 child = 0; child < WideNode::width; ++child)
            {
                Box3F box = farAround();
                const bool isThere = child <= random() % 8;
                if (isThere)
                {
                    box = Box3F::empty();
                    box.extend({number(), number(), number()});
                    box.extend({number(), number(), number()});
                    if (random() % 50 == 0) box.max.x = infinity;
                    around.extend(box);
                    boxes.push_back(box);
                }
                const auto slot = static_cast<uint32>(boxes.size() - 1);
                setChild(nodes.back(), child, isThere ? slot | WideNode::faceBit : WideNode::noChild, box);
                if (!isThere)
                    for (++child; child < WideNode::width; ++child)
                        setChild(nodes.back(), child, WideNode::noChild, farAround());
            }
            setChild(nodes[0], n, n + 1, around);
        }
        faces.resize(boxes.size());
    }

    static Box3F farAround() { return {{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}}; }

    static void setChild(WideNode& node, uint32 n, uint32 child, const Box3F& box)
    {
        node.children[n] = child;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            node.sides[WideNode::lowSides + axis][n] = box.min[axis];
            node.sides[WideNode::highSides + axis][n] = box.max[axis];
        }
    }

    /// The slots that a query comes to; the limit stays.
    template <class Query, class... Parts>
    std::vector<uint32> visited(Query query, const Parts&... parts) const
    {
        std::vector<uint32> slots;
        const auto visit = [](void* context, uint32 slot, double limit)
        {
            static_cast<std::vector<uint32>*>(context)->push_back(slot);
            return limit;
        };
        query({nodes.data(), faces.data()}, parts..., {visit, &slots});
        return slots;
    }
};

/// Asks along the axes and aslant, from whole numbers: rays run in sides, and points lie on them.
template <class Check>
void forSomeQueries(const Check& check)
{
    std::mt19937 random(1);
    const auto number = [&] { return static_cast<float>(random() % 9) - 4; };
    for (uint32 seed = 0; seed < 400; ++seed)
    {
        const TestTree tree(seed);
        const Vector3F place{number(), number(), number()};
        Vector3F way{number(), number(), number()};
        if (way == Vector3F{0, 0, 0}) way.y = 1;
        check(tree, place, way, seed % 3 == 0 ? 1e300 : 2.0);
    }
}

detail::WideRay wideRay(const Vector3F& place, const Vector3F& way)
{
    detail::WideRay ray{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const float spare = way[axis] < 0 ? -0x1p-16f : 0x1p-16f;
        ray.near[axis] = place[axis] + spare;
        ray.far[axis] = place[axis] - spare;
        ray.inverse[axis] = 1 / (way[axis] == 0 ? 0x1p-60f : way[axis]);
        ray.nearSides[axis] = axis + (way[axis] < 0 ? WideNode::highSides : WideNode::lowSides);
        ray.farSides[axis] = axis + (way[axis] < 0 ? WideNode::lowSides : WideNode::highSides);
    }
    return ray;
}

TEST(WideTree, ComesToEveryBoxThatIsMet)
{
    forSomeQueries(
        [](const TestTree& tree, const Vector3F& place, const Vector3F& way, double limit)
        {
            using namespace detail::plain;
            const detail::WideBox box{{place.x, place.y, place.z}, {place.x + 1, place.y, infinity}};
            const auto hit = tree.visited(visitRay, wideRay(place, way), limit);
            const auto near = tree.visited(
                visitNearest, detail::WidePoint{{place.x, place.y, place.z}, {place.x, place.y, place.z}},
                limit);
            const auto overlapping = tree.visited(visitOverlapping, box);
            for (uint32 slot = 0; slot < tree.boxes.size(); ++slot)
            {
                const Box3D own{convert<double>(tree.boxes[slot].min), convert<double>(tree.boxes[slot].max)};
                double first = 0, last = limit, square = 0;
                bool isApart = false;
                for (uint32 axis = 0; axis < 3; ++axis)
                {
                    const double from = double{place[axis]}, along = double{way[axis]};
                    const double apart = std::max({own.min[axis] - from, from - own.max[axis], 0.0});
                    square += apart * apart;
                    isApart |= own.min[axis] > double{box.max[axis]} || own.max[axis] < double{box.min[axis]};
                    if (along == 0 && apart > 0) last = -1;
                    if (along == 0) continue;
                    const double in = (own.min[axis] - from) / along, out = (own.max[axis] - from) / along;
                    first = std::max(first, std::min(in, out));
                    last = std::min(last, std::max(in, out));
                }
                // between whole numbers a ray that misses does so by far more than it spares
                EXPECT_EQ(std::ranges::count(hit, slot), first <= last);
                EXPECT_EQ(std::ranges::count(near, slot), square <= limit);
                EXPECT_EQ(std::ranges::count(overlapping, slot), !isApart);
            }
        });
}

#if defined(TX_AVX2_KERNELS)
TEST(WideTree, KernelsComeToTheSameBoxes)
{
    if (!detail::hasAvx2()) GTEST_SKIP() << "the processor has no AVX2";
    forSomeQueries(
        [](const TestTree& tree, const Vector3F& place, const Vector3F& way, double limit)
        {
            const detail::WideRay ray = wideRay(place, way);
            const detail::WidePoint point{{place.x, place.y, place.z}, {place.x, place.y, place.z}};
            const detail::WideBox box{{place.x, place.y, place.z}, {place.x + 1, place.y, infinity}};
            EXPECT_EQ(tree.visited(detail::plain::visitRay, ray, limit),
                      tree.visited(detail::avx2::visitRay, ray, limit));
            EXPECT_EQ(tree.visited(detail::plain::visitNearest, point, limit),
                      tree.visited(detail::avx2::visitNearest, point, limit));
            EXPECT_EQ(tree.visited(detail::plain::visitOverlapping, box),
                      tree.visited(detail::avx2::visitOverlapping, box));
        });
}
#endif

}  // namespace

}  // namespace tavrix
