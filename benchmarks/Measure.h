#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/platform/Timer.h>

namespace tavrix::benchmark
{

/// The median of seven runs of an action, in milliseconds. What the action builds should go out of scope with
/// it.
template <class Action>
double medianMilliseconds(Action action)
{
    std::vector<double> times;
    for (int run = 0; run < 7; ++run)
    {
        Timer timer;
        timer.start();
        action();
        times.push_back(timer.stop() * 1e3);
    }
    std::nth_element(times.begin(), times.begin() + 3, times.end());
    return times[3];
}

}  // namespace tavrix::benchmark
