#include <tavrix/spatial/detail/TreeSplit.h>

#include <algorithm>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

namespace
{

float centerOf(const Box3F& box, uint32 axis)
{
    return box.min[axis] + (box.max[axis] - box.min[axis]) * 0.5f;
}

Box3F calculateIntegratingRequestBox(const IntegratingEntry* entries, uint32 count)
{
    Box3F box = Box3F::empty();
    for (uint32 n = 0; n < count; ++n) box.extend(entries[n].box);
    return box;
}

uint32 selectSplitAxis(const IntegratingEntry* entries, uint32 count, const Vector3F& center)
{
    uint32 across[3] = {0, 0, 0};
    for (uint32 n = 0; n < count; ++n)
    {
        const Box3F& b = entries[n].box;
        across[0] += (b.min.x <= center.x) & (center.x <= b.max.x);
        across[1] += (b.min.y <= center.y) & (center.y <= b.max.y);
        across[2] += (b.min.z <= center.z) & (center.z <= b.max.z);
    }
    const auto [nx, ny, nz] = across;
    if (nx >= ny) return ny >= nz ? 2 : 1;
    return nx >= nz ? 2 : 0;
}

/// Brings the entries with a centre below the value to the front, both sides in their order. A block of the
/// scratch entries, as long, holds the others meanwhile.
uint32 partition(IntegratingEntry* entries, uint32 count, uint32 axis, float value, IntegratingEntry* scratch)
{
    uint32 low = 0, high = 0;
    for (uint32 n = 0; n < count; ++n)
    {
        const IntegratingEntry entry = entries[n];
        const bool isLow = centerOf(entry.box, axis) < value;
        entries[low] = entry;
        scratch[high] = entry;
        low += isLow;
        high += !isLow;
    }
    std::copy(scratch, scratch + high, entries + low);
    return low;
}

void sortAlong(IntegratingEntry* entries, uint32 count, uint32 axis)
{
    std::stable_sort(entries, entries + count,
                     [axis](const IntegratingEntry& a, const IntegratingEntry& b)
                     {
                         const float x = centerOf(a.box, axis), y = centerOf(b.box, axis);
                         return x < y || (x == x && y != y);
                     });
}

/// Orders the entries of a block for its split and returns the number of those on the low side.
uint32 split(IntegratingEntry* entries, uint32 count, IntegratingEntry* scratch)
{
    const Box3F box = calculateIntegratingRequestBox(entries, count);
    const Vector3F center{centerOf(box, 0), centerOf(box, 1), centerOf(box, 2)};
    const uint32 axis = selectSplitAxis(entries, count, center);
    const uint32 low = partition(entries, count, axis, center[axis], scratch);
    const uint32 least = count / 8, most = count - count / 8;
    if (least <= low && low <= most) return low;
    sortAlong(entries, count, axis);
    return std::clamp(low, least, most);
}

/// One round: splits the blocks that are too large. False when there was none.
bool distributeInBlocksIteration(Array<IntegratingEntry>& entries, Array<IntegratingEntry>& scratch,
                                 Array<BlockDesc>& blocks, uint32 threadCount)
{
    std::vector<uint32> large;
    for (uint32 b = 0; b < blocks.size(); ++b)
        if (blocks[b].count > largestBlock) large.push_back(b);
    std::vector<uint32> cuts(large.size());
    parallelFor(large.size(), threadsWorth(entries.size(), scatteredItems, threadCount),
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                    {
                        const auto [start, count] = blocks[large[n]];
                        cuts[n] = split(entries.data() + start, count, scratch.data() + start);
                    }
                });
    for (std::size_t n = 0; n < large.size(); ++n)
    {
        const auto [start, count] = blocks[large[n]];
        blocks[large[n]].count = cuts[n];
        blocks.push_back({start + cuts[n], count - cuts[n]});
    }
    return !large.empty();
}

}  // namespace

Array<BlockDesc> splitIntoBlocks(Array<IntegratingEntry>& entries, uint32 threadCount)
{
    Array<BlockDesc> blocks{{0, entries.size()}};
    Array<IntegratingEntry> scratch(entries.size());
    while (distributeInBlocksIteration(entries, scratch, blocks, threadCount)) {}
    return blocks;
}

}  // namespace tavrix::detail
