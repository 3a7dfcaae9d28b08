#include "FileName.h"

namespace tavrix::tool
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

}  // namespace tavrix::tool
