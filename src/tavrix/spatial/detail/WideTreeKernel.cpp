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

/// A child and where a query meets it, as one number that orders by the latter, which is not below 0.
uint64 pending(float entry, uint32 child) { return uint64{std::bit_cast<uint32>(entry)} << 32 | child; }
float entryOf(uint64 pending) { return std::bit_cast<float>(static_cast<uint32>(pending >> 32)); }

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
        const uint32(&side)[3] = ray.nearSide;
        const Lanes &nearX = node.sides[side[0]][0], &nearY = node.sides[side[1]][1],
                    &nearZ = node.sides[side[2]][2];
        const Lanes &farX = node.sides[1 - side[0]][0], &farY = node.sides[1 - side[1]][1],
                    &farZ = node.sides[1 - side[2]][2];
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
        const float below = node.sides[0][axis][lane] - point.high[axis];
        const float above = point.low[axis] - node.sides[1][axis][lane];
        return larger(larger(below, above), 0.0f);
    }
};

/// 0 for boxes that have a point in common with the box.
struct Overlap
{
    const WideBox& box;

    float reach(double limit) const { return static_cast<float>(limit); }

    uint32 meet(const WideNode& node, float, Lanes& entry) const
    {
        uint32 met = 0;
        for (uint32 lane = 0; lane < width; ++lane)
        {
            entry[lane] = 0;
            uint32 bit = 1u << lane;
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const float low = larger(node.sides[0][axis][lane], box.min[axis]);
                const float high = smaller(node.sides[1][axis][lane], box.max[axis]);
                bit = low <= high ? bit : 0;
            }
            met |= bit;
        }
        return met;
    }
};

/// Visits the faces that the query meets, the nearest boxes first.
template <class Query>
void walk(const WideNode* nodes, const Query& query, double limit, const FaceVisitor& visitor)
{
    uint64 stack[wideTreeDepth * (width - 1) + 1];
    uint32 count = 0;
    float reach = query.reach(limit);
    for (uint32 next = 0;;)
    {
        if (WideNode::isFace(next))
        {
            limit = visitor.visit(visitor.context, WideNode::slotOf(next), limit);
            if (limit < 0) return;
            reach = query.reach(limit);
        }
        else
        {
            Lanes entry;
            const WideNode& node = nodes[next];
            const uint32 before = count;
            for (uint32 met = query.meet(node, reach, entry); met != 0; met &= met - 1)
            {
                const auto lane = static_cast<uint32>(std::countr_zero(met));
                // what is inside out counts as near while nothing is far
                if (node.sides[0][0][lane] > node.sides[1][0][lane]) continue;
                const uint64 child = pending(entry[lane], node.children[lane]);
                uint32 place = count++;
                for (; place > before && stack[place - 1] < child; --place) stack[place] = stack[place - 1];
                stack[place] = child;
            }
        }
        do {
            if (count == 0) return;
            next = static_cast<uint32>(stack[--count]);
        } while (entryOf(stack[count]) > reach);
    }
}

}  // namespace

void visitRay(const WideNode* nodes, const WideRay& ray, double limit, const FaceVisitor& visitor)
{
    walk(nodes, RayEntry{ray}, limit, visitor);
}

void visitNearest(const WideNode* nodes, const WidePoint& point, double limit, const FaceVisitor& visitor)
{
    walk(nodes, SquaredDistance{point}, limit, visitor);
}

void visitOverlapping(const WideNode* nodes, const WideBox& box, const FaceVisitor& visitor)
{
    walk(nodes, Overlap{box}, 0, visitor);
}

}  // namespace tavrix::detail::TX_KERNEL
