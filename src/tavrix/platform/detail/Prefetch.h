#pragma once

namespace tavrix::detail
{

/// Asks the processor to bring the memory at an address near; a hint that changes nothing.
inline void prefetch([[maybe_unused]] const void* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

}  // namespace tavrix::detail
