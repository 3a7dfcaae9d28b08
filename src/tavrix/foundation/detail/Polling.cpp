#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

bool Polling::goOn()
{
    if (!_callback) return true;
    if (std::this_thread::get_id() == _caller)
        ask();
    else
    {
        _wanted.fetch_add(1, std::memory_order_release);
        wakeCaller();
    }
    return !isStopped();
}

/// A callback that throws stops the workers too.
void Polling::ask()
{
    if (isStopped()) return;
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

void Polling::wakeCaller()
{
    _events.fetch_add(1, std::memory_order_release);
    _events.notify_one();
}

void Polling::workerEnded()
{
    _running.fetch_sub(1, std::memory_order_release);
    wakeCaller();
}

void Polling::attend()
{
    for (;;)
    {
        const uint32 seen = _events.load(std::memory_order_acquire);
        const bool ended = _running.load(std::memory_order_acquire) == 0;
        for (; _done != _wanted.load(std::memory_order_acquire); ++_done) ask();
        if (ended) return;
        _events.wait(seen, std::memory_order_acquire);
    }
}

}  // namespace tavrix::detail
