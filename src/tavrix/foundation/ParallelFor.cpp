#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

#include <algorithm>
#include <atomic>

namespace tavrix
{

namespace detail
{

static std::atomic<bool> isEveryThreadWorth = false;

void countThreadsAsWorth(bool always) { isEveryThreadWorth = always; }

uint32 threadsWorth(uint64 itemCount, uint64 itemsPerPiece, uint32 threadCount)
{
    const uint64 least = isEveryThreadWorth ? 1 : std::max<uint64>(itemsPerPiece / 4, 1);
    return static_cast<uint32>(std::clamp<uint64>(itemCount / least, 1, std::max(threadCount, 1u)));
}

}  // namespace detail

void parallelFor(uint64 itemCount, uint32 threadCount,
                 const std::function<void(uint32 worker, uint64 begin, uint64 end)>& task)
{
    detail::Polling none(nullptr);
    detail::polledFor(none, itemCount, threadCount, task);
}

}  // namespace tavrix
