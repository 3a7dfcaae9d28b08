#include <tavrix/foundation/FileStreamEndian.h>

namespace tavrix
{

FileStreamEndian::FileStreamEndian(std::FILE* file, ByteOrder order) noexcept
    : FileStreamBase(file), _order(order)
{
    setMovedBytes(0);
}

FileStreamEndian::~FileStreamEndian() = default;

FileStreamEndian& FileStreamEndian::read(void* destination, uint32 byteCount)
{
    readFile(destination, byteCount);
    return *this;
}

FileStreamEndian& FileStreamEndian::write(const void* source, uint32 byteCount)
{
    writeFile(source, byteCount);
    return *this;
}

int64 FileStreamEndian::remaining() const { return remainingInFile(); }

}  // namespace tavrix
