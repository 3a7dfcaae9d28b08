#include <algorithm>

#include <tavrix/foundation/detail/RadixSort.h>
#include <tavrix/foundation/Divisor.h>
#include <tavrix/isosurface/detail/EdgeOwners.h>
#include <tavrix/isosurface/detail/MarchingCubes.h>
#include <tavrix/isosurface/detail/VertexOrder.h>

namespace tavrix::detail
{

namespace
{

/// The place of an edge among those of its case that a cell owns, in the order in which they are numbered.
constexpr auto ownedEdgeRanks = []
{
    std::array<std::array<std::array<uint8, 12>, 256>, 8> ranks{};
    for (uint32 first = 0; first < 8; ++first)
        for (uint32 c = 0; c < 256; ++c)
            for (uint32 n = 0, rank = 0; n < marchingCubesCases[c].edgeCount; ++n)
            {
                const uint32 edge = marchingCubesCases[c].edges[n];
                if (ownedEdges[first] >> edge & 1) ranks[first][c][edge] = static_cast<uint8>(rank++);
            }
    return ranks;
}();

/// The number of the edge along an axis that starts at an offset from the cell's lower node.
constexpr uint32 edgeAt(uint32 dx, uint32 dy, uint32 dz, uint32 axis)
{
    for (uint32 e = 0; e < 12; ++e)
        if (cellEdges[e].dx == dx && cellEdges[e].dy == dy && cellEdges[e].dz == dz &&
            cellEdges[e].axis == axis)
            return e;
    return noIndex;
}

/// One extraction from a list of crossed cells, which ascend.
class CellMarcher
{
public:
    CellMarcher(const GridDescription3<double>& grid, const Array<CrossedCell>& crossed,
                const CellRange& cells, uint32 threadCount, Polling& polling)
        : _grid(grid),
          _bySizeYZ(std::max(grid.sizeYZ, 1u)),
          _bySizeZ(std::max(grid.sizeZ, 1u)),
          _crossed(crossed),
          _cells(cells),
          _threadCount(threadCount),
          _polling(polling)
    {
    }

    /// False when there is no surface of two faces, or the polling stopped it.
    bool run(SurfaceTopology& out);

private:
    Index3 nodeOf(uint32 n) const
    {
        const auto [i, rest] = _bySizeYZ.divide(static_cast<uint32>(_crossed[n] >> 32));
        const auto [j, k] = _bySizeZ.divide(rest);
        return {i, j, k};
    }
    static const MarchingCubesCase& caseOf(CrossedCell cell) { return marchingCubesCases[cell & 0xFF]; }

    bool count(SurfaceTopology& out);
    void fill(uint32 begin, uint32 end, SurfaceTopology& out) const;

