#pragma once

namespace tavrix::tool
{

/// Turns SIGINT, SIGTERM and SIGHUP (Ctrl-C on Windows) into a stop flag that long operations poll, and has
/// writes beyond the limit of a file's size fail instead of ending the program.
void installInterruptHandler();

/// Ends the program by the signal that asked it to stop, as if it had not been caught, so that a shell's loop
/// around it ends as well. Returns where none did, and where the system knows no such end.
void dieOfInterrupt();

/// 1 after such a request, else 0: a cancellation callback.
int interrupted();

/// Throws Failure after such a request.
void stopIfInterrupted();

}  // namespace tavrix::tool
