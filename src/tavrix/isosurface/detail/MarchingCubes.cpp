#include <tavrix/isosurface/detail/MarchingCubes.h>

#include <algorithm>
#include <memory>
#include <vector>

#include <tavrix/isosurface/detail/EdgeOwners.h>
#include <tavrix/isosurface/detail/VertexOrder.h>

namespace tavrix::detail
{

namespace
{

/// Faces and owned edges; of one slab of cells (one i), or summed over the slabs before it.
struct SlabCount
{
    uint64 faces, vertices;
};

/// One extraction: what its stages read and fill.
struct Builder
{
    const GridDescription3<double>& grid;
    const SignRows& signs;
    const CellRange& cells;
    uint32 threadCount;
    Polling& polling;
    std::vector<SlabCount> slabs;  ///< after placeSlabs: the sums before each slab, and the total
    SurfaceTopology out;

    uint32 slabCount() const { return cells.high.a - cells.low.a; }

    template <class Work>
    bool forEachRow(Work work);
    bool countSlabs();
    void countRows(uint32 slab, uint32 begin, uint32 end);
    bool placeSlabs();
    bool fillSlabs();
    void fillSlabRange(uint32 begin, uint32 end);
    bool followWaveOrder();
};

/// Calls work(begin, end) for the rows of cells of a slab, some between two polls; false when stopped.
template <class Work>
bool Builder::forEachRow(Work work)
{
    const auto rowsPerPoll = static_cast<uint32>(std::max<uint64>(nodesPerPoll / grid.sizeZ, 1));
    for (uint32 begin = cells.low.b; begin < cells.high.b;)
    {
        const uint32 end = begin + std::min(rowsPerPoll, cells.high.b - begin);
        work(begin, end);
        if (!polling.goOn()) return false;
        begin = end;
    }
    return true;
}

bool Builder::countSlabs()
{
    slabs.assign(std::size_t{slabCount()} + 1, {0, 0});
    return polledFor(polling, slabCount(), threadsWorth(grid.size, nodesPerPoll, threadCount),
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         for (uint64 s = begin; s < end; ++s)
                             if (!forEachRow([&](uint32 low, uint32 high)
                                             { countRows(static_cast<uint32>(s), low, high); }))
                                 return;
                     });
}

/// Adds what the rows of cells give to the counts of their slab.
void Builder::countRows(uint32 slab, uint32 begin, uint32 end)
{
    const uint32 i = cells.low.a + slab;
    SlabCount count{0, 0};
    for (uint32 j = begin; j < end; ++j)
        forEachCrossedCell(signs, i, j, cells.low.c, cells.high.c,
                           [&](uint32 k, uint32 index)
                           {
                               count.faces += marchingCubesCases[index].triangleCount;
                               count.vertices += ownedEdgeCounts[firstAlong(cells, i, j, k)][index];
                           });
    slabs[slab].faces += count.faces;
    slabs[slab].vertices += count.vertices;
}

/// Turns the counts into places and makes room for the output; false when there is no surface of two faces.
bool Builder::placeSlabs()
{
    SlabCount sum{0, 0};
    for (SlabCount& slab : slabs)
    {
        const SlabCount count = slab;
        slab = sum;
        sum.faces += count.faces;
        sum.vertices += count.vertices;
    }
    out.cornerCount = sum.faces * 3;
    if (sum.faces < 2) return false;
    out.faces.reserve(Array<Index3>::checkedSize(sum.faces), false);
    out.faces.resize(out.faces.capacity());
    out.vertices.reserve(Array<GridEdgeKey>::checkedSize(sum.vertices), false);
    out.vertices.resize(out.vertices.capacity());
    return true;
}

/// The vertex numbers on the grid edges that start in two neighbouring planes of nodes, i and i + 1; three
/// axes a node. An entry is written by the cell that owns the edge before any other cell reads it.
class EdgePlanes
{
public:
    explicit EdgePlanes(const GridDescription3<double>& grid)
        : _low(new uint32[std::size_t{grid.sizeYZ} * 3]), _high(new uint32[std::size_t{grid.sizeYZ} * 3])
    {
        for (uint32 e = 0; e < 12; ++e)
            _offset[e] =
                (std::size_t{cellEdges[e].dy} * grid.sizeZ + cellEdges[e].dz) * 3 + cellEdges[e].axis;
    }

    /// The number of edge e of the cell whose lower node is the given one of its plane.
    uint32& operator()(std::size_t node, uint32 e)
    {
        return (cellEdges[e].dx ? _high : _low)[node * 3 + _offset[e]];
    }

    /// Steps to the next pair of planes.
    void advance() { _low.swap(_high); }

private:
    std::unique_ptr<uint32[]> _low, _high;
    std::array<std::size_t, 12> _offset;
};

/// Writes the cells of one slab in their order.
class SlabWriter
{
public:
    /// `start` is the slab's place in the output.
    SlabWriter(Builder& builder, EdgePlanes& planes, uint32 slab, SlabCount start)
        : _builder(builder),
          _planes(planes),
          _i(builder.cells.low.a + slab),
          _vertex(static_cast<uint32>(start.vertices)),
          _face(builder.out.faces.data() + start.faces)
    {
    }

