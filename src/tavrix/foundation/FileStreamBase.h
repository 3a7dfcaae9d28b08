#pragma once

#include <cstdio>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A stream of raw bytes: what file formats are written through. What the bytes mean is the format's
/// business.
///
/// A stream over a C file borrows it: the host opens it in binary mode (openFile), keeps it open as long as
/// the stream is used, and closes it; what `std::ferror` and `std::fclose` return tells it whether all was
/// written. A stream moves bytes at the file's present position, so a format may be a part of a larger file.
///
/// A stream of your own needs `read` and `write` only. Formats then take every read to have been filled: what
/// it left untouched is zero, and the stream has ended when it leaves all of a read untouched. One that calls
/// setMovedBytes, in its constructor (with 0) and in every read and write, is believed to the byte, and saves
/// the zeroing. Override `remaining` when you know it: counts beyond it are then cut before memory is taken.
class TX_GEOMETRY_API FileStreamBase
{
public:
    FileStreamBase(const FileStreamBase&) = delete;
    FileStreamBase& operator=(const FileStreamBase&) = delete;
    virtual ~FileStreamBase();

    /// Fills the destination with the next bytes; of a stream that ends before, the rest of the destination
    /// is untouched.
    virtual FileStreamBase& read(void* destination, uint32 byteCount) = 0;
    /// Appends the bytes.
    virtual FileStreamBase& write(const void* source, uint32 byteCount) = 0;

    /// How many bytes there are still to be read, or -1 where that is not known (pipes, devices, streams that
    /// are not for reading). A count read from the stream is believed only as far as this could hold it.
    virtual int64 remaining() const;

    /// How many bytes the last `read` or `write` moved, of streams that tell it; 0 of the others.
    uint32 movedBytes() const noexcept { return _movedBytes; }
    /// Whether this stream tells how many bytes it moves, as all streams of the library do.
    bool tellsMovedBytes() const noexcept { return _tellsMovedBytes; }

    /// The C file, for formats that seek; null for streams that have none.
    std::FILE* getFile() const noexcept { return _file; }

protected:
    /// Borrows the file, which may be null.
    explicit FileStreamBase(std::FILE* file = nullptr) noexcept : _file(file) {}

    /// What streams over a C file do; without one, nothing moves.
    /// @{
    void readFile(void* destination, uint32 byteCount);
    void writeFile(const void* source, uint32 byteCount);
    int64 remainingInFile() const;
    /// @}

    /// Tells how many bytes a read or write moved, from then on believed to the byte.
    void setMovedBytes(std::size_t count) noexcept
    {
        _movedBytes = static_cast<uint32>(count);
        _tellsMovedBytes = true;
    }

private:
    std::FILE* _file;
    uint32 _movedBytes = 0;
    bool _tellsMovedBytes = false;
};

}  // namespace tavrix
