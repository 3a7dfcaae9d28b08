#pragma once

#include <map>
#include <memory>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/List.h>
#include <tavrix/particles/detail/ChunkIndex.h>
#include <tavrix/particles/ParticleChannel_v2.h>
#include <tavrix/particles/ParticleSystemChunk_v2.h>

namespace tavrix::detail
{

/// What a particle system shares with its copies.
struct ParticleStorage
{
    List<ParticleSystemChunk_v2> chunks;
    /// By chunk id. Ids may come twice; an entry never outlives its chunk, as each chunk that dies takes away
    /// the entry of its id.
    std::map<uint32, ParticleSystemChunk_v2*> chunksWithFreeEntries;
    ChunkIndex index;
    uint64 greatestParticleId = 0;
    uint32 nextChannelId = 0;
    uint32 particleCount = 0;
    ArrayOfPtr<ParticleChannel_v2, TX_NO> channels;
    std::map<TX_String, uint32> channelIds;
    /// Every record that was ever made: chunks and hosts may still point to removed ones.
    std::vector<std::unique_ptr<ParticleChannel_v2>> channelRecords;
    uint64 revision = 1;  ///< counts whatever makes handles outdated
};

/// Calls visit(chunk, entry) for every live particle in iteration order.
template <class Visit>
void forEachEntry(const List<ParticleSystemChunk_v2>& chunks, const Visit& visit)
{
    for (const ParticleSystemChunk_v2& chunk : chunks)
        for (const ParticleEntry& entry : chunk.getEntries())
            if (!entry.released) visit(chunk, entry);
}

/// Calls visit(value) for the channel's value, by reference, of every live particle in iteration order.
/// Chunks without values of that type are passed over.
template <class T, class Visit>
void forEachValue(const List<ParticleSystemChunk_v2>& chunks, uint32 channelId, const Visit& visit)
{
    for (const ParticleSystemChunk_v2& chunk : chunks)
        if (T* values = chunk.getValues<T>(channelId))
            for (const ParticleEntry& entry : chunk.getEntries())
                if (!entry.released) visit(values[entry.slot]);
}

}  // namespace tavrix::detail
