#include <tavrix/foundation/ParallelFor.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <new>
#include <stdexcept>
#include <tuple>
#include <vector>

using namespace tavrix;

using Slice = std::tuple<uint32, uint64, uint64>;

/// The slices that the loop hands out, sorted by where they begin.
static std::vector<Slice> slicesOf(uint64 itemCount, uint32 threadCount)
{
    std::vector<Slice> slices;
    std::mutex mutex;
    parallelFor(itemCount, threadCount,
                [&](uint32 worker, uint64 begin, uint64 end)
                {
                    const std::lock_guard lock(mutex);
                    slices.emplace_back(worker, begin, end);
                });
    std::sort(slices.begin(), slices.end(),
              [](const Slice& a, const Slice& b) { return std::get<1>(a) < std::get<1>(b); });
    return slices;
}

TEST(ParallelFor, CutsItsItemsIntoWaves)
{
    EXPECT_EQ(slicesOf(0, 4), (std::vector<Slice>{}));
    EXPECT_EQ(slicesOf(7, 1), (std::vector<Slice>{{0, 0, 7}}));
    EXPECT_EQ(slicesOf(1, 9), (std::vector<Slice>{{0, 0, 1}}));
    EXPECT_EQ(slicesOf(8, 2), (std::vector<Slice>{{0, 0, 4}, {1, 4, 8}}));
    EXPECT_EQ(slicesOf(11, 3),
              (std::vector<Slice>{{0, 0, 3}, {1, 3, 6}, {2, 6, 9}, {0, 9, 10}, {1, 10, 11}}));
    EXPECT_EQ(slicesOf(3, 5), (std::vector<Slice>{{0, 0, 1}, {1, 1, 2}, {2, 2, 3}}));
}

TEST(ParallelFor, CarriesTheLowestWorkersExceptionToTheCaller)
{
    std::atomic<int> finished = 0;
    const auto task = [&](uint32 worker, uint64, uint64)
    {
        if (worker == 1) throw std::bad_alloc();
        if (worker == 2) throw std::runtime_error("later");
        ++finished;
    };
    EXPECT_THROW(parallelFor(9, 4, task), std::bad_alloc);
    EXPECT_EQ(finished, 2) << "the wave was joined, and the next one did not start";
    EXPECT_THROW(parallelFor(2, 1, [](uint32, uint64, uint64) { throw std::runtime_error("here"); }),
                 std::runtime_error);
}
