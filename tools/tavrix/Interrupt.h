#pragma once

namespace tavrix::tool
{

/// Makes Ctrl-C a request to stop, which the library's long operations poll.
void installInterruptHandler();

/// 1 after Ctrl-C, else 0: a cancellation callback.
int interrupted();

}  // namespace tavrix::tool
