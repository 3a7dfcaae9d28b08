#include <tavrix/reconstruction/detail/SolidDistance.h>

#include <algorithm>
#include <queue>

#include <tavrix/spatial/detail/TriangleNearest.h>

namespace tavrix::detail
{

namespace
{

/// What rounding may add to a distance, in parts of it.
constexpr double rounding = 1e-9;

}  // namespace

DistanceProbe SolidDistance::probe(const Vector3D& place) const
{
    const std::optional<MeshPoint> nearest = _collider.nearestPoint(place);
    if (!nearest) return {place, noIndex, std::numeric_limits<double>::infinity(), false};
    return {place, nearest->face, nearest->distance, !_isSheet && _collider.isInside(place)};
}

double SolidDistance::distanceTo(uint32 face, const Vector3D& place) const
{
    return std::sqrt(
        TriangleNearest::to(place, _faces.corner(face, 0), _faces.corner(face, 1), _faces.corner(face, 2))
            .squared);
}

/// The face that is nearest nearby is mostly the nearest here; looking for others is soon done.
DistanceProbe SolidDistance::probe(const Vector3D& place, const DistanceProbe& nearby) const
{
    if (nearby.face == noIndex) return probe(place);
    const double scale = nearby.distance + length(place - nearby.place);
    const double limit = distanceTo(nearby.face, place) + scale * rounding;
    const std::optional<MeshPoint> nearest = _collider.nearestPoint(place, limit);
    if (!nearest) return probe(place);
    return {place, nearest->face, nearest->distance, windingAround(place, nearest->distance, nearby)};
}

int32 SolidDistance::windingAround(const Vector3D& place) const
{
    return _isSheet ? 0 : static_cast<int32>(std::lround(_collider.windingNumber(place)));
}

/// Whether it is so near that rays along different axes may see it on different sides.
bool SolidDistance::isOnSurface(const Vector3D& place, double distance) const
{
    const double size = std::max({std::abs(place.x), std::abs(place.y), std::abs(place.z)});
    return distance <= _resolution + size * 1e-13;
}

/// The same at a place that far from the mesh. It changes only where a face lies between.
int32 SolidDistance::windingAround(const Vector3D& place, double distance, const DistanceProbe& nearby) const
{
    if (_isSheet) return 0;
    const Vector3D way = place - nearby.place;
    const double apart = length(way);
    if (nearby.distance + distance > apart * (1 + rounding)) return nearby.winding;
    const int moved = (way.x != 0) + (way.y != 0) + (way.z != 0);
    if (isOnSurface(place, distance) || isOnSurface(nearby.place, nearby.distance) || moved > 1)
        return windingAround(place);
    const uint32 axis = way.x != 0 ? 0 : way.y != 0 ? 1 : 2;
    return nearby.winding + _collider.windingChange(nearby.place, axis, place[axis]);
}

double findDepth(const SolidDistance& distance, const Box3D& box, double tolerance, double enough)
{
    constexpr uint32 mostLooks = 1 << 14;
    struct Cube
    {
        DistanceProbe center;
        double halfEdge;

        double highest() const { return halfEdge * std::sqrt(3.0) - center.signedDistance(); }
        bool operator<(const Cube& other) const { return highest() < other.highest(); }
    };
    const Vector3D extent = box.max - box.min;
    std::priority_queue<Cube> cubes;
    cubes.push({distance.probe(box.min + extent / 2), std::max({extent.x, extent.y, extent.z}) / 2});
    double deepest = 0;
    for (uint32 looks = 0; looks < mostLooks && deepest < enough && !cubes.empty(); ++looks)
    {
        const Cube cube = cubes.top();
        cubes.pop();
        deepest = std::max(deepest, -cube.center.signedDistance());
        if (cube.highest() <= deepest + tolerance) break;
        const double half = cube.halfEdge / 2;
        for (uint32 child = 0; child < 8; ++child)
        {
            const Vector3D step{child & 1 ? half : -half, child & 2 ? half : -half, child & 4 ? half : -half};
            cubes.push({distance.probe(cube.center.place + step, cube.center), half});
        }
    }
    return deepest;
}

}  // namespace tavrix::detail
