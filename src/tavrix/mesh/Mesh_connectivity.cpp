#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// Compressed adjacency lists: forEachPair(visit) calls visit(position, value) for every entry, twice and in
/// the same order, which is the order of the entries in each list.
template <class ForEachPair>
void buildLists(Array<BlockDesc>& info, Array<uint32>& data, uint32 positionCount,
                const ForEachPair& forEachPair)
{
    info.assign(positionCount, {0, 0});
    forEachPair([&](uint32 position, uint32) { ++info[position].count; });
    uint64 total = 0;
    for (BlockDesc& block : info)
    {
        block.start = static_cast<uint32>(total);
        total += std::exchange(block.count, 0);
    }
    data.resize(Array<uint32>::checkedSize(total));
    forEachPair([&](uint32 position, uint32 value)
                { data[info[position].start + info[position].count++] = value; });
}

/// Both ends of every edge, in the direction of the face that uses it first.
Array<uint32> edgeEnds(const detail::EdgeTable& edges, const Array<Index3>& faces)
{
    Array<uint32> ends;
    ends.reserve(Array<uint32>::checkedSize(std::size_t{edges.edgeCount} * 2));
    for (const uint32 h : edges.firstHalfEdges())
    {
        ends.push_back(faces[h / 3][h % 3]);
        ends.push_back(faces[h / 3][(h + 1) % 3]);
    }
    return ends;
}

}  // namespace

void Mesh::createSafe_arrTrindexFacedge()
{
    if (trindexFacedge().size() == getFacesSize()) return;
    const detail::EdgeTable edges(trindexPos(), getPosSize());
    refTrindexFacedge() = detail::facedgeNeighbours(edges, getFacesSize());
}

void Mesh::createSafe_arrBindexPos()
{
    if (!getArrBindexPos().isNone()) return;
    require<uint32>(Slot::BindexPos) = edgeEnds(detail::EdgeTable(trindexPos(), getPosSize()), trindexPos());
}

void Mesh::createSafe_arrBindexFacedge()
{
    if (!handleOf(Slot::BindexFacedge).isNone()) return;
    const detail::EdgeTable edges(trindexPos(), getPosSize());
    const Array<FacedgeTriple> neighbours = detail::facedgeNeighbours(edges, getFacesSize());
    Array<uint32>& sides = require<uint32>(Slot::BindexFacedge);
    sides.reserve(2 * edges.edgeCount, false);
    for (const uint32 h : edges.firstHalfEdges())
    {
        sides.push_back(detail::facedgeOfHalfEdge(h).value);
        sides.push_back(neighbours[h / 3][h % 3].value);
    }
}

void Mesh::createSafe_PosConnectivityToPos()
{
    if (!getArrPosPosInfo().isNone() && posPosInfo().size() == getPosSize()) return;
    createSafe_arrBindexPos();
    const Array<uint32>& ends = bindexPos();
    buildLists(require<BlockDesc>(Slot::PosPosInfo), require<uint32>(Slot::PosPosData), getPosSize(),
               [&](const auto& visit)
               {
                   for (uint32 i = 0; i < ends.size(); ++i) visit(ends[i], ends[i ^ 1]);
               });
}

void Mesh::createSafe_PosConnectivityToEdges()
{
    if (!handleOf(Slot::PosEdgeInfo).isNone() && posEdgeInfo().size() == getPosSize()) return;
    createSafe_arrBindexPos();
    const Array<uint32>& ends = bindexPos();
    buildLists(require<BlockDesc>(Slot::PosEdgeInfo), require<uint32>(Slot::PosEdgeData), getPosSize(),
               [&](const auto& visit)
               {
                   for (uint32 i = 0; i < ends.size(); ++i) visit(ends[i], i / 2);
               });
}

void Mesh::createSafe_PosConnectivityToFaces()
{
    if (!handleOf(Slot::PosFaceInfo).isNone() && posFaceInfo().size() == getPosSize()) return;
    const Array<Index3>& faces = trindexPos();
    buildLists(require<BlockDesc>(Slot::PosFaceInfo), require<uint32>(Slot::PosFaceData), getPosSize(),
               [&](const auto& visit)
               {
                   for (uint32 f = 0; f < faces.size(); ++f)
                   {
                       const Index3 t = faces[f];
                       visit(t.a, f);
                       if (t.b != t.a) visit(t.b, f);
                       if (t.c != t.a && t.c != t.b) visit(t.c, f);
                   }
               });
}

}  // namespace tavrix
