#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

/// Files of packed records are read in blocks of this many bytes and a record more; files that are opened
/// with a buffer of this size fill them without a detour.
inline constexpr uint32 recordBlockSize = 0x80000;

/// Reads up to `wanted` records of `recordSize` bytes and returns how many whole ones there were; of the last
/// one, `lastSize` bytes are enough. Before they come, makeRoom(n) is told for how many records room is
/// needed: once, when the file vouches for that many, and for growing numbers when it does not tell its size.
/// Then decode(bytes, first, count) gets one block after another.
template <class MakeRoom, class Decode>
uint32 readRecords(FileBufferIn& file, uint32 wanted, std::size_t recordSize, std::size_t lastSize,
                   const MakeRoom& makeRoom, const Decode& decode)
{
    const auto perBlock = static_cast<uint32>(recordBlockSize / recordSize) + 1;
    const auto countIn = [=](uint64 bytes) { return (bytes + (recordSize - lastSize)) / recordSize; };
    const int64 remaining = file.remaining();
    uint32 room = std::min(wanted, perBlock);
    if (remaining >= 0)
        room = static_cast<uint32>(std::min<uint64>(wanted, countIn(static_cast<uint64>(remaining))));
    makeRoom(room);

    const std::unique_ptr<unsigned char[]> block(new unsigned char[std::min(wanted, perBlock) * recordSize]);
    uint32 done = 0;
    while (done < wanted)
    {
        const uint32 asked = std::min(wanted - done, perBlock);
        const auto got = static_cast<uint32>(countIn(file.readBuffer(block.get(), asked * recordSize)));
        if (done + got > room)
        {
            room =
                static_cast<uint32>(std::min<uint64>(wanted, std::max<uint64>(2 * uint64{room}, done + got)));
            makeRoom(room);
        }
        decode(static_cast<const unsigned char*>(block.get()), done, got);
        done += got;
        if (got < asked) break;
    }
    return done;
}

/// A number as it stands in a file.
template <class Number>
Number decode(const unsigned char* bytes, ByteOrder order = ByteOrder::little)
{
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    convertByteOrder(&value, 1, order);
    return value;
}

template <class Number>
void encode(Number value, unsigned char* bytes, ByteOrder order = ByteOrder::little)
{
    convertByteOrder(&value, 1, order);
    std::memcpy(bytes, &value, sizeof value);
}

/// Three numbers in a row, each converted to the type T.
template <class T, class Number>
Vector3<T> decodeVector(const unsigned char* bytes)
{
    return {static_cast<T>(decode<Number>(bytes)), static_cast<T>(decode<Number>(bytes + sizeof(Number))),
            static_cast<T>(decode<Number>(bytes + 2 * sizeof(Number)))};
}

}  // namespace tavrix::detail
