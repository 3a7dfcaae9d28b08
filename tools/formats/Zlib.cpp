#include "formats/Zlib.h"

#include <algorithm>
#include <new>

namespace tavrix::formats
{

namespace
{

constexpr std::size_t largestPiece = 0x40000000;

unsigned char* zlibPointer(const char* bytes)
{
    return reinterpret_cast<unsigned char*>(const_cast<char*>(bytes));
}

}  // namespace

Inflater::Inflater(Wrapper wrapper)
{
    const int windowBits = wrapper == Wrapper::Gzip ? 15 + 16 : wrapper == Wrapper::None ? -15 : 15;
    if (inflateInit2(&_stream, windowBits) != Z_OK) throw std::bad_alloc();
}

Inflater::~Inflater() { inflateEnd(&_stream); }

void Inflater::begin(std::string_view compressed)
{
    _next = compressed.data();
    _unread = compressed.size();
    _stream.avail_in = 0;
    beginNext();
}

void Inflater::beginNext() { _status = inflateReset(&_stream); }

void Inflater::offer()
{
    if (_stream.avail_in > 0) return;
    const std::size_t piece = std::min(_unread, largestPiece);
    _stream.next_in = zlibPointer(_next);
    _stream.avail_in = static_cast<uInt>(piece);
    _next += piece;
    _unread -= piece;
}

std::size_t Inflater::fill(char* buffer, std::size_t size)
{
    std::size_t done = 0;
    while (done < size && _status == Z_OK)
    {
        offer();
        const std::size_t piece = std::min(size - done, largestPiece);
        _stream.next_out = zlibPointer(buffer + done);
        _stream.avail_out = static_cast<uInt>(piece);
        _status = inflate(&_stream, Z_NO_FLUSH);
        done += piece - _stream.avail_out;
    }
    return done;
}

bool Inflater::inflateWhole(std::string_view compressed, char* buffer, std::size_t size)
{
    if (compressed.size() > largestPiece || size > largestPiece || inflateReset(&_stream) != Z_OK)
        return false;
    _stream.next_in = zlibPointer(compressed.data());
    _stream.avail_in = static_cast<uInt>(compressed.size());
    _stream.next_out = zlibPointer(buffer);
    _stream.avail_out = static_cast<uInt>(size);
    return inflate(&_stream, Z_FINISH) == Z_STREAM_END && _stream.avail_out == 0;
}

}  // namespace tavrix::formats
