#include <tavrix/foundation/detail/Polling.h>

#include <exception>
#include <vector>

#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/platform/Thread.h>

namespace tavrix::detail
{

namespace
{

using Task = std::function<void(uint32, uint64, uint64)>;

/// One worker of a wave: its run of items, and what its task threw.
struct Worker
{
    std::function<void()> body;
    std::exception_ptr failure;
    Thread thread;
};

void runWave(uint64 start, uint64 chunk, uint32 workerCount, const Task& task, Polling* polling)
{
    std::vector<Worker> workers(workerCount);
    for (uint32 w = 0; w < workerCount; ++w)
    {
        Worker& worker = workers[w];
        const uint64 begin = start + w * chunk;
        worker.body = [&worker, &task, polling, w, begin, chunk]
        {
            try
            {
                task(w, begin, begin + chunk);
            }
            catch (...)
            {
                worker.failure = std::current_exception();
            }
            if (polling) polling->workerEnded();
        };
    }
    if (polling) polling->expectWorkers(workerCount);
    for (Worker& worker : workers)
        if (!worker.thread.start(worker.body)) worker.body();
    if (polling) polling->attend();
    for (Worker& worker : workers) worker.thread.join();
    for (const Worker& worker : workers)
        if (worker.failure) std::rethrow_exception(worker.failure);
}

/// The loop; ends between two waves once the polling has stopped.
void runWaves(uint64 itemCount, uint32 threadCount, const Task& task, Polling* polling)
{
    if (itemCount == 0) return;
    if (itemCount == 1 || threadCount <= 1)
    {
        task(0, 0, itemCount);
        return;
    }
    uint64 start = 0;
    uint64 remaining = itemCount;
    while (remaining != 0 && !(polling && polling->isStopped()))
    {
        const uint64 chunk = std::max<uint64>(remaining / threadCount, 1);
        const auto workers = static_cast<uint32>(std::min<uint64>(threadCount, remaining));
        runWave(start, chunk, workers, task, polling);
        start += workers * chunk;
        remaining %= workers;
    }
}

}  // namespace

bool Polling::goOn(uint64 items)
{
    if (!_callback) return true;
    if (_stepItems > 0) _itemsDone.fetch_add(items, std::memory_order_relaxed);
    if (std::this_thread::get_id() == _caller)
        ask();
    else
    {
        const std::lock_guard lock(_mutex);
        ++_wanted;
        _told.notify_one();
    }
    return !isStopped();
}

void Polling::beginStep(uint64 items)
{
    _itemsDone = 0;
    _stepItems = items;
}

/// A callback that throws stops the workers too.
void Polling::ask()
{
    if (isStopped()) return;
    if (_stepItems > 0)
        ProgressScope::tell(static_cast<double>(_itemsDone.load(std::memory_order_relaxed)) /
                            static_cast<double>(_stepItems));
    try
    {
        if (!isCancelled(_callback)) return;
    }
    catch (...)
    {
        _stopped.store(true, std::memory_order_relaxed);
        throw;
    }
    _stopped.store(true, std::memory_order_relaxed);
}

void Polling::expectWorkers(uint32 count)
{
    const std::lock_guard lock(_mutex);
    _running = count;
}

void Polling::workerEnded()
{
    const std::lock_guard lock(_mutex);
    --_running;
    _told.notify_one();
}

void Polling::attend()
{
    std::unique_lock lock(_mutex);
    for (;;)
    {
        _told.wait(lock, [this] { return _wanted != 0 || _running == 0; });
        if (_wanted == 0) return;
        --_wanted;
        lock.unlock();
        ask();
        lock.lock();
    }
}

bool polledFor(Polling& polling, uint64 itemCount, uint32 threadCount, const Task& task)
{
    runWaves(itemCount, threadCount, task, polling.hasCallback() ? &polling : nullptr);
    return !polling.isStopped();
}

}  // namespace tavrix::detail
