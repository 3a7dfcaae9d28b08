#pragma once

namespace tavrix
{

/// A function that a long operation polls, always on the caller's thread, every few milliseconds of work; a
/// result above 0 asks it to stop, and it is not polled again. May be null.
using CancelCallback = int (*)();

/// Polls the callback.
inline bool isCancelled(CancelCallback callback) { return callback && callback() > 0; }

}  // namespace tavrix
