#include "run/Interrupt.h"

#include <csignal>

#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

volatile std::sig_atomic_t requested = 0;

volatile std::sig_atomic_t received = 0;

void request(int signal)
{
    received = signal;
    requested = 1;
}

}  // namespace

void installInterruptHandler()
{
    std::signal(SIGINT, request);
    std::signal(SIGTERM, request);
#if !defined(_WIN32)
    // under nohup it stays ignored
    if (std::signal(SIGHUP, request) == SIG_IGN) std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void dieOfInterrupt()
{
#if !defined(_WIN32)
    if (!requested) return;
    std::signal(received, SIG_DFL);
    std::raise(received);
#endif
}

int interrupted() { return requested; }

void stopIfInterrupted()
{
    if (interrupted()) throw Failure("interrupted");
}

}  // namespace tavrix::tool
