#include <tavrix/platform/FileBufferIn.h>

#include <algorithm>
#include <cstring>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/detail/FileAccess.h>
#include <tavrix/platform/OpenFile.h>

namespace tavrix
{

FileBufferIn::FileBufferIn() noexcept = default;

FileBufferIn::~FileBufferIn() { close(); }

FileStatus FileBufferIn::open(const TX_String& path, const char* mode, uint32 bufferSize)
{
    close();
    _bufferSize = std::max<std::size_t>(bufferSize, 1);
    _buffer.reset(new unsigned char[_bufferSize]);
    _begin = _end = 0;
    _fileOffset = 0;
    _size = -1;
    _file = openFile(path, mode);
    _status = _file ? FileStatus::ok : FileStatus::cannotOpen;
    if (!_file)
    {
        _buffer.reset();
        return _status;
    }
    std::setvbuf(_file, nullptr, _IONBF, 0);
    _size = detail::regularFileSize(_file);
    return _status;
}

/// Reads from the file behind the buffer.
std::size_t FileBufferIn::readFile(void* destination, std::size_t byteCount)
{
    const std::size_t got = std::fread(destination, 1, byteCount, _file);
    _fileOffset += static_cast<int64>(got);
    return got;
}

std::size_t FileBufferIn::readBuffer(void* destination, std::size_t byteCount)
{
    if (!_file) return 0;
    auto* to = static_cast<unsigned char*>(destination);
    std::size_t missing = byteCount;
    while (missing > 0)
    {
        if (_begin == _end)
        {
            // what the buffer held does not end where the file is after this: it is no place to seek back to
            _begin = _end = 0;
            if (missing >= _bufferSize)
            {
                missing -= readFile(to, missing);
                break;
            }
            _end = readFile(_buffer.get(), _bufferSize);
            if (_end == 0) break;
        }
        const std::size_t part = std::min(missing, _end - _begin);
        std::memcpy(to, _buffer.get() + _begin, part);
        _begin += part;
        to += part;
        missing -= part;
    }
    if (missing > 0 && _status == FileStatus::ok)
        _status = std::ferror(_file) ? FileStatus::failed : FileStatus::endsTooEarly;
    return byteCount - missing;
}

template <class Number>
std::size_t FileBufferIn::readNumbers(Number* values, std::size_t count)
{
    const std::size_t whole = readBuffer(values, count * sizeof(Number)) / sizeof(Number);
    convertByteOrder(values, whole, ByteOrder::little);
    return whole;
}

std::size_t FileBufferIn::readShort(int16* values, std::size_t count) { return readNumbers(values, count); }
std::size_t FileBufferIn::readInt(int32* values, std::size_t count) { return readNumbers(values, count); }
std::size_t FileBufferIn::readUInt(uint32* values, std::size_t count) { return readNumbers(values, count); }
std::size_t FileBufferIn::readFloat(float* values, std::size_t count) { return readNumbers(values, count); }
std::size_t FileBufferIn::readDouble(double* values, std::size_t count) { return readNumbers(values, count); }

bool FileBufferIn::seek(int64 offset, int origin)
{
    if (!_file) return false;
    if (origin == SEEK_CUR)
    {
        const auto back = static_cast<int64>(_begin);
        const auto ahead = static_cast<int64>(_end - _begin);
        if (-back <= offset && offset <= ahead)
        {
            _begin = static_cast<std::size_t>(back + offset);
            return true;
        }
        offset -= ahead;
    }
    if (!detail::seekFile(_file, offset, origin))
    {
        if (_status == FileStatus::ok) _status = FileStatus::failed;
        return false;
    }
    _begin = _end = 0;
    _fileOffset = detail::tellFile(_file);
    return true;
}

int64 FileBufferIn::tell() const noexcept { return _fileOffset - static_cast<int64>(_end - _begin); }

int64 FileBufferIn::size() const noexcept { return _size; }

int64 FileBufferIn::remaining() const noexcept { return _size < 0 ? -1 : std::max<int64>(_size - tell(), 0); }

bool FileBufferIn::isOpen() const noexcept { return _file != nullptr; }

FileStatus FileBufferIn::status() const noexcept { return _status; }

FileStatus FileBufferIn::close() noexcept
{
    if (_file) std::fclose(_file);
    _file = nullptr;
    _buffer.reset();
    return _status;
}

}  // namespace tavrix
