#include "arguments/SharedArguments.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "arguments/Validators.h"
#include "formats/FileKind.h"
#include "formats/ImportLibrary.h"

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

std::string extensionText(const std::vector<std::string>& extensions)
{
    std::string text;
    for (std::size_t n = 0; n < extensions.size(); ++n)
        text += (n == 0 ? "." : n + 1 < extensions.size() ? ", ." : " or .") + extensions[n];
    return text;
}

std::string meshFormatsText()
{
    const std::string library = formats::importLibrary();
    return extensionText(formats::meshExtensions()) +
           (library.empty() ? "" : ", or what " + library + " reads");
}

CLI::Option* addMeshOutput(CLI::App& command, std::string& output, const std::string& description)
{
    return command
        .add_option("-o,--output", output, description + ": " + extensionText(formats::writableExtensions()))
        ->check(outputWithExtension(formats::writableExtensions()))
        ->option_text("OUT");
}

void addAscii(CLI::App& command, bool& ascii)
{
    command.add_flag("--ascii", ascii, "Write STL as text; binary when absent");
}

void addNormals(CLI::App& command, bool& normals)
{
    command.add_flag("--normals", normals, "Write vertex normals, where the format has them; the default");
    command.add_flag_callback(
        "--no-normals", [&normals] { normals = false; }, "Leave them out, for smaller files");
}

void addStrict(CLI::App& command, bool& strict)
{
    command.add_flag(
        "--strict", strict,
        "Fail when a mesh file is not whole: when faces had to be left out, or numbers are missing");
}

CLI::Option* addQuiet(CLI::App& command, bool& quiet, const std::string& description)
{
    return command.add_flag("-q,--quiet", quiet, description);
}

CLI::Option* addFillCavities(CLI::App& command, bool& fillCavities)
{
    return command.add_flag("--fill-cavities", fillCavities,
                            "Remove sealed inner surfaces, bubbles say, and whatever floats within them");
}

CLI::Option* addThreads(CLI::App& command, uint32& threads)
{
    return command.add_option("-t,--threads", threads, "Worker threads; all processors when absent")
        ->check(CLI::Range(1, 1024))
        ->option_text("COUNT");
}

void addPreview(CLI::App& command, std::string& preview)
{
    command.add_option("--preview", preview, "Draw a picture of the mesh as well (.png)")
        ->check(outputWithExtension({"png"}))
        ->option_text("OUT")
        ->group("Picture");
}

void addPictureArguments(CLI::App& command, const std::string& sizeName, PreviewOptions& options)
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
        ->group("Picture");
    command
        .add_option_function<std::string>(
            "--up", [&options](const std::string& axis) { options.up = axis == "z" ? UpAxis::Z : UpAxis::Y; },
            "The axis that points up in pictures")
        ->check(CLI::IsMember({"y", "z"}))
        ->option_text("y|z [y]")
        ->group("Picture");
}

}  // namespace tavrix::tool
