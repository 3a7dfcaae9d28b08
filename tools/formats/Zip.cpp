#include "formats/Zip.h"

#include <algorithm>

#include "formats/Failure.h"
#include "formats/TextReader.h"
#include "formats/Zlib.h"

namespace tavrix::formats
{

namespace
{

// Sizes of the fixed parts, which names and other fields of a length that they state follow.
constexpr std::size_t endSize = 22, entrySize = 46, headerSize = 30;

/// The little-endian number of so many bytes.
uint32 numberAt(std::string_view bytes, std::size_t offset, std::size_t size)
{
    uint32 number = 0;
    for (std::size_t n = size; n-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[offset + n]);
    return number;
}

uint32 shortAt(std::string_view bytes, std::size_t offset) { return numberAt(bytes, offset, 2); }
uint32 longAt(std::string_view bytes, std::size_t offset) { return numberAt(bytes, offset, 4); }

bool areEqual(std::string_view a, std::string_view b)
{
    const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return small(x) == small(y); });
}

}  // namespace

void Zip::refuse(const std::string& what) const { throw Failure(_path + ": " + what); }

Zip::Zip(Bytes bytes, std::string path) : _bytes(std::move(bytes)), _path(std::move(path))
{
    const std::string_view file = _bytes.view();
    // a comment of up to 64 KiB may follow the end's record
    const std::size_t from = file.size() > endSize + 0xFFFF ? file.size() - endSize - 0xFFFF : 0;
    const std::size_t end = file.substr(from).rfind("PK\5\6");
    if (end == std::string_view::npos || file.size() - from - end < endSize)
        refuse("is no ZIP file, or one that is cut off; write or copy it again");
    const std::string_view record = file.substr(from + end);
    std::size_t place = longAt(record, 16);
    for (uint32 count = shortAt(record, 10); count > 0; --count)
    {
        if (place > file.size() || file.size() - place < entrySize) refuse("has a damaged list of its parts");
        const std::string_view entry = file.substr(place);
        const std::size_t nameSize = shortAt(entry, 28);
        const std::size_t size = entrySize + nameSize + shortAt(entry, 30) + shortAt(entry, 32);
        if (!entry.starts_with("PK\1\2") || entry.size() < size) refuse("has a damaged list of its parts");
        _entries.push_back({std::string(entry.substr(entrySize, nameSize)), shortAt(entry, 8),
                            shortAt(entry, 10), longAt(entry, 16), longAt(entry, 20), longAt(entry, 24),
                            longAt(entry, 42)});
        place += size;
    }
}

const Zip::Entry* Zip::find(std::string_view name) const
{
    const auto found = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const Entry& entry) { return areEqual(entry.name, name); });
    return found == _entries.end() ? nullptr : &*found;
}

std::string_view Zip::packed(const Entry& entry) const
{
    const std::string_view file = _bytes.view();
    if (entry.offset > file.size() || file.size() - entry.offset < headerSize)
        refuse("is cut off; write or copy it again");
    const std::size_t begin = std::size_t{entry.offset} + headerSize + shortAt(file, entry.offset + 26) +
                              shortAt(file, entry.offset + 28);
    if (begin > file.size() || file.size() - begin < entry.packedSize)
        refuse("is cut off; write or copy it again");
    return file.substr(begin, entry.packedSize);
}

Bytes Zip::inflated(const Entry& entry) const
{
    const std::string_view compressed = packed(entry);
    if (entry.size > 256 * compressed.size() + 0x10000)
        refuse("decompresses to hundreds of times its size; decompress and compress it again");
    const std::shared_ptr<char[]> contents(new char[std::size_t{entry.size} + 1]);
    Inflater inflater(Inflater::Wrapper::None);
    inflater.begin(compressed);
    const std::size_t size = inflater.fill(contents.get(), std::size_t{entry.size} + 1);
    if (!inflater.isDone() || size != entry.size) refuse("is damaged; write or copy it again");
    return {{contents, contents.get()}, size};
}

Bytes Zip::read(std::string_view name) const
{
    constexpr uint32 encrypted = 1, stored = 0, deflated = 8;
    const Entry* entry = find(name);
    if (!entry) refuse("has no part " + std::string(name) + "; export the mesh again");
    if (entry->flags & encrypted) refuse("is encrypted; save it without a password");
    if (entry->method != stored && entry->method != deflated)
        refuse("is compressed in a way that is not known; compress it by deflate");
    Bytes contents;
    if (entry->method == deflated)
        contents = inflated(*entry);
    else
        contents = {{_bytes.data, packed(*entry).data()}, entry->packedSize};
    uLong checksum = crc32(0, nullptr, 0);
    for (std::string_view left = contents.view(); !left.empty();)
    {
        const std::string_view piece = left.substr(0, 0x10000000);
        checksum =
            crc32(checksum, reinterpret_cast<const Bytef*>(piece.data()), static_cast<uInt>(piece.size()));
        left.remove_prefix(piece.size());
    }
    if (checksum != entry->checksum) refuse("is damaged; write or copy it again");
    return contents;
}

}  // namespace tavrix::formats
