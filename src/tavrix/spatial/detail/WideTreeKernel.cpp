#include <tavrix/spatial/detail/WideTreeKernel.h>

#include <bit>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

namespace
{

constexpr uint32 width = WideNode::width;
static_assert(width == lanes);

/// What a few operations in single precision may be off by, in parts of their result, and more.
constexpr float rounding = 0x1p-20f;

/// A number a child.
using Lanes = float[width];

/// Where the ray enters a box, in lengths of its direction.
struct RayEntry
{
    const WideRay& ray;

    /// At least the limit, from the ray's origin for boxes.
    float reach(double limit) const
    {
        const auto rest = static_cast<float>(limit - ray.start);
        return rest + absolute(rest) * rounding;
    }

    /// A bit a child, the first one lowest, for those that are met; for all of them where.
    uint32 meet(const WideNode& node, float reach, Lanes& entry) const
    {
        const Lanes &nearX = node.sides[ray.nearSides[0]], &nearY = node.sides[ray.nearSides[1]],
                    &nearZ = node.sides[ray.nearSides[2]];
        const Lanes &farX = node.sides[ray.farSides[0]], &farY = node.sides[ray.farSides[1]],
                    &farZ = node.sides[ray.farSides[2]];
        uint32 met = 0;
        for (uint32 lane = 0; lane < width; ++lane)
        {
            // what is not a number changes nothing
            float first = 0, last = reach;
            first = larger((nearX[lane] - ray.near[0]) * ray.inverse[0], first);
            first = larger((nearY[lane] - ray.near[1]) * ray.inverse[1], first);
            first = larger((nearZ[lane] - ray.near[2]) * ray.inverse[2], first);
            last = smaller((farX[lane] - ray.far[0]) * ray.inverse[0], last);
            last = smaller((farY[lane] - ray.far[1]) * ray.inverse[1], last);
            last = smaller((farZ[lane] - ray.far[2]) * ray.inverse[2], last);
            entry[lane] = first;
            met |= first <= last * (1 + rounding) ? 1u << lane : 0;
        }
        return met;
    }
};

/// The squared distance of the point from a box.
struct SquaredDistance
{
    const WidePoint& point;

    float reach(double limit) const { return static_cast<float>(limit) * (1 + rounding); }

    uint32 meet(const WideNode& node, float reach, Lanes& entry) const
    {
        uint32 met = 0;
        for (uint32 lane = 0; lane < width; ++lane)
        {
            const float x = along(node, 0, lane), y = along(node, 1, lane), z = along(node, 2, lane);
            const float square = x * x + y * y + z * z;
            entry[lane] = square;
            met |= square <= reach ? 1u << lane : 0;
        }
        return met;
    }

    float along(const WideNode& node, uint32 axis, uint32 lane) const
    {
        const float below = node.sides[WideNode::lowSides + axis][lane] - point.high[axis];
        const float above = point.low[axis] - node.sides[WideNode::highSides + axis][lane];
        return larger(larger(below, above), 0.0f);
    }
};

/// Which boxes have a point in common with the box.
struct Overlap
{
    const WideBox& box;

    uint32 meet(const WideNode& node) const
    {
        uint32 met = 0;
        for (uint32 lane = 0; lane < width; ++lane)
        {
            uint32 bit = 1u << lane;
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const float low = larger(node.sides[WideNode::lowSides + axis][lane], box.min[axis]);
                const float high = smaller(node.sides[WideNode::highSides + axis][lane], box.max[axis]);
                bit = low <= high ? bit : 0;
            }
            met |= bit;
        }
        return met;
    }
};

/// A child and where a query meets it, as one number that orders by the latter, which is not below 0.
uint64 pending(float entry, uint32 child) { return uint64{std::bit_cast<uint32>(entry)} << 32 | child; }
float entryOf(uint64 pending) { return std::bit_cast<float>(static_cast<uint32>(pending >> 32)); }

