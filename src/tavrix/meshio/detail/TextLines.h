#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include <tavrix/meshio/detail/FileRange.h>
#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

/// The lines of a text file, one after another, through a window of constant size.
class TextLines
{
public:
    /// Of each line, the characters behind the first `maxLength`, and those behind a zero byte, are cut off.
    explicit TextLines(std::size_t maxLength);

    /// Opens a file, of which lines are read that begin in the range; it begins and ends where lines do.
    FileStatus open(const TX_String& path, const FileRange& range = {});

    /// The next line without its line feed, valid until the next call; false at the end of the file. A
    /// carriage return before the line feed stays. A last line needs no line feed.
    bool ReadLine(std::string_view& line);

    /// ok at the end of a file that was read to its end, failed after a reading error.
    FileStatus status() const noexcept { return _status; }

private:
    bool refill();
    std::string_view cut(const char* begin, const char* end) const;

    std::size_t _maxLength;
    FileBufferIn _file;
    int64 _left = 0;  ///< bytes of the range that were not read yet
    std::unique_ptr<char[]> _window;
    const char* _next = nullptr;  ///< first character not handed out
    const char* _end = nullptr;   ///< end of the characters in the window
    bool _hasZero = false;        ///< there is a zero byte in the window
    FileStatus _status = FileStatus::ok;
};

}  // namespace tavrix::detail
