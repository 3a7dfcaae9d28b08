#pragma once

#include <atomic>
#include <span>

#include <tavrix/foundation/Array.h>
#include <tavrix/particles/Particle_v2.h>

namespace tavrix
{

/// One particle's place in a chunk.
struct ParticleEntry
{
    /// The particle's id.
    uint64 id;
    uint16 slot;     ///< of its values in every channel array of the chunk
    uint8 released;  ///< 1: the particle was removed, and the entry waits for another one
};
static_assert(sizeof(ParticleEntry) == 16);

/// Orders entries by id.
struct ParticleEntryComparator_v2
{
    /// Whether the first id is the smaller.
    bool operator()(const ParticleEntry& a, const ParticleEntry& b) const noexcept { return a.id < b.id; }
};

/// Orders live entries before released ones.
struct ReleaseEntryComparator_v2
{
    /// Whether the first is live and the second released.
    bool operator()(const ParticleEntry& a, const ParticleEntry& b) const noexcept
    {
        return a.released < b.released;
    }
};

/// Up to 16384 particles of a system: their entries, and one array of 16384 values a channel, so that adding
/// a particle moves nothing and removing one only marks its entry.
///
/// The entries are in order of their slots (as built, and after compaction), of their ids (after a lookup or
/// a removal), or in neither; their slots always are 0 to count - 1, in whatever order. Hosts read chunks;
/// only the system changes them.
class TX_GEOMETRY_API ParticleSystemChunk_v2
{
public:
    /// How many particles fit into a chunk.
    enum : uint32
    {
        capacity = 16384
    };

    /// An empty chunk with the next id of the process-wide counter.
    ParticleSystemChunk_v2();
    /// Moves entries and channels over; the other chunk must not be used any more.
    /// @{
    ParticleSystemChunk_v2(ParticleSystemChunk_v2&&) noexcept = default;
    ParticleSystemChunk_v2& operator=(ParticleSystemChunk_v2&&) noexcept = default;
    /// @}

    /// The chunk's number, see refNextChunkId.
    uint32 getId() const noexcept { return _id; }
    /// Smallest and largest id of the live particles; all ones and 0 without any. Exact after sorting, and
    /// never narrower than the truth.
    /// @{
    uint64 getMinId() const noexcept { return _minId; }
    uint64 getMaxId() const noexcept { return _maxId; }
    /// @}
    /// Whether min and max id leave room for the id.
    bool mayContain(uint64 id) const noexcept { return _minId <= id && id <= _maxId; }
    /// How many particles can still be added.
    uint16 getFreeCount() const noexcept { return _freeCount; }
    /// Number of live particles.
    uint16 getSize() const noexcept { return static_cast<uint16>(capacity - _freeCount); }
    /// Whether the entries are known to be in order of their ids, and of their slots.
    /// @{
    bool isSortedById() const noexcept { return _sortedById; }
    bool isSlotOrdered() const noexcept { return _slotOrdered; }
    /// @}
    /// The entries, those of removed particles included, and the values of every channel.
    /// @{
    const Array<ParticleEntry>& getEntries() const noexcept { return _entries; }
    const ParticleChunkChannels_v2& getChannels() const noexcept { return _channels; }
    /// @}

    /// The handle on the particle at a position among the entries.
    Particle_v2 getParticle(uint32 position) const noexcept
    {
        if (_isRun) return {_minId + position, static_cast<uint16>(position), &_channels};
        return {_entries[position].id, _entries[position].slot, &_channels};
    }
    /// The chunk's array of T (one of the twelve channel types) for the channel; null when there is none.
    template <class T>
    T* getValues(uint32 channelId) const;

    /// Bytes of the entries and of all channels.
    uint64 getMemoryUsage() const;

    /// Makes room for the channels of ids below the count.
    void reserveChannels(uint32 count) { _channels.reserve(count); }
    /// Gives the chunk the channel's array, every element its default value.
    void createChannelChunkData(const ParticleChannel_v2& channel);
    /// Frees the channel's array; nothing happens without one.
    void removeChannelChunkData(uint32 channelId) noexcept;

    /// Adds a particle; the values at its slot are whatever they were. There has to be a free entry.
    Particle_v2 addParticle(uint64 id) noexcept;
    /// The position of a live entry of that id, -1 without one. An id between min and max id sorts the chunk.
    /// O(log n) when it is sorted.
    int32 findInChunk(uint64 id)
    {
        if (!mayContain(id)) return -1;
        return _isRun ? static_cast<int32>(id - _minId) : findSorted(id);
    }
    /// Marks a live entry released. O(1).
    void releaseEntry(uint32 position) noexcept;
    /// Sorts the entries by id unless they are sorted, and makes min and max id exact.
    void sortChunkById();
    /// Moves the live particles into slots 0 to size - 1, in which order is unspecified, and their entries
    /// likewise. A value moves at most once, in place, and only where a slot was free. Handles from before
    /// hold no longer.
    void compactChunk() noexcept;
    /// Frees everything; leaves an inert chunk that can only be queried.
    void destroy() noexcept;

    /// As Particle_v2::dirty.
    static Particle_v2 refDirtyParticle() noexcept { return Particle_v2::dirty(); }
    /// The orders of entries, as objects to sort by.
    /// @{
    static const ParticleEntryComparator_v2& refParticleEntryComparator_v2() noexcept;
    static const ReleaseEntryComparator_v2& refReleaseEntryComparator_v2() noexcept;
    /// @}
    /// The id that the next chunk of any system gets. Clearing one system starts it at 0 again, so that two
    /// chunks of another one may come to have the same id: this must stay.
    static std::atomic<uint32>& refNextChunkId() noexcept;

private:
    int32 findSorted(uint64 id);
    uint32 takeFreeEntry() noexcept;
    uint32 takeNextSlot() noexcept;
    uint32 takeReleasedEntry() noexcept;
    void noteOrder(uint32 position) noexcept;
    uint32 lowerBound(uint64 id) const noexcept;
    bool hasRun() const noexcept;
    void orderBySlot() noexcept;

    uint64 _minId = ~uint64{0};
    uint64 _maxId = 0;  ///< first: a lookup that passes the chunk by reads no more than these
    Array<ParticleEntry> _entries;
    ParticleChunkChannels_v2 _channels;
    uint32 _id;
    uint32 _sortedCount = 0;    ///< the entries before this one ascend by id
    uint32 _firstReleased = 0;  ///< no released entry comes before this one
    uint32 _firstLive = 0;      ///< while sorted: no live entry comes before this one,
    uint32 _liveEnd = 0;        ///< and none from this one on
    uint16 _freeCount = capacity;
    bool _sortedById = false;
    bool _slotOrdered = true;
    bool _isRun = false;  ///< while sorted: the ids have no gaps, and each its position as slot; all are live
};

}  // namespace tavrix
