#include <tavrix/platform/ByteOrder.h>

namespace tavrix
{

namespace
{

constexpr uint32 blockSize = 512;

/// Reads through a block, so that a number cut by the end of the file leaves its destination untouched.
template <class Number>
uint32 readNumbers(Number* values, uint32 count, std::FILE* file, ByteOrder order)
{
    Number block[blockSize];
    uint32 done = 0;
    while (done < count)
    {
        const uint32 wanted = std::min(count - done, blockSize);
        const auto got = static_cast<uint32>(std::fread(block, sizeof(Number), wanted, file));
        convertByteOrder(block, got, order);
        std::copy(block, block + got, values + done);
        done += got;
        if (got < wanted) break;
    }
    return done;
}

template <class Number>
uint32 writeNumbers(const Number* values, uint32 count, std::FILE* file, ByteOrder order)
{
    Number block[blockSize];
    uint32 done = 0;
    while (done < count)
    {
        const uint32 wanted = std::min(count - done, blockSize);
        std::copy(values + done, values + done + wanted, block);
        convertByteOrder(block, wanted, order);
        const auto put = static_cast<uint32>(std::fwrite(block, sizeof(Number), wanted, file));
        done += put;
        if (put < wanted) break;
    }
    return done;
}

}  // namespace

uint32 ReadUInt(uint32* values, uint32 count, std::FILE* file, ByteOrder order)
{
    return readNumbers(values, count, file, order);
}

uint32 WriteUInt(const uint32* values, uint32 count, std::FILE* file, ByteOrder order)
{
    return writeNumbers(values, count, file, order);
}

uint32 ReadDouble(double* values, uint32 count, std::FILE* file, ByteOrder order)
{
    return readNumbers(values, count, file, order);
}

uint32 WriteDouble(const double* values, uint32 count, std::FILE* file, ByteOrder order)
{
    return writeNumbers(values, count, file, order);
}

}  // namespace tavrix
