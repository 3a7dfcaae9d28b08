#pragma once

#include <cmath>
#include <limits>

#include <tavrix/foundation/Box3.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix::detail
{

/// How a solid is reshaped: its surface moved outwards, then hollowed out to a wall.
struct SolidShape
{
    double offset = 0;
    double wall = std::numeric_limits<double>::infinity();

    /// The distance from the new surface, below 0 inside, where that from the old one is so much: at most the
    /// true one, and nowhere steeper.
    double at(double distance) const
    {
        const double moved = distance - offset;
        return std::max(moved, -moved - wall);
    }
};

/// How far a place is from a mesh, and on which side.
struct DistanceProbe
{
    Vector3D place;
    uint32 face;  ///< the nearest one
    double distance;
    int32 winding;  ///< of the faces around it

    double signedDistance() const { return winding != 0 ? -distance : distance; }
};

/// The exact distance from a closed mesh, or from a sheet, which has no inside. Answers depend on the place
/// alone; what is known nearby makes them sooner there. Safe for several threads.
class SolidDistance
{
public:
    /// The collider, which has faces, is referred to. Places are told apart down to the resolution.
    SolidDistance(const MeshCollider& collider, bool isSheet, double resolution)
        : _collider(collider), _faces(collider.getMesh()), _isSheet(isSheet), _resolution(resolution)
    {
    }

    DistanceProbe probe(const Vector3D& place) const;
    DistanceProbe probe(const Vector3D& place, const DistanceProbe& nearby) const;

private:
    double distanceTo(uint32 face, const Vector3D& place) const;
    int32 windingAround(const Vector3D& place) const;
    bool isOnSurface(const Vector3D& place, double distance) const;
    int32 windingAround(const Vector3D& place, double distance, const DistanceProbe& nearby) const;

    const MeshCollider& _collider;
    MeshFaces _faces;
    bool _isSheet;
    double _resolution;
};

/// The depth of the deepest place inside, to within the tolerance; sooner known once some place is `enough`
/// deep, and given up after some ten thousand looks where much of the inside is about as deep. 0 without an
/// inside.
double findDepth(const SolidDistance& distance, const Box3D& box, double tolerance, double enough);

}  // namespace tavrix::detail
