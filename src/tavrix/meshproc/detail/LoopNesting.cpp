#include <tavrix/meshproc/detail/LoopNesting.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include <tavrix/foundation/Box2.h>
#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix::detail
{

namespace
{

/// An edge that is not horizontal, upwards.
struct SweptEdge
{
    Vector2D low, high;
    uint32 loop;
};

/// A loop's lowest point, the left one of several, and where the leftmost edge leads from there: what lies
/// just right of that edge is inside.
struct Foot
{
    Vector2D point, tip;
    uint32 loop;
};

struct Extent
{
    Box2D box = Box2D::empty();
    double area = 0;
};

bool isBelow(const Vector2D& a, const Vector2D& b) { return std::tie(a.y, a.x) < std::tie(b.y, b.x); }

Foot footOf(std::span<const Vector2D> points, uint32 loop)
{
    Foot foot{*std::min_element(points.begin(), points.end(), isBelow), {}, loop};
    foot.tip = foot.point;
    const auto offer = [&](const Vector2D& tip)
    {
        if (tip == foot.point) return;
        if (foot.tip == foot.point || sideOf(foot.point, foot.tip, tip) > 0) foot.tip = tip;
    };
    const std::size_t count = points.size();
    for (std::size_t n = 0; n < count; ++n)
        if (points[n] == foot.point)
        {
            offer(points[(n + 1) % count]);
            offer(points[(n + count - 1) % count]);
        }
    return foot;
}

Extent extentOf(std::span<const Vector2D> points)
{
    Extent extent;
    double twice = 0;
    for (std::size_t n = 0; n < points.size(); ++n)
    {
        extent.box.extend(points[n]);
        const Vector2D a = points[n] - points[0], b = points[(n + 1) % points.size()] - points[0];
        twice += a.x * b.y - a.y * b.x;
    }
    extent.area = std::abs(twice) / 2;
    return extent;
}

/// Whether an edge that reaches the height of the foot lies left of what is inside there.
bool isLeft(const SweptEdge& edge, const Foot& foot)
{
    const double x = foot.point.x;
    if (edge.low.x < x && edge.high.x < x) return true;
    if (edge.low.x > x && edge.high.x > x) return false;
    const int side = sideOf(edge.low, edge.high, foot.point);
    return side != 0 ? side < 0 : sideOf(foot.point, foot.tip, edge.high) >= 0;
}

class NestingSweep
{
public:
    explicit NestingSweep(const std::vector<std::span<const Vector2D>>& loops)
        : _parents(loops.size(), noIndex), _crossings(loops.size(), 0)
    {
        for (uint32 n = 0; n < loops.size(); ++n)
        {
            _extents.push_back(extentOf(loops[n]));
            if (loops[n].empty()) continue;
            _feet.push_back(footOf(loops[n], n));
            addEdges(loops[n], n);
        }
        std::sort(_feet.begin(), _feet.end(),
                  [](const Foot& a, const Foot& b)
                  { return std::tie(a.point.y, a.loop) < std::tie(b.point.y, b.loop); });
        std::stable_sort(_edges.begin(), _edges.end(),
                         [](const SweptEdge& a, const SweptEdge& b) { return a.low.y < b.low.y; });
    }

    std::vector<uint32> run()
    {
        std::size_t next = 0;
        for (const Foot& foot : _feet)
        {
            for (; next < _edges.size() && _edges[next].low.y <= foot.point.y; ++next)
                _active.push_back(static_cast<uint32>(next));
            std::erase_if(_active, [&](uint32 e) { return _edges[e].high.y <= foot.point.y; });
            findParent(foot);
        }
        return std::move(_parents);
    }

private:
    void addEdges(std::span<const Vector2D> points, uint32 loop)
    {
        const Vector2D* from = &points.back();
        for (const Vector2D& to : points)
        {
            if (from->y < to.y) _edges.push_back({*from, to, loop});
            if (to.y < from->y) _edges.push_back({to, *from, loop});
            from = &to;
        }
    }

    void findParent(const Foot& foot)
    {
        for (const uint32 e : _active)
        {
            const SweptEdge& edge = _edges[e];
            if (edge.loop == foot.loop || !mayHold(edge.loop, foot.loop) || !isLeft(edge, foot)) continue;
            if (_crossings[edge.loop]++ == 0) _met.push_back(edge.loop);
        }
        uint32& parent = _parents[foot.loop];
        for (const uint32 other : _met)
        {
            const bool isAround = _crossings[other] % 2 == 1;
            _crossings[other] = 0;
            if (isAround && (parent == noIndex || isLarger(parent, other))) parent = other;
        }
        _met.clear();
    }

    bool mayHold(uint32 outer, uint32 inner) const
    {
        return isLarger(outer, inner) && _extents[outer].box.contains(_extents[inner].box);
    }
    bool isLarger(uint32 a, uint32 b) const
    {
        const double areaA = _extents[a].area, areaB = _extents[b].area;
        return areaA > areaB || (areaA == areaB && a < b);
    }

    std::vector<SweptEdge> _edges;
    std::vector<Foot> _feet;
    std::vector<Extent> _extents;
    std::vector<uint32> _parents, _crossings, _active, _met;
};

}  // namespace

std::vector<uint32> findParents(const std::vector<std::span<const Vector2D>>& loops)
{
    if (loops.size() < 2) return std::vector<uint32>(loops.size(), noIndex);
    return NestingSweep(loops).run();
}

}  // namespace tavrix::detail
