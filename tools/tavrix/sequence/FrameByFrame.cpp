#include "sequence/FrameByFrame.h"

#include <algorithm>
#include <filesystem>

#include <tavrix/platform/Hardware.h>

#include "formats/FileName.h"
#include "formats/OutputFile.h"
#include "run/Text.h"

namespace tavrix::tool
{

void confirmOutputs(const FrameFiles& files)
{
    const auto isOf = [](const std::vector<std::string>& names, const std::string& name, std::size_t count)
    {
        return std::any_of(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count),
                           [&](const std::string& other)
                           { return other == name || formats::isSameFile(other, name); });
    };
    for (std::size_t n = 0; n < files.outputs.size(); ++n)
    {
        const std::string& output = files.outputs[n];
        if (isOf(files.inputs, output, files.inputs.size()))
            throw Failure(output + ": is the input, which is never replaced; name another file");
        if (isOf(files.outputs, output, n))
            throw Failure(output + ": is another output as well; name another file");
        formats::confirmFolder(output);
    }
}

uint32 threadsFor(uint32 given, const RunOptions& options)
{
    if (given > 0) return given;
    const uint32 jobs = options.isFrame ? options.sequence.jobs : 1;
    return std::max(Hardware::getThreadCount() / jobs, 1u);
}

bool isSequence(const FrameFiles& files)
{
    return std::any_of(files.inputs.begin(), files.inputs.end(), isPattern);
}

std::string writtenText(const FrameFiles& files, double seconds)
{
    std::string text = "->";
    for (const std::string& output : files.outputs) text += " " + output;
    return text + formatted(", %.3f s", seconds);
}

void makeFolder(const std::string& folder)
{
    if (folder.empty()) return;
    std::error_code error;
    std::filesystem::create_directory(formats::pathOf(folder), error);
    if (!std::filesystem::is_directory(formats::pathOf(folder), error))
        throw Failure(folder + ": this folder cannot be made; does the one that it is to be in exist?");
}

}  // namespace tavrix::tool
