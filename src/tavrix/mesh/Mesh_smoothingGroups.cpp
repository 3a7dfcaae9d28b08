#include <algorithm>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/UnionFind.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// Face normals are single precision: two faces in one plane differ by that much in the cosine.
constexpr double cosineTolerance = 2e-7;

double cosineOfAngle(double angle) { return sineCosine(std::min(std::max(angle, 0.0), piValue)).second; }

bool areSmooth(const Wector3F& m, const Wector3F& n, double smallestCosine)
{
    if (!(m.w > 0 && n.w > 0)) return false;
    const double cosine = double{m.x} * n.x + double{m.y} * n.y + double{m.z} * n.z;
    return cosine >= smallestCosine - cosineTolerance;
}

uint32 cornerAt(const Array<Index3>& faces, uint32 face, uint32 position)
{
    const Index3& t = faces[face];
    return 3 * face + (t.a == position ? 0 : t.b == position ? 1 : 2);
}

/// Joins the corners of both faces at both ends of every edge that is smooth.
detail::UnionFind joinSmoothCorners(const Mesh& mesh, double smallestCosine)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const Array<FacedgeTriple> neighbours =
        detail::facedgeNeighbours(detail::EdgeTable(faces, mesh.getPosSize()), faces.size());
    detail::UnionFind groups(3 * faces.size());
    for (uint32 f = 0; f < faces.size(); ++f)
        for (uint32 e = 0; e < 3; ++e)
        {
            const IndexFacedge other = neighbours[f][e];
            if (other.isNone() || other.face() < f) continue;
            if (!areSmooth(mesh.faceNor()[f], mesh.faceNor()[other.face()], smallestCosine)) continue;
            for (const uint32 corner : {e, (e + 1) % 3})
                groups.unite(3 * f + corner, cornerAt(faces, other.face(), faces[f][corner]));
        }
    return groups;
}

}  // namespace

void Mesh::recalculateArrTrindexNor_SmoothingGroups(double angle, uint32& normalCount)
{
    const double smallestCosine = cosineOfAngle(angle);
    if (smallestCosine <= -1)
    {
        refTrindexNor() = trindexPos();
        normalCount = getPosSize();
        return;
    }
    if (faceNor().size() != getFacesSize()) recalculateFaceNormals();
    detail::UnionFind groups = joinSmoothCorners(*this, smallestCosine);
    const uint32 cornerCount = 3 * getFacesSize();
    Array<Index3>& trindexNor = refTrindexNor();
    trindexNor.resize(getFacesSize());
    normalCount = 0;
    for (uint32 corner = 0; corner < cornerCount; ++corner)
    {
        const uint32 first = groups.find(corner);
        trindexNor[corner / 3][corner % 3] =
            first == corner ? normalCount++ : trindexNor[first / 3][first % 3];
    }
}

void Mesh::createNormals(double angle)
{
    recalculateFaceNormals();
    uint32 normalCount = 0;
    recalculateArrTrindexNor_SmoothingGroups(angle, normalCount);
    refNor().resize(normalCount);
    recalculateVertexesNormals();
}

}  // namespace tavrix
