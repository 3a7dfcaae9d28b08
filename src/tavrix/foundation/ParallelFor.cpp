#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

void parallelFor(uint64 itemCount, uint32 threadCount,
                 const std::function<void(uint32 worker, uint64 begin, uint64 end)>& task)
{
    detail::Polling none(nullptr);
    detail::polledFor(none, itemCount, threadCount, task);
}

}  // namespace tavrix
