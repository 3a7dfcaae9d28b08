#pragma once

namespace tavrix::tool
{

/// Turns SIGINT and SIGTERM (Ctrl-C on Windows) into a stop flag that long operations poll.
void installInterruptHandler();

/// 1 after such a request, else 0: a cancellation callback.
int interrupted();

/// Throws Failure after such a request.
void stopIfInterrupted();

}  // namespace tavrix::tool
