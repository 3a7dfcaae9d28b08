#pragma once

#include <array>
#include <limits>
#include <span>
#include <vector>

#include <tavrix/foundation/Box3.h>

namespace tavrix::tool
{

/// A ray, up to the length `far`; no component of its direction is zero.
struct Ray
{
    Vector3F origin, direction;
    float far;

    Ray(const Vector3F& origin, const Vector3F& direction, float far);
    Vector3F at(float distance) const { return origin + direction * distance; }
};

/// A tree of boxes over shapes, with four branches a node: what a ray may meet is found in logarithmic time.
/// Built from above by the surface area heuristic over bins (Wald, On fast Construction of SAH-based Bounding
/// Volume Hierarchies, 2007). It holds the order of the shapes, leaf by leaf; whoever builds it stores the
/// shapes in that order.
class RayTree
{
public:
    /// Shape i lies in boxes[i]; the boxes are finite. O(n log n); the tree is the same for every number of
    /// threads.
    RayTree(std::span<const Box3F> boxes, uint32 threads);
    /// A tree over nothing.
    RayTree() = default;

    /// For each leaf position, the index of its shape; moved out.
    std::vector<uint32> takeOrder() { return std::move(_order); }

    /// Calls meet(place, ray) for the shapes along the ray, roughly from near to far, until it returns true.
    /// `meet` may shorten the ray. Stops after a maximum number of shapes, which
    /// bounds the time when shapes coincide.
    template <class Meet>
    void walk(Ray& ray, const Meet& meet) const;

private:
    friend class RayTreeBuilder;
    static constexpr uint32 width = 4;
    static constexpr uint32 stackSize = 256;
    static constexpr uint32 patience = 4096;  ///< nodes and leaves that one walk looks at

    /// The boxes and branches of one node. A branch with a count is a leaf, `count` places from `first` on;
    /// one without is the node `first`, or none when its box is inside out.
    struct alignas(64) Node
    {
        std::array<std::array<float, width>, 3> low, high;
        std::array<uint32, width> first, count;
    };
    struct Entry
    {
        float near;
        uint32 first, count;
    };

    /// Where the ray enters each box of the node; infinite where it does not.
    static std::array<float, width> entries(const Node& node, const Ray& ray, const Vector3F& inverse);

    std::vector<Node> _nodes;
    std::vector<uint32> _order;
};

inline std::array<float, RayTree::width> RayTree::entries(const Node& node, const Ray& ray,
                                                          const Vector3F& inverse)
{
    const Vector3F& o = ray.origin;
    const float* inX = (inverse.x < 0 ? node.high : node.low)[0].data();
    const float* inY = (inverse.y < 0 ? node.high : node.low)[1].data();
    const float* inZ = (inverse.z < 0 ? node.high : node.low)[2].data();
    const float* outX = (inverse.x < 0 ? node.low : node.high)[0].data();
    const float* outY = (inverse.y < 0 ? node.low : node.high)[1].data();
    const float* outZ = (inverse.z < 0 ? node.low : node.high)[2].data();
    const auto larger = [](float a, float b) { return a > b ? a : b; };
    const auto smaller = [](float a, float b) { return a < b ? a : b; };
    std::array<float, width> near;
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC unroll 1  // or else GCC unrolls the loop before it could turn it into one step of a vector unit
#endif
    for (uint32 n = 0; n < width; ++n)
    {
        const float enter = larger(larger((inX[n] - o.x) * inverse.x, (inY[n] - o.y) * inverse.y),
                                   larger((inZ[n] - o.z) * inverse.z, 0.0f));
        const float leave = smaller(smaller((outX[n] - o.x) * inverse.x, (outY[n] - o.y) * inverse.y),
                                    smaller((outZ[n] - o.z) * inverse.z, ray.far));
        near[n] = enter <= leave ? enter : std::numeric_limits<float>::infinity();
    }
    return near;
}

template <class Meet>
void RayTree::walk(Ray& ray, const Meet& meet) const
{
    const Vector3F inverse{1 / ray.direction.x, 1 / ray.direction.y, 1 / ray.direction.z};
    std::array<Entry, stackSize> stack;
    uint32 size = 0;
    if (!_nodes.empty()) stack[size++] = {0, 0, 0};
    for (uint32 step = 0; size > 0 && step < patience; ++step)
    {
        const Entry entry = stack[--size];
        if (entry.near > ray.far) continue;
        for (uint32 n = 0; n < entry.count; ++n)
            if (meet(entry.first + n, ray)) return;
        if (entry.count > 0) continue;

        const Node& node = _nodes[entry.first];
        const std::array<float, width> near = entries(node, ray, inverse);
        const uint32 bottom = size;
        for (uint32 n = 0; n < width; ++n)
        {
            if (!(near[n] < ray.far)) continue;
            uint32 place = size++;
            for (; place > bottom && stack[place - 1].near < near[n]; --place)
                stack[place] = stack[place - 1];
            stack[place] = {near[n], node.first[n], node.count[n]};
        }
    }
}

}  // namespace tavrix::tool
