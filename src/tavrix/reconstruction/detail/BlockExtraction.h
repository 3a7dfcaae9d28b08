#pragma once

#include <atomic>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/reconstruction/detail/BlockMesh.h>

namespace tavrix::detail
{

/// The surface of a scene, from block to block. A worker's finder(block, marching) tells whether a block has
/// a surface, which then is in the marching.
template <class Finder>
class BlockExtraction
{
public:
    /// One finder a worker.
    BlockExtraction(std::vector<Finder> finders, Polling& polling)
        : _finders(std::move(finders)), _polling(polling)
    {
    }

    /// Finds the surfaces of all blocks. Once they pass so many bytes they are no longer kept, only counted;
    /// where a sample of the blocks says that they will by far, that is all that is counted, and the size an
    /// estimate. False when the polling stopped it.
    bool run(const std::vector<BlockIndex>& blocks, double bytes);

    /// What was found, kept or not, or is reckoned.
    const SurfaceSize& size() const { return _size; }
    /// Ascending; all that there are when the bytes sufficed.
    std::vector<BlockSurface>& surfaces() { return _surfaces; }

private:
    /// What a worker takes from block to block.
    struct Worker
    {
        std::unique_ptr<BlockMarching> marching = std::make_unique<BlockMarching>();
        BlockSurfaceStore store;
        std::vector<BlockSurface> surfaces;
        SurfaceSize size;
    };

    bool isHopeless(const std::vector<BlockIndex>& blocks, double bytes);

    std::vector<Finder> _finders;
    Polling& _polling;
    SurfaceSize _size;
    std::vector<BlockSurface> _surfaces;
};

/// Whether so many blocks are likely to pass the bytes several times, by a sample of them; the size then is
/// that of the sample, scaled.
template <class Finder>
bool BlockExtraction<Finder>::isHopeless(const std::vector<BlockIndex>& blocks, double bytes)
{
    constexpr double typicalBytes = 50000, severalTimes = 3;
    constexpr uint64 sampleCount = 256;
    if (blocks.size() <= sampleCount || static_cast<double>(blocks.size()) * typicalBytes <= bytes)
        return false;
    std::vector<Worker> workers(_finders.size());
    inTurns(_polling, sampleCount, static_cast<uint32>(workers.size()),
            [&](uint32 w, uint64 n)
            {
                BlockMarching& marching = *workers[w].marching;
                if (_finders[w](blocks[n * blocks.size() / sampleCount], marching))
                    workers[w].size += SurfaceSize{marching.vertexCount(), marching.faceCount()};
            });
    SurfaceSize sample;
    for (const Worker& worker : workers) sample += worker.size;
    sample *= static_cast<double>(blocks.size()) / sampleCount;
    if (static_cast<double>(sample.bytes()) <= severalTimes * bytes) return false;
    _size = sample;
    return true;
}

template <class Finder>
bool BlockExtraction<Finder>::run(const std::vector<BlockIndex>& blocks, double bytes)
{
    if (isHopeless(blocks, bytes)) return !_polling.isStopped();
    std::vector<Worker> workers(_finders.size());
    std::atomic<uint64> found = 0;
    const auto findSurface = [&](uint32 w, uint64 n)
    {
        Worker& worker = workers[w];
        if (!_finders[w](blocks[n], *worker.marching)) return;
        const SurfaceSize size = SurfaceSize{worker.marching->vertexCount(), worker.marching->faceCount()};
        worker.size += size;
        if (static_cast<double>(found += size.bytes()) > bytes)
            worker.surfaces.clear();
        else
            worker.surfaces.push_back(worker.store.store(blocks[n], *worker.marching));
    };
    {
        const LongStep step(_polling, blocks.size());
        if (!inTurns(_polling, blocks.size(), static_cast<uint32>(workers.size()), findSurface)) return false;
    }
    for (Worker& worker : workers)
    {
        _size += worker.size;
        std::move(worker.surfaces.begin(), worker.surfaces.end(), std::back_inserter(_surfaces));
        worker.surfaces = {};
    }
    std::sort(_surfaces.begin(), _surfaces.end(),
              [](const BlockSurface& a, const BlockSurface& b) { return a.block < b.block; });
    return true;
}

}  // namespace tavrix::detail
