#include <tavrix/spatial/AdaptiveDistance.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

using Corners = std::array<float, 8>;

/// From a cell's middle to its corners, of its edge; what a value between the corners may be wrong by at
/// most.
constexpr double halfDiagonal = 0.8660254037844386;
/// A bound that is off by so many tolerances may hold for the eighths of a cell.
constexpr double ridgeExcess = 4;

/// Tells whether what a cell's corners tell between them is true within the tolerance.
class DistanceBound
{
public:
    DistanceBound(const MeshCollider& mesh, bool isSigned, double tolerance)
        : _mesh(mesh), _isSigned(isSigned), _tolerance(tolerance)
    {
    }

    bool operator()(const Box3D& cell, const Corners& corners) const
    {
        const Middle middle = middleOf(cell, corners);
        double mean = 0;
        for (const float corner : corners) mean += corner / 8.0;
        if (std::fabs(middle.distance - mean) > _tolerance || !(dot(middle.up, middle.up) > 0)) return false;
        return isBounded(cell, corners, middle, 1) && isBounded(cell, corners, middle, -1);
    }

private:
    /// What is known of the middle of a cell.
    struct Middle
    {
        Vector3D point, nearest;
        double distance;
        Vector3D up;  ///< where distances grow
    };

    Middle middleOf(const Box3D& cell, const Corners& corners) const
    {
        const Vector3D point = cell.center();
        const MeshPoint nearest = *_mesh.nearestPoint(point);
        const bool isInside = _isSigned && _mesh.isInside(point);
        return {point, nearest.position, isInside ? -nearest.distance : nearest.distance, direction(corners)};
    }

    /// Where distances grow, as the corners tell; zero where they do not.
    static Vector3D direction(const Corners& corners)
    {
        Vector3D sum{};
        for (uint32 n = 0; n < 8; ++n)
            for (uint32 axis = 0; axis < 3; ++axis)
                sum[axis] += n >> (2 - axis) & 1 ? corners[n] : -corners[n];
        const double size = length(sum);
        return size > 0 ? sum * (1 / size) : Vector3D{};
    }

    /// Whether distances, times the sign, are nowhere too far above what the corners tell.
    bool isBounded(const Box3D& cell, const Corners& corners, const Middle& middle, int32 sign) const
    {
        const double edge = cell.max.x - cell.min.x;
        // from so far a sphere around the point looks flat within a quarter of the tolerance
        const double away = std::max(edge * edge / _tolerance, edge);
        const double toSurface = sign * middle.distance;
        // away from the surface distances bend upwards by no more than those from a point do
        const double least = std::fabs(middle.distance) - edge * halfDiagonal;
        if (toSurface < 0 && 3 * edge * edge / 8 <= _tolerance * least) return true;
        if (toSurface > 0 && toSurface < away)
        {
            const double excess = excessAt(cell, corners, middle.nearest, 0, sign);
            if (excess <= _tolerance) return true;
            if (excess <= ridgeExcess * _tolerance && isRidgeBounded(cell, corners, sign)) return true;
        }
        for (const double distance : {away, away / 4})
        {
            const Vector3D point = middle.point - middle.up * (sign * distance);
            if (excessAt(cell, corners, point, sign * signedFrom(middle.distance, distance, point), sign) <=
                _tolerance)
                return true;
        }
        return false;
    }

    /// The same where several parts of the surface are the nearest: each eighth of the cell has the point
    /// that is nearest to its middle.
    bool isRidgeBounded(const Box3D& cell, const Corners& corners, int32 sign) const
    {
        for (uint32 n = 0; n < 8; ++n)
        {
            const Box3D eighth = eighthOf(cell, n);
            Corners between;
            for (uint32 corner = 0; corner < 8; ++corner) between[corner] = valueBetween(corners, n, corner);
            const Vector3D nearest = _mesh.nearestPoint(eighth.center())->position;
            if (excessAt(eighth, between, nearest, 0, sign) > _tolerance) return false;
        }
        return true;
    }

    static Box3D eighthOf(const Box3D& cell, uint32 number)
    {
        Box3D eighth{cell.min, cell.center()};
        for (uint32 axis = 0; axis < 3; ++axis)
            if (number >> (2 - axis) & 1)
            {
                eighth.min[axis] = eighth.max[axis];
                eighth.max[axis] = cell.max[axis];
            }
        return eighth;
    }

    /// What the corners of a cell tell at a corner of an eighth of it.
    static float valueBetween(const Corners& corners, uint32 eighth, uint32 corner)
    {
        // along an axis a corner of an eighth lies at an end of the cell, or between both
        float sum = 0;
        for (uint32 of = 0; of < 8; ++of)
        {
            float weight = 1;
            for (uint32 bit = 1; bit < 8; bit *= 2)
                weight *= (eighth ^ corner) & bit ? 0.5f : (eighth ^ of) & bit ? 0.0f : 1.0f;
            sum += weight * corners[of];
        }
        return sum;
    }

