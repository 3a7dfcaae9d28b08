#pragma once

// Makes allocations fail on purpose, by replacing the global operator new: to be included by one source of a
// program. On Windows the library has an operator new of its own, which cannot be replaced from outside; such
// tests are left out there.

#include <atomic>
#include <cstdlib>
#include <new>

namespace tavrix::test
{

/// Allocations until one fails; negative: none does.
inline std::atomic<int> allocationsLeft = -1;

inline bool failsNow() { return allocationsLeft >= 0 && allocationsLeft-- == 0; }

/// Lets the (n + 1)-th allocation of the operation fail; false when it has fewer.
template <class Operation>
bool failsAtAllocation(int n, const Operation& operation)
{
    allocationsLeft = n;
    try
    {
        operation();
    }
    catch (const std::bad_alloc&)
    {
    }
    return allocationsLeft.exchange(-1) < 0;
}

}  // namespace tavrix::test

// Inlined into each other's callers, they would look like a mismatched pair to the compiler.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* block = tavrix::test::failsNow() ? nullptr : std::malloc(size);
    if (!block) throw std::bad_alloc();
    return block;
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return tavrix::test::failsNow() ? nullptr : std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
