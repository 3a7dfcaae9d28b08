#include <tavrix/platform/FileBufferOut.h>

#include <algorithm>
#include <cstring>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/detail/FileAccess.h>
#include <tavrix/platform/OpenFile.h>

namespace tavrix
{

FileBufferOut::FileBufferOut() noexcept = default;

FileBufferOut::~FileBufferOut() { close(); }

FileStatus FileBufferOut::open(const TX_String& path, const char* mode, uint32 bufferSize)
{
    close();
    _bufferSize = std::max<std::size_t>(bufferSize, 1);
    _buffer.reset(new unsigned char[_bufferSize]);
    _used = 0;
    _fileOffset = 0;
    _file = openFile(path, mode);
    _status = _file ? FileStatus::ok : FileStatus::cannotOpen;
    if (!_file)
    {
        _buffer.reset();
        return _status;
    }
    std::setvbuf(_file, nullptr, _IONBF, 0);
    _appends = std::strchr(mode, 'a') != nullptr;
    if (_appends) moveToEnd();
    return _status;
}

/// Files without positions count from where they were opened.
void FileBufferOut::moveToEnd() noexcept
{
    if (detail::seekFile(_file, 0, SEEK_END)) _fileOffset = detail::tellFile(_file);
}

bool FileBufferOut::writeFile(const void* source, std::size_t byteCount) noexcept
{
    const std::size_t put = std::fwrite(source, 1, byteCount, _file);
    _fileOffset += static_cast<int64>(put);
    if (put != byteCount) _status = FileStatus::cannotWrite;
    return put == byteCount;
}

/// Empties the buffer into the file.
bool FileBufferOut::flush() noexcept
{
    const std::size_t waiting = _used;
    _used = 0;
    return waiting == 0 || writeFile(_buffer.get(), waiting);
}

std::size_t FileBufferOut::writeBuffer(const void* source, std::size_t byteCount)
{
    if (!_file || _status != FileStatus::ok || byteCount == 0) return 0;
    if (_appends && _used == 0) moveToEnd();
    if (byteCount > _bufferSize - _used && !flush()) return 0;
    if (byteCount >= _bufferSize) return writeFile(source, byteCount) ? byteCount : 0;
    std::memcpy(_buffer.get() + _used, source, byteCount);
    _used += byteCount;
    return byteCount;
}

template <class Number>
std::size_t FileBufferOut::writeNumbers(const Number* values, std::size_t count)
{
    if constexpr (machineByteOrder == ByteOrder::little)
        return writeBuffer(values, count * sizeof(Number)) / sizeof(Number);
    for (std::size_t i = 0; i < count; ++i)
    {
        Number value = values[i];
        convertByteOrder(&value, 1, ByteOrder::little);
        if (writeBuffer(&value, sizeof value) == 0) return 0;
    }
    return count;
}

std::size_t FileBufferOut::writeShort(const int16* values, std::size_t count)
{
    return writeNumbers(values, count);
}
std::size_t FileBufferOut::writeInt(const int32* values, std::size_t count)
{
    return writeNumbers(values, count);
}
std::size_t FileBufferOut::writeUInt(const uint32* values, std::size_t count)
{
    return writeNumbers(values, count);
}
std::size_t FileBufferOut::writeFloat(const float* values, std::size_t count)
{
    return writeNumbers(values, count);
}
std::size_t FileBufferOut::writeDouble(const double* values, std::size_t count)
{
    return writeNumbers(values, count);
}

bool FileBufferOut::seek(int64 offset, int origin)
{
    if (!_file || _status != FileStatus::ok || !flush()) return false;
    if (!detail::seekFile(_file, offset, origin))
    {
        _status = FileStatus::failed;
        return false;
    }
    _fileOffset = detail::tellFile(_file);
    return true;
}

int64 FileBufferOut::tell() const noexcept { return _fileOffset + static_cast<int64>(_used); }

bool FileBufferOut::isOpen() const noexcept { return _file != nullptr; }

FileStatus FileBufferOut::status() const noexcept { return _status; }

FileStatus FileBufferOut::close() noexcept
{
    if (!_file) return _status;
    if (_status == FileStatus::ok) flush();
    if (std::fclose(_file) != 0 && _status == FileStatus::ok) _status = FileStatus::cannotWrite;
    _file = nullptr;
    _buffer.reset();
    return _status;
}

}  // namespace tavrix
