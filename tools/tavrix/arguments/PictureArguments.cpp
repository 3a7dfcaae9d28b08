#include "arguments/PictureArguments.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace tavrix::tool
{

namespace
{

/// Takes "1600x1000" into the options; the message of what is wrong with it, or none.
std::string takeSize(const std::string& text, PreviewOptions& options)
{
    const std::size_t cross = text.find('x');
    uint32 width = 0, height = 0;
    const bool isPair = cross != std::string::npos &&
                        CLI::detail::lexical_cast(text.substr(0, cross), width) &&
                        CLI::detail::lexical_cast(text.substr(cross + 1), height);
    if (!isPair) return "must be WIDTHxHEIGHT, as in 1600x1000";
    if (std::min(width, height) < 16 || std::max(width, height) > 8192)
        return "both sides must lie between 16 and 8192";
    options.width = width;
    options.height = height;
    return "";
}

}  // namespace

void addPictureArguments(CLI::App& command, const std::string& sizeName, PreviewOptions& options,
                         const std::string& group)
{
    command
        .add_option_function<std::string>(
            sizeName,
            [sizeName, &options](const std::string& text)
            {
                const std::string wrong = takeSize(text, options);
                if (!wrong.empty()) throw CLI::ValidationError(sizeName, wrong);
            },
            "Width and height of each picture, in pixels")
        ->option_text("WxH [1600x1000]")
        ->group(group);
    command
        .add_option_function<std::string>(
            "--up", [&options](const std::string& axis) { options.up = axis == "z" ? UpAxis::Z : UpAxis::Y; },
            "The axis that points up in pictures")
        ->check(CLI::IsMember({"y", "z"}))
        ->option_text("y|z [y]")
        ->group(group);
}

}  // namespace tavrix::tool
