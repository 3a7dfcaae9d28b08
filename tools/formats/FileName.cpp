#include "formats/FileName.h"

#include <system_error>

namespace tavrix::formats
{

std::string extensionOf(const std::string& path)
{
    const std::size_t mark = path.find_last_of("./\\");
    if (mark == std::string::npos || path[mark] != '.') return {};
    std::string extension = path.substr(mark + 1);
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return extension;
}

std::filesystem::path pathOf(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string utf8Of(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool isStandardOutput(const std::string& path) { return path == "/dev/stdout" || path == "/dev/fd/1"; }

bool isSameFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    return std::filesystem::equivalent(pathOf(a), pathOf(b), error);
}

}  // namespace tavrix::formats
