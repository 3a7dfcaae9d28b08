#include <tavrix/reconstruction/RankMesh.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>

namespace tavrix
{

namespace
{

/// Brings what belongs to the ranks' runs to the first rank, in the order of the whole.
template <class T, class Value>
Array<T> gatherRuns(RankGroup& ranks, const std::vector<MeshRun>& runs, uint32 count, const Value& value)
{
    const auto runsOf = detail::exchangeRecords<MeshRun>(ranks,
                                                         [&](const auto& send)
                                                         {
                                                             for (const MeshRun& run : runs) send(0, run);
                                                         });
    const auto values = detail::exchangeRecords<T>(ranks,
                                                   [&](const auto& send)
                                                   {
                                                       for (const MeshRun& run : runs)
                                                           for (uint32 n = 0; n < run.count; ++n)
                                                               send(0, value(run.first + n));
                                                   });
    Array<T> whole(ranks.rank() == 0 ? count : 0);
    const T* next = values.records.data();
    for (const MeshRun& run : runsOf.records)
    {
        std::copy(next, next + run.count, whole.data() + run.number);
        next += run.count;
    }
    return whole;
}

/// Gathers an extra array of the part, if it is one of T for each position.
template <class T>
void gatherExtra(RankGroup& ranks, const RankMesh& part, uint32 n, Mesh& whole)
{
    const ArraySet<MeshArrayInf>& arrays = part.mesh.getArraySet();
    const auto* values = TX_ArrayServer::instance().get<Array<T>>(arrays.handle(n));
    if (!values || values->size() != part.numbers.size()) return;
    Array<T> gathered =
        gatherRuns<T>(ranks, part.vertexRuns, part.vertexCount, [&](uint32 v) { return (*values)[v]; });
    if (ranks.rank() == 0) whole.addArray<T>(arrays.inf(n).name).swap(gathered);
}

bool isExtra(const Mesh& mesh, uint32 n)
{
    const ArraySet<MeshArrayInf>& arrays = mesh.getArraySet();
    for (uint32 slot = 0; slot < meshSlotCount; ++slot)
        if (mesh.handleOf(static_cast<Mesh::Slot>(slot)) == arrays.handle(n)) return false;
    return (arrays.inf(n).flags & MeshArrayInf::PER_POSITION) != 0;
}

}  // namespace

Mesh gatherMesh(RankGroup& ranks, RankMesh part)
{
    Mesh whole;
    whole.setName(part.mesh.getName());
    const bool hasNormals = detail::largestOf(ranks, part.mesh.nor().empty() ? 0 : 1) > 0;
    Array<Vector3D> positions = gatherRuns<Vector3D>(ranks, part.vertexRuns, part.vertexCount,
                                                     [&](uint32 v) { return part.mesh.pos()[v]; });
    whole.refPos().swap(positions);
    part.mesh.refPos().reserve(0);
    Array<Index3> faces =
        gatherRuns<Index3>(ranks, part.faceRuns, part.faceCount,
                           [&](uint32 n)
                           {
                               const Index3& f = part.mesh.trindexPos()[n];
                               return Index3{part.numbers[f.a], part.numbers[f.b], part.numbers[f.c]};
                           });
    whole.refTrindexPos().swap(faces);
    part.mesh.refTrindexPos().reserve(0);
    part.mesh.refTrindexNor().reserve(0);
    if (hasNormals)
    {
        Array<Vector3F> normals = gatherRuns<Vector3F>(ranks, part.vertexRuns, part.vertexCount,
                                                       [&](uint32 v) { return part.mesh.nor()[v]; });
        whole.refNor().swap(normals);
        whole.refTrindexNor() = whole.trindexPos();
    }
    for (uint32 n = 0; n < part.mesh.getArraySet().size(); ++n)
    {
        if (!isExtra(part.mesh, n)) continue;
        gatherExtra<float>(ranks, part, n, whole);
        gatherExtra<Vector3F>(ranks, part, n, whole);
    }
    whole.invalidateBox();
    whole.invalidateConnectivity();
    return whole;
}

}  // namespace tavrix
