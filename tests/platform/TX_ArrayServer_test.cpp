#include <tavrix/platform/TX_ArrayServer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
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
    struct Entry
    {
        int content;
        uint32 references;
    };
    std::map<uint32, Entry> model;
    std::vector<uint32> dead;
    std::mt19937 random(5);
    const uint32 before = server().arrayCount();
    for (int step = 0; step < 20000; ++step)
    {
        if (model.empty() || (model.size() < 3000 && random() % 5 < 3))
        {
            const ArrayHandle handle = server().create<Ints>(1u, step);
            ASSERT_TRUE(model.insert({handle.value, {step, 1}}).second)
                << "a live handle was given out twice";
            continue;
        }
        const auto entry = std::next(model.begin(), static_cast<long>(random() % model.size()));
        const ArrayHandle handle{entry->first};
        ASSERT_EQ(server().get<Ints>(handle)->front(), entry->second.content);
        const bool shares = random() % 4 == 0;
        if (shares)
            server().share(handle);
        else
            ASSERT_TRUE(server().release(handle));
        if ((entry->second.references += shares ? 1u : ~0u) > 0) continue;
        dead.push_back(handle.value);
        model.erase(entry);
    }
    for (const uint32 value : dead)
    {
        if (model.contains(value)) continue;  // the slot went through all its generations
        ASSERT_EQ(server().get<Ints>({value}), nullptr);
    }
    EXPECT_EQ(server().arrayCount() - before, model.size());
    for (const auto& [value, entry] : model)
        for (uint32 i = 0; i < entry.references; ++i) EXPECT_TRUE(server().release({value}));
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
                    own.push_back(server().create<Ints>(1u, t * 10000 + i));
                    if (server().get<Ints>(stale)) ++faults;
                    if (i % 3 != 0) continue;
                    const std::size_t victim = own.size() / 2;
                    const Ints* ints = server().get<Ints>(own[victim]);
                    if (!ints || ints->front() / 10000 != t) ++faults;
                    server().release(own[victim]);
                    own.erase(own.begin() + static_cast<long>(victim));
                }
                for (const ArrayHandle handle : own)
                    if (!server().release(handle)) ++faults;
            });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
}
