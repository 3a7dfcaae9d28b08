#include <tavrix/particles/ParticleSystemChunk_v2.h>

#include <algorithm>
#include <array>

#include <tavrix/particles/detail/ParticleChannelTypes.h>

namespace tavrix
{

const ParticleEntryComparator_v2& ParticleSystemChunk_v2::refParticleEntryComparator_v2() noexcept
{
    static constexpr ParticleEntryComparator_v2 comparator;
    return comparator;
}

const ReleaseEntryComparator_v2& ParticleSystemChunk_v2::refReleaseEntryComparator_v2() noexcept
{
    static constexpr ReleaseEntryComparator_v2 comparator;
    return comparator;
}

std::atomic<uint32>& ParticleSystemChunk_v2::refNextChunkId() noexcept
{
    static std::atomic<uint32> next{0};
    return next;
}

ParticleSystemChunk_v2::ParticleSystemChunk_v2() : _id(refNextChunkId()++) { _entries.reserve(capacity); }

void ParticleSystemChunk_v2::destroy() noexcept
{
    _entries.reserve(0);
    _channels.reserve(0);
    _freeCount = capacity;
    _minId = ~uint64{0};
    _maxId = 0;
    _isRun = false;
}

template <class T>
T* ParticleSystemChunk_v2::getValues(uint32 channelId) const
{
    const ParticleChannelChunkData_v2* channel =
        channelId < _channels.size() ? _channels[channelId].get() : nullptr;
    return channel ? detail::ParticleChannelTraits<T>::data(*channel->getData()) : nullptr;
}

#define TX_INSTANTIATE(T, suffix, registered) \
    template TX_GEOMETRY_API T* ParticleSystemChunk_v2::getValues<T>(uint32) const;
TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_INSTANTIATE)
#undef TX_INSTANTIATE

uint64 ParticleSystemChunk_v2::getMemoryUsage() const
{
    uint64 bytes = uint64{_entries.capacity()} * sizeof(ParticleEntry);
    for (const auto& channel : _channels)
        if (channel) bytes += channel->getData()->getMemoryUsage();
    return bytes;
}

void ParticleSystemChunk_v2::createChannelChunkData(const ParticleChannel_v2& channel)
{
    auto data = std::make_unique<ParticleChannelChunkData_v2>(channel, capacity);
    _channels.resize(std::max(_channels.size(), channel.getId() + 1));
    _channels[channel.getId()] = std::move(data);
}

void ParticleSystemChunk_v2::removeChannelChunkData(uint32 channelId) noexcept
{
    if (channelId < _channels.size()) _channels[channelId].reset();
}

Particle_v2 ParticleSystemChunk_v2::addParticle(uint64 id) noexcept
{
    const uint32 position = takeFreeEntry();
    _entries[position].id = id;
    _entries[position].released = 0;
    noteOrder(position);
    _sortedById = false;
    _isRun = false;
    --_freeCount;
    _minId = std::min(_minId, id);
    _maxId = std::max(_maxId, id);
    return getParticle(position);
}

uint32 ParticleSystemChunk_v2::takeFreeEntry() noexcept
{
    return _slotOrdered ? takeNextSlot() : takeReleasedEntry();
}

/// In slot order the live particles fill the slots from 0 on.
uint32 ParticleSystemChunk_v2::takeNextSlot() noexcept
{
    const uint32 slot = getSize();
    if (_entries.size() <= slot) _entries.resize(slot + 1);
    _entries[slot].slot = static_cast<uint16>(slot);
    return slot;
}

uint32 ParticleSystemChunk_v2::takeReleasedEntry() noexcept
{
    while (_firstReleased < _entries.size() && !_entries[_firstReleased].released) ++_firstReleased;
    if (_firstReleased == _entries.size())
    {
        _entries.resize(_firstReleased + 1);
        _entries[_firstReleased].slot = static_cast<uint16>(_firstReleased);
    }
    return _firstReleased;
}

/// Keeps _sortedCount true after a new id at the position, without looking further than its neighbours.
void ParticleSystemChunk_v2::noteOrder(uint32 position) noexcept
{
    const bool afterPrevious = position == 0 || _entries[position - 1].id <= _entries[position].id;
    const bool beforeNext =
        position + 1 >= _sortedCount || _entries[position].id <= _entries[position + 1].id;
    if (position == _sortedCount && afterPrevious)
        ++_sortedCount;
    else if (position < _sortedCount && !(afterPrevious && beforeNext))
        _sortedCount = position;
}

/// For an id between min and max id.
int32 ParticleSystemChunk_v2::findSorted(uint64 id)
{
    if (!_sortedById) sortChunkById();
    // Ids are not checked for uniqueness, and released entries keep theirs: a live one may hide behind
    // others.
    uint32 position = std::max(lowerBound(id), _firstLive);
    while (position < _entries.size() && _entries[position].id == id && _entries[position].released)
        ++position;
    const bool found = position < _entries.size() && _entries[position].id == id;
    return found ? static_cast<int32>(position) : -1;
}

