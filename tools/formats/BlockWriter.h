#pragma once

#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/FileBufferOut.h>

namespace tavrix::formats
{

/// A file on its way out in large blocks: text, and numbers in little-endian order.
class BlockWriter
{
public:
    explicit BlockWriter(const std::string& path)
    {
        // the bytes are buffered here: blocks as large as this pass the file's own buffer
        constexpr uint32 noBuffer = 1;
        _file.open(TX_String(path), "wb", noBuffer);
    }

    template <class Number>
    void put(Number value) requires std::is_arithmetic_v<Number>
    {
        if (blockSize - _size < sizeof value) flush();
        convertByteOrder(&value, 1, ByteOrder::little);
        std::memcpy(_block.get() + _size, &value, sizeof value);
        _size += sizeof value;
    }
    void put(std::string_view text)
    {
        while (!text.empty())
        {
            if (_size == blockSize) flush();
            const std::string_view part = text.substr(0, blockSize - _size);
            std::memcpy(_block.get() + _size, part.data(), part.size());
            _size += part.size();
            text.remove_prefix(part.size());
        }
    }

    /// Whether it makes sense to go on.
    bool isWell() const { return _file.status() == FileStatus::ok; }
    /// 0 when the file is whole.
    int close()
    {
        flush();
        return _file.close() == FileStatus::ok ? 0 : -1;
    }

private:
    static constexpr std::size_t blockSize = 0x100000;

    void flush()
    {
        _file.writeBuffer(_block.get(), _size);
        _size = 0;
    }

    FileBufferOut _file;
    std::unique_ptr<char[]> _block{new char[blockSize]};
    std::size_t _size = 0;
};

}  // namespace tavrix::formats
