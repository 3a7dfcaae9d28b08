#pragma once

#include <tavrix/reconstruction/detail/BlockExtraction.h>
#include <tavrix/reconstruction/detail/ParticleFinder.h>
#include <tavrix/reconstruction/detail/VolumeFinder.h>

// Particles to the surface of their field, block by block; the field is never there as a whole. The particles
// are sorted by blocks (ParticleBlocks), a worker fills the samples of one block (BlockSamples), finds the
// surface in it (BlockMarching), and the surfaces are joined to one mesh (MeshAssembly). Time and memory
// follow the particles and the surface.

namespace tavrix::detail
{

/// What a surface is made of besides the particles.
template <class Kernel>
struct BlockRoadPlan
{
    Kernel kernel;
    double spacing;  ///< of the lattice
    float level;
    BlockMeshPlan mesh;
};

/// One way from particles to a mesh: sort, then extract. The same bytes for every thread count; the mesh is
/// empty unless Done.
template <class Kernel>
class BlockRoad
{
public:
    BlockRoad(const BlockRoadPlan<Kernel>& plan, Polling& polling)
        : _plan(plan), _polling(polling), _level(plan.level)
    {
    }

    /// Sorts the particles make(0), …, make(count - 1) into the lattice's blocks, while the caller holds that
    /// many bytes. `Done` to go on.
    template <class Make>
    BlockRoadEnd sort(uint32 count, Make make, double held = 0);
    /// The particles once they are sorted.
    ParticleBlocks<Kernel>& sorted() { return _particles; }
    /// Replaces the level by the one, at most a few times lower or higher, whose surface holds the volume; as
    /// far as the lattice tells. Samples the field once; twice where it is not near.
    BlockRoadEnd matchVolume(double volume);
    /// Makes the surface of the sorted particles, which it uses up.
    BlockRoadEnd extract(Mesh& mesh);

    /// Bytes that the work takes; all of it only when it ended as Done or TooLarge.
    double bytes() const { return _bytes; }
    float level() const { return _level; }
    /// The field's largest value on the lattice, when there is no surface.
    float highestValue() const { return _highestValue; }
    /// The blocks that the particles may reach.
    uint64 blockCount() const { return _blockCount; }

private:
    bool fits(double bytes)
    {
        _bytes = std::max(_bytes, bytes);
        return bytes <= _plan.mesh.bytes;
    }
    LevelVolumes volumesBetween(float lowest, float highest, const std::vector<BlockIndex>& blocks);
    std::vector<ParticleFinder<Kernel>> makeFinders();
    void findHighestValue(const std::vector<BlockIndex>& blocks);

