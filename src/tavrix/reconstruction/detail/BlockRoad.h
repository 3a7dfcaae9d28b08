#pragma once

#include <tavrix/reconstruction/detail/BlockExtraction.h>
#include <tavrix/reconstruction/detail/BlockShare.h>
#include <tavrix/reconstruction/detail/ParticleFinder.h>
#include <tavrix/reconstruction/detail/VolumeFinder.h>

// Particles to the surface of their field, block by block; the field is never there as a whole. The particles
// are sorted by blocks (ParticleBlocks), a worker fills the samples of one block (BlockSamples), finds the
// surface in it (BlockMarching), and the surfaces are joined to one mesh (MeshAssembly). Time and memory
// follow the particles and the surface.
//
// Ranks take the road together: each has the particles that reach the blocks that it owns, in the same order
// as all of them would have, and makes the surfaces of these blocks and of them its part of the mesh. Steps
// are collective, and end for all ranks as for the one that fares worst.

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

/// One way from particles to a mesh: sort, then extract. The same bytes for every thread count, and however
/// blocks are shared out among ranks; the mesh is empty unless Done.
template <class Kernel>
class BlockRoad
{
public:
    BlockRoad(const BlockRoadPlan<Kernel>& plan, Polling& polling, const BlockShare& share = {})
        : _plan(plan), _polling(polling), _share(share), _level(plan.level)
    {
    }

    /// Sorts the particles make(0), …, make(count - 1) into the lattice's blocks, while the caller holds that
    /// many bytes. `Done` to go on.
    template <class Make>
    BlockRoadEnd sort(uint32 count, Make make, double held = 0);
    /// The particles once they are sorted, those that other ranks' blocks hold as well.
    ParticleBlocks<Kernel>& sorted() { return _particles; }
    /// Ends the road for all ranks unless every one goes on.
    BlockRoadEnd goOn(bool does) const
    {
        return _share.worst(does && !_polling.isStopped() ? BlockRoadEnd::Done : BlockRoadEnd::Stopped);
    }
    /// Replaces the level by the one, at most a few times lower or higher, whose surface holds the volume; as
    /// far as the lattice tells. Samples the field once; twice where it is not near.
    BlockRoadEnd matchVolume(double volume);
    /// Makes the surface of the sorted particles, which it uses up; of many ranks each its part.
    BlockRoadEnd extract(MeshPart& part);

    /// Bytes that the work takes; all of it only when it ended as Done or TooLarge.
    double bytes() const { return _bytes; }
    float level() const { return _level; }
    /// The field's largest value on the lattice, when there is no surface.
    float highestValue() const { return _highestValue; }
    /// The blocks that the particles of all ranks may reach.
    uint64 blockCount() const { return _blockCount; }

private:
    bool fits(double bytes)
    {
        _bytes = std::max(_bytes, bytes);
        return bytes <= _plan.mesh.bytes;
    }
    BlockRoadEnd fitting(double bytes)
    {
        return _share.worst(fits(bytes) ? BlockRoadEnd::Done : BlockRoadEnd::TooLarge);
    }
    uint32 threads() const { return _particles.threadsWorth(_plan.mesh.threadCount); }
    double bytesBefore() const
    {
        return _particles.bytes() + countBlocksReached(_particles) * sizeof(BlockIndex);
    }
    LevelVolumes volumesBetween(float lowest, float highest, const std::vector<BlockIndex>& blocks);
    std::vector<ParticleFinder<Kernel>> makeFinders();
    void findHighestValue(const std::vector<BlockIndex>& blocks);

    const BlockRoadPlan<Kernel> _plan;
    Polling& _polling;
    const BlockShare _share;
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
    LatticeExtent extent = measureExtent(steps, _plan.kernel, count, _plan.mesh.threadCount, _polling, make);
    if (const auto end = goOn(true); end != BlockRoadEnd::Done) return end;
    _share.extend(extent);
    if (extent.isEmpty()) return BlockRoadEnd::NoSurface;
    if (!isCoverable(extent)) return BlockRoadEnd::TooWide;
    constexpr double sorting = 2 * sizeof(uint64), sorted = sizeof(typename Kernel::Particle);
    const auto end = fitting(held + count * std::max(sorting, sizeof(uint64) + sorted));
    if (end != BlockRoadEnd::Done) return end;
    _particles = sortIntoBlocks(steps, extent, _plan.kernel, count, _plan.mesh.threadCount, _polling, make);
    return goOn(true);
}

