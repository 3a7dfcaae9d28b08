#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/FileStatus.h>
#include <tavrix/platform/TX_String.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A file read through one buffer. Reads of a buffer's size or more go straight to their destination. Numbers
/// are little-endian in the file. The status keeps the first failure until the next `open`; a stream that is
/// not open reads nothing.
class TX_GEOMETRY_API FileBufferIn
{
public:
    FileBufferIn() noexcept;
    FileBufferIn(const FileBufferIn&) = delete;
    FileBufferIn& operator=(const FileBufferIn&) = delete;
    ~FileBufferIn();

    /// Opens the file at a UTF-8 path, closing the one before; `mode` as for std::fopen. Returns ok or
    /// cannotOpen; directories cannot be opened. The buffer of `bufferSize` bytes (at least 1) is the only
    /// allocation.
    FileStatus open(const TX_String& path, const char* mode = "rb", uint32 bufferSize = 0x80000);

    /// Reads `byteCount` bytes and returns how many there were; fewer set the status to endsTooEarly, or to
    /// failed when the system reports an error. Bytes of the destination beyond the result are untouched.
    std::size_t readBuffer(void* destination, std::size_t byteCount);

    /// Read `count` numbers and return how many whole ones there were; of a shorter file, the destination of
    /// the first missing number is unspecified, and those behind it are untouched.
    /// @{
    std::size_t readShort(int16* values, std::size_t count = 1);
    std::size_t readInt(int32* values, std::size_t count = 1);
    std::size_t readUInt(uint32* values, std::size_t count = 1);
    std::size_t readFloat(float* values, std::size_t count = 1);
    std::size_t readDouble(double* values, std::size_t count = 1);
    /// @}

    /// Moves to `offset` bytes from the start (0), the present position (1) or the end (2). A position beyond
    /// the end is possible; reading there finds nothing. False, with the status failed, for a position before
    /// the start and for files without positions, such as pipes.
    bool seek(int64 offset, int origin);
    /// Bytes from the start of the file.
    int64 tell() const noexcept;

    /// Size of the file in bytes when it was opened, or -1 where there is none to tell (pipes, devices).
    int64 size() const noexcept;
    /// Bytes between the present position and the end, never negative, or -1 where the size is not known. A
    /// count read from the file is believed only as far as this could hold it.
    int64 remaining() const noexcept;

    /// Whether a file is open, and the first failure since the last `open`, that one included.
    /// @{
    bool isOpen() const noexcept;
    FileStatus status() const noexcept;
    /// @}
    /// Closes the file, frees the buffer and returns the status.
    FileStatus close() noexcept;

private:
    template <class Number>
    std::size_t readNumbers(Number* values, std::size_t count);
    std::size_t readFile(void* destination, std::size_t byteCount);

    std::FILE* _file = nullptr;
    std::unique_ptr<unsigned char[]> _buffer;
    std::size_t _bufferSize = 0;
    std::size_t _begin = 0;  ///< first unread byte of the buffer
    std::size_t _end = 0;    ///< end of the bytes in the buffer
    int64 _fileOffset = 0;   ///< position in the file of the buffer's end
    int64 _size = -1;
    FileStatus _status = FileStatus::ok;
};

}  // namespace tavrix