    const BlockRoadPlan<Kernel> _plan;
    Polling& _polling;
    ParticleBlocks<Kernel> _particles;
    double _bytes = 0;
    float _level;
    float _highestValue = 0;
    uint64 _blockCount = 0;
};

template <class Kernel>
template <class Make>
BlockRoadEnd BlockRoad<Kernel>::sort(uint32 count, Make make, double held)
{
    const LatticeSteps steps{{1 / _plan.spacing, 1 / _plan.spacing, 1 / _plan.spacing}, _plan.spacing};
    const LatticeExtent extent =
        measureExtent(steps, _plan.kernel, count, _plan.mesh.threadCount, _polling, make);
    if (_polling.isStopped()) return BlockRoadEnd::Stopped;
    if (extent.isEmpty()) return BlockRoadEnd::NoSurface;
    if (!isCoverable(extent)) return BlockRoadEnd::TooWide;
    constexpr double sorting = 2 * sizeof(uint64), sorted = sizeof(typename Kernel::Particle);
    if (!fits(held + count * std::max(sorting, sizeof(uint64) + sorted))) return BlockRoadEnd::TooLarge;
    _particles = sortIntoBlocks(steps, extent, _plan.kernel, count, _plan.mesh.threadCount, _polling, make);
    return _polling.isStopped() ? BlockRoadEnd::Stopped : BlockRoadEnd::Done;
}

template <class Kernel>
std::vector<ParticleFinder<Kernel>> BlockRoad<Kernel>::makeFinders()
{
    std::vector<ParticleFinder<Kernel>> finders;
    for (uint32 w = 0; w < std::max(_plan.mesh.threadCount, 1u); ++w)
        finders.emplace_back(_particles, _plan.kernel, _level, _polling);
    return finders;
}

template <class Kernel>
void BlockRoad<Kernel>::findHighestValue(const std::vector<BlockIndex>& blocks)
{
    std::vector<ParticleFinder<Kernel>> finders = makeFinders();
    std::vector<float> highest(finders.size(), 0.0f);
    inTurns(_polling, blocks.size(), _plan.mesh.threadCount,
            [&](uint32 w, uint64 n)
            { highest[w] = std::max(highest[w], finders[w].highestValue(blocks[n])); });
    _highestValue = *std::max_element(highest.begin(), highest.end());
}

template <class Kernel>
LevelVolumes BlockRoad<Kernel>::volumesBetween(float lowest, float highest,
                                               const std::vector<BlockIndex>& blocks)
{
    std::vector<VolumeFinder<Kernel>> finders;
    for (uint32 w = 0; w < std::max(_plan.mesh.threadCount, 1u); ++w)
        finders.emplace_back(_particles, _plan.kernel, lowest, highest, _polling);
    inTurns(_polling, blocks.size(), _plan.mesh.threadCount,
            [&](uint32 w, uint64 n) { finders[w].add(blocks[n]); });
    LevelVolumes volumes = finders[0].volumes();
    for (std::size_t w = 1; w < finders.size(); ++w) volumes += finders[w].volumes();
    return volumes;
}

template <class Kernel>
BlockRoadEnd BlockRoad<Kernel>::matchVolume(double volume)
{
    // blocks within are soon told from others where the levels looked at are well below the field in them
    struct Range
    {
        float lowest, highest;
    };
    constexpr Range ranges[] = {{0.8f, 1.1f}, {0.15f, 1.5f}};
    if (_particles.particles.empty()) return BlockRoadEnd::NoSurface;
    if (!fits(_particles.bytes() + countBlocksReached(_particles) * sizeof(BlockIndex)))
        return BlockRoadEnd::TooLarge;
    const std::vector<BlockIndex> blocks = blocksReached(_particles);
    const double cells = volume / (_plan.spacing * _plan.spacing * _plan.spacing);
    double level = _level;
    for (const auto& [lowest, highest] : ranges)
    {
        const LevelVolumes volumes = volumesBetween(_level * lowest, _level * highest, blocks);
        if (_polling.isStopped()) return BlockRoadEnd::Stopped;
        level = volumes.levelOf(cells);
        if (volumes.holds(level)) break;
    }
    _level = static_cast<float>(level);
    return BlockRoadEnd::Done;
}

template <class Kernel>
BlockRoadEnd BlockRoad<Kernel>::extract(Mesh& mesh)
{
    if (_particles.particles.empty()) return BlockRoadEnd::NoSurface;
    const double before = _particles.bytes() + countBlocksReached(_particles) * sizeof(BlockIndex);
    if (!fits(before)) return BlockRoadEnd::TooLarge;
    const std::vector<BlockIndex> blocks = blocksReached(_particles);
    _blockCount = blocks.size();
    BlockExtraction<ParticleFinder<Kernel>> extraction(makeFinders(), _polling);
    // where the level is at most 0 all is inside, out to infinity
    if (_level > 0 && !extraction.run(blocks, _plan.mesh.bytes - before)) return BlockRoadEnd::Stopped;
    if (extraction.size().faces == 0)
    {
        findHighestValue(blocks);
        return _polling.isStopped() ? BlockRoadEnd::Stopped : BlockRoadEnd::NoSurface;
    }
    fits(_plan.mesh.bytesOf(extraction.size(), before));
    if (!_plan.mesh.fits(extraction.size(), before)) return BlockRoadEnd::TooLarge;
    _particles = {};
    return assembleByPlan(extraction.surfaces(), _plan.mesh, _polling, mesh);
}

}  // namespace tavrix::detail
