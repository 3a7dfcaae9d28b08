#pragma once

#include <vector>

#include <tavrix/foundation/List.h>
#include <tavrix/particles/ParticleSystemChunk_v2.h>

namespace tavrix::detail
{

/// Where in the list of chunks to begin the search for an id: the span of all ids in equal steps, and for
/// each the first chunk whose ids reach into it. Where chunks hold runs of ids, that is the chunk, or nearly.
///
/// It is made anew, in time linear in the chunks, when it is outdated and some lookups have come since; until
/// then a search begins at the head.
class ChunkIndex
{
public:
    using Chunks = List<ParticleSystemChunk_v2>;

    /// No chunk before this one may contain the id; null when none does.
    Chunks::Node* firstFor(const Chunks& chunks, uint64 id)
    {
        if (!_isCurrent && !prepare(chunks)) return chunks.head();
        const uint64 step = (id - _low) >> _shift;
        return id >= _low && step < _first.size() ? _first[step] : nullptr;
    }

    /// For when a chunk comes, goes, or gets an id. Ids that go leave the index good.
    void outdate() noexcept
    {
        _isCurrent = false;
        _lookups = 0;
    }

private:
    bool prepare(const Chunks& chunks);

    std::vector<Chunks::Node*> _first;
    uint64 _low = 0;
    uint32 _shift = 0;
    uint32 _lookups = 0;  ///< since it is outdated
    bool _isCurrent = false;
};

}  // namespace tavrix::detail
