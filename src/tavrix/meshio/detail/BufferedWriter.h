#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/FileBufferOut.h>
#include <tavrix/platform/NumberText.h>

namespace tavrix::detail
{

/// A file on its way out, through a block that always has room for the next item: text and numbers by `<<`,
/// whatever else by `room` and `advance`.
class BufferedWriter
{
public:
    /// The callback is polled with every block.
    explicit BufferedWriter(CancelCallback callback) : _polling(callback) {}

    FileStatus open(const TX_String& path)
    {
        // the bytes are buffered here: blocks as large as this pass the file's own buffer
        constexpr uint32 noBuffer = 1;
        return _file.open(path, "wb", noBuffer);
    }

    /// The place of the next `length` bytes, at most maxRoom.
    char* room(std::size_t length)
    {
        if (static_cast<std::size_t>(_block.get() + maxRoom - _next) < length) flush();
        return _next;
    }
    /// Takes what was written from `room` up to `end`.
    void advance(char* end) { _next = end; }

    BufferedWriter& operator<<(char c)
    {
        *room(1) = c;
        ++_next;
        return *this;
    }
    BufferedWriter& operator<<(std::string_view text)
    {
        while (!text.empty())
        {
            const std::string_view part = text.substr(0, maxRoom);
            std::memcpy(room(part.size()), part.data(), part.size());
            _next += part.size();
            text.remove_prefix(part.size());
        }
        return *this;
    }
    BufferedWriter& operator<<(uint64 value)
    {
        _next = printUInt(room(maxUIntLength), value);
        return *this;
    }

    /// Hands `count` items, each of at most `itemSize` bytes, to put(i, out), which returns the end of what
    /// it wrote. Stops when isWell() is false.
    template <class Put>
    void writeItems(uint32 count, std::size_t itemSize, const Put& put)
    {
        const auto perRun = static_cast<uint32>(std::clamp<std::size_t>(maxRoom / 4 / itemSize, 1, 512));
        for (uint32 first = 0; first < count && isWell();)
        {
            const uint32 end = first + std::min(count - first, perRun);
            char* out = room((end - first) * itemSize);
            for (; first < end; ++first) out = put(first, out);
            advance(out);
        }
    }

    /// Once false, nothing more is written.
    bool isWell() const { return _file.status() == FileStatus::ok && !_polling.isStopped(); }
    /// For work that writes nothing.
    Polling& polling() { return _polling; }

    /// 0, or the MeshFileError that says what went wrong.
    int close()
    {
        flush();
        const FileStatus status = _file.close();
        return _polling.isStopped() ? meshFileStopped : meshFileResult(status);
    }

    static constexpr std::size_t maxRoom = 0x40000;

private:
    void flush()
    {
        if (_polling.goOn()) _file.writeBuffer(_block.get(), static_cast<std::size_t>(_next - _block.get()));
        _next = _block.get();
    }

    Polling _polling;
    FileBufferOut _file;
    std::unique_ptr<char[]> _block{new char[maxRoom]};
    char* _next = _block.get();
};

/// Puts a number in the file's byte order, little-endian, and returns the end of it.
template <class Number>
char* putNumber(char* out, Number value)
{
    convertByteOrder(&value, 1, ByteOrder::little);
    std::memcpy(out, &value, sizeof value);
    return out + sizeof value;
}

/// Puts three numbers in single precision.
template <class T>
char* putVector(char* out, const Vector3<T>& v)
{
    for (const T component : {v.x, v.y, v.z}) out = putNumber(out, static_cast<float>(component));
    return out;
}

}  // namespace tavrix::detail
