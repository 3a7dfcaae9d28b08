#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// Compressed adjacency lists: around position p the entries of the block info[p] of data.
struct Lists
{
    Array<BlockDesc> info;
    Array<uint32> data;
};

/// forEachPair(visit) calls visit(position, value) for every entry, twice and in the same order, which is the
/// order of the entries in each list.
template <class ForEachPair>
Lists buildLists(uint32 positionCount, const ForEachPair& forEachPair)
{
    Lists lists;
    Array<BlockDesc>& info = lists.info;
    Array<uint32>& data = lists.data;
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
    return lists;
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

/// Both face-edges of every edge: its first use, and the one on the other side of it.
Array<uint32> edgeSides(const detail::EdgeTable& edges, uint32 faceCount)
{
    const Array<FacedgeTriple> neighbours = detail::facedgeNeighbours(edges, faceCount);
    Array<uint32> sides;
    sides.reserve(Array<uint32>::checkedSize(std::size_t{edges.edgeCount} * 2));
    for (const uint32 h : edges.firstHalfEdges())
    {
        sides.push_back(detail::facedgeOfHalfEdge(h).value);
        sides.push_back(neighbours[h / 3][h % 3].value);
    }
    return sides;
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
    require<uint32>(Slot::BindexFacedge) =
        edgeSides(detail::EdgeTable(trindexPos(), getPosSize()), getFacesSize());
}

/// Puts lists into their two slots; the lists are complete before a slot shows them.
void Mesh::setLists(Slot infoSlot, Array<BlockDesc>& info, Slot dataSlot, Array<uint32>& data)
{
    Array<BlockDesc>& infoInMesh = require<BlockDesc>(infoSlot);
    require<uint32>(dataSlot).swap(data);
    infoInMesh.swap(info);
}

void Mesh::createSafe_PosConnectivityToPos()
{
    if (!getArrPosPosInfo().isNone() && posPosInfo().size() == getPosSize()) return;
    createSafe_arrBindexPos();
    const Array<uint32>& ends = bindexPos();
    Lists lists = buildLists(getPosSize(),
                             [&](const auto& visit)
                             {
                                 for (uint32 i = 0; i < ends.size(); ++i) visit(ends[i], ends[i ^ 1]);
                             });
    setLists(Slot::PosPosInfo, lists.info, Slot::PosPosData, lists.data);
}

void Mesh::createSafe_PosConnectivityToEdges()
{
    if (!handleOf(Slot::PosEdgeInfo).isNone() && posEdgeInfo().size() == getPosSize()) return;
    createSafe_arrBindexPos();
    const Array<uint32>& ends = bindexPos();
    Lists lists = buildLists(getPosSize(),
                             [&](const auto& visit)
                             {
                                 for (uint32 i = 0; i < ends.size(); ++i) visit(ends[i], i / 2);
                             });
    setLists(Slot::PosEdgeInfo, lists.info, Slot::PosEdgeData, lists.data);
}

void Mesh::createSafe_PosConnectivityToFaces()
{
    if (!handleOf(Slot::PosFaceInfo).isNone() && posFaceInfo().size() == getPosSize()) return;
    const Array<Index3>& faces = trindexPos();
    Lists lists = buildLists(getPosSize(),
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
    setLists(Slot::PosFaceInfo, lists.info, Slot::PosFaceData, lists.data);
}

}  // namespace tavrix
