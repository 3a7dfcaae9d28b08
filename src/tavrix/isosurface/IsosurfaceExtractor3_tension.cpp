#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Quaternion.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// What the neighbours of a vertex add up to; each counts once for every face it shares with the vertex.
struct NeighbourSum
{
    Vector3D position, normal;
    uint32 count;
};

struct Vertex
{
    Vector3D position;
    Vector3F normal;
};

Array<NeighbourSum> sumNeighbours(const Array<Vector3D>& positions, const Array<Vector3F>& normals,
                                  const Array<Index3>& faces)
{
    Array<NeighbourSum> sums(positions.size(), NeighbourSum{{0, 0, 0}, {0, 0, 0}, 0});
    for (const Index3& face : faces)
    {
        if (std::max({face.a, face.b, face.c}) >= positions.size()) continue;
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 next = face[(c + 1) % 3], previous = face[(c + 2) % 3];
            NeighbourSum& sum = sums[face[c]];
            sum.position += positions[next] + positions[previous];
            sum.normal += convert<double>(normals[next]) + convert<double>(normals[previous]);
            sum.count += 2;
        }
    }
    return sums;
}

/// Some unit vector perpendicular to the vector.
Vector3D perpendicular(const Vector3D& v)
{
    const bool alongX = std::fabs(v.x) > std::fabs(v.y);
    return unitOrZero(cross(v, alongX ? Vector3D{0, 1, 0} : Vector3D{1, 0, 0}));
}

/// The normal turned towards the target by a fraction of the angle between them.
Vector3D turnTowards(const Vector3D& normal, const Vector3D& target, double fraction)
{
    const Vector3D product = cross(normal, target);
    const double sine = length(product);
    const double cosine = dot(normal, target);
    Vector3D axis;
    double angle;
    if (sine <= 1e-14)
    {
        axis = perpendicular(normal);
        angle = cosine > 0 ? 0 : piValue;
    }
    else
    {
        axis = product * (1 / sine);
        angle = arcCosine(cosine);
    }
    const auto [sineHalf, cosineHalf] = sineCosine(angle * fraction / 2);
    return QuaternionD::fromHalfAngle(axis, cosineHalf, sineHalf).rotate(normal);
}

Vertex relax(const Vector3D& position, const Vector3F& oldNormal, const NeighbourSum& sum, double follow,
             double slide)
{
    const Vector3D normal = convert<double>(oldNormal);
    const Vector3D way = sum.position / sum.count - position;
    Vector3D across = way * slide;
    if (slide != 0) across -= normal * dot(across, normal);
    const Vector3D target = unitOrZero(sum.normal / sum.count);
    return {position + way * follow + across, convert<float>(turnTowards(normal, target, follow))};
}

}  // namespace

void IsosurfaceExtractor3::tension(Mesh& mesh, float follow, float slide, uint32 iterations, uint32,
                                   CancelCallback callback)
{
    Array<Vector3D>& positions = mesh.refPos();
    Array<Vector3F>& normals = mesh.refNor();
    const uint32 given = normals.size();
    if (given < positions.size()) normals.resize(positions.size());
    std::fill(normals.begin() + std::min(given, normals.size()), normals.end(), Vector3F{0, 0, 0});

    Array<Vertex> relaxed(positions.size());
    for (uint32 pass = 0; pass < iterations; ++pass)
    {
        if (isCancelled(callback)) return;
        const Array<NeighbourSum> sums = sumNeighbours(positions, normals, mesh.refTrindexPos());
        for (uint32 v = 0; v < positions.size(); ++v)
        {
            if (isCancelled(callback)) return;
            relaxed[v] = sums[v].count == 0 ? Vertex{positions[v], normals[v]}
                                            : relax(positions[v], normals[v], sums[v], follow, slide);
        }
        for (uint32 v = 0; v < positions.size(); ++v)
        {
            positions[v] = relaxed[v].position;
            normals[v] = relaxed[v].normal;
        }
        mesh.invalidateBox();
    }
}

void IsosurfaceExtractor3::tension(Mesh& mesh, float follow, float slide, uint32 iterations)
{
    tension(mesh, follow, slide, iterations, 1, nullptr);
}

}  // namespace tavrix