/// The position of the first id that is not below the given one, in a sorted chunk. Ids mostly come in runs,
/// so the search starts where the id would be if all were evenly spread, and widens from there.
uint32 ParticleSystemChunk_v2::lowerBound(uint64 id) const noexcept
{
    const uint32 count = _entries.size();
    const uint64 first = _entries[0].id, last = _entries[count - 1].id;
    if (id <= first) return 0;
    if (id > last) return count;
    // In a run without gaps it is where it would be.
    const uint64 offset = id - first;
    if (offset < count && _entries[offset].id == id && _entries[offset - 1].id < id)
        return static_cast<uint32>(offset);
    const double share = static_cast<double>(id - first) / static_cast<double>(last - first);
    const uint32 guess = std::min(static_cast<uint32>(share * (count - 1)), count - 1);

    // From here on: the id at `below` is less, the one at `above` is not.
    uint32 below = 0, above = count - 1, step = 1;
    if (_entries[guess].id < id)
    {
        below = guess;
        for (; above - below > step && _entries[below + step].id < id; step *= 2) below += step;
        above = std::min(above, below + step);
    }
    else
    {
        above = guess;
        for (; above > step && _entries[above - step].id >= id; step *= 2) above -= step;
        below = above > step ? above - step : 0;
    }
    while (above - below > 1)
    {
        const uint32 middle = below + (above - below) / 2;
        (_entries[middle].id < id ? below : above) = middle;
    }
    return above;
}

void ParticleSystemChunk_v2::releaseEntry(uint32 position) noexcept
{
    _entries[position].released = 1;
    _isRun = false;
    _firstReleased = std::min(_firstReleased, position);
    ++_freeCount;
}

/// Whether the sorted entries are a run, of which each tells where all others are.
bool ParticleSystemChunk_v2::hasRun() const noexcept
{
    bool isRun = true;
    for (uint32 i = 0; i < _entries.size(); ++i)
        isRun &= _entries[i].id == _entries[0].id + i && _entries[i].slot == i && !_entries[i].released;
    return isRun;
}

void ParticleSystemChunk_v2::sortChunkById()
{
    if (!_sortedById)
    {
        ParticleEntry* const begin = _entries.begin();
        ParticleEntry* const end = _entries.end();
        ParticleEntry* const middle = std::is_sorted_until(begin + _sortedCount - (_sortedCount != 0), end,
                                                           refParticleEntryComparator_v2());
        if (middle != end)
        {
            // One particle that took the place of another leaves two runs, which need no sort.
            if (!std::is_sorted(middle, end, refParticleEntryComparator_v2()))
                std::stable_sort(middle, end, refParticleEntryComparator_v2());
            std::inplace_merge(begin, middle, end, refParticleEntryComparator_v2());
            _firstReleased = 0;
        }
        _sortedCount = _entries.size();
        _firstLive = 0;
        _liveEnd = _entries.size();
        _sortedById = true;
        _slotOrdered = false;
        _isRun = hasRun();
    }
    while (_firstLive < _liveEnd && _entries[_firstLive].released) ++_firstLive;
    while (_firstLive < _liveEnd && _entries[_liveEnd - 1].released) --_liveEnd;
    const bool any = _firstLive < _liveEnd;
    _minId = any ? _entries[_firstLive].id : ~uint64{0};
    _maxId = any ? _entries[_liveEnd - 1].id : 0;
}

void ParticleSystemChunk_v2::compactChunk() noexcept
{
    if (_slotOrdered) return;
    orderBySlot();

    // Every hole among the first `size` slots takes the next particle from behind them. Listed first, without
    // branches: where particles were removed at random, none could be foretold.
    const uint32 size = getSize();
    std::array<uint16, capacity + 1> remap, holes, movers;
    uint32 holeCount = 0, moverCount = 0;
    for (uint32 slot = 0; slot < size; ++slot)
    {
        remap[slot] = holes[holeCount] = static_cast<uint16>(slot);
        holeCount += _entries[slot].released;
    }
    for (uint32 slot = size; slot < _entries.size(); ++slot)
    {
        movers[moverCount] = static_cast<uint16>(slot);
        moverCount += 1u - _entries[slot].released;
    }
    for (uint32 n = 0; n < holeCount; ++n)
    {
        std::swap(_entries[holes[n]], _entries[movers[n]]);
        remap[holes[n]] = movers[n];
    }
    for (const auto& channel : _channels)
        if (channel) channel->getData()->reorder({remap.data(), size});

    // The released entries get the slots that are left, so that no later particle shares one.
    for (uint32 i = 0; i < _entries.size(); ++i) _entries[i].slot = static_cast<uint16>(i);
    _sortedCount = 0;
    _firstReleased = size;
    _sortedById = false;
    _slotOrdered = true;
    _isRun = false;
}

/// Puts each entry at the position of its slot: the slots are a permutation of the positions.
void ParticleSystemChunk_v2::orderBySlot() noexcept
{
    for (uint32 i = 0; i < _entries.size(); ++i)
        while (_entries[i].slot != i) std::swap(_entries[i], _entries[_entries[i].slot]);
}

}  // namespace tavrix
