#pragma once

#include <tavrix/fields/detail/TileSplatting.h>

// The changes of the particle setters: splatting with one kernel, into dense samples or tiles.

namespace tavrix::detail
{

/// What is splatted: the particles make(0), …, make(count - 1), in groups with the margin.
template <class Kernel, class Make>
struct SplattedParticles
{
    Kernel kernel;
    uint32 count;
    float margin;
    uint32 threadCount;
    CancelCallback callback;
    const Make& make;
};

template <class Kernel, class Make>
SplattedParticles(Kernel, uint32, float, uint32, CancelCallback, const Make&)
    -> SplattedParticles<Kernel, Make>;

/// Replaces a field by the particles.
template <class Value, class Coord, class Kernel, class Make>
class ParticleBuild final : public ParticleChange<Value, Coord>
{
public:
    explicit ParticleBuild(const SplattedParticles<Kernel, Make>& particles) : _p(particles) {}

    bool isAnew() const override { return true; }
    bool changeSamples(const GridDescription3<Coord>& grid, Value* samples) const override
    {
        return buildSamples(grid, samples, _p.kernel, _p.count, _p.margin, _p.threadCount, _p.callback,
                            _p.make);
    }
    bool changeTiles(TileStore<Value, Coord>& field) const override
    {
        return buildTiles(field, _p.kernel, _p.count, _p.margin, _p.threadCount, _p.callback, _p.make);
    }

private:
    SplattedParticles<Kernel, Make> _p;
};

/// Makes every sample merge(sample, v), v from one group of the particles after the other.
template <class Value, class Coord, class Kernel, class Make, class Merge>
class ParticleCarving final : public ParticleChange<Value, Coord>
{
public:
    ParticleCarving(const SplattedParticles<Kernel, Make>& particles, Merge merge)
        : _p(particles), _merge(merge)
    {
    }

    bool isAnew() const override { return false; }
    bool changeSamples(const GridDescription3<Coord>& grid, Value* samples) const override
    {
        return carveSamples(grid, samples, _p.kernel, _p.count, _p.margin, _p.threadCount, _p.callback,
                            _p.make, _merge);
    }
    bool changeTiles(TileStore<Value, Coord>& field) const override
    {
        return carveTiles(field, _p.kernel, _p.count, _p.margin, _p.threadCount, _p.callback, _p.make,
                          _merge);
    }

private:
    SplattedParticles<Kernel, Make> _p;
    Merge _merge;
};

template <class Value, class Coord, class Kernel, class Make>
auto buildingBy(const SplattedParticles<Kernel, Make>& particles)
{
    return ParticleBuild<Value, Coord, Kernel, Make>(particles);
}

template <class Value, class Coord, class Kernel, class Make, class Merge>
auto carvingBy(const SplattedParticles<Kernel, Make>& particles, Merge merge)
{
    return ParticleCarving<Value, Coord, Kernel, Make, Merge>(particles, merge);
}

}  // namespace tavrix::detail
