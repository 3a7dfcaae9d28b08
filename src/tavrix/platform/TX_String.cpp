#include <tavrix/platform/TX_String.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace tavrix
{

void TX_String::appendFormat(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int needed = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (needed > 0)
    {
        std::vector<char> text(static_cast<std::size_t>(needed) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        _text.append(text.data(), static_cast<std::size_t>(needed));
    }
    va_end(again);
}

}  // namespace tavrix
