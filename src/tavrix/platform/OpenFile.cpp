#include <tavrix/platform/OpenFile.h>

#include <memory>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace tavrix
{

#if defined(_WIN32)

namespace
{

std::unique_ptr<wchar_t[]> toWide(const char* utf8) noexcept
{
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, nullptr, 0);
    if (length <= 0) return nullptr;
    std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<std::size_t>(length)]);
    if (wide) MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, wide.get(), length);
    return wide;
}

}  // namespace

std::FILE* openFile(const TX_String& path, const char* mode) noexcept
{
    const auto widePath = toWide(path.c_str());
    const auto wideMode = toWide(mode);
    return widePath && wideMode ? _wfopen(widePath.get(), wideMode.get()) : nullptr;
}

#else

std::FILE* openFile(const TX_String& path, const char* mode) noexcept
{
    std::FILE* file = std::fopen(path.c_str(), mode);
    struct stat info;
    if (file && fstat(fileno(file), &info) == 0 && S_ISDIR(info.st_mode))
    {
        std::fclose(file);
        return nullptr;
    }
    return file;
}

#endif

}  // namespace tavrix