    /// The distance at a point so far from one where it is known: one that no surface parts from it has its
    /// sign.
    double signedFrom(double known, double away, const Vector3D& point) const
    {
        const double distance = _mesh.nearestPoint(point)->distance;
        if (!_isSigned) return distance;
        if (distance + std::fabs(known) >= away) return std::copysign(distance, known);
        return _mesh.isInside(point) ? -distance : distance;
    }

    /// How far a distance at a point, times the sign, lets those in a cell rise above what its corners tell.
    static double excessAt(const Box3D& cell, const Corners& corners, const Vector3D& point, double distance,
                           int32 sign)
    {
        double excess = -std::numeric_limits<double>::infinity();
        for (uint32 n = 0; n < 8; ++n)
        {
            const Vector3D corner{n & 4 ? cell.max.x : cell.min.x, n & 2 ? cell.max.y : cell.min.y,
                                  n & 1 ? cell.max.z : cell.min.z};
            excess = std::max(excess, distance + length(corner - point) - sign * double(corners[n]));
        }
        return excess;
    }

    const MeshCollider& _mesh;
    bool _isSigned;
    double _tolerance;
};

/// Whether every point off the surface is plainly inside or outside.
bool hasInside(const Mesh& mesh)
{
    if (!hasValidIndices(mesh)) return false;
    Mesh joined;  // STL files and poles have several positions at one place
    joined.refPos() = mesh.pos();
    joined.refTrindexPos() = mesh.trindexPos();
    joinEqualPositions(joined);
    const MeshTopology topology = computeEdgeTopology(joined);
    return topology.isClosed() && topology.isConsistentlyOriented();
}

}  // namespace

OctreeStatus sampleDistance(const MeshCollider& mesh, const Box3D& box,
                            const AdaptiveDistanceSettings& settings, ScalarField3Octree<float>& field)
{
    field = {};
    const Vector3D size = box.max - box.min;
    const double longest = std::max({size.x, size.y, size.z}), tolerance = settings.tolerance;
    const bool isBad = box.isEmpty() || !(tolerance > 0) || !(longest > 0) || !mesh.nearestPoint(box.min) ||
                       (settings.isSigned && !hasInside(mesh.getMesh()));
    if (isBad) return OctreeStatus::BadSettings;
    OctreeSettings octree{longest / 8, 0, settings.mostCells, settings.threadCount, settings.callback};
    while (octree.levels <= ScalarField3Octree<float>::mostLevels &&
           octree.coarsest / (1u << octree.levels) * halfDiagonal > tolerance)
        ++octree.levels;

    const auto sample = [&](std::span<const Vector3D> points, std::span<float> values)
    {
        Array<double> distances;
        if (!mesh.signedDistances(points, distances, settings.threadCount, settings.callback)) return false;
        for (uint32 n = 0; n < distances.size(); ++n)
            values[n] = static_cast<float>(settings.isSigned ? distances[n] : std::fabs(distances[n]));
        return true;
    };
    return field.build(box, octree, sample, DistanceBound(mesh, settings.isSigned, tolerance));
}

bool signedDistances(const MeshCollider& mesh, std::span<const Vector3D> points, double tolerance,
                     Array<double>& distances, uint32 threadCount, CancelCallback callback)
{
    // a cell takes as long as some exact distances
    constexpr uint64 pointsOfCell = 4, fewPoints = 4096;
    Box3D box = Box3D::empty();
    for (const Vector3D& point : points)
        if (isFinite(point)) box.extend(point);
    ScalarField3Octree<float> field;
    if (points.size() >= fewPoints && !box.isEmpty())
    {
        AdaptiveDistanceSettings settings{tolerance, true, 0, threadCount, callback};
        settings.mostCells = static_cast<uint32>(points.size() / pointsOfCell);
        if (sampleDistance(mesh, box, settings, field) == OctreeStatus::Stopped)
        {
            distances.clear();
            return false;
        }
    }
    if (field.cells().empty()) return mesh.signedDistances(points, distances, threadCount, callback);

    detail::Polling polling(callback);
    distances.clear();
    distances.resize(Array<double>::checkedSize(points.size()));
    inPieces(polling, points.size(), detail::scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                 {
                     const auto sampled = field.evaluate(points[n]);
                     distances[n] = sampled ? *sampled : mesh.signedDistance(points[n]);
                 }
             });
    if (polling.isStopped()) distances.clear();
    return !polling.isStopped();
}

}  // namespace tavrix
