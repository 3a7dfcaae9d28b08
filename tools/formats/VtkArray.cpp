#include "formats/VtkArray.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <tavrix/foundation/Array.h>

#include "formats/Base64.h"
#include "formats/Zlib.h"

namespace tavrix::formats
{

namespace
{

/// No stream of zlib becomes longer than this many times its size.
constexpr std::size_t largestRatio = 1040;

/// An array's bytes as they are kept, header and all: as such, or behind base64.
class Source
{
public:
    Source(std::string_view text, bool isBase64) : _text(text), _isBase64(isBase64) {}

    /// The first bytes, as many as there are of `count`; valid until the next call.
    std::string_view first(std::size_t count)
    {
        if (!_isBase64) return _text.substr(0, count);
        _decoded = decodeBase64(_text, count);
        return {_decoded.data.get(), _decoded.size};
    }

    /// What `first` decoded; nothing when the bytes are the file's own.
    std::shared_ptr<const void> storage() const { return _decoded.data; }

private:
    std::string_view _text;
    bool _isBase64;
    Base64Bytes _decoded;
};

std::size_t headerNumber(std::string_view bytes, std::size_t n, const VtkEncoding& encoding)
{
    const Number type = encoding.hasWideHeaders ? Number::UInt64 : Number::UInt32;
    const std::size_t size = sizeOf(type);
    return static_cast<std::size_t>(firstInteger({bytes.data() + n * size, size, type, encoding.isSwapped}));
}

std::optional<VtkArrayBytes> plainBytes(Source& source, const VtkEncoding& encoding)
{
    const std::size_t header = encoding.hasWideHeaders ? 8 : 4;
    std::string_view bytes = source.first(header);
    if (bytes.size() < header) return std::nullopt;
    const std::size_t size = headerNumber(bytes, 0, encoding);
    if (size > std::numeric_limits<std::size_t>::max() - header) return std::nullopt;
    bytes = source.first(header + size);
    if (bytes.size() < header + size) return std::nullopt;
    return VtkArrayBytes{bytes.substr(header), source.storage()};
}

/// What the header of a compressed array says.
struct Blocks
{
    std::size_t size = 0, lastSize = 0;   ///< of all blocks but the last, and of the last
    std::vector<std::size_t> compressed;  ///< their sizes
    std::size_t header = 0, total = 0;    ///< bytes of the header, and of it and all blocks

    std::size_t sizeOfBlock(std::size_t n) const
    {
        return n + 1 == compressed.size() && lastSize > 0 ? lastSize : size;
    }
};

std::optional<Blocks> readBlocks(Source& source, const VtkEncoding& encoding)
{
    const std::size_t width = encoding.hasWideHeaders ? 8 : 4;
    std::string_view bytes = source.first(3 * width);
    Blocks blocks;
    if (bytes.size() < width) return std::nullopt;
    const std::size_t count = headerNumber(bytes, 0, encoding);
    if (count == 0) return blocks;
    if (bytes.size() < 3 * width) return std::nullopt;
    blocks.size = headerNumber(bytes, 1, encoding);
    blocks.lastSize = headerNumber(bytes, 2, encoding);
    if (count > std::numeric_limits<std::size_t>::max() / 16) return std::nullopt;
    blocks.header = (3 + count) * width;
    bytes = source.first(blocks.header);
    if (bytes.size() < blocks.header) return std::nullopt;
    blocks.total = blocks.header;
    for (std::size_t n = 0; n < count; ++n)
    {
        const std::size_t size = headerNumber(bytes, 3 + n, encoding);
        blocks.compressed.push_back(size);
        if (size > std::numeric_limits<std::size_t>::max() / 2 - blocks.total) return std::nullopt;
        blocks.total += size;
    }
    return blocks;
}

/// Whether so many compressed bytes can become blocks of the sizes that the header states.
bool areInProportion(const Blocks& blocks)
{
    for (std::size_t n = 0; n < blocks.compressed.size(); ++n)
        if (blocks.sizeOfBlock(n) / largestRatio > blocks.compressed[n]) return false;
    return true;
}

/// False when a block is damaged.
bool inflateBlocks(std::string_view compressed, const Blocks& blocks, char* plain)
{
    Inflater inflater(Inflater::Wrapper::Zlib);
    for (std::size_t n = 0; n < blocks.compressed.size(); ++n)
    {
        const std::string_view block = compressed.substr(0, blocks.compressed[n]);
        if (!inflater.inflateWhole(block, plain, blocks.sizeOfBlock(n))) return false;
        compressed.remove_prefix(block.size());
        plain += blocks.sizeOfBlock(n);
    }
    return true;
}

std::optional<VtkArrayBytes> inflatedBytes(Source& source, const VtkEncoding& encoding)
{
    const std::optional<Blocks> blocks = readBlocks(source, encoding);
    if (!blocks || !areInProportion(*blocks)) return std::nullopt;
    std::string_view bytes = source.first(blocks->total);
    if (bytes.size() < blocks->total) return std::nullopt;
    bytes.remove_prefix(blocks->header);

    const std::size_t count = blocks->compressed.size();
    const std::size_t size = count == 0 ? 0 : (count - 1) * blocks->size + blocks->sizeOfBlock(count - 1);
    const std::shared_ptr<char[]> plain(new char[size]);
    detail::adviseHugePages(plain.get(), size);
    if (!inflateBlocks(bytes, *blocks, plain.get())) return std::nullopt;
    return VtkArrayBytes{{plain.get(), size}, plain};
}

std::optional<VtkArrayBytes> decodeFrom(Source source, const VtkEncoding& encoding)
{
    return encoding.isCompressed ? inflatedBytes(source, encoding) : plainBytes(source, encoding);
}

}  // namespace

std::optional<VtkArrayBytes> decodeInline(std::string_view base64, const VtkEncoding& encoding)
{
    return decodeFrom(Source(base64, true), encoding);
}

std::optional<VtkArrayBytes> decodeAppended(std::size_t offset, const VtkEncoding& encoding)
{
    if (offset > encoding.appended.size()) return std::nullopt;
    return decodeFrom(Source(encoding.appended.substr(offset), !encoding.isAppendedRaw), encoding);
}

}  // namespace tavrix::formats
