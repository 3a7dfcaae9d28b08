#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/platform/Timer.h>

namespace tavrix::benchmark
{

/// The median of an odd number of runs of an action, in milliseconds. What the action builds should go out of
/// scope with it.
template <class Action>
double medianMilliseconds(Action action, int runs = 7)
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
    {
        Timer timer;
        timer.start();
        action();
        times.push_back(timer.stop() * 1e3);
    }
    const auto middle = times.begin() + runs / 2;
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

}  // namespace tavrix::benchmark
