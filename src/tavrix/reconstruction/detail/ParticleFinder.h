#pragma once

#include <memory>

#include <tavrix/reconstruction/detail/BlockBounds.h>
#include <tavrix/reconstruction/detail/BlockMarching.h>

namespace tavrix::detail
{

/// Finds the surface of a field of particles, one block at a time, for one worker. The level is above 0.
template <class Kernel>
class ParticleFinder
{
public:
    ParticleFinder(const ParticleBlocks<Kernel>& particles, const Kernel& kernel, float level,
                   Polling& polling)
        : _reach(particles.reach),
          _level(level),
          _sampler(particles, kernel, polling),
          _bounds(kernel, particles.lattice, level)
    {
    }

    /// Whether the block has a surface, which then is in the marching.
    bool operator()(const BlockIndex& block, BlockMarching& marching)
    {
        return _sampler.gather(block) && !_bounds.isOutside(block, _sampler.gathered()) &&
               !_bounds.isInside(block, _sampler.gathered(), _reach) && _sampler.fill(*_room) &&
               marching.run(*_room, _level);
    }

    /// The field's largest value on the block's nodes, at least 0.
    float highestValue(const BlockIndex& block)
    {
        float highest = 0;
        if (!_sampler.gather(block) || !_sampler.fill(*_room)) return highest;
        for (uint32 i = _room->low[0]; i < _room->high[0]; ++i)
            for (uint32 j = _room->low[1]; j < _room->high[1]; ++j)
                highest =
                    std::max(highest, *std::max_element(_room->at(i, j, 0), _room->at(i, j, blockNodes)));
        return highest;
    }

private:
    const uint32 (&_reach)[3];
    float _level;
    BlockSampler<Kernel> _sampler;
    BlockBounds _bounds;
    std::unique_ptr<BlockRoom> _room = std::make_unique<BlockRoom>();
};

}  // namespace tavrix::detail
