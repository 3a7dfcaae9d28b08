#pragma once

#include <memory>

#include <tavrix/foundation/FileStreamBase.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileBufferOut.h>

namespace tavrix
{

/// A stream over a buffered file of its own: one to read, one to write, or both. The stream owns the buffers
/// and closes them; it has no C file to give. Formats that seek do so through the buffer that they use.
class TX_GEOMETRY_API FileStreamBaseBuffered : public FileStreamBase
{
public:
    /// Closes what is open, the file to read first; call `close` to learn whether all was written.
    ~FileStreamBaseBuffered() override;

    /// Opens a file to read or to write from its start, closing the one of that kind before. Returns ok or
    /// cannotOpen; from a file that could not be opened, reads deliver nothing.
    /// @{
    FileStatus openToRead(const TX_String& path, uint32 bufferSize = 0x100000);
    FileStatus openToWrite(const TX_String& path, uint32 bufferSize = 0x100000);
    /// @}

    /// Null until opened.
    /// @{
    FileBufferIn* getBufferIn() const noexcept { return _in.get(); }
    FileBufferOut* getBufferOut() const noexcept { return _out.get(); }
    /// @}

    /// Closes what is open and returns the first status that is not ok, the file to read asked first.
    FileStatus close() noexcept;

    int64 remaining() const override;

protected:
    FileStreamBaseBuffered() noexcept;

private:
    std::unique_ptr<FileBufferIn> _in;
    std::unique_ptr<FileBufferOut> _out;
};

}  // namespace tavrix