/// Asks for memory that is soon read, for which queries mostly wait.
template <class T>
void fetch([[maybe_unused]] const T& record)
{
#if defined(__GNUC__)
    const auto* bytes = reinterpret_cast<const char*>(&record);
    for (uint32 line = 0; line < sizeof(T); line += 64) __builtin_prefetch(bytes + line);
    __builtin_prefetch(bytes + sizeof(T) - 1);
#endif
}

/// Behind all that is.
constexpr uint64 nothingPending = ~uint64{0};

/// The child of the lowest of some lanes, none where it is not there: boxes of what is not there count as
/// near where others are infinite.
uint32 childOf(const WideNode& node, uint32 lanes) { return node.children[std::countr_zero(lanes)]; }

/// Asks for the faces of some lanes.
void fetchFaces(const WideTree& tree, const WideNode& node, uint32 met)
{
    for (const uint32 first = WideNode::slotOf(node.children[0]); met != 0; met &= met - 1)
        fetch(tree.faces[first + static_cast<uint32>(std::countr_zero(met))]);
}

/// Visits the faces that the query meets, mostly the nearest boxes first.
template <class Query>
void walk(const WideTree& tree, const Query& query, double limit, const FaceVisitor& visitor)
{
    uint64 stack[wideTreeDepth * (width - 1) + 1];
    uint32 count = 0;
    float reach = query.reach(limit);
    for (uint32 next = 0;;)
    {
        Lanes entry;
        const WideNode& node = tree.nodes[next];
        uint32 met = query.meet(node, reach, entry);
        if (WideNode::isFace(node.children[0]))
        {
            fetchFaces(tree, node, met);
            for (; met != 0; met &= met - 1)
            {
                const uint32 face = childOf(node, met);
                if (face == WideNode::noChild) break;
                limit = visitor.visit(visitor.context, WideNode::slotOf(face), limit);
                if (limit < 0) return;
            }
            reach = query.reach(limit);
        }
        else
        {
            uint64 nearest = nothingPending;
            for (; met != 0; met &= met - 1)
            {
                const uint32 child = childOf(node, met);
                if (child == WideNode::noChild) break;
                fetch(tree.nodes[child]);
                const uint64 candidate = pending(entry[std::countr_zero(met)], child);
                stack[count] = larger(nearest, candidate);
                nearest = smaller(nearest, candidate);
                count += stack[count] != nothingPending;
            }
            if (nearest != nothingPending)
            {
                next = static_cast<uint32>(nearest);
                continue;
            }
        }
        do {
            if (count == 0) return;
            next = static_cast<uint32>(stack[--count]);
        } while (entryOf(stack[count]) > reach);
    }
}

/// Visits the faces that the query meets, in the order of the tree.
void walkAll(const WideTree& tree, const Overlap& overlap, const FaceVisitor& visitor)
{
    uint32 stack[wideTreeDepth * (width - 1) + 1];
    stack[0] = 0;
    for (uint32 count = 1; count > 0;)
    {
        const WideNode& node = tree.nodes[stack[--count]];
        const bool hasFaces = WideNode::isFace(node.children[0]);
        uint32 met = overlap.meet(node);
        if (hasFaces) fetchFaces(tree, node, met);
        for (; met != 0; met &= met - 1)
        {
            const uint32 child = childOf(node, met);
            if (child == WideNode::noChild) break;
            if (hasFaces)
                visitor.visit(visitor.context, WideNode::slotOf(child), 0);
            else
            {
                fetch(tree.nodes[child]);
                stack[count++] = child;
            }
        }
    }
}

}  // namespace

void visitRay(const WideTree& tree, const WideRay& ray, double limit, const FaceVisitor& visitor)
{
    walk(tree, RayEntry{ray}, limit, visitor);
}

void visitNearest(const WideTree& tree, const WidePoint& point, double limit, const FaceVisitor& visitor)
{
    walk(tree, SquaredDistance{point}, limit, visitor);
}

void visitOverlapping(const WideTree& tree, const WideBox& box, const FaceVisitor& visitor)
{
    walkAll(tree, Overlap{box}, visitor);
}

}  // namespace tavrix::detail::TX_KERNEL
