#include <tavrix/foundation/Array.h>

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace tavrix::detail
{

#if defined(__linux__)
namespace
{

/// Advises the system about the whole pages of a block.
void advise(void* block, std::size_t bytes, int advice)
{
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (address + page - 1) & ~(page - 1);
    const std::uintptr_t last = (address + bytes) & ~(page - 1);
    if (first < last) madvise(static_cast<std::byte*>(block) + (first - address), last - first, advice);
}

}  // namespace
#endif

void adviseHugePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr std::size_t hugePage = std::size_t{1} << 21;
    if (bytes >= 2 * hugePage) advise(block, bytes, MADV_HUGEPAGE);
#endif
}

void returnPages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept
{
#if defined(__linux__)
    advise(block, bytes, MADV_DONTNEED);
#endif
}

}  // namespace tavrix::detail
