#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Owned characters, closed by a zero byte. A path held in one is UTF-8 on every system.
class TX_GEOMETRY_API TX_String
{
public:
    TX_String() = default;
    /// A copy of the text; a null pointer counts as empty text.
    /// @{
    TX_String(const char* text) : _text(text ? text : "") {}
    TX_String(std::string_view text) : _text(text) {}
    TX_String(const std::string& text) : _text(text) {}
    /// @}

    /// Number of characters, the closing zero byte not counted.
    uint32 size() const noexcept { return static_cast<uint32>(_text.size()); }
    /// As in std::string, with 32-bit counts.
    /// @{
    bool empty() const noexcept { return _text.empty(); }
    uint32 capacity() const noexcept { return static_cast<uint32>(_text.capacity()); }
    void reserve(uint32 capacity) { _text.reserve(capacity); }
    /// @}
    /// Sets the number of characters; new ones are zero bytes.
    void resize(uint32 size) { _text.resize(size); }
    /// As in std::string; the characters are closed by a zero byte, and `view` holds until the text changes.
    /// @{
    void clear() noexcept { _text.clear(); }

    const char* c_str() const noexcept { return _text.c_str(); }
    char* data() noexcept { return _text.data(); }
    std::string_view view() const noexcept { return _text; }
    /// @}

    /// Append the text; zero bytes in it count as characters.
    /// @{
    void append(std::string_view text) { _text.append(text); }
    TX_String& operator+=(std::string_view text)
    {
        append(text);
        return *this;
    }
    /// @}
    /// Appends what printf would print; text of any length.
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    appendFormat(const char* format, ...);

    /// By bytes, whatever the locale; zero bytes count as any other.
    /// @{
    friend bool operator==(const TX_String& a, const TX_String& b) noexcept { return a._text == b._text; }
    friend std::strong_ordering operator<=>(const TX_String& a, const TX_String& b) noexcept
    {
        return a._text.compare(b._text) <=> 0;
    }
    /// @}

private:
    std::string _text;
};

}  // namespace tavrix
