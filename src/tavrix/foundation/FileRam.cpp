#include <tavrix/foundation/FileRam.h>

#include <algorithm>
#include <cstring>

namespace tavrix
{

FileRam::FileRam() noexcept { setMovedBytes(0); }

FileRam::FileRam(const void* bytes, std::size_t byteCount)
    : _bytes(static_cast<const unsigned char*>(bytes), static_cast<const unsigned char*>(bytes) + byteCount)
{
    setMovedBytes(0);
}

FileRam::~FileRam() = default;

FileRam& FileRam::read(void* destination, uint32 byteCount)
{
    const std::size_t count = std::min<std::size_t>(byteCount, _bytes.size() - _next);
    if (count > 0) std::memcpy(destination, _bytes.data() + _next, count);
    _next += count;
    setMovedBytes(count);
    return *this;
}

FileRam& FileRam::write(const void* source, uint32 byteCount)
{
    const auto* bytes = static_cast<const unsigned char*>(source);
    _bytes.insert(_bytes.end(), bytes, bytes + byteCount);
    setMovedBytes(byteCount);
    return *this;
}

int64 FileRam::remaining() const { return static_cast<int64>(_bytes.size() - _next); }

void FileRam::clear() noexcept
{
    _bytes.clear();
    _next = 0;
}

}  // namespace tavrix
