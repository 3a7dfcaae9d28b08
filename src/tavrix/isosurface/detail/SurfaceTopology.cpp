#include <tavrix/isosurface/detail/SurfaceTopology.h>

#include <algorithm>
#include <bit>
#include <vector>

#include <tavrix/foundation/detail/Divisor.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/isosurface/detail/MarchingCubesTable.h>

namespace tavrix::detail
{

namespace
{

/// Nodes that one worker handles between two polls of the callback: some tens of milliseconds.
constexpr uint64 nodesPerPoll = uint64{1} << 25;

/// Calls visit(k, case index) for every cell of the column (i, j), low <= k < high, that the surface crosses.
template <class Visit>
void forEachCrossedCell(const SignRows& signs, uint32 i, uint32 j, uint32 low, uint32 high, Visit visit)
{
    const uint64* rows[4] = {signs.row(i, j), signs.row(i + 1, j), signs.row(i + 1, j + 1),
                             signs.row(i, j + 1)};
    for (uint32 w = low / 64; w <= (high - 1) / 64; ++w)
    {
        uint64 near[4], far[4];
        uint64 any = 0, all = ~uint64{0};
        for (uint32 r = 0; r < 4; ++r)
        {
            const uint64 next = w + 1 < signs.wordsPerRow() ? rows[r][w + 1] : 0;
            near[r] = rows[r][w];
            far[r] = near[r] >> 1 | next << 63;
            any |= near[r] | far[r];
            all &= near[r] & far[r];
        }
        uint64 crossed = any & ~all;
        if (w == low / 64) crossed &= ~uint64{0} << (low % 64);
        if (w == high / 64) crossed &= (uint64{1} << (high % 64)) - 1;
        for (; crossed != 0; crossed &= crossed - 1)
        {
            const auto bit = static_cast<uint32>(std::countr_zero(crossed));
            uint64 index = 0;
            for (uint32 r = 0; r < 4; ++r)
                index |= (near[r] >> bit & 1) << r | (far[r] >> bit & 1) << (r + 4);
            visit(w * 64 + bit, static_cast<uint32>(index));
        }
    }
}

/// For each of the eight combinations "first cell along x, y, z" (bits 0, 1, 2), the edges that a cell owns:
/// those that no earlier cell shares, which lie on the far side, or on the range's low border, of both axes
/// across them.
constexpr std::array<uint16, 8> ownedEdges = []
{
    std::array<uint16, 8> masks{};
    for (uint32 first = 0; first < 8; ++first)
        for (uint32 e = 0; e < 12; ++e)
        {
            const CellEdge& edge = cellEdges[e];
            const bool x = edge.axis == 0 || edge.dx == 1 || (first & 1);
            const bool y = edge.axis == 1 || edge.dy == 1 || (first & 2);
            const bool z = edge.axis == 2 || edge.dz == 1 || (first & 4);
            if (x && y && z) masks[first] = static_cast<uint16>(masks[first] | 1u << e);
        }
    return masks;
}();

/// How many edges a cell of a case owns, for each of those combinations.
constexpr std::array<std::array<uint8, 256>, 8> ownedEdgeCounts = []
{
    std::array<std::array<uint8, 256>, 8> counts{};
    for (uint32 first = 0; first < 8; ++first)
        for (uint32 c = 0; c < 256; ++c)
            counts[first][c] = static_cast<uint8>(
                std::popcount(static_cast<uint32>(marchingCubesCases[c].edgeMask & ownedEdges[first])));
    return counts;
}();

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
    CancelCallback callback;
    std::vector<SlabCount> slabs;  ///< after placeSlabs: the sums before each slab, and the total
    SurfaceTopology out;

    /// Bits 0, 1, 2: the cell is the first of the range along x, y, z.
    uint32 firstAlong(uint32 i, uint32 j, uint32 k) const
    {
        return (i == cells.low.a ? 1u : 0u) | (j == cells.low.b ? 2u : 0u) | (k == cells.low.c ? 4u : 0u);
    }

    uint32 slabCount() const { return cells.high.a - cells.low.a; }

