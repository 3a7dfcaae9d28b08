#include "arguments/Arguments.h"

#if defined(_WIN32)
#include <windows.h>
// shellapi.h needs windows.h first
#include <shellapi.h>
#endif

namespace tavrix::tool
{

#if defined(_WIN32)

std::vector<std::string> utf8Arguments(int, char**)
{
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int n = 1; wide && n < count; ++n)
    {
        const int size = WideCharToMultiByte(CP_UTF8, 0, wide[n], -1, nullptr, 0, nullptr, nullptr);
        std::string text(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
        WideCharToMultiByte(CP_UTF8, 0, wide[n], -1, text.data(), size, nullptr, nullptr);
        text.pop_back();
        arguments.push_back(text);
    }
    LocalFree(wide);
    return arguments;
}

#else

std::vector<std::string> utf8Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

#endif

}  // namespace tavrix::tool
