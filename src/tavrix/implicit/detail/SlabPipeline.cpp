#include <tavrix/implicit/detail/SlabPipeline.h>

#include <thread>

namespace tavrix::detail
{

/// Everything here is sequentially consistent, so that either the one who waits sees the change, or the one
/// who changes something sees that somebody sleeps.
template <class Ready>
void SlabPipeline::waitFor(Ready ready)
{
    constexpr uint32 looks = 200, yields = 8;
    for (uint32 n = 0; n < looks; ++n)
        if (ready()) return;
    for (uint32 n = 0; n < yields; ++n)
    {
        std::this_thread::yield();
        if (ready()) return;
    }
    std::unique_lock lock(_mutex);
    ++_sleepers;
    _changed.wait(lock, ready);
    --_sleepers;
}

void SlabPipeline::wake()
{
    if (_sleepers == 0) return;
    const std::lock_guard lock(_mutex);
    _changed.notify_all();
}

/// The last slab of a sweep opens the next one.
void SlabPipeline::endSlab()
{
    if (++_slabsDone < _slabCount) return;
    for (auto& blocks : _visited) blocks = 0;
    _slabsDone = 0;
    if (_hasNext())
        ++_sweep;
    else
        _hasEnded = true;
    wake();
}

SlabPipeline::Slab::Slab(SlabPipeline& pipeline) : _pipeline(pipeline)
{
    const uint64 taken = pipeline._nextSlab++;
    _sweep = taken / pipeline._slabCount;
    _number = static_cast<uint32>(taken % pipeline._slabCount);
    pipeline.waitFor([&] { return pipeline._sweep >= _sweep || pipeline._hasEnded; });
    _isOpen = pipeline._sweep >= _sweep;
}

SlabPipeline::Slab::~Slab()
{
    if (!_isOpen) return;
    tell(_pipeline._blockCount);
    _pipeline.endSlab();
}

void SlabPipeline::Slab::await(uint32 block) const
{
    if (_number == 0) return;
    const std::atomic<uint32>& before = _pipeline._visited[_number - 1];
    if (before <= block) _pipeline.waitFor([&] { return before > block; });
}

void SlabPipeline::Slab::tell(uint32 blocks) const
{
    _pipeline._visited[_number] = blocks;
    _pipeline.wake();
}

}  // namespace tavrix::detail
