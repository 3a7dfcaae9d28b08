#pragma once

namespace tavrix::tool
{

/// Makes Ctrl-C and a request to terminate a request to stop, which the library's long operations poll.
void installInterruptHandler();

/// 1 after such a request, else 0: a cancellation callback.
int interrupted();

/// Throws Failure after such a request.
void stopIfInterrupted();

}  // namespace tavrix::tool
