#pragma once

#include <chrono>

namespace tavrix
{

/// Wall-clock stopwatch on a steady clock.
class Timer
{
public:
    /// (Re)starts from zero.
    void start() { _start = _stop = Clock::now(); }
    /// Marks the end of the interval and returns its length in seconds.
    double stop()
    {
        _stop = Clock::now();
        return seconds();
    }
    /// Seconds between the last start and the last stop.
    double seconds() const { return std::chrono::duration<double>(_stop - _start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point _start = Clock::now();
    Clock::time_point _stop = _start;
};

}  // namespace tavrix
