#include <tavrix/meshio/detail/StatementLines.h>

#include <algorithm>
#include <cstring>

namespace tavrix::detail
{

namespace
{

constexpr std::size_t statementWindowSize = 0x40000, notSought = std::string_view::npos;

bool isContinued(std::string_view line)
{
    return !line.empty() && line.back() == '\\' && line.find('#') == std::string_view::npos;
}

}  // namespace

FileStatus StatementLines::open(const TX_String& path, const FileRange& range)
{
    // the window is the buffer: reads as large as this pass the file's own
    constexpr uint32 noBuffer = 1;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    _status = _file.open(path, "rb", noBuffer);
    if (_status == FileStatus::ok && range.begin > 0 && !_file.seek(range.begin, 0))
        _status = FileStatus::failed;
    _left = range.end - range.begin;
    _window.resize(static_cast<std::size_t>(std::clamp<int64>(_left, 2, statementWindowSize)));
    _next = _end = 0;
    _lineFeed = notSought;
    _lacksEnd = false;
    if (_status == FileStatus::ok && range.begin == 0 && refill() &&
        std::string_view(_window.data(), _end).starts_with(byteOrderMark))
        _next = byteOrderMark.size();
    return _status;
}

bool StatementLines::ReadLine(std::string_view& line)
{
    if (!readOne(line)) return false;
    if (!isContinued(line)) return true;
    _joined.clear();
    while (isContinued(line))
    {
        line.remove_suffix(1);
        _joined.append(line).append(1, ' ');
        if (!readOne(line))
        {
            _lacksEnd = true;
            line = {};
        }
    }
    line = _joined.append(line);
    return true;
}

bool StatementLines::readOne(std::string_view& line)
{
    std::size_t end = 0;
    bool isEnded = findEnd(_next, end);
    while (!isEnded)
    {
        const std::size_t searched = _end - _next;
        if (!refill()) break;
        isEnded = findEnd(_next + searched, end);
    }
    if (!isEnded && _next == _end) return false;
    if (!isEnded) end = _end;
    _lacksEnd = !isEnded;
    line = {_window.data() + _next, end - _next};
    _next = end;
    if (isEnded) ++_next;
    // a line feed behind a carriage return ends the same line
    if (isEnded && _window[end] == '\r' && _next < _end && _window[_next] == '\n') ++_next;
    return true;
}

/// The first end of a line from there on.
bool StatementLines::findEnd(std::size_t from, std::size_t& end)
{
    const auto find = [this](std::size_t first, std::size_t last, char c)
    {
        const void* found = first == last ? nullptr : std::memchr(_window.data() + first, c, last - first);
        return found ? static_cast<std::size_t>(static_cast<const char*>(found) - _window.data()) : last;
    };
    if (_lineFeed < from || _lineFeed == notSought) _lineFeed = find(from, _end, '\n');
    end = find(from, _lineFeed, '\r');
    return end != _end;
}

/// Moves what is left of the window to its start, makes it larger when that fills half of it, and reads
/// behind it; false when nothing came.
bool StatementLines::refill()
{
    const std::size_t kept = _end - _next;
    if (kept > _window.size() / 2) _window.resize(2 * _window.size());
    std::memmove(_window.data(), _window.data() + _next, kept);
    const auto wanted =
        static_cast<std::size_t>(std::min<int64>(static_cast<int64>(_window.size() - kept), _left));
    const std::size_t got = _file.readBuffer(_window.data() + kept, wanted);
    _left -= static_cast<int64>(got);
    if (_file.status() == FileStatus::failed) _status = FileStatus::failed;
    _next = 0;
    _end = kept + got;
    _lineFeed = notSought;
    return got > 0;
}

}  // namespace tavrix::detail
