#pragma once

#include <cstddef>
#include <string_view>

#include <zlib.h>

namespace tavrix::formats
{

/// Decompresses streams of zlib, one after the other, without setting up anew.
class Inflater
{
public:
    enum class Wrapper
    {
        Zlib,
        Gzip,
        None,  ///< as in ZIP files
    };

    /// Throws std::bad_alloc.
    explicit Inflater(Wrapper wrapper);
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater();

    /// Begins a stream whose bytes these are; they stay the caller's.
    void begin(std::string_view compressed);
    /// Takes up the next stream, where the one before ended.
    void beginNext();
    /// The bytes of the compressed ones that were not taken.
    std::size_t unread() const { return _unread + _stream.avail_in; }

    /// Fills the buffer as far as the stream goes and returns how many bytes it wrote.
    std::size_t fill(char* buffer, std::size_t size);
    /// Whether the stream came to its end, and whether it broke: damaged, or cut off.
    /// @{
    bool isDone() const { return _status == Z_STREAM_END; }
    bool isBroken() const { return _status != Z_OK && _status != Z_STREAM_END; }
    /// @}

    /// Decompresses a stream that is there as a whole; false when it is not of that size.
    bool inflateWhole(std::string_view compressed, char* buffer, std::size_t size);

private:
    void offer();

    z_stream _stream{};
    const char* _next = nullptr;
    std::size_t _unread = 0;  ///< behind what the stream was given, whose counts have 32 bits
    int _status = Z_OK;
};

}  // namespace tavrix::formats
