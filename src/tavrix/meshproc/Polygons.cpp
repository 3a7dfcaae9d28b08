#include <tavrix/meshproc/Polygons.h>

#include <tavrix/meshproc/detail/LoopNesting.h>

namespace tavrix
{

namespace
{

/// How many parents there are up to the root; depths that are known are not counted again.
std::vector<uint32> depthsOf(const std::vector<uint32>& parents)
{
    std::vector<uint32> depths(parents.size(), noIndex), way;
    for (uint32 n = 0; n < parents.size(); ++n)
    {
        uint32 at = n;
        for (; at != noIndex && depths[at] == noIndex; at = parents[at]) way.push_back(at);
        for (uint32 depth = at == noIndex ? 0 : depths[at] + 1; !way.empty(); way.pop_back())
            depths[way.back()] = depth++;
    }
    return depths;
}

}  // namespace

Polygons::Polygons(std::vector<Polygonum> loops) : _loops(std::move(loops))
{
    std::vector<std::span<const Vector2D>> spans;
    spans.reserve(_loops.size());
    for (const Polygonum& loop : _loops) spans.emplace_back(loop.begin(), loop.size());
    _parents = detail::findParents(spans);
    _depths = depthsOf(_parents);
    for (uint32 n = 0; n < size(); ++n)
        if (_loops[n].isCounterClockwise() == isHole(n)) _loops[n].reverse();
}

double Polygons::area() const
{
    double sum = 0;
    for (const Polygonum& loop : _loops) sum += loop.signedArea();
    return sum;
}

Box2D Polygons::box() const
{
    Box2D box = Box2D::empty();
    for (const Polygonum& loop : _loops) box.extend(loop.box());
    return box;
}

PointPlace Polygons::locate(const Vector2D& point) const
{
    bool isInside = false;
    for (const Polygonum& loop : _loops)
    {
        const PointPlace place = loop.locate(point);
        if (place == PointPlace::Border) return place;
        isInside ^= place == PointPlace::Inside;
    }
    return isInside ? PointPlace::Inside : PointPlace::Outside;
}

Polygons Polygons::simplified(double tolerance) const
{
    std::vector<Polyline> lines;
    lines.reserve(_loops.size());
    for (const Polygonum& loop : _loops) lines.push_back(loop.points());
    std::vector<Polygonum> loops;
    loops.reserve(_loops.size());
    for (Polyline& line : polylinetools::simplifyLoops(lines, tolerance)) loops.emplace_back(std::move(line));
    return Polygons(std::move(loops));
}

}  // namespace tavrix
