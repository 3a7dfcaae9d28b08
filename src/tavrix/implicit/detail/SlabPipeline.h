#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// What workers tell each other while they share one sweep of a grid after the other, each made of slabs of
/// as many blocks: block b of slab s waits for block b of the slab before and for block b - 1 of its own, and
/// a sweep for the end of the sweep before.
///
/// A free worker takes the next slab, so that any number of workers, also one, comes to the end. Whoever
/// waits looks for a moment and then sleeps.
class SlabPipeline
{
public:
    /// hasNext() is asked after every sweep, by one worker while all others wait.
    SlabPipeline(uint32 slabCount, uint32 blockCount, std::function<bool()> hasNext)
        : _slabCount(slabCount), _blockCount(blockCount), _hasNext(std::move(hasNext)), _visited(slabCount)
    {
    }

    /// A slab that one worker visits; whatever happens to the worker, nobody waits for it afterwards.
    class Slab
    {
    public:
        /// Takes the next slab, and waits until its sweep begins.
        explicit Slab(SlabPipeline& pipeline);
        Slab(const Slab&) = delete;
        Slab& operator=(const Slab&) = delete;
        ~Slab();

        /// False when there is none.
        explicit operator bool() const { return _isOpen; }
        uint32 number() const { return _number; }
        uint64 sweep() const { return _sweep; }

        /// Waits until the block may be visited.
        void await(uint32 block) const;
        /// Blocks below this are visited.
        void tell(uint32 blocks) const;

    private:
        SlabPipeline& _pipeline;
        uint64 _sweep;
        uint32 _number;
        bool _isOpen;
    };

private:
    template <class Ready>
    void waitFor(Ready ready);
    void wake();
    void endSlab();

    uint32 _slabCount, _blockCount;
    std::function<bool()> _hasNext;
    std::vector<std::atomic<uint32>> _visited;  ///< blocks of every slab in this sweep
    std::atomic<uint32> _slabsDone = 0;         ///< in this sweep
    std::atomic<uint64> _nextSlab = 0;          ///< counted through all sweeps
    std::atomic<uint64> _sweep = 0;
    std::atomic<bool> _hasEnded = false;

    std::atomic<uint32> _sleepers = 0;
    std::mutex _mutex;
    std::condition_variable _changed;
};

}  // namespace tavrix::detail
