#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/meshio/detail/FileRange.h>
#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

/// The lines of a text file whatever their length: they end with a line feed, a carriage return or both, a
/// backslash at their end joins the next one to them, unless a # stands before it, and a byte order mark at
/// the start of the file belongs to none. A line takes memory for its length.
class StatementLines
{
public:
    /// Opens a file, of which lines are read that begin in the range; it begins and ends where lines do.
    FileStatus open(const TX_String& path, const FileRange& range = {});

    /// The next line without its end, valid until the next call; false at the end of the file.
    bool ReadLine(std::string_view& line);

    /// Whether the file ended before the last line did.
    bool lacksEnd() const noexcept { return _lacksEnd; }
    /// ok at the end of a file that was read to its end, failed after a reading error.
    FileStatus status() const noexcept { return _status; }

private:
    bool readOne(std::string_view& line);
    bool findEnd(std::size_t from, std::size_t& end);
    bool refill();

    FileBufferIn _file;
    int64 _left = 0;  ///< bytes of the range that were not read yet
    std::vector<char> _window;
    std::size_t _next = 0;      ///< first character not handed out
    std::size_t _end = 0;       ///< end of the characters in the window
    std::size_t _lineFeed = 0;  ///< the first one that was sought and not passed; _end: there is none
    std::string _joined;
    bool _lacksEnd = false;
    FileStatus _status = FileStatus::ok;
};

}  // namespace tavrix::detail
