#include <tavrix/reconstruction/detail/BlockOrder.h>

#include <algorithm>
#include <bit>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/RankSelection.h>

namespace tavrix::detail
{

namespace
{

/// A block that a rank tells of, with what it has.
struct CountedBlock
{
    BlockIndex block;
    BlockCount count;
};

/// The bits of the largest index along an axis.
uint32 bitsOver(RankGroup& ranks, const std::vector<BlockIndex>& blocks)
{
    uint32 most = 1;
    for (const BlockIndex& block : blocks) most = std::max({most, block[0], block[1], block[2]});
    return static_cast<uint32>(std::bit_width(static_cast<uint32>(largestOf(ranks, most))));
}

/// The indices, behind each other, as one number.
WideKey keyOf(const BlockIndex& block, uint32 bits)
{
    WideKey key{0, 0};
    for (const uint32 index : block)
    {
        key.upper = key.upper << bits | key.lower >> (64 - bits);
        key.lower = key.lower << bits | index;
    }
    return key;
}

/// Where runs of about as many blocks begin, one a rank.
std::vector<WideKey> cutsOf(RankGroup& ranks, const std::vector<BlockIndex>& blocks, uint32 bits)
{
    std::vector<KeyPlace> items;
    items.reserve(blocks.size() + 1);
    for (const BlockIndex& block : blocks)
        items.push_back({keyOf(block, bits), static_cast<int64>(items.size())});
    items.push_back({{}, static_cast<int64>(blocks.size())});
    const int64 total = sumOver(ranks, static_cast<int64>(blocks.size()));
    std::vector<int64> targets;
    for (uint32 r = 1; r < ranks.size(); ++r) targets.push_back(total * r / ranks.size());
    return selectKeys(ranks, items, targets, 3 * bits);
}

/// Replaces the counts of a run's blocks, in any order, by what comes before them on all ranks; returns the
/// count of all.
BlockCount addUp(RankGroup& ranks, Array<CountedBlock>& run)
{
    std::vector<CountedBlock*> sorted;
    for (CountedBlock& block : run) sorted.push_back(&block);
    std::sort(sorted.begin(), sorted.end(),
              [](const CountedBlock* a, const CountedBlock* b) { return a->block < b->block; });
    int64 vertices = 0, faces = 0;
    for (const CountedBlock& block : run)
    {
        vertices += block.count.vertices;
        faces += block.count.faces;
    }
    const std::vector<int64> vertexStarts = startsOver(ranks, vertices),
                             faceStarts = startsOver(ranks, faces);
    BlockCount next{static_cast<uint32>(vertexStarts[ranks.rank()]),
                    static_cast<uint32>(faceStarts[ranks.rank()])};
    for (CountedBlock* block : sorted)
    {
        const BlockCount own = block->count;
        block->count = next;
        next.vertices += own.vertices;
        next.faces += own.faces;
    }
    return {static_cast<uint32>(vertexStarts.back()), static_cast<uint32>(faceStarts.back())};
}

}  // namespace

std::vector<BlockCount> startsInOrder(RankGroup& ranks, const std::vector<BlockIndex>& blocks,
                                      const std::vector<BlockCount>& own)
{
    const uint32 bits = bitsOver(ranks, blocks);
    const std::vector<WideKey> cuts = cutsOf(ranks, blocks, bits);
    auto told = exchangeRecords<CountedBlock>(
        ranks,
        [&](const auto& send)
        {
            for (std::size_t n = 0; n < blocks.size(); ++n)
            {
                const auto behind = std::upper_bound(cuts.begin(), cuts.end(), keyOf(blocks[n], bits));
                send(static_cast<uint32>(behind - cuts.begin()), CountedBlock{blocks[n], own[n]});
            }
        });
    const BlockCount total = addUp(ranks, told.records);
    const auto answers =
        answerRecords<BlockCount>(ranks, told, [](const CountedBlock& block, uint32) { return block.count; });
    // blocks ascend, and so do the ranks that were told of them
    std::vector<BlockCount> starts(answers.records.begin(), answers.records.end());
    starts.push_back(total);
    return starts;
}

}  // namespace tavrix::detail
