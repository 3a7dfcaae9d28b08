#include <tavrix/meshio/detail/TextLines.h>

#include <algorithm>
#include <cstring>

namespace tavrix::detail
{

namespace
{

constexpr std::size_t windowSize = 0x40000;

const char* find(const char* begin, const char* end, char c)
{
    return begin == end
               ? nullptr
               : static_cast<const char*>(std::memchr(begin, c, static_cast<std::size_t>(end - begin)));
}

}  // namespace

TextLines::TextLines(std::size_t maxLength) : _maxLength(maxLength) {}

FileStatus TextLines::open(const TX_String& path, const FileRange& range)
{
    // the window is the buffer: reads as large as this pass the file's own
    constexpr uint32 noBuffer = 1;
    _status = _file.open(path, "rb", noBuffer);
    if (_status == FileStatus::ok && range.begin > 0 && !_file.seek(range.begin, 0))
        _status = FileStatus::failed;
    _left = range.end - range.begin;
    _window.reset(new char[_maxLength + windowSize]);
    _next = _end = _window.get();
    _hasZero = false;
    return _status;
}

/// Moves what is left of the window, at most maxLength characters, to its start and reads behind it; false
/// when nothing came.
bool TextLines::refill()
{
    const auto kept = static_cast<std::size_t>(_end - _next);
    std::memmove(_window.get(), _next, kept);
    const auto wanted = static_cast<std::size_t>(std::min<int64>(windowSize, _left));
    const std::size_t got = _file.readBuffer(_window.get() + kept, wanted);
    _left -= static_cast<int64>(got);
    if (_file.status() == FileStatus::failed) _status = FileStatus::failed;
    _next = _window.get();
    _end = _next + kept + got;
    _hasZero = find(_next, _end, '\0') != nullptr;
    return got > 0;
}

std::string_view TextLines::cut(const char* begin, const char* end) const
{
    end = begin + std::min(static_cast<std::size_t>(end - begin), _maxLength);
    const char* zero = _hasZero ? find(begin, end, '\0') : nullptr;
    return {begin, static_cast<std::size_t>((zero ? zero : end) - begin)};
}

bool TextLines::ReadLine(std::string_view& line)
{
    const char* lineFeed = find(_next, _end, '\n');
    while (!lineFeed)
    {
        // discards an overlong line's tail
        if (static_cast<std::size_t>(_end - _next) > _maxLength) _end = _next + _maxLength;
        const std::size_t searched = static_cast<std::size_t>(_end - _next);
        if (!refill()) break;
        lineFeed = find(_next + searched, _end, '\n');
    }
    if (!lineFeed && _next == _end) return false;
    line = cut(_next, lineFeed ? lineFeed : _end);
    _next = lineFeed ? lineFeed + 1 : _end;
    return true;
}

}  // namespace tavrix::detail
