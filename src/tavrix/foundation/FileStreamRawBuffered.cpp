#include <tavrix/foundation/FileStreamRawBuffered.h>

namespace tavrix
{

FileStreamRawBuffered::FileStreamRawBuffered() noexcept { setMovedBytes(0); }

FileStreamRawBuffered::~FileStreamRawBuffered() = default;

FileStreamRawBuffered& FileStreamRawBuffered::read(void* destination, uint32 byteCount)
{
    setMovedBytes(getBufferIn() ? getBufferIn()->readBuffer(destination, byteCount) : 0);
    return *this;
}

FileStreamRawBuffered& FileStreamRawBuffered::write(const void* source, uint32 byteCount)
{
    setMovedBytes(getBufferOut() ? getBufferOut()->writeBuffer(source, byteCount) : 0);
    return *this;
}

}  // namespace tavrix
