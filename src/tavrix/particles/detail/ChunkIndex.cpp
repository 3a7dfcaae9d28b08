#include <tavrix/particles/detail/ChunkIndex.h>

#include <algorithm>
#include <numeric>

namespace tavrix::detail
{

/// Makes the index when it is worth it; false when it is not.
bool ChunkIndex::prepare(const Chunks& chunks)
{
    constexpr uint32 lookupsPerIndex = 64, fewChunks = 4, stepsPerChunk = 8;
    if (chunks.size() < fewChunks || ++_lookups < lookupsPerIndex) return false;
    uint64 high = 0;
    _low = ~uint64{0};
    for (const ParticleSystemChunk_v2& chunk : chunks)
    {
        _low = std::min(_low, chunk.getMinId());
        high = std::max(high, chunk.getMaxId());
    }
    if (_low > high) return false;
    _shift = 0;
    while ((high - _low) >> _shift >= uint64{stepsPerChunk} * chunks.size()) ++_shift;
    const auto steps = static_cast<uint32>((high - _low) >> _shift) + 1;

    // Every step takes the first chunk that reaches it: next[n] leads to the first one from n on without.
    _first.assign(steps, nullptr);
    std::vector<uint32> next(steps + 1);
    std::iota(next.begin(), next.end(), 0u);
    const auto firstFree = [&next](uint32 step)
    {
        while (next[step] != step) step = next[step] = next[next[step]];
        return step;
    };
    for (Chunks::Node* node = chunks.head(); node; node = node->next)
    {
        const ParticleSystemChunk_v2& chunk = *node->value;
        if (chunk.getMinId() > chunk.getMaxId()) continue;
        const auto last = static_cast<uint32>((chunk.getMaxId() - _low) >> _shift);
        for (uint32 step = firstFree(static_cast<uint32>((chunk.getMinId() - _low) >> _shift)); step <= last;
             step = firstFree(step))
        {
            _first[step] = node;
            next[step] = step + 1;
        }
    }
    _isCurrent = true;
    return true;
}

}  // namespace tavrix::detail