    const GridDescription3<double>& _grid;
    Divisor _bySizeYZ, _bySizeZ;
    const Array<CrossedCell>& _crossed;
    const CellRange& _cells;
    uint32 _threadCount;
    Polling& _polling;
    Array<uint32> _firstVertex, _firstFace;  ///< of every cell
};

/// Where each cell's vertices and faces begin.
bool CellMarcher::count(SurfaceTopology& out)
{
    _firstVertex.resize(_crossed.size());
    _firstFace.resize(_crossed.size());
    uint64 vertices = 0, faces = 0;
    const bool isDone = inPieces(_polling, _crossed.size(), lightItems,
                                 [&](uint64 begin, uint64 end)
                                 {
                                     for (auto n = static_cast<uint32>(begin); n < end; ++n)
                                     {
                                         const Index3 node = nodeOf(n);
                                         const uint32 first = firstAlong(_cells, node.a, node.b, node.c);
                                         _firstVertex[n] = static_cast<uint32>(vertices);
                                         _firstFace[n] = static_cast<uint32>(faces);
                                         vertices += ownedEdgeCounts[first][_crossed[n] & 0xFF];
                                         faces += caseOf(_crossed[n]).triangleCount;
                                     }
                                 });
    out.cornerCount = faces * 3;
    if (!isDone || faces < 2) return false;
    out.faces.resize(Array<Index3>::checkedSize(faces));
    out.vertices.resize(Array<GridEdgeKey>::checkedSize(vertices));
    return true;
}

/// Writes the vertices and faces of some cells. The vertices of edges that cells before own are found by
/// cursors, one for each of the six places where such a cell may lie, which advance with the cells.
void CellMarcher::fill(uint32 begin, uint32 end, SurfaceTopology& out) const
{
    constexpr uint32 notPlaced = noIndex;
    uint32 cursors[8];
    std::fill_n(cursors, 8, notPlaced);
    const auto isBefore = [](CrossedCell cell, uint32 monoindex) { return cell >> 32 < monoindex; };
    const auto find = [&](uint32 back, uint32 monoindex)
    {
        uint32& cursor = cursors[back];
        if (cursor == notPlaced)
            cursor = static_cast<uint32>(
                std::lower_bound(_crossed.begin(), _crossed.end(), monoindex, isBefore) - _crossed.begin());
        while (isBefore(_crossed[cursor], monoindex)) ++cursor;
        return cursor;
    };
    for (uint32 n = begin; n < end; ++n)
    {
        const Index3 node = nodeOf(n);
        const uint32 first = firstAlong(_cells, node.a, node.b, node.c);
        const MarchingCubesCase& c = caseOf(_crossed[n]);
        uint32 numbers[12];
        for (uint32 m = 0, vertex = _firstVertex[n]; m < c.edgeCount; ++m)
        {
            const uint32 e = c.edges[m];
            const CellEdge& edge = cellEdges[e];
            if (ownedEdges[first] >> e & 1)
            {
                out.vertices[vertex] = {
                    _grid.getMonoindex(node.a + edge.dx, node.b + edge.dy, node.c + edge.dz), edge.axis};
                numbers[e] = vertex++;
                continue;
            }
            const uint32 offset[] = {edge.dx, edge.dy, edge.dz};
            uint32 back = 0, moved[3],
                   owner[3];  // one step back along each axis where that cell is in the range
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const bool isBack = axis != edge.axis && offset[axis] == 0 && !(first >> axis & 1);
                back |= isBack ? 1u << axis : 0;
                moved[axis] = offset[axis] + (isBack ? 1 : 0);
                owner[axis] = node[axis] - (isBack ? 1 : 0);
            }
            const uint32 at = find(back, _grid.getMonoindex(owner[0], owner[1], owner[2]));
            numbers[e] = _firstVertex[at] +
                         ownedEdgeRanks[firstAlong(_cells, owner[0], owner[1], owner[2])][_crossed[at] & 0xFF]
                                       [edgeAt(moved[0], moved[1], moved[2], edge.axis)];
        }
        Index3* face = out.faces.data() + _firstFace[n];
        for (std::size_t corner = 0; corner < std::size_t{c.triangleCount} * 3; corner += 3)
            *face++ = {numbers[c.corners[corner]], numbers[c.corners[corner + 1]],
                       numbers[c.corners[corner + 2]]};
    }
}

bool CellMarcher::run(SurfaceTopology& out)
{
    if (!count(out)) return false;
    if (!inPieces(_polling, _crossed.size(), scatteredItems, _threadCount,
                  [&](uint32, uint64 begin, uint64 end)
                  { fill(static_cast<uint32>(begin), static_cast<uint32>(end), out); }))
        return false;
    const WaveOrder waves(_grid.size, _threadCount);
    if (waves.isPlain(static_cast<uint32>(_crossed.back() >> 32))) return true;
    std::vector<std::vector<Index3>> lists(waves.workerCount());
    for (uint32 n = 0; n < _crossed.size(); ++n)
    {
        auto& list = lists[waves.workerOf(_crossed[n] >> 32)];
        const Index3* faces = out.faces.data() + _firstFace[n];
        list.insert(list.end(), faces, faces + caseOf(_crossed[n]).triangleCount);
    }
    return takeFaces(lists, _polling, out);
}

}  // namespace

SurfaceTopology marchCubes(const GridDescription3<double>& grid, Array<CrossedCell> crossed,
                           const CellRange& cells, uint32 threadCount, Polling& polling)
{
    if (!std::is_sorted(crossed.begin(), crossed.end())) radixSortByUpperHalf(crossed, threadCount, polling);
    SurfaceTopology out;
    if (polling.isStopped() || !CellMarcher(grid, crossed, cells, threadCount, polling).run(out))
        return {out.cornerCount, {}, {}};
    return out;
}

}  // namespace tavrix::detail
