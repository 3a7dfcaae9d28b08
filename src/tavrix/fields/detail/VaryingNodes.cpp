#include <tavrix/fields/detail/VaryingNodes.h>

#include <algorithm>

#include <tavrix/fields/detail/AdvectionKernel.h>

namespace tavrix::detail
{

namespace
{

constexpr uint32 groupSize = 8;
constexpr uint64 runsPerVaryingPiece = 4096;

/// Eight bytes of 0 or 1 as the bits of one.
uint8 packed(const uint8* flags, uint32 count)
{
    uint32 bits = 0;
    for (uint32 n = 0; n < count; ++n) bits |= uint32{flags[n]} << n;
    return static_cast<uint8>(bits);
}

/// into[n] |= from[n]
void unite(uint8* into, const uint8* from, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n) into[n] |= from[n];
}

}  // namespace

VaryingNodes::VaryingNodes(const GridDescription3<double>& grid, uint32 motion, float tolerance,
                           uint32 threadCount)
    : _grid(grid),
      _motion(motion),
      _threadCount(threadCount),
      _groups((grid.sizeZ + groupSize - 1) / groupSize),
      _tolerance(tolerance),
      _varying(grid.sizeX * planeSize()),
      _nearY(_varying.size()),
      _near(_varying.size()),
      _worked(_varying.size())
{
}

void VaryingNodes::mark(const float* samples, const NodeRun& run, Scratch& scratch)
{
    const auto row = [&](uint32 i, uint32 j) { return samples + _grid.getMonoindex(i, j, run.k); };
    const float* own = row(run.i, run.j);
    const float* const beside[4] = {
        row(run.i - std::min(run.i, 1u), run.j), row(std::min(run.i + 1, _grid.sizeX - 1), run.j),
        row(run.i, run.j - std::min(run.j, 1u)), row(run.i, std::min(run.j + 1, _grid.sizeY - 1))};
    // with a node more on either side
    const uint32 before = std::min(run.k, 1u), end = std::min(run.k + run.count, _grid.sizeZ - 1) - run.k;
    scratch.row.resize(run.count + 2);
    scratch.flags.resize(run.count);
    std::copy_n(own, run.count, scratch.row.begin() + 1);
    scratch.row.front() = own[-static_cast<int32>(before)];
    scratch.row.back() = own[end];
    TX_RUN_KERNEL(findVarying, scratch.row.data() + 1, beside, run.count, _tolerance, scratch.flags.data());
    uint8* groups = rowOf(_varying, run.i, run.j) + run.k / groupSize;
    for (uint32 n = 0; n < run.count; n += groupSize)
        *groups++ = packed(scratch.flags.data() + n, std::min(groupSize, run.count - n));
}

bool VaryingNodes::find(const float* samples, Polling& polling)
{
    const uint64 rows = uint64{_grid.sizeX} * _grid.sizeY;
    inPieces(polling, rows, std::max<uint64>(lightItems / std::max(_grid.sizeZ, 1u), 1), _threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 Scratch scratch;
                 for (uint64 row = begin; row < end; ++row)
                     mark(samples,
                          {static_cast<uint32>(row / _grid.sizeY), static_cast<uint32>(row % _grid.sizeY), 0,
                           _grid.sizeZ, nullptr},
                          scratch);
             });
    return gather(polling);
}

bool VaryingNodes::follow(const float* samples, Polling& polling)
{
    std::fill(_varying.begin(), _varying.end(), uint8{0});
    inPieces(polling, _runs.size(), runsPerVaryingPiece, _threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 Scratch scratch;
                 for (uint64 n = begin; n < end; ++n) mark(samples, _runs[n], scratch);
             });
    return gather(polling);
}

/// task(i, j, scratch), of as many bytes as a row has groups, for all rows.
template <class RowTask>
bool VaryingNodes::forEachRow(Polling& polling, RowTask task) const
{
    const uint64 perPiece = std::max<uint64>(lightItems / std::max<std::size_t>(planeSize(), 1), 1);
    return inPieces(polling, _grid.sizeX, perPiece, _threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        std::vector<uint8> scratch(_groups);
                        for (auto i = static_cast<uint32>(begin); i < end; ++i)
                            for (uint32 j = 0; j < _grid.sizeY; ++j) task(i, j, scratch.data());
                    });
}

/// Makes runs of what was marked: what may move there, and what sees that along an axis.
bool VaryingNodes::gather(Polling& polling)
{
    forEachRow(polling,
               [&](uint32 i, uint32 j, uint8* scratch)
               {
                   uint8* row = rowOf(_nearY, i, j);
                   widenAlongY(_varying, i, j, _motion, scratch);
                   widenAlongZ(scratch, row, _motion);
               });
    forEachRow(polling,
               [&](uint32 i, uint32 j, uint8*) { widenAlongX(_nearY, i, j, _motion, rowOf(_near, i, j)); });
    forEachRow(polling,
               [&](uint32 i, uint32 j, uint8* scratch)
               {
                   uint8* row = rowOf(_worked, i, j);
                   widenAlongZ(rowOf(_near, i, j), row, advectionReach);
                   widenAlongX(_near, i, j, advectionReach, scratch);
                   unite(row, scratch, _groups);
                   widenAlongY(_near, i, j, advectionReach, scratch);
                   unite(row, scratch, _groups);
               });
    _runs.clear();
    for (uint32 i = 0; i < _grid.sizeX; ++i) listRuns(i, _runs);
    return !polling.isStopped();
}

void VaryingNodes::widenAlongZ(const uint8* from, uint8* to, uint32 by) const
{
    for (uint32 g = 0; g < _groups; ++g)
    {
        uint32 bits = uint32{from[g]} << 8;
        if (g > 0) bits |= from[g - 1];
        if (g + 1 < _groups) bits |= uint32{from[g + 1]} << 16;
        for (uint32 n = 0; n < by; ++n) bits |= bits << 1 | bits >> 1;
        to[g] = static_cast<uint8>(bits >> 8);
    }
}

void VaryingNodes::widenAlongY(const Bits& from, uint32 i, uint32 j, uint32 by, uint8* to) const
{
    std::fill(to, to + _groups, uint8{0});
    const uint32 last = std::min(j + by, _grid.sizeY - 1);
    for (uint32 near = j - std::min(j, by); near <= last; ++near) unite(to, rowOf(from, i, near), _groups);
}

void VaryingNodes::widenAlongX(const Bits& from, uint32 i, uint32 j, uint32 by, uint8* to) const
{
    std::fill(to, to + _groups, uint8{0});
    const uint32 last = std::min(i + by, _grid.sizeX - 1);
    for (uint32 near = i - std::min(i, by); near <= last; ++near) unite(to, rowOf(from, near, j), _groups);
}

void VaryingNodes::listRuns(uint32 i, std::vector<NodeRun>& runs) const
{
    for (uint32 j = 0; j < _grid.sizeY; ++j)
    {
        const uint8* row = rowOf(_worked, i, j);
        for (uint32 g = 0; g < _groups; ++g)
        {
            if (row[g] == 0) continue;
            const uint32 first = g;
            while (g < _groups && row[g] != 0) ++g;
            const uint32 k = first * groupSize;
            runs.push_back({i, j, k, std::min(g * groupSize, _grid.sizeZ) - k, row + first});
        }
    }
}

}  // namespace tavrix::detail
