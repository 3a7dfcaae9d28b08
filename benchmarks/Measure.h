#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/platform/Timer.h>

namespace tavrix::benchmark
{

/// The least time of some runs of an action, in milliseconds: whatever else the machine does only adds to it.
/// What the action builds should go out of scope with it.
template <class Action>
double leastMilliseconds(Action action, int runs = 7)
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
    {
        Timer timer;
        timer.start();
        action();
        times.push_back(timer.stop() * 1e3);
    }
    return *std::min_element(times.begin(), times.end());
}

}  // namespace tavrix::benchmark
