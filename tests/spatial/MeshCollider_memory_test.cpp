// Allocations fail on purpose here, by replacing the global operator new. On Windows the library has an
// operator new of its own, which cannot be replaced from outside.
#if !defined(_WIN32)

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>

#include <mesh/TestMeshes.h>
#include <tavrix/spatial/MeshCollider.h>

namespace
{

/// Allocations until one fails; negative: none does.
std::atomic<int> allocationsLeft = -1;

bool failsNow() { return allocationsLeft >= 0 && allocationsLeft-- == 0; }

}  // namespace

// Inlined into each other's callers, they would look like a mismatched pair to the compiler.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* block = failsNow() ? nullptr : std::malloc(size);
    if (!block) throw std::bad_alloc();
    return block;
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return failsNow() ? nullptr : std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace tavrix
{

namespace
{

TEST(MeshColliderMemory, AFailureLeavesNothingToBeFound)
{
    const Mesh terrain = test::makeTerrain(20);
    MeshCollider large, small;
    large.create(terrain);
    small.create(test::makeTerrain(5));
    const std::function<void(MeshCollider&)> fills[] = {
        [&](MeshCollider& collider) { collider.create(terrain); },
        [&](MeshCollider& collider) { collider = large; },
    };
    for (const auto& fill : fills)
    {
        int failures = 0;
        for (bool failed = true; failed; ++failures)
        {
            ASSERT_LT(failures, 1000);
            MeshCollider collider(small);
            allocationsLeft = failures;
            try
            {
                fill(collider);
                failed = false;
            }
            catch (const std::bad_alloc&)
            {
            }
            allocationsLeft = -1;
            EXPECT_EQ(collider.getTree().size(), failed ? 0u : large.getTree().size()) << failures;
            EXPECT_EQ(collider.nearestPoint({0, 0, 0}).has_value(), !failed) << failures;
        }
        EXPECT_GT(failures, 10);
    }
}

}  // namespace

}  // namespace tavrix

#endif