    /// Numbers the edges that the cells of these rows own; with `write`, also writes their keys and the
    /// faces.
    template <bool write>
    void run(uint32 begin, uint32 end)
    {
        const CellRange& cells = _builder.cells;
        for (uint32 j = begin; j < end; ++j)
            forEachCrossedCell(_builder.signs, _i, j, cells.low.c, cells.high.c,
                               [&](uint32 k, uint32 index)
                               {
                                   numberOwnEdges<write>(j, k, marchingCubesCases[index]);
                                   if constexpr (write) writeFaces(j, k, marchingCubesCases[index]);
                               });
    }

private:
    std::size_t node(uint32 j, uint32 k) const { return std::size_t{j} * _builder.grid.sizeZ + k; }

    template <bool write>
    void numberOwnEdges(uint32 j, uint32 k, const MarchingCubesCase& c)
    {
        const uint32 own = ownedEdges[firstAlong(_builder.cells, _i, j, k)];
        for (uint32 n = 0; n < c.edgeCount; ++n)
        {
            const uint32 e = c.edges[n];
            if (!(own >> e & 1)) continue;
            const CellEdge& edge = cellEdges[e];
            if constexpr (write)
                _builder.out.vertices[_vertex] = {
                    _builder.grid.getMonoindex(_i + edge.dx, j + edge.dy, k + edge.dz), edge.axis};
            _planes(node(j, k), e) = _vertex++;
        }
    }

    void writeFaces(uint32 j, uint32 k, const MarchingCubesCase& c)
    {
        const auto vertex = [&](uint32 corner) { return _planes(node(j, k), c.corners[corner]); };
        for (uint32 t = 0; t < c.triangleCount; ++t)
            *_face++ = {vertex(3 * t), vertex(3 * t + 1), vertex(3 * t + 2)};
    }

    Builder& _builder;
    EdgePlanes& _planes;
    uint32 _i;
    uint32 _vertex;
    Index3* _face;
};

/// Fills the slabs [begin, end). Their first plane holds edges that the slab before owns, so that slab is
/// walked again for its vertex numbers only.
void Builder::fillSlabRange(uint32 begin, uint32 end)
{
    EdgePlanes planes(grid);
    if (begin > 0)
    {
        SlabWriter writer(*this, planes, begin - 1, slabs[begin - 1]);
        if (!forEachRow([&](uint32 low, uint32 high) { writer.run<false>(low, high); })) return;
        planes.advance();
    }
    for (uint32 s = begin; s < end; ++s, planes.advance())
    {
        SlabWriter writer(*this, planes, s, slabs[s]);
        if (!forEachRow([&](uint32 low, uint32 high) { writer.run<true>(low, high); })) return;
    }
}

bool Builder::fillSlabs()
{
    return polledFor(polling, slabCount(), threadsWorth(grid.size, nodesPerPoll, threadCount),
                     [this](uint32, uint64 begin, uint64 end)
                     { fillSlabRange(static_cast<uint32>(begin), static_cast<uint32>(end)); });
}

/// Brings the faces into the order in which the waves of the parallel loop visit their cells.
bool Builder::followWaveOrder()
{
    const WaveOrder waves(grid.size, threadCount);
    if (waves.isPlain(grid.getMonoindex(cells.high.a - 1, cells.high.b - 1, cells.high.c - 1))) return true;
    std::vector<std::vector<Index3>> lists(waves.workerCount());
    const Index3* face = out.faces.data();
    PollCounter work(polling, scatteredItems);
    for (uint32 i = cells.low.a; i < cells.high.a; ++i)
    {
        for (uint32 j = cells.low.b; j < cells.high.b; ++j)
            forEachCrossedCell(signs, i, j, cells.low.c, cells.high.c,
                               [&](uint32 k, uint32 index)
                               {
                                   auto& list = lists[waves.workerOf(grid.getMonoindex(i, j, k))];
                                   const uint32 count = marchingCubesCases[index].triangleCount;
                                   list.insert(list.end(), face, face + count);
                                   face += count;
                               });
        if (!work.add(grid.sizeYZ)) return false;
    }
    return takeFaces(lists, polling, out);
}

}  // namespace

SurfaceTopology marchCubes(const GridDescription3<double>& grid, const SignRows& signs,
                           const CellRange& cells, uint32 threadCount, Polling& polling)
{
    Builder builder{grid, signs, cells, threadCount, polling, {}, {}};
    if (cells.empty() || !builder.countSlabs()) return {};
    if (!builder.placeSlabs()) return std::move(builder.out);
    if (!builder.fillSlabs() || !builder.followWaveOrder()) return {};
    return std::move(builder.out);
}

}  // namespace tavrix::detail
