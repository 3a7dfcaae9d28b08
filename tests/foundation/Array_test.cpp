#include <tavrix/foundation/Array.h>

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>

using namespace tavrix;

TEST(Array, ReservesExactlyAndKeepsWhatFits)
{
    Array<int> array;
    array.resize(10);
    std::iota(array.begin(), array.end(), 0);
    EXPECT_EQ(array.capacity(), 10u);
    array.resize(3);
    EXPECT_EQ(array.capacity(), 10u);
    array.resize(12);
    EXPECT_EQ(array.capacity(), 12u);
    EXPECT_EQ(array[2], 2);
    array.reserve(2);
    EXPECT_EQ(array, (Array<int>{0, 1}));
    EXPECT_EQ(array.capacity(), 2u);
    array.reserve(0);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(Array, GrowsByAnEighthAndFour)
{
    Array<std::string> array;
    uint32 expected = 0;
    for (uint32 n = 0; n < 500; ++n)
    {
        if (n == expected) expected += expected / 8 + 4;
        array.push_back(n == 0 ? "first" : array[n - 1]);  // an element of the array itself, across growth
        ASSERT_EQ(array.capacity(), expected);
    }
    EXPECT_EQ(array.back(), "first");
}

TEST(Array, CopiesMovesAndAssigns)
{
    const Array<std::string> source{"a", "b", "c"};
    Array<std::string> copy(source), target(std::move(copy));
    target = *&target;
    EXPECT_EQ(target, source);
    target.assign(5, target[1]);
    EXPECT_EQ(target, Array<std::string>(5, "b"));
    EXPECT_THROW(Array<char>::checkedSize(std::size_t{1} << 32), std::length_error);
}

namespace
{

/// Counts how many there are, and throws when it is copied.
struct Uncopyable
{
    Uncopyable() { ++alive; }
    Uncopyable(const Uncopyable&) = delete;
    Uncopyable& operator=(const Uncopyable&) { throw std::runtime_error("copied"); }
    ~Uncopyable() { --alive; }
    static inline uint32 alive = 0;
};

}  // namespace

TEST(Array, FreesItsStorageWhenCopyingAnElementThrows)
{
    const Array<Uncopyable> source(3);
    EXPECT_THROW(Array<Uncopyable>{source}, std::runtime_error);
    EXPECT_EQ(Uncopyable::alive, 3u);
}

TEST(ArrayOfPtr, OwnsUnlessToldNotTo)
{
    {
        ArrayOfPtr<Uncopyable> owner;
        for (int n = 0; n < 20; ++n) owner.push_back(new Uncopyable);
        ArrayOfPtr<Uncopyable, TX_NO> view;
        view.push_back(owner[3]);
        const ArrayOfPtr<Uncopyable, TX_NO> copy(view);
        EXPECT_EQ(copy[0], owner[3]);
        ArrayOfPtr<Uncopyable> next(std::move(owner));
        EXPECT_EQ(next.size(), Uncopyable::alive);
    }
    EXPECT_EQ(Uncopyable::alive, 0u);
}
