#include "formats/Bytes.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <random>
#include <utility>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include <tavrix/foundation/Array.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileBufferOut.h>

#include "formats/Failure.h"
#include "formats/FileName.h"
#include "formats/Zlib.h"

namespace tavrix::formats
{

namespace
{

/// A block of bytes that grows without being touched.
class GrowingBytes
{
public:
    GrowingBytes() = default;
    GrowingBytes(const GrowingBytes&) = delete;
    GrowingBytes& operator=(const GrowingBytes&) = delete;
    ~GrowingBytes() { std::free(_data); }

    void reserve(std::size_t capacity)
    {
        void* grown = std::realloc(_data, std::max<std::size_t>(capacity, 1));
        if (!grown) throw std::bad_alloc();
        _data = static_cast<char*>(grown);
        detail::adviseHugePages(_data, capacity);
        _capacity = capacity;
    }

    /// Appends what fill(place, room) writes, until it writes less than there was room for.
    template <class Fill>
    void append(const Fill& fill)
    {
        for (;;)
        {
            if (_size == _capacity) reserve(std::max<std::size_t>(2 * _capacity, 0x10000));
            const std::size_t room = _capacity - _size, got = fill(_data + _size, room);
            _size += got;
            if (got < room) return;
        }
    }

    std::size_t size() const { return _size; }

    Bytes take()
    {
        if (!_data) reserve(1);
        char* data = std::exchange(_data, nullptr);
        return {
            std::shared_ptr<const char>(data, [](const char* block) { std::free(const_cast<char*>(block)); }),
            std::exchange(_size, 0)};
    }

private:
    char* _data = nullptr;
    std::size_t _size = 0, _capacity = 0;
};

const Bytes& standardInput()
{
    static const Bytes bytes = []
    {
#if defined(_WIN32)
        _setmode(_fileno(stdin), _O_BINARY);
#endif
        GrowingBytes block;
        block.append([](char* place, std::size_t room) { return std::fread(place, 1, room, stdin); });
        return block.take();
    }();
    return bytes;
}

void open(FileBufferIn& file, const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(pathOf(path), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    if (file.open(TX_String(path)) != FileStatus::ok)
        throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
}

Bytes rawBytes(const std::string& path)
{
    if (isStandardInput(path)) return standardInput();
    FileBufferIn file;
    open(file, path);
    GrowingBytes block;
    // one byte more, so that the end is seen without growing
    if (file.size() > 0) block.reserve(static_cast<std::size_t>(file.size()) + 1);
    block.append([&](char* place, std::size_t room) { return file.readBuffer(place, room); });
    if (file.status() == FileStatus::failed)
        throw Failure(path + ": cannot be read; look for what is wrong with the disk");
    return block.take();
}

bool isGzip(std::string_view bytes) { return bytes.starts_with("\x1F\x8B"); }

/// The size that the end of a gzip file states, modulo 2^32, as far as it may be believed.
std::size_t statedSize(std::string_view file)
{
    std::size_t size = 0;
    for (std::size_t n = 0; n < 4 && file.size() >= 4; ++n)
        size |= std::size_t{static_cast<unsigned char>(file[file.size() - 4 + n])} << (8 * n);
    return std::min(size, 100 * file.size());
}

Bytes inflated(std::string_view file, const std::string& path)
{
    const std::size_t limit = std::max<std::size_t>(256u << 20, 100 * file.size());
    Inflater inflater(Inflater::Wrapper::Gzip);
    inflater.begin(file);
    GrowingBytes block;
    block.reserve(statedSize(file) + 1);
    for (bool first = true; first || isGzip(file.substr(file.size() - inflater.unread())); first = false)
    {
        if (!first) inflater.beginNext();
        block.append(
            [&](char* place, std::size_t room)
            {
                if (block.size() > limit)
                    throw Failure(path +
                                  ": decompresses to more than a hundred times its size; if it is "
                                  "what you want, decompress it before");
                return inflater.fill(place, room);
            });
        if (!inflater.isDone())
            throw Failure(path + ": is damaged or cut off gzip; compress or copy it again");
    }
    return block.take();
}

/// The first bytes of a file as they lie on the disk.
std::string rawHead(const std::string& path, std::size_t count)
{
    if (isStandardInput(path)) return std::string(standardInput().view().substr(0, count));
    FileBufferIn file;
    open(file, path);
    std::string bytes(count, '\0');
    bytes.resize(file.readBuffer(bytes.data(), bytes.size()));
    return bytes;
}

std::filesystem::path temporaryName()
{
    static std::atomic<int> number = 0;
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    for (;;)
    {
        std::filesystem::path name =
            folder / ("tavrix-" + std::to_string(std::random_device()()) + "-" + std::to_string(number++));
        std::error_code ignored;
        if (!std::filesystem::exists(name, ignored)) return name;
    }
}

}  // namespace

bool isStandardInput(const std::string& path) { return path == "-"; }

Bytes readBytes(const std::string& path)
{
    Bytes bytes = rawBytes(path);
    return isGzip(bytes.view()) ? inflated(bytes.view(), path) : bytes;
}

std::string readHead(const std::string& path, std::size_t count)
{
    std::string head = rawHead(path, count + 1024);
    if (isGzip(head))
    {
        Inflater inflater(Inflater::Wrapper::Gzip);
        inflater.begin(head);
        std::string plain(count, '\0');
        plain.resize(inflater.fill(plain.data(), plain.size()));
        return plain;
    }
    head.resize(std::min(head.size(), count));
    return head;
}

std::size_t sizeOfFile(const std::string& path)
{
    if (isStandardInput(path)) return standardInput().size;
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(pathOf(path), error);
    return error ? 0 : static_cast<std::size_t>(size);
}

PlainFile::PlainFile(const std::string& path) : _path(path)
{
    if (!isStandardInput(path) && !isGzip(rawHead(path, 2))) return;
    const Bytes bytes = readBytes(path);
    _path = utf8Of(temporaryName());
    _isCopy = true;
    FileBufferOut file;
    file.open(TX_String(_path), "wb");
    file.writeBuffer(bytes.data.get(), bytes.size);
    if (file.close() == FileStatus::ok) return;
    std::error_code ignored;
    std::filesystem::remove(pathOf(_path), ignored);
    throw Failure(path + ": there is no room for what it decompresses to; free some for temporary files");
}

PlainFile::~PlainFile()
{
    std::error_code ignored;
    if (_isCopy) std::filesystem::remove(pathOf(_path), ignored);
}

}  // namespace tavrix::formats
