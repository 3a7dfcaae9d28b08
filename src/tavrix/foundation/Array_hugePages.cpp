#include <tavrix/foundation/Array.h>

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace tavrix::detail
{

void adviseHugePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t hugePage = std::uintptr_t{1} << 21;
    constexpr std::uintptr_t page = 4096;
    if (bytes < 2 * hugePage) return;
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (address + page - 1) & ~(page - 1);
    const std::uintptr_t last = (address + bytes) & ~(page - 1);
    madvise(static_cast<std::byte*>(block) + (first - address), last - first, MADV_HUGEPAGE);
#endif
}

}  // namespace tavrix::detail
