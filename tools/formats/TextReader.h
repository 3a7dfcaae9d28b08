#pragma once

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

#include <fast_float/fast_float.h>

#include <tavrix/platform/Types.h>

namespace tavrix::formats
{

/// Reads words, numbers and lines off a text, and bytes between them. At the end of the text words are empty
/// and numbers fail.
class TextReader
{
public:
    explicit TextReader(std::string_view text) : _next(text.data()), _end(text.data() + text.size()) {}

    bool isAtEnd() const { return _next == _end; }
    std::size_t remaining() const { return static_cast<std::size_t>(_end - _next); }
    std::string_view rest() const { return {_next, remaining()}; }

    TextReader& skipBlanks()
    {
        while (_next != _end && isBlank(*_next)) ++_next;
        return *this;
    }

    /// The next word, up to a blank or the end of its line, which stay.
    std::string_view word()
    {
        skipBlanks();
        const char* begin = _next;
        while (_next != _end && !isBlank(*_next)) ++_next;
        return {begin, static_cast<std::size_t>(_next - begin)};
    }

    /// The rest of the line, without its end (a newline, or both of Windows'), which is passed.
    std::string_view line()
    {
        const char* begin = _next;
        const std::string_view left = rest();
        const std::size_t size = std::min(left.find('\n'), left.size());
        _next += size < left.size() ? size + 1 : size;
        return {begin, size > 0 && begin[size - 1] == '\r' ? size - 1 : size};
    }

    /// So many bytes as they are; `count` must not be beyond `remaining`.
    std::string_view bytes(std::size_t count)
    {
        const char* begin = _next;
        _next += count;
        return {begin, count};
    }

    /// Parses the next number, rounded to the nearest; false, and nothing but blanks passed, when the text
    /// goes on with something else. A plus sign, nan and inf are understood.
    template <class T>
    bool number(T& value)
    {
        skipBlanks();
        const char* begin = _next != _end && *_next == '+' ? _next + 1 : _next;
        if constexpr (std::is_floating_point_v<T>)
        {
            const auto result = fast_float::from_chars(begin, _end, value);
            if (result.ptr == begin || result.ec == std::errc::invalid_argument) return false;
            _next = result.ptr;
            return true;
        }
        else
        {
            const auto result = std::from_chars(begin, _end, value);
            if (result.ec != std::errc()) return false;
            _next = result.ptr;
            return true;
        }
    }

    static bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

private:
    const char* _next;
    const char* _end;
};

/// Whether the text begins with the word, in small letters or capitals.
inline bool equalsWord(std::string_view text, std::string_view small)
{
    return text.size() == small.size() &&
           std::equal(text.begin(), text.end(), small.begin(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

}  // namespace tavrix::formats
