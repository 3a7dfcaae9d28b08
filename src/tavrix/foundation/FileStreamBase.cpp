#include <tavrix/foundation/FileStreamBase.h>

#include <algorithm>

#include <tavrix/platform/detail/FileAccess.h>

namespace tavrix
{

FileStreamBase::~FileStreamBase() = default;

int64 FileStreamBase::remaining() const { return -1; }

void FileStreamBase::readFile(void* destination, uint32 byteCount)
{
    setMovedBytes(_file ? std::fread(destination, 1, byteCount, _file) : 0);
}

void FileStreamBase::writeFile(const void* source, uint32 byteCount)
{
    setMovedBytes(_file ? std::fwrite(source, 1, byteCount, _file) : 0);
}

int64 FileStreamBase::remainingInFile() const
{
    if (!_file) return 0;
    const int64 size = detail::regularFileSize(_file);
    const int64 position = detail::tellFile(_file);
    return size < 0 || position < 0 ? -1 : std::max<int64>(size - position, 0);
}

}  // namespace tavrix
