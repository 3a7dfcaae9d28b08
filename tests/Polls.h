#pragma once

#include <algorithm>

#include <gtest/gtest.h>

#include <tavrix/foundation/CancelCallback.h>

namespace tavrix::test
{

inline int pollsLeft = 0;

/// Has run(callback) done to its end once, which returns true, and then stopped at `tries` of its polls, when
/// it returns false and is asked no more; check() follows every stop. Returns how many polls there are.
template <class Run, class Check>
int stopAtPolls(int tries, const Run& run, const Check& check)
{
    pollsLeft = 0;
    EXPECT_TRUE(run([] { return ++pollsLeft, 0; }));
    const int polls = pollsLeft;
    for (int n = 0; n < polls; n += std::max(polls / tries, 1))
    {
        pollsLeft = n;
        EXPECT_FALSE(run([] { return pollsLeft-- <= 0 ? 1 : 0; })) << "stopped at poll " << n;
        EXPECT_EQ(pollsLeft, -1) << "asked again";
        check();
    }
    return polls;
}

}  // namespace tavrix::test
