#pragma once

#include <string>

namespace tavrix::tool
{

/// What std::printf would print, as a string.
#if defined(__MINGW32__)
[[gnu::format(gnu_printf, 1, 2)]]
#elif defined(__GNUC__)
[[gnu::format(printf, 1, 2)]]
#endif
std::string
formatted(const char* format, ...);

}  // namespace tavrix::tool
