#include <algorithm>

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

using detail::Polling;

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
void joinSmoothCorners(const Mesh& mesh, double smallestCosine, Polling& polling, detail::UnionFind& groups)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const detail::EdgeTable edges(faces, mesh.getPosSize(), polling);
    if (polling.isStopped()) return;
    const Array<FacedgeTriple> neighbours = detail::facedgeNeighbours(edges, faces.size(), polling);
    if (polling.isStopped()) return;
    inPieces(polling, faces.size(), detail::scatteredItems / 4,
             [&](uint64 begin, uint64 end)
             {
                 for (auto f = static_cast<uint32>(begin); f < end; ++f)
                     for (uint32 e = 0; e < 3; ++e)
                     {
                         const IndexFacedge other = neighbours[f][e];
                         if (other.isNone() || other.face() < f) continue;
                         if (!areSmooth(mesh.faceNor()[f], mesh.faceNor()[other.face()], smallestCosine))
                             continue;
                         for (const uint32 corner : {e, (e + 1) % 3})
                             groups.unite(3 * f + corner, cornerAt(faces, other.face(), faces[f][corner]));
                     }
             });
}

}  // namespace

void Mesh::recalculateArrTrindexNor_SmoothingGroups(double angle, uint32& normalCount)
{
    if (cosineOfAngle(angle) > -1 && faceNor().size() != getFacesSize()) recalculateFaceNormals();
    Polling none(nullptr);
    groupNormals(angle, normalCount, none);
}

/// Numbers the corners' normals, given the face normals; false, and nothing changed, when the polling
/// stopped it.
bool Mesh::groupNormals(double angle, uint32& normalCount, Polling& polling)
{
    const double smallestCosine = cosineOfAngle(angle);
    const bool isSmooth = smallestCosine <= -1;
    Array<Index3> triples(getFacesSize());
    uint32 count = getPosSize();
    if (isSmooth)
        inPieces(
            polling, triples.size(), detail::lightItems,
            [&](uint64 begin, uint64 end)
            { std::copy(trindexPos().data() + begin, trindexPos().data() + end, triples.data() + begin); });
    else
    {
        detail::UnionFind groups(3 * getFacesSize(), polling);
        if (polling.isStopped()) return false;
        joinSmoothCorners(*this, smallestCosine, polling, groups);
        if (polling.isStopped()) return false;
        count = 0;
        inPieces(polling, triples.size(), detail::scatteredItems,
                 [&](uint64 begin, uint64 end)
                 {
                     for (auto corner = static_cast<uint32>(3 * begin); corner < 3 * end; ++corner)
                     {
                         const uint32 first = groups.find(corner);
                         triples[corner / 3][corner % 3] =
                             first == corner ? count++ : triples[first / 3][first % 3];
                     }
                 });
    }
    if (polling.isStopped()) return false;
    refTrindexNor().swap(triples);
    normalCount = count;
    return true;
}

}  // namespace tavrix
