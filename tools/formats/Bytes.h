#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tavrix::formats
{

/// The bytes of a whole file in memory; copies share them.
struct Bytes
{
    std::shared_ptr<const char> data;
    std::size_t size = 0;

    std::string_view view() const { return {data.get(), size}; }
};

/// Whether the name, "-", stands for standard input. It is read once and kept, for it cannot be read again.
bool isStandardInput(const std::string& path);

/// All bytes of a file; what gzip compressed comes decompressed. Costs one pass and memory for the bytes.
/// Throws Failure when the file cannot be opened or read, is a folder, is damaged gzip, or would decompress
/// to more than a hundred times its size and 256 MiB.
Bytes readBytes(const std::string& path);

/// The first bytes of a file, decompressed, as many as there are of `count`. Throws Failure when it cannot be
/// opened or is a folder.
std::string readHead(const std::string& path, std::size_t count);

/// The file's size as it lies on the disk or came through standard input, in bytes.
std::size_t sizeOfFile(const std::string& path);

/// A file that can be opened by its name and read from any place: the given one, or a copy in the system's
/// folder for temporary files where that is compressed or standard input. The copy goes with the object.
class PlainFile
{
public:
    /// Throws Failure as readBytes does, and when the copy cannot be written.
    explicit PlainFile(const std::string& path);
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;
    ~PlainFile();

    const std::string& path() const { return _path; }

private:
    std::string _path;
    bool _isCopy = false;
};

}  // namespace tavrix::formats
