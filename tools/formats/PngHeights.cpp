#include "formats/PngHeights.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/Zlib.h"

namespace tavrix::formats
{

namespace
{

using Byte = unsigned char;

enum class Colours : uint32
{
    Grey = 0,
    Rgb = 2,
    Palette = 3,
    GreyAlpha = 4,
    Rgba = 6
};

constexpr std::string_view signature = "\x89PNG\r\n\x1A\n";

uint32 numberAt(std::string_view bytes, std::size_t offset)
{
    uint32 number = 0;
    for (std::size_t n = 0; n < 4; ++n) number = number << 8 | static_cast<Byte>(bytes[offset + n]);
    return number;
}

float luma(double red, double green, double blue)
{
    return static_cast<float>(0.2126 * red + 0.7152 * green + 0.0722 * blue);
}

/// Adds what a row's filter predicts from the bytes to the left, above, and above to the left.
void unfilter(Byte filter, Byte* row, const Byte* above, std::size_t size, std::size_t pixelBytes)
{
    for (std::size_t n = 0; n < size; ++n)
    {
        const int left = n < pixelBytes ? 0 : row[n - pixelBytes], up = above[n];
        const int corner = n < pixelBytes ? 0 : above[n - pixelBytes];
        int predicted = filter == 1 ? left : filter == 2 ? up : filter == 3 ? (left + up) / 2 : 0;
        if (filter == 4)
        {
            const int a = std::abs(up - corner), b = std::abs(left - corner);
            const int c = std::abs(left + up - 2 * corner);
            predicted = a <= b && a <= c ? left : b <= c ? up : corner;
        }
        row[n] = static_cast<Byte>(row[n] + predicted);
    }
}

class PngReader
{
public:
    explicit PngReader(const std::string& path) : _path(path), _bytes(readBytes(path)) {}

    HeightPicture read()
    {
        if (!_bytes.view().starts_with(signature)) refuse("is no PNG picture; save the heights as one");
        readChunks();
        if (_picture.width == 0 || _picture.height == 0) refuse("has no size; save it again");
        if (_picture.height > mostRows()) refuse("is cut off, or says that it is larger than it can be");
        if (_colours == Colours::Palette && _palette.empty()) refuse("has no palette; save it again");
        readRows();
        return std::move(_picture);
    }

private:
    [[noreturn]] void refuse(const std::string& what) const { throw Failure(_path + ": " + what); }

    void readChunks()
    {
        const std::string_view file = _bytes.view();
        for (std::size_t place = signature.size(); file.size() - place >= 12;)
        {
            const std::size_t size = numberAt(file, place);
            if (file.size() - place - 12 < size) break;
            const std::string_view kind = file.substr(place + 4, 4), data = file.substr(place + 8, size);
            const uLong sum =
                crc32(0, reinterpret_cast<const Byte*>(kind.data()), static_cast<uInt>(size + 4));
            if (sum != numberAt(file, place + 8 + size)) refuse("is damaged; copy or save it again");
            if (kind == "IHDR") readHeader(data);
            if (kind == "PLTE") readPalette(data);
            if (kind == "IDAT") _packed += data;
            if (kind == "IEND") return;
            place += size + 12;
        }
        refuse("is cut off; copy or save it again");
    }

    void readHeader(std::string_view data)
    {
        if (data.size() != 13) refuse("has a damaged header; save it again");
        _picture.width = numberAt(data, 0);
        _picture.height = numberAt(data, 4);
        _bits = static_cast<Byte>(data[8]);
        const uint32 colours = static_cast<Byte>(data[9]);
        _colours = static_cast<Colours>(colours);
        constexpr std::array<uint32, 7> channels{1, 0, 3, 1, 2, 0, 4};
        _channels = colours < channels.size() ? channels[colours] : 0;
        const bool isSmall = _bits == 1 || _bits == 2 || _bits == 4;
        const bool hasDepth =
            (isSmall && _channels == 1) || _bits == 8 || (_bits == 16 && _colours != Colours::Palette);
        if (_channels == 0 || !hasDepth || data[10] != 0 || data[11] != 0)
            refuse("has a damaged header; save it again");
        if (data[12] != 0) refuse("is interlaced; save it without interlacing");
    }

    void readPalette(std::string_view data)
    {
        const auto part = [&](std::size_t n) { return static_cast<Byte>(data[n]) / 255.0; };
        for (std::size_t n = 0; n + 2 < data.size(); n += 3)
            _palette.push_back(luma(part(n), part(n + 1), part(n + 2)));
    }

    std::size_t rowBytes() const { return (uint64{_picture.width} * _channels * _bits + 7) / 8; }
    /// Nothing is packed a thousand times smaller.
    uint64 mostRows() const { return 1100 * uint64{_packed.size()} / (rowBytes() + 1); }

    uint32 pixelCount() const
    {
        const uint64 count = uint64{_picture.width} * _picture.height;
        if (count > 0xFFFFFFFFu) refuse("has more than 2^32 - 1 pixels; save it smaller");
        return static_cast<uint32>(count);
    }

    void readRows()
    {
        const std::size_t size = rowBytes(), pixelBytes = std::max<std::size_t>(_channels * _bits / 8, 1);
        std::vector<Byte> row(size + 1), above(size, 0);
        Inflater inflater(Inflater::Wrapper::Zlib);
        inflater.begin(_packed);
        _picture.values.reserve(pixelCount());
        for (uint32 y = 0; y < _picture.height; ++y)
        {
            if (inflater.fill(reinterpret_cast<char*>(row.data()), size + 1) != size + 1 || row[0] > 4)
                refuse("is damaged; copy or save it again");
            unfilter(row[0], row.data() + 1, above.data(), size, pixelBytes);
            std::copy(row.begin() + 1, row.end(), above.begin());
            for (uint32 x = 0; x < _picture.width; ++x) _picture.values.push_back(heightOf(above, x));
        }
    }

    uint32 sampleAt(const std::vector<Byte>& row, std::size_t number) const
    {
        if (_bits == 16) return uint32{row[2 * number]} << 8 | row[2 * number + 1];
        if (_bits == 8) return row[number];
        const std::size_t bit = number * _bits;
        return row[bit / 8] >> (8 - _bits - bit % 8) & ((1u << _bits) - 1);
    }

    float heightOf(const std::vector<Byte>& row, uint32 x) const
    {
        const std::size_t first = std::size_t{x} * _channels;
        if (_colours == Colours::Palette)
        {
            const uint32 number = sampleAt(row, first);
            return number < _palette.size() ? _palette[number] : 0;
        }
        const double white = (1u << _bits) - 1;
        const auto part = [&](std::size_t n) { return sampleAt(row, first + n) / white; };
        return _channels < 3 ? static_cast<float>(part(0)) : luma(part(0), part(1), part(2));
    }

    const std::string& _path;
    const Bytes _bytes;
    HeightPicture _picture;
    uint32 _bits = 0, _channels = 0;
    Colours _colours = Colours::Grey;
    std::vector<float> _palette;
    std::string _packed;
};

}  // namespace

HeightPicture readPngHeights(const std::string& path) { return PngReader(path).read(); }

}  // namespace tavrix::formats
