#include <tavrix/meshio/detail/FileRange.h>

#include <algorithm>
#include <string_view>

#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

namespace
{

/// Whether the character is a line feed that ends a line, and not one behind a backslash.
bool endsLine(std::string_view text, std::size_t at)
{
    if (text[at] != '\n') return false;
    const std::size_t last = text[at - 1] == '\r' ? at - 2 : at - 1;
    return text[last] != '\\';
}

/// Where the first line begins that does so behind the offset, which is 2 or more.
int64 lineBehind(FileBufferIn& file, int64 offset)
{
    constexpr std::size_t before = 2, windowSize = 0x1000;
    char window[windowSize];
    for (int64 from = offset - 2;; from += windowSize - before)
    {
        if (!file.seek(from, 0)) break;
        const std::string_view text(window, file.readBuffer(window, windowSize));
        for (std::size_t at = before; at < text.size(); ++at)
            if (endsLine(text, at)) return from + static_cast<int64>(at) + 1;
        if (text.size() < windowSize) break;
    }
    return file.size();
}

}  // namespace

std::vector<FileRange> lineRanges(const TX_String& path, uint32 count)
{
    constexpr uint32 bufferSize = 1;  // windows are read as they are
    FileBufferIn file;
    std::vector<FileRange> ranges{{}};
    if (count < 2 || file.open(path, "rb", bufferSize) != FileStatus::ok || file.size() < 0) return ranges;
    const int64 size = std::max<int64>(file.size() / count, 2);
    for (int64 cut = lineBehind(file, size); cut < file.size(); cut = lineBehind(file, cut + size))
    {
        ranges.back().end = cut;
        ranges.push_back({cut});
    }
    return ranges;
}

}  // namespace tavrix::detail