template <class Kernel>
std::vector<ParticleFinder<Kernel>> BlockRoad<Kernel>::makeFinders()
{
    std::vector<ParticleFinder<Kernel>> finders;
    for (uint32 w = 0; w < threads(); ++w) finders.emplace_back(_particles, _plan.kernel, _level, _polling);
    return finders;
}

template <class Kernel>
void BlockRoad<Kernel>::findHighestValue(const std::vector<BlockIndex>& blocks)
{
    std::vector<ParticleFinder<Kernel>> finders = makeFinders();
    std::vector<float> highest(finders.size(), 0.0f);
    inTurns(_polling, blocks.size(), threads(),
            [&](uint32 w, uint64 n)
            { highest[w] = std::max(highest[w], finders[w].highestValue(blocks[n])); });
    _highestValue = _share.largest(*std::max_element(highest.begin(), highest.end()));
}

template <class Kernel>
LevelVolumes BlockRoad<Kernel>::volumesBetween(float lowest, float highest,
                                               const std::vector<BlockIndex>& blocks)
{
    std::vector<VolumeFinder<Kernel>> finders;
    for (uint32 w = 0; w < threads(); ++w)
        finders.emplace_back(_particles, _plan.kernel, lowest, highest, _polling);
    inTurns(_polling, blocks.size(), threads(), [&](uint32 w, uint64 n) { finders[w].add(blocks[n]); });
    LevelVolumes volumes = finders[0].volumes();
    for (std::size_t w = 1; w < finders.size(); ++w) volumes += finders[w].volumes();
    volumes.forEachSum([&](std::span<int64> sums) { _share.sum(sums); });
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
    if (const auto end = fitting(bytesBefore()); end != BlockRoadEnd::Done) return end;
    const std::vector<BlockIndex> blocks = _share.ownBlocks(_particles);
    const double cells = volume / (_plan.spacing * _plan.spacing * _plan.spacing);
    double level = _level;
    for (const auto& [lowest, highest] : ranges)
    {
        const LevelVolumes volumes = volumesBetween(_level * lowest, _level * highest, blocks);
        if (const auto end = goOn(true); end != BlockRoadEnd::Done) return end;
        level = volumes.levelOf(cells);
        if (volumes.holds(level)) break;
    }
    _level = static_cast<float>(level);
    return BlockRoadEnd::Done;
}

template <class Kernel>
BlockRoadEnd BlockRoad<Kernel>::extract(MeshPart& part)
{
    const double before = bytesBefore();
    if (const auto end = fitting(before); end != BlockRoadEnd::Done) return end;
    const std::vector<BlockIndex> blocks = _share.ownBlocks(_particles);
    _blockCount = _share.sum(blocks.size());
    BlockExtraction<ParticleFinder<Kernel>> extraction(makeFinders(), _polling);
    // where the level is at most 0 all is inside, out to infinity
    const bool isDone = _level <= 0 || extraction.run(blocks, _plan.mesh.bytes - before);
    if (const auto end = goOn(isDone); end != BlockRoadEnd::Done) return end;
    const SurfaceSize own = extraction.size();
    const SurfaceSize all{_share.sum(own.vertices), _share.sum(own.faces)};
    if (all.faces == 0)
    {
        findHighestValue(blocks);
        const auto end = goOn(true);
        return end == BlockRoadEnd::Done ? BlockRoadEnd::NoSurface : end;
    }
    const SurfaceSize size = _share.withCopies(own);
    bool areFew = fits(_plan.mesh.bytesOf(size, before)) && size.isIndexable() && all.isIndexable();
    if (_plan.mesh.bytesOfWhole && _share.isFirst()) areFew &= fits(_plan.mesh.bytesOfGathered(all, size));
    const auto end = _share.worst(areFew ? BlockRoadEnd::Done : BlockRoadEnd::TooLarge);
    if (end != BlockRoadEnd::Done) return end;
    const BlockLattice lattice = _particles.lattice;
    _particles = {};
    return _share.worst(_share.assemble(lattice, extraction.surfaces(), _plan.mesh, _polling, part));
}

}  // namespace tavrix::detail
