#pragma once

#include <algorithm>

#include <tavrix/fields/detail/SplatTarget.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/detail/Sorting.h>
#include <tavrix/reconstruction/detail/BlockRoom.h>
#include <tavrix/reconstruction/detail/ParticleBlocks.h>

namespace tavrix::detail
{

/// Fills blocks with the field of the particles. A node gets what a dense field on the same lattice has: the
/// particles that reach it in the order of their cells (x, then y, then z), those of a cell by number.
template <class Kernel>
class BlockSampler
{
public:
    using Particle = typename Kernel::Particle;

    BlockSampler(const ParticleBlocks<Kernel>& particles, const Kernel& kernel, Polling& polling)
        : _particles(particles), _kernel(kernel), _polling(polling)
    {
    }

    /// Finds the particles that may reach the block.
    void find(const BlockIndex& block);
    /// Copies those that were found, and their numbers, as they lie.
    void copyFound(Array<Particle>& particles, Array<uint32>& numbers) const;
    /// Collects the particles that may reach the block; false when there are none.
    bool gather(const BlockIndex& block)
    {
        find(block);
        sortFound();
        return !_gathered.empty();
    }
    /// Those that were, in the order in which they are splatted.
    const Array<Particle>& gathered() const { return _gathered; }

    /// Gives the room the samples of the block that was gathered. False when the polling stopped it.
    bool fill(BlockRoom& room);

private:
    /// A particle in reach of the block, and a number that orders cells as they come.
    struct Found
    {
        uint64 cell;
        uint32 particle;
    };

    void gatherFrom(const HomeBlock& home, uint32 endBucket);
    void sortFound();
    void placeRoom(BlockRoom& room) const;

    const ParticleBlocks<Kernel>& _particles;
    Kernel _kernel;
    Polling& _polling;
    BlockIndex _block{};
    uint32 _low[3]{}, _high[3]{};            ///< cells in reach of the block, closed
    uint32 _foundLow[3]{}, _foundHigh[3]{};  ///< cells that were found
    Array<Found> _found, _scratch;
    Array<Particle> _gathered;
};

template <class Kernel>
void BlockSampler<Kernel>::find(const BlockIndex& block)
{
    _block = block;
    _found.clear();
    BlockIndex first, last;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const uint32 origin = block[axis] * blockEdge, reach = _particles.reach[axis];
        _low[axis] = origin > reach ? origin - reach : 0;
        _high[axis] = origin + blockEdge + reach;
        _foundLow[axis] = noIndex;
        _foundHigh[axis] = 0;
        first[axis] = _low[axis] >> blockShift;
        last[axis] = _high[axis] >> blockShift;
    }
    const HomeBlock* const homes = _particles.homes.data();
    const HomeBlock* const end = homes + _particles.homeCount();
    const auto isBefore = [](const HomeBlock& home, const BlockIndex& b) { return home.block < b; };
    const HomeBlock* from = std::lower_bound(homes, end, first, isBefore);
    while (from != end && from->block[0] <= last[0])
    {
        const BlockIndex& at = from->block;
        // to the next column of blocks that may hold some
        if (at[1] < first[1] || (at[1] == first[1] && at[2] < first[2]))
            from = std::lower_bound(from, end, BlockIndex{at[0], first[1], first[2]}, isBefore);
        else if (at[1] > last[1])
            from = std::lower_bound(from, end, BlockIndex{at[0] + 1, first[1], first[2]}, isBefore);
        else if (at[2] < first[2])
            from = std::lower_bound(from, end, BlockIndex{at[0], at[1], first[2]}, isBefore);
        else if (at[2] > last[2])
            from = std::lower_bound(from, end, BlockIndex{at[0], at[1] + 1, first[2]}, isBefore);
        else
        {
            gatherFrom(*from, from[1].firstBucket);
            ++from;
        }
    }
}

template <class Kernel>
void BlockSampler<Kernel>::copyFound(Array<Particle>& particles, Array<uint32>& numbers) const
{
    particles.resize(_found.size());
    numbers.resize(_found.size());
    for (uint32 n = 0; n < _found.size(); ++n)
    {
        numbers[n] = _found[n].particle;
        particles[n] = _particles.particles[numbers[n]];
    }
}

