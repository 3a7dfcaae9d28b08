#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <mutex>
#include <thread>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// The polls of one long operation: its callback is asked on the caller's thread alone, also while workers do
/// the work.
///
/// Whoever works calls goOn() after every piece of some milliseconds, and stops when that is false. In the
/// caller's own work it asks the callback at once; on a worker it wakes the caller, which waits for its
/// workers, to ask. How often the callback is asked thus depends on the work alone, not on the clock. Without
/// a callback goOn() costs a comparison.
class Polling
{
public:
    explicit Polling(CancelCallback callback) : _callback(callback) {}
    Polling(const Polling&) = delete;
    Polling& operator=(const Polling&) = delete;

    /// False when the work is to stop. So many items were done since the last call.
    bool goOn(uint64 items = 0);
    bool isStopped() const { return _stopped.load(std::memory_order_relaxed); }
    bool hasCallback() const { return _callback != nullptr; }

    /// From here on the items done are told as a part of so many, to the ProgressScope of the caller's
    /// thread; none are with 0.
    void beginStep(uint64 items);

    // For the loop that starts the workers.
    void expectWorkers(uint32 count);
    void workerEnded();
    /// Polls for the workers until all have ended.
    void attend();

private:
    void ask();

    CancelCallback _callback;
    std::thread::id _caller = std::this_thread::get_id();
    std::atomic<bool> _stopped = false;
    uint64 _stepItems = 0;
    std::atomic<uint64> _itemsDone = 0;

    // What the workers tell the caller. A condition variable: waiting for an atomic loses wake-ups where the
    // system has no such call and GCC 12 makes do without.
    std::mutex _mutex;
    std::condition_variable _told;
    uint32 _running = 0;
    uint32 _wanted = 0;  ///< polls that were asked for, and not made yet
};

/// The step that takes most of a stage's time: while it lives, the stage's progress is the part of the items
/// that the loops of this polling have done.
class LongStep
{
public:
    LongStep(Polling& polling, uint64 items) : _polling(polling) { _polling.beginStep(items); }
    LongStep(const LongStep&) = delete;
    LongStep& operator=(const LongStep&) = delete;
    ~LongStep() { _polling.beginStep(0); }

private:
    Polling& _polling;
};

/// Counts the work of one thread, and polls after every so much of it.
class PollCounter
{
public:
    PollCounter(Polling& polling, uint64 workPerPoll) : _polling(polling), _workPerPoll(workPerPoll) {}

    /// False when the work is to stop.
    bool add(uint64 work)
    {
        _work += work;
        if (_work < _workPerPoll) return true;
        const uint64 done = _work;
        _work = 0;
        return _polling.goOn(done);
    }

private:
    Polling& _polling;
    uint64 _workPerPoll;
    uint64 _work = 0;
};

/// parallelFor for a task that calls polling.goOn(), and returns early when that is false. False when the
/// callback stopped the work, which then is incomplete.
bool polledFor(Polling& polling, uint64 itemCount, uint32 threadCount,
               const std::function<void(uint32 worker, uint64 begin, uint64 end)>& task);

/// As many of the threads as are worth their start: each has a quarter of a piece of the work to do, where a
/// piece takes some milliseconds, and one does it all where there is less.
TX_GEOMETRY_API uint32 threadsWorth(uint64 itemCount, uint64 itemsPerPiece, uint32 threadCount);

/// For tests, whose inputs are small: whether threadsWorth leaves every thread that has an item.
TX_GEOMETRY_API void countThreadsAsWorth(bool always);

/// The numbers below a count, for a plain loop that polls after every so many of them:
/// `for (const uint32 n : PolledNumbers(count, scatteredItems, polling))`. The loop ends early once the
/// polling has stopped, and what it made means nothing then. Without a callback it is one piece.
class PolledNumbers
{
public:
    PolledNumbers(uint32 count, uint64 itemsPerPiece, Polling& polling)
        : _count(count),
          _piece(static_cast<uint32>(polling.hasCallback() ? std::min<uint64>(itemsPerPiece, count) : count)),
          _polling(polling)
    {
    }

    class Iterator
    {
    public:
        explicit Iterator(const PolledNumbers& numbers)
            : _numbers(numbers), _pieceEnd(numbers._polling.isStopped() ? 0 : numbers._piece)
        {
        }
        uint32 operator*() const { return _number; }
        Iterator& operator++()
        {
            ++_number;
            return *this;
        }
        bool operator!=(std::default_sentinel_t) { return _number != _pieceEnd || beginPiece(); }

    private:
        bool beginPiece()
        {
            if (_number == _numbers._count || !_numbers._polling.goOn()) return false;
            _pieceEnd += std::min(_numbers._piece, _numbers._count - _number);
            return _number != _pieceEnd;
        }

        const PolledNumbers& _numbers;
        uint32 _number = 0;
        uint32 _pieceEnd;
    };
    Iterator begin() const { return Iterator(*this); }
    std::default_sentinel_t end() const { return {}; }

private:
    uint32 _count, _piece;
    Polling& _polling;
};

/// polledFor with a poll after every so many items: task(worker, begin, end) is called for pieces of the
/// worker's run, in order. Without a callback a run is one piece. No more threads start than are worth it.
template <class Task>
bool inPieces(Polling& polling, uint64 itemCount, uint64 itemsPerPiece, uint32 threadCount, Task task)
{
    const uint64 each = polling.hasCallback() ? std::max<uint64>(itemsPerPiece, 1) : itemCount;
    return polledFor(polling, itemCount, threadsWorth(itemCount, itemsPerPiece, threadCount),
                     [&](uint32 worker, uint64 begin, uint64 end)
                     {
                         while (begin < end)
                         {
                             const uint64 next = begin + std::min(each, end - begin);
                             task(worker, begin, next);
                             const uint64 done = next - begin;
                             begin = next;
                             if (!polling.goOn(done)) return;
                         }
                     });
}

/// inPieces for short steps on the caller's thread: step(begin, end).
template <class Step>
bool inPieces(Polling& polling, uint64 itemCount, uint64 itemsPerPiece, Step step)
{
    return inPieces(polling, itemCount, itemsPerPiece, 1,
                    [&](uint32, uint64 begin, uint64 end) { step(begin, end); });
}

/// Calls work(worker, n) for every item, where a free worker takes the next item: for items of unequal cost,
/// some milliseconds each at most, whose order of work does not show. False when the callback stopped it.
template <class Work>
bool inTurns(Polling& polling, uint64 itemCount, uint32 threadCount, Work work)
{
    const auto workers =
        static_cast<uint32>(std::clamp<uint64>(threadCount, 1, std::max<uint64>(itemCount, 1)));
    std::atomic<uint64> next = 0;
    return polledFor(polling, workers, workers,
                     [&](uint32 worker, uint64, uint64)
                     {
                         for (uint64 n; (n = next++) < itemCount;)
                         {
                             work(worker, n);
                             if (!polling.goOn(1)) return;
                         }
                     });
}

/// Items of which each costs a few nanoseconds: a piece of them takes about two milliseconds.
inline constexpr uint64 lightItems = uint64{1} << 18;
/// Items that each wait for memory.
inline constexpr uint64 scatteredItems = uint64{1} << 16;

}  // namespace tavrix::detail
