#pragma once

#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// Runs task(worker, begin, end) over the items in pieces of so many, and polls the callback on the caller's
/// thread before the first and after each; false when it stopped the work.
template <class Task>
bool inRounds(uint64 itemCount, uint64 itemsPerPiece, uint32 threadCount, CancelCallback callback, Task task)
{
    Polling polling(callback);
    return polling.goOn() && inPieces(polling, itemCount, itemsPerPiece, threadCount, task);
}

/// Nodes or faces that a worker passes over between two polls where each costs little.
inline constexpr uint64 itemsPerPass = uint64{1} << 20;

}  // namespace tavrix::detail