/// Adds the particles of a home that are in reach of the block.
template <class Kernel>
void BlockSampler<Kernel>::gatherFrom(const HomeBlock& home, uint32 endBucket)
{
    const auto isInReach = [&](uint32 axis, uint32 low, uint32 high)
    { return low <= _high[axis] && high >= _low[axis]; };
    for (uint32 b = home.firstBucket; b < endBucket; ++b)
    {
        const ParticleBucket& bucket = _particles.buckets[b];
        bool isNear = true;
        for (uint32 axis = 0; axis < 3 && isNear; ++axis)
        {
            const uint32 low = home.block[axis] * blockEdge + bucket.low[axis];
            isNear = isInReach(axis, low, low + bucketEdge - 1);
        }
        if (!isNear) continue;
        const uint32 end = _particles.buckets[b + 1].begin;
        _found.makeRoom(_found.size() + std::size_t{end} - bucket.begin);
        for (uint32 n = bucket.begin; n < end; ++n)
        {
            const auto cell = cellOf(_particles.lattice, _particles.particles[n]);
            uint64 key = 0;
            isNear = true;
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                isNear &= isInReach(axis, cell[axis], cell[axis]);
                key = key << 21 | (cell[axis] - _low[axis]);
            }
            if (!isNear) continue;
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                _foundLow[axis] = std::min(_foundLow[axis], cell[axis]);
                _foundHigh[axis] = std::max(_foundHigh[axis], cell[axis]);
            }
            _found.push_back({key, n});
        }
    }
}

/// Brings the particles that were found into the order of their cells.
template <class Kernel>
void BlockSampler<Kernel>::sortFound()
{
    _scratch.makeRoom(_found.size());
    sortByKey(_found.data(), _found.size(), _scratch.data(), [](const Found& f) { return f.cell; });
    if (_found.size() > _gathered.capacity()) _gathered.reserve(_found.size() + _found.size() / 4, false);
    _gathered.resize(_found.size());
    for (uint32 n = 0; n < _found.size(); ++n) _gathered[n] = _particles.particles[_found[n].particle];
}

/// Puts the room at the block, and zeros where particles may reach.
template <class Kernel>
void BlockSampler<Kernel>::placeRoom(BlockRoom& room) const
{
    const BlockLattice& lattice = _particles.lattice;
    room.moveTo(lattice, _block);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const uint32 origin = _block[axis] * blockEdge, reach = _particles.reach[axis];
        const uint32 low = _foundLow[axis] - reach, high = _foundHigh[axis] + reach + 1;
        room.low[axis] = low > origin && low <= _foundLow[axis] ? low - origin : 0;
        room.high[axis] = std::min(high - origin, blockNodes);
    }
    for (uint32 i = room.low[0]; i < room.high[0]; ++i)
        std::fill(room.at(i, room.low[1], 0), room.at(i, room.high[1], 0), 0.0f);
}

template <class Kernel>
bool BlockSampler<Kernel>::fill(BlockRoom& room)
{
    placeRoom(room);
    const BlockLattice& lattice = _particles.lattice;
    double scratch[BlockRoom::rowLength + 16];
    SplatTarget<float> target{};
    target.samples = room.samples.get();
    target.rowLength = BlockRoom::rowLength;
    target.strideX = BlockRoom::strideX;
    target.strideY = BlockRoom::strideY;
    double visits = 1;  // of nodes by a particle
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        target.low[axis] = room.low[axis];
        target.high[axis] = room.high[axis];
        target.nodes[axis] = room.nodes[axis];
        target.firstNode[axis] = static_cast<double>(lattice.nodeOf(_block, axis));
        target.reciprocal[axis] = lattice.reciprocal[axis];
        visits *= std::min(2 * _particles.reach[axis] + 1, blockNodes);
    }
    target.largestSeparation = lattice.largestSeparation;
    target.scratch = scratch;
    const auto piece = static_cast<uint32>(2e6 / visits) + 1;
    for (uint32 begin = 0; begin < _gathered.size();)
    {
        const uint32 count = std::min(piece, _gathered.size() - begin);
        _kernel.splat(target, _gathered.data() + begin, count);
        begin += count;
        if (!_polling.goOn()) return false;
    }
    return true;
}

}  // namespace tavrix::detail
