#include <tavrix/foundation/FileStreamRaw.h>

namespace tavrix
{

FileStreamRaw::FileStreamRaw(std::FILE* file) noexcept : FileStreamBase(file) { setMovedBytes(0); }

FileStreamRaw::~FileStreamRaw() = default;

FileStreamRaw& FileStreamRaw::read(void* destination, uint32 byteCount)
{
    readFile(destination, byteCount);
    return *this;
}

FileStreamRaw& FileStreamRaw::write(const void* source, uint32 byteCount)
{
    writeFile(source, byteCount);
    return *this;
}

int64 FileStreamRaw::remaining() const { return remainingInFile(); }

}  // namespace tavrix
