#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include <tavrix/spatial/GeometryNode.h>

namespace tavrix::benchmark
{

/// A tree built from above by the surface-area heuristic with 16 bins an axis, one triangle a leaf: what
/// trees for rays are measured against. Its nodes lie as those of GeometryTree.
class SurfaceAreaTree
{
public:
    using Node = GeometryNode<Box3F>;

    explicit SurfaceAreaTree(std::vector<Box3F> boxes) : _boxes(std::move(boxes)), _order(_boxes.size())
    {
        for (uint32 n = 0; n < _order.size(); ++n) _order[n] = n;
        _nodes.reserve(2 * _order.size());
        _nodes.resize(1);
        if (!_order.empty()) build(0, 0, static_cast<uint32>(_order.size()));
    }
    const std::vector<Node>& nodes() const { return _nodes; }

private:
    static constexpr uint32 binCount = 16;

    struct Bin
    {
        Box3F box = Box3F::empty();
        uint32 count = 0;
    };

    static void extend(Box3F& box, const Box3F& other)
    {
        box.extend(other.min);
        box.extend(other.max);
    }
    static float area(const Box3F& box)
    {
        const Vector3F e = box.max - box.min;
        return e.x * e.y + e.y * e.z + e.z * e.x;
    }

    void build(std::size_t place, uint32 begin, uint32 end)
    {
        Box3F box = Box3F::empty(), centers = Box3F::empty();
        for (uint32 n = begin; n < end; ++n)
        {
            extend(box, _boxes[_order[n]]);
            centers.extend(_boxes[_order[n]].center());
        }
        if (end - begin == 1)
        {
            _nodes[place] = Node::leaf(box, _order[begin]);
            return;
        }
        const uint32 middle = split(begin, end, centers);
        const std::size_t pair = _nodes.size();
        _nodes[place] = {box, 0, static_cast<uint32>(pair)};
        _nodes.resize(pair + 2);
        build(pair, begin, middle);
        build(pair + 1, middle, end);
    }

    uint32 split(uint32 begin, uint32 end, const Box3F& centers)
    {
        float best = std::numeric_limits<float>::max();
        uint32 bestAxis = 3, bestBin = 0;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            std::array<Bin, binCount> bins;
            for (uint32 n = begin; n < end; ++n)
            {
                Bin& bin = bins[binOf(_order[n], axis, centers)];
                extend(bin.box, _boxes[_order[n]]);
                ++bin.count;
            }
            for (uint32 cut = 1; cut < binCount; ++cut)
            {
                Bin low, high;
                for (uint32 b = 0; b < binCount; ++b)
                {
                    Bin& side = b < cut ? low : high;
                    if (bins[b].count == 0) continue;
                    extend(side.box, bins[b].box);
                    side.count += bins[b].count;
                }
                if (low.count == 0 || high.count == 0) continue;
                const float cost = area(low.box) * static_cast<float>(low.count) +
                                   area(high.box) * static_cast<float>(high.count);
                if (cost < best) best = cost, bestAxis = axis, bestBin = cut;
            }
        }
        if (bestAxis == 3) return begin + (end - begin) / 2;
        const auto middle = std::partition(_order.begin() + begin, _order.begin() + end,
                                           [&](uint32 n) { return binOf(n, bestAxis, centers) < bestBin; });
        return static_cast<uint32>(middle - _order.begin());
    }

    uint32 binOf(uint32 n, uint32 axis, const Box3F& centers) const
    {
        const float extent = centers.max[axis] - centers.min[axis];
        if (!(extent > 0)) return 0;
        const float t = (_boxes[n].center()[axis] - centers.min[axis]) / extent * binCount;
        return std::min(static_cast<uint32>(std::max(t, 0.0f)), binCount - 1);
    }

    std::vector<Box3F> _boxes;
    std::vector<uint32> _order;
    std::vector<Node> _nodes;
};

}  // namespace tavrix::benchmark