    bool forEachSlabRange(const std::function<void(uint32, uint32)>& work) const;
    bool countSlabs();
    bool placeSlabs();
    bool fillSlabs();
    void fillSlabRange(uint32 begin, uint32 end);
    void followWaveOrder();
    bool numberByBucket();
};

/// Runs work(begin, end) over ranges of slabs in parallel, polling between rounds; false when cancelled.
bool Builder::forEachSlabRange(const std::function<void(uint32, uint32)>& work) const
{
    const uint64 perRound = std::max<uint64>(nodesPerPoll / grid.sizeYZ, 1) * std::max(threadCount, 1u);
    for (uint64 start = 0; start < slabCount(); start += perRound)
    {
        if (isCancelled(callback)) return false;
        const uint64 count = std::min<uint64>(perRound, slabCount() - start);
        parallelFor(count, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { work(static_cast<uint32>(start + begin), static_cast<uint32>(start + end)); });
    }
    return true;
}

bool Builder::countSlabs()
{
    slabs.assign(std::size_t{slabCount()} + 1, {0, 0});
    return forEachSlabRange(
        [&](uint32 begin, uint32 end)
        {
            for (uint32 s = begin; s < end; ++s)
            {
                const uint32 i = cells.low.a + s;
                SlabCount count{0, 0};
                for (uint32 j = cells.low.b; j < cells.high.b; ++j)
                    forEachCrossedCell(signs, i, j, cells.low.c, cells.high.c,
                                       [&](uint32 k, uint32 index)
                                       {
                                           count.faces += marchingCubesCases[index].triangleCount;
                                           count.vertices += ownedEdgeCounts[firstAlong(i, j, k)][index];
                                       });
                slabs[s] = count;
            }
        });
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
    out.vertices.reserve(Array<EdgeKey>::checkedSize(sum.vertices), false);
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

/// Fills the slabs [begin, end). Their first plane holds edges that the slab before owns, so that slab is
/// walked again for its vertex numbers only.
void Builder::fillSlabRange(uint32 begin, uint32 end)
{
    EdgePlanes planes(grid);
    for (uint32 s = begin == 0 ? 0 : begin - 1; s < end; ++s)
    {
        const bool write = s >= begin;
        const uint32 i = cells.low.a + s;
        auto vertex = static_cast<uint32>(slabs[s].vertices);
        Index3* face = out.faces.data() + slabs[s].faces;
        for (uint32 j = cells.low.b; j < cells.high.b; ++j)
        {
            const std::size_t row = std::size_t{j} * grid.sizeZ;
            const auto emit = [&](uint32 k, uint32 index)
            {
                const MarchingCubesCase& c = marchingCubesCases[index];
                const uint32 own = ownedEdges[firstAlong(i, j, k)];
                uint32 number[12];
                for (uint32 n = 0; n < c.edgeCount; ++n)
                {
                    const uint32 e = c.edges[n];
                    uint32& slot = planes(row + k, e);
                    if (own >> e & 1)
                    {
                        if (write)
                            out.vertices[vertex] = {
                                grid.getMonoindex(i + cellEdges[e].dx, j + cellEdges[e].dy,
                                                  k + cellEdges[e].dz),
                                cellEdges[e].axis};
                        slot = vertex++;
                    }
                    number[e] = slot;
                }
                if (!write) return;
                for (uint32 t = 0; t < c.triangleCount; ++t)
                    *face++ = {number[c.corners[3 * t]], number[c.corners[3 * t + 1]],
                               number[c.corners[3 * t + 2]]};
            };
            forEachCrossedCell(signs, i, j, cells.low.c, cells.high.c, emit);
        }
        planes.advance();
    }
}

bool Builder::fillSlabs()
{
    return forEachSlabRange([this](uint32 begin, uint32 end) { fillSlabRange(begin, end); });
}

/// The parallel loop over n nodes gives the last n mod threads of them to the first workers in a second wave,
/// so those cells follow their worker's first run. They lie in the last plane, where no cell starts, unless
/// there are more threads than a plane has nodes; then the faces are brought into that order and the vertices
/// renumbered by appearance.
void Builder::followWaveOrder()
{
    const uint64 nodes = grid.size;
    const uint64 workers = std::min<uint64>(std::max(threadCount, 1u), nodes);
    const uint64 chunk = nodes / workers;
    const uint64 leftover = workers * chunk;
    const uint32 lastCell = grid.getMonoindex(cells.high.a - 1, cells.high.b - 1, cells.high.c - 1);
    if (lastCell < leftover) return;

    std::vector<std::vector<Index3>> lists(workers);
    const Index3* face = out.faces.data();
    for (uint32 i = cells.low.a; i < cells.high.a; ++i)
        for (uint32 j = cells.low.b; j < cells.high.b; ++j)
            forEachCrossedCell(signs, i, j, cells.low.c, cells.high.c,
                               [&](uint32 k, uint32 index)
                               {
                                   const uint64 node = grid.getMonoindex(i, j, k);
                                   auto& list = lists[node < leftover ? node / chunk : node - leftover];
                                   const uint32 count = marchingCubesCases[index].triangleCount;
                                   list.insert(list.end(), face, face + count);
                                   face += count;
                               });

    const Array<EdgeKey> keys = out.vertices;
    Array<uint32> renumbered(keys.size(), noIndex);
    uint32 vertex = 0;
    Index3* target = out.faces.data();
    for (const auto& list : lists)
        for (Index3 f : list)
        {
            for (uint32 c = 0; c < 3; ++c)
            {
                uint32& number = renumbered[f[c]];
                if (number == noIndex)
                {
                    out.vertices[vertex] = keys[f[c]];
                    number = vertex++;
                }
                f[c] = number;
            }
            *target++ = f;
        }
}

/// Renumbers the vertices, so far in order of first appearance, bucket by bucket. Each worker sorts the keys
/// that fall into a range of buckets of its own.
bool Builder::numberByBucket()
{
    const uint32 bucketCount = out.faces.size() / 2;
    const Divisor buckets(bucketCount);
    const auto bucketOf = [&](uint32 monoindex) { return buckets.divide(monoindex).rest; };
    const uint32 workers = std::clamp(threadCount, 1u, bucketCount);
    const auto firstBucket = [&](uint64 w) { return static_cast<uint32>(uint64{bucketCount} * w / workers); };
    const Array<EdgeKey>& keys = out.vertices;

    Array<uint32> next(bucketCount);
    std::vector<uint32> workerCount(std::size_t{workers} + 1, 0);
    if (isCancelled(callback)) return false;
    parallelFor(workers, workers,
                [&](uint32, uint64 begin, uint64 end)
                {
                    const uint32 low = firstBucket(begin), size = firstBucket(end) - low;
                    std::fill_n(next.data() + low, size, 0u);
                    uint32 count = 0;
                    for (const EdgeKey& key : keys)
                    {
                        const uint32 bucket = bucketOf(key.a) - low;
                        if (bucket >= size) continue;
                        ++next[low + bucket];
                        ++count;
                    }
                    workerCount[begin + 1] = count;
                });
    for (uint32 w = 0; w < workers; ++w) workerCount[w + 1] += workerCount[w];

    if (isCancelled(callback)) return false;
    Array<EdgeKey> sorted(keys.size());
    Array<uint32> number(keys.size());
    parallelFor(workers, workers,
                [&](uint32, uint64 begin, uint64 end)
                {
                    const uint32 low = firstBucket(begin), size = firstBucket(end) - low;
                    uint32 place = workerCount[begin];
                    for (uint32 bucket = low; bucket < low + size; ++bucket)
                        place += std::exchange(next[bucket], place);
                    for (uint32 v = 0; v < keys.size(); ++v)
                    {
                        const uint32 bucket = bucketOf(keys[v].a) - low;
                        if (bucket >= size) continue;
                        const uint32 final = next[low + bucket]++;
                        sorted[final] = keys[v];
                        number[v] = final;
                    }
                });
    if (isCancelled(callback)) return false;
    out.vertices = std::move(sorted);
    parallelFor(out.faces.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 f = begin; f < end; ++f)
                    {
                        Index3& face = out.faces[f];
                        face = {number[face.a], number[face.b], number[face.c]};
                    }
                });
    return true;
}

}  // namespace

SurfaceTopology buildSurfaceTopology(const GridDescription3<double>& grid, const SignRows& signs,
                                     const CellRange& cells, uint32 threadCount, CancelCallback callback)
{
    Builder builder{grid, signs, cells, threadCount, callback, {}, {}};
    if (cells.empty() || !builder.countSlabs()) return {};
    if (!builder.placeSlabs()) return std::move(builder.out);
    if (!builder.fillSlabs()) return {};
    builder.followWaveOrder();
    if (!builder.numberByBucket()) return {};
    return std::move(builder.out);
}

}  // namespace tavrix::detail
