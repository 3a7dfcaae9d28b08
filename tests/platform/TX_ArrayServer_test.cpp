#include <tavrix/platform/TX_ArrayServer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace tavrix;
using Ints = std::vector<int>;

static TX_ArrayServer& server() { return TX_ArrayServer::instance(); }

TEST(TX_ArrayServer, AnswersNothingForNoneStaleForeignAndWrongType)
{
    const ArrayHandle handle = server().create<Ints>(3u, 7);
    ASSERT_NE(server().get<Ints>(handle), nullptr);
    EXPECT_EQ(*server().get<Ints>(handle), Ints({7, 7, 7}));
    EXPECT_EQ(server().get<std::vector<std::string>>(handle), nullptr);
    EXPECT_EQ(server().size(handle), 3u);
    EXPECT_TRUE(server().release(handle));

    const ArrayHandle neverMade{handle.value ^ 0x003FF000u};
    for (const ArrayHandle dead : {ArrayHandle{}, handle, neverMade})
    {
        EXPECT_EQ(server().get<Ints>(dead), nullptr);
        EXPECT_FALSE(server().release(dead));
        EXPECT_TRUE(server().share(dead).isNone());
        EXPECT_TRUE(server().copy(dead).isNone());
        EXPECT_FALSE(server().copyContents(dead, dead));
        EXPECT_EQ(server().size(dead), 0u);
        EXPECT_EQ(server().referenceCount(dead), 0u);
    }
}

TEST(TX_ArrayServer, FollowsAModelThroughRandomUse)
{
    std::vector<std::pair<ArrayHandle, int>> references;  // and what the array holds
    std::set<uint32> everMade, alive;
    std::mt19937 random(5);
    const uint32 before = server().arrayCount();
    for (int step = 0; step < 20000; ++step)
    {
        if (references.empty() || (references.size() < 3000 && random() % 5 < 3))
        {
            references.emplace_back(server().create<Ints>(1u, step), step);
            everMade.insert(references.back().first.value);
            continue;
        }
        std::swap(references[random() % references.size()], references.back());
        const auto [handle, content] = references.back();
        ASSERT_EQ(server().get<Ints>(handle)->front(), content);
        if (random() % 4 == 0)
            references.emplace_back(server().share(handle), content);
        else
        {
            ASSERT_TRUE(server().release(handle));
            references.pop_back();
        }
    }
    for (const auto& [handle, content] : references) alive.insert(handle.value);
    EXPECT_EQ(server().arrayCount() - before, alive.size());
    for (const uint32 value : everMade)
        ASSERT_EQ(server().get<Ints>({value}) != nullptr, alive.contains(value));
    for (const auto& [handle, content] : references) EXPECT_TRUE(server().release(handle));
    EXPECT_EQ(server().arrayCount(), before);
}

TEST(TX_ArrayServer, ServesSeveralThreadsAtOnce)
{
    const ArrayHandle stale = server().create<Ints>(1u, -1);
    server().release(stale);
    std::atomic<int> faults = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&, t]
            {
                std::vector<ArrayHandle> own;
                for (int i = 0; i < 3000; ++i)
                {
                    own.push_back(server().create<Ints>(1u, t));
                    std::swap(own.back(), own[own.size() / 2]);
                    const Ints* ints = server().get<Ints>(own.back());
                    if (server().get<Ints>(stale) || !ints || ints->front() != t) ++faults;
                    if (i % 3 != 0) continue;
                    server().release(own.back());
                    own.pop_back();
                }
                for (const ArrayHandle handle : own)
                    if (!server().release(handle)) ++faults;
            });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
}
