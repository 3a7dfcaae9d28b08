#include "formats/Base64.h"

#include <algorithm>
#include <array>

#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

constexpr uint32 invalid = 0xFF000000u;

/// What each character is worth, at each of the four places of a group.
using Table = std::array<std::array<uint32, 256>, 4>;

constexpr Table makeTable()
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Table table{};
    for (std::size_t place = 0; place < 4; ++place)
    {
        table[place].fill(invalid);
        for (uint32 n = 0; n < 64; ++n)
            table[place][static_cast<unsigned char>(digits[n])] = n << (6 * (3 - place));
    }
    return table;
}

constexpr Table worths = makeTable();

uint32 worth(char c, std::size_t place) { return worths[place][static_cast<unsigned char>(c)]; }

void put(uint32 group, char* out)
{
    out[0] = static_cast<char>(group >> 16);
    out[1] = static_cast<char>(group >> 8);
    out[2] = static_cast<char>(group);
}

/// Reads a group with blanks within or padding at its end; the bytes that it stands for, 0 at the end.
std::size_t slowGroup(const char*& next, const char* end, char* out)
{
    uint32 group = 0;
    std::size_t digits = 0, padding = 0;
    for (; next != end && digits + padding < 4; ++next)
    {
        if (TextReader::isBlank(*next)) continue;
        if (*next == '=' && digits >= 2)
            ++padding;
        else if (padding == 0 && worth(*next, digits) != invalid)
            group |= worth(*next, digits++);
        else
            return 0;
    }
    if (digits + padding < 4) return 0;
    put(group, out);
    return digits - 1;
}

}  // namespace

Base64Bytes decodeBase64(std::string_view text, std::size_t count)
{
    // A group may have two bytes too many for `count`.
    const std::size_t room = std::min(count, text.size() / 4 * 3 + 3);
    Base64Bytes bytes{std::shared_ptr<char[]>(new char[room + 3]), 0};
    const char* next = text.data();
    const char* const end = next + text.size();
    char* out = bytes.data.get();
    char* const enough = out + room;
    while (out < enough)
    {
        uint32 group = invalid;
        if (end - next >= 4)
            group = worth(next[0], 0) | worth(next[1], 1) | worth(next[2], 2) | worth(next[3], 3);
        if (group < invalid)
        {
            put(group, out);
            out += 3;
            next += 4;
            continue;
        }
        const std::size_t got = slowGroup(next, end, out);
        if (got == 0) break;
        out += got;
    }
    bytes.size = std::min(count, static_cast<std::size_t>(out - bytes.data.get()));
    return bytes;
}

}  // namespace tavrix::formats
