#include "formats/OutputFile.h"

#include <filesystem>
#include <fstream>
#include <iostream>

#include "formats/Failure.h"
#include "formats/FileName.h"

namespace tavrix::formats
{

namespace fs = std::filesystem;

namespace
{

/// A name beside the target that no file has.
fs::path freeNameBeside(const fs::path& target)
{
    for (int n = 0;; ++n)
    {
        fs::path candidate = target;
        candidate += ".part" + std::to_string(n);
        std::error_code error;
        if (!fs::exists(fs::symlink_status(candidate, error))) return candidate;
    }
}

/// A file that is removed again, whatever happens, unless it takes the target's name.
class PartFile
{
public:
    explicit PartFile(fs::path path) : _path(std::move(path)) {}
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;
    ~PartFile()
    {
        std::error_code ignored;
        fs::remove(_path, ignored);
    }

    const fs::path& path() const { return _path; }

private:
    fs::path _path;
};

/// Appends a file to standard output, behind what others have written there; false when that fails.
bool copyToStandardOutput(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return static_cast<bool>(std::cout << file.rdbuf() << std::flush);
}

[[noreturn]] void refuseUnwritten(const std::string& target)
{
    throw Failure(target + ": cannot be written; is the disk full or the folder protected?");
}

}  // namespace

void confirmFolder(const std::string& target)
{
    std::error_code error;
    const fs::path folder = pathOf(target).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, error))
        throw Failure(target + ": the folder " + utf8Of(folder) + " does not exist; make it first");
}

void writeFileWhole(const std::string& target, const std::function<int(const std::string&)>& write)
{
    std::error_code error;
    fs::path path = pathOf(target);
    if (fs::is_symlink(path, error) && fs::is_regular_file(path, error)) path = fs::canonical(path);
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) throw Failure(target + ": is a folder; name a file in it");
    confirmFolder(target);

    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        if (write(utf8Of(path)) != 0) refuseUnwritten(target);
        return;
    }
    const PartFile part(freeNameBeside(path));
    if (write(utf8Of(part.path())) != 0) refuseUnwritten(target);
    if (isStandardOutput(target))
    {
        if (!copyToStandardOutput(part.path())) refuseUnwritten(target);
        return;
    }
    if (fs::exists(status)) fs::permissions(part.path(), status.permissions(), error);
    fs::rename(part.path(), path, error);
    if (error) throw Failure(target + ": cannot be replaced (" + error.message() + ")");
}

}  // namespace tavrix::formats
