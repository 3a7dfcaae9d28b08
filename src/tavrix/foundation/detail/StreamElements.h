#pragma once

#include <algorithm>
#include <cstring>

#include <tavrix/foundation/Array.h>

// Numbers and arrays of them in streams, as they lie in memory.

namespace tavrix::detail
{

/// A stream moves less than 4 GiB at once.
inline constexpr uint32 maxBytesAtOnce = 1u << 30;
/// Where a stream's size is unknown, an array's first allocation, in bytes: its stated count may be damaged.
inline constexpr uint32 firstBytes = 1u << 20;

/// Reads bytes and returns how many came. A stream that does not count them is taken to have ended when it
/// left the first ones unchanged, and otherwise to have delivered all.
template <class Stream>
uint32 readBytes(Stream& stream, void* destination, uint32 byteCount)
{
    // 2^32 - 3, and not a number: what no format writes
    static constexpr unsigned char mark[8] = {0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    if (byteCount == 0) return 0;
    const std::size_t markSize = std::min<std::size_t>(byteCount, sizeof mark);
    if (!stream.tellsMovedBytes())
    {
        std::memset(destination, 0, byteCount);
        std::memcpy(destination, mark, markSize);
    }
    stream.read(destination, byteCount);
    if (stream.tellsMovedBytes()) return stream.movedBytes();
    if (std::memcmp(destination, mark, markSize) != 0) return byteCount;
    std::memset(destination, 0, markSize);
    return 0;
}

/// What cannot be read whole keeps what it held; false then.
template <class Stream, class T>
bool readWhole(Stream& stream, T& value)
{
    T read;
    if (readBytes(stream, &read, sizeof read) != sizeof read) return false;
    value = read;
    return true;
}

/// Reads `count` elements, or the whole ones that there are; true when there were all. Memory is taken for
/// what the stream holds, and where it does not tell, for twice what it gave.
template <class Stream, class T>
bool readElements(Stream& stream, Array<T>& array, uint32 count)
{
    const int64 remaining = stream.remaining();
    const uint64 expected = remaining < 0 ? firstBytes : static_cast<uint64>(remaining);
    array.resize(static_cast<uint32>(std::min<uint64>(count, expected / sizeof(T))));
    uint32 done = 0;
    while (done < count)
    {
        if (done == array.size() && remaining >= 0) break;
        if (done == array.size())
            array.resize(static_cast<uint32>(std::min<uint64>(count, 2 * uint64{done})));
        const auto asked = std::min<uint32>(array.size() - done, maxBytesAtOnce / sizeof(T));
        const uint32 bytes = readBytes(stream, array.data() + done, asked * static_cast<uint32>(sizeof(T)));
        const auto got = static_cast<uint32>(bytes / sizeof(T));
        done += got;
        if (got < asked) break;
    }
    array.resize(done);
    return done == count;
}

template <class Stream, class T>
void writeElements(Stream& stream, const T* elements, uint32 count)
{
    for (uint32 done = 0; done < count;)
    {
        const auto some = std::min<uint32>(count - done, maxBytesAtOnce / sizeof(T));
        stream.write(elements + done, some * static_cast<uint32>(sizeof(T)));
        done += some;
    }
}

}  // namespace tavrix::detail
