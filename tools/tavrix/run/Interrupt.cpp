#include "run/Interrupt.h"

#include <csignal>

#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

volatile std::sig_atomic_t requested = 0;

void request(int) { requested = 1; }

}  // namespace

void installInterruptHandler()
{
    std::signal(SIGINT, request);
    std::signal(SIGTERM, request);
}

int interrupted() { return requested; }

void stopIfInterrupted()
{
    if (interrupted()) throw Failure("interrupted");
}

}  // namespace tavrix::tool
