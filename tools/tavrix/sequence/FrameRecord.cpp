#include "sequence/FrameRecord.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "formats/FileName.h"
#include "formats/OutputFile.h"

namespace tavrix::tool
{

namespace fs = std::filesystem;

namespace
{

/// The size in bytes; all ones for what is no file.
std::uintmax_t sizeOf(const std::string& name)
{
    std::error_code error;
    return fs::file_size(formats::pathOf(name), error);
}

std::string changeOf(const std::string& name)
{
    std::error_code error;
    const auto time = fs::last_write_time(formats::pathOf(name), error);
    using std::chrono::nanoseconds;
    return error ? "never"
                 : std::to_string(std::chrono::duration_cast<nanoseconds>(time.time_since_epoch()).count());
}

/// Without its folder, so that records hold wherever the program is run.
std::string nameOf(const std::string& path) { return formats::utf8Of(formats::pathOf(path).filename()); }

std::string recordPath(const std::string& output)
{
    const fs::path path = formats::pathOf(output);
    fs::path name = path.filename();
    name += ".made";
    return formats::utf8Of(path.parent_path() / ".tavrix" / name);
}

}  // namespace

FrameRecord::FrameRecord(const FrameFiles& files, const std::string& settings)
    : _files(files), _made("made with tavrix " TAVRIX_VERSION "\n" + settings)
{
    for (const std::string& input : files.inputs)
        _made += "from " + nameOf(input) + ", " + std::to_string(sizeOf(input)) + " bytes, changed " +
                 changeOf(input) + "\n";
    _path = recordPath(files.outputs.front());
}

std::string FrameRecord::text() const
{
    std::string whole = _made;
    for (const std::string& output : _files.outputs)
        whole += "into " + nameOf(output) + ", " + std::to_string(sizeOf(output)) + " bytes\n";
    return whole;
}

bool FrameRecord::isCurrent() const
{
    std::error_code error;
    for (const std::string& output : _files.outputs)
        if (!fs::is_regular_file(formats::pathOf(output), error)) return false;
    std::ifstream file(formats::pathOf(_path), std::ios::binary);
    const std::string before{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return before == text();
}

void FrameRecord::write() const
{
    std::error_code error;
    const fs::path path = formats::pathOf(_path);
    fs::create_directory(path.parent_path(), error);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text();
}

}  // namespace tavrix::tool
