#pragma once

#include <algorithm>

#include <tavrix/foundation/Array.h>

// Numbers and arrays of them in streams, as they lie in memory.

namespace tavrix::detail
{

/// A stream moves less than 4 GiB at once.
inline constexpr uint32 maxBytesAtOnce = 1u << 30;
/// Where a stream does not tell how much it holds, the first bytes of an array for which a count is believed.
inline constexpr uint32 firstBytes = 1u << 20;

/// What cannot be read whole keeps what it held; false then.
template <class Stream, class T>
bool readWhole(Stream& stream, T& value)
{
    T read;
    stream.read(&read, sizeof read);
    if (stream.movedBytes() != sizeof read) return false;
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
        stream.read(array.data() + done, asked * static_cast<uint32>(sizeof(T)));
        const auto got = static_cast<uint32>(stream.movedBytes() / sizeof(T));
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
