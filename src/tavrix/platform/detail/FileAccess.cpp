#include <tavrix/platform/detail/FileAccess.h>

#include <sys/stat.h>
#include <sys/types.h>

namespace tavrix::detail
{

#if defined(_WIN32)

bool seekFile(std::FILE* file, int64 offset, int origin) noexcept
{
    return _fseeki64(file, offset, origin) == 0;
}

int64 tellFile(std::FILE* file) noexcept { return _ftelli64(file); }

int64 regularFileSize(std::FILE* file) noexcept
{
    struct _stat64 info;
    if (_fstat64(_fileno(file), &info) != 0 || (info.st_mode & _S_IFMT) != _S_IFREG) return -1;
    return info.st_size;
}

#else

bool seekFile(std::FILE* file, int64 offset, int origin) noexcept
{
    static_assert(sizeof(off_t) == sizeof(int64));
    return fseeko(file, offset, origin) == 0;
}

int64 tellFile(std::FILE* file) noexcept { return ftello(file); }

int64 regularFileSize(std::FILE* file) noexcept
{
    struct stat info;
    if (fstat(fileno(file), &info) != 0 || !S_ISREG(info.st_mode)) return -1;
    return info.st_size;
}

#endif

}  // namespace tavrix::detail
