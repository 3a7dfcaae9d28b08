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

/// A file written through one buffer. Writes of a buffer's size or more go straight to the file. Numbers are
/// little-endian in the file. The status keeps the first failure until the next `open`: after it nothing more
/// is written, and a file is whole only when `close` returns ok.
class TX_GEOMETRY_API FileBufferOut
{
public:
    FileBufferOut() noexcept;
    FileBufferOut(const FileBufferOut&) = delete;
    FileBufferOut& operator=(const FileBufferOut&) = delete;
    /// Closes the file; call `close` to learn whether that went well.
    ~FileBufferOut();

    /// Opens the file at a UTF-8 path, closing the one before; `mode` as for std::fopen: "wb" starts an empty
    /// file, "r+b" writes into one that is there, and "ab" behind its end, wherever one seeks. Returns ok or
    /// cannotOpen. The buffer of `bufferSize` bytes (at least 1) is the only allocation.
    FileStatus open(const TX_String& path, const char* mode = "wb", uint32 bufferSize = 0x80000);

    /// Writes the bytes; the count of bytes taken, `byteCount` or, once the status is not ok, 0. A full disk
    /// sets cannotWrite here or, where the buffer still held the bytes, in a later call or in `close`.
    std::size_t writeBuffer(const void* source, std::size_t byteCount);

    /// Write `count` numbers and return how many were taken, all or none.
    /// @{
    std::size_t writeShort(const int16* values, std::size_t count = 1);
    std::size_t writeInt(const int32* values, std::size_t count = 1);
    std::size_t writeUInt(const uint32* values, std::size_t count = 1);
    std::size_t writeFloat(const float* values, std::size_t count = 1);
    std::size_t writeDouble(const double* values, std::size_t count = 1);
    /// @}

    /// Moves to `offset` bytes from the start (0), the present position (1) or the end (2), to patch what was
    /// written before. False, with the status failed, for a position before the start and for files without
    /// positions.
    bool seek(int64 offset, int origin);
    /// Bytes from the start of the file.
    int64 tell() const noexcept;

    /// Whether a file is open, and the first failure since the last `open`, that one included.
    /// @{
    bool isOpen() const noexcept;
    FileStatus status() const noexcept;
    /// @}
    /// Writes what the buffer holds, closes the file, frees the buffer and returns the status.
    FileStatus close() noexcept;

private:
    template <class Number>
    std::size_t writeNumbers(const Number* values, std::size_t count);
    bool writeFile(const void* source, std::size_t byteCount) noexcept;
    bool flush() noexcept;
    void moveToEnd() noexcept;

    std::FILE* _file = nullptr;
    std::unique_ptr<unsigned char[]> _buffer;
    std::size_t _bufferSize = 0;
    std::size_t _used = 0;  ///< bytes of the buffer that are not in the file yet
    int64 _fileOffset = 0;  ///< position in the file of the buffer's start
    bool _appends = false;
    FileStatus _status = FileStatus::ok;
};

}  // namespace tavrix
