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

    const bool direct = fs::exists(status) && !fs::is_regular_file(status);
    const fs::path beside = direct ? path : freeNameBeside(path);
    if (write(utf8Of(beside)) != 0)
    {
        if (!direct) fs::remove(beside, error);
        refuseUnwritten(target);
    }
    if (direct) return;
    if (isStandardOutput(target))
    {
        const bool isCopied = copyToStandardOutput(beside);
        fs::remove(beside, error);
        if (!isCopied) refuseUnwritten(target);
        return;
    }
    if (fs::exists(status)) fs::permissions(beside, status.permissions(), error);
    fs::rename(beside, path, error);
    if (error)
    {
        const std::string reason = error.message();
        fs::remove(beside, error);
        throw Failure(target + ": cannot be replaced (" + reason + ")");
    }
}

}  // namespace tavrix::formats
