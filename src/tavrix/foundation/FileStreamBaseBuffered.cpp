#include <tavrix/foundation/FileStreamBaseBuffered.h>

namespace tavrix
{

FileStreamBaseBuffered::FileStreamBaseBuffered() noexcept = default;

FileStreamBaseBuffered::~FileStreamBaseBuffered() { close(); }

FileStatus FileStreamBaseBuffered::openToRead(const TX_String& path, uint32 bufferSize)
{
    _in = std::make_unique<FileBufferIn>();
    return _in->open(path, "rb", bufferSize);
}

FileStatus FileStreamBaseBuffered::openToWrite(const TX_String& path, uint32 bufferSize)
{
    _out = std::make_unique<FileBufferOut>();
    return _out->open(path, "wb", bufferSize);
}

FileStatus FileStreamBaseBuffered::close() noexcept
{
    const FileStatus in = _in ? _in->close() : FileStatus::ok;
    _in.reset();
    const FileStatus out = _out ? _out->close() : FileStatus::ok;
    _out.reset();
    return in != FileStatus::ok ? in : out;
}

int64 FileStreamBaseBuffered::remaining() const { return _in ? _in->remaining() : -1; }

}  // namespace tavrix
