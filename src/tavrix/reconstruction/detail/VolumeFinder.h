#pragma once

#include <memory>

#include <tavrix/reconstruction/detail/BlockBounds.h>
#include <tavrix/reconstruction/detail/LevelVolumes.h>

namespace tavrix::detail
{

/// Sums the volumes within the surfaces of a field of particles, one block at a time, for one worker and the
/// levels of a range.
template <class Kernel>
class VolumeFinder
{
public:
    VolumeFinder(const ParticleBlocks<Kernel>& particles, const Kernel& kernel, float lowest, float highest,
                 Polling& polling)
        : _reach(particles.reach),
          _sampler(particles, kernel, polling),
          _lowest(kernel, particles.lattice, lowest),
          _highest(kernel, particles.lattice, highest),
          _volumes(lowest, highest)
    {
    }

    void add(const BlockIndex& block)
    {
        if (!_sampler.gather(block) || _lowest.isOutside(block, _sampler.gathered())) return;
        if (_highest.isInside(block, _sampler.gathered(), _reach))
            _volumes.addInside();
        else if (_sampler.fill(*_room))
            _volumes.add(*_room);
    }
    const LevelVolumes& volumes() const { return _volumes; }

private:
    const uint32 (&_reach)[3];
    BlockSampler<Kernel> _sampler;
    BlockBounds _lowest, _highest;
    std::unique_ptr<BlockRoom> _room = std::make_unique<BlockRoom>();
    LevelVolumes _volumes;
};

}  // namespace tavrix::detail
