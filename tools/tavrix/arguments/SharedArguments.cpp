#include "arguments/SharedArguments.h"

#include <algorithm>
#include <set>

#include <CLI/CLI.hpp>

#include "arguments/OrderedOptions.h"
#include "arguments/Validators.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/ImportLibrary.h"
#include "formats/MeshFile.h"

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

/// Takes "3,2,4,1,0,0,40" into the options; the message of what is wrong with it, or none.
std::string takeCamera(const std::string& text, PreviewOptions& options)
{
    constexpr double defaultAngle = 26, widest = 170;
    std::vector<double> n = parseNumbers(text);
    if (n.size() == 6) n.push_back(defaultAngle);
    if (n.size() != 7) return "must be six finite numbers or seven: " + text;
    const CameraPlace place{{n[0], n[1], n[2]}, {n[3], n[4], n[5]}, n[6]};
    if (place.eye == place.target) return "must look at another place than its own: " + text;
    if (!(place.angle > 0 && place.angle <= widest)) return "must have an angle above 0, up to 170: " + text;
    options.camera = place;
    return "";
}

/// The extensions of mesh files, with those of the import library.
std::string meshNames()
{
    const std::string library = formats::importLibrary();
    return nameList(formats::meshExtensions(), ".") +
           (library.empty() ? "" : ", and what " + library + " reads");
}

}  // namespace

const std::vector<std::string>& inputExtensions()
{
    static const std::vector<std::string> extensions = []
    {
        std::vector<std::string> all = formats::meshExtensions();
        for (const std::string& extension : formats::particleExtensions())
            if (std::count(all.begin(), all.end(), extension) == 0) all.push_back(extension);
        return all;
    }();
    return extensions;
}

std::string particleFileText(const std::string& more)
{
    return "Particle file (" + nameList(formats::particleExtensions(), ".") + ")" + more;
}

std::string meshFileText() { return "Mesh file (" + meshNames() + ")"; }

std::string anyFileText(const std::string& more)
{
    return "Mesh (" + meshNames() + ") or particle file (" + nameList(formats::particleExtensions(), ".") +
           ")" + (more.empty() ? "" : "; " + more);
}

void addFormat(CLI::App& command)
{
    static std::string ignored;  // nameInFolder reads it back by its name
    const auto& extensions = formats::writableExtensions();
    command
        .add_option("--format", ignored, "What kind of mesh file goes into a folder: " + nameList(extensions))
        ->check(oneOf(extensions))
        ->option_text("NAME [obj]");
}

CLI::Option* addMeshOutput(CLI::App& command, std::string& output, const std::string& description)
{
    const auto& extensions = formats::writableExtensions();
    addFormat(command);
    return command
        .add_option("-o,--output", output,
                    description + ": " + nameList(extensions, ".") +
                        ". Or a folder: the file is then named as the input")
        ->check(outputWithExtension(extensions, true))
        ->option_text("OUT");
}

void addStrict(CLI::App& command, bool& strict)
{
    command.add_flag(
        "--strict", strict,
        "Fail when a mesh file is not whole: when faces had to be left out, or numbers are missing");
}

void addNormals(CLI::App& command, bool& normals)
{
    command.add_flag("--normals", normals, "Write vertex normals into OBJ files; the default");
    command.add_flag_callback(
        "--no-normals", [&normals] { normals = false; }, "Leave them out, for smaller files");
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
        ->check(wholeNumber(1, 1024))
        ->option_text("COUNT");
}

void addUp(CLI::App& command, UpAxis& up)
{
    command
        .add_option_function<std::string>(
            "--up", [&up](const std::string& axis) { up = axis == "z" ? UpAxis::Z : UpAxis::Y; },
            "The axis that points up in the input, for pictures and --output-up")
        ->check(oneOf({"y", "z"}))
        ->option_text("y|z [y]")
        ->group("Output");
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
            "--camera",
            [&options](const std::string& text)
            {
                const std::string wrong = takeCamera(text, options);
                if (!wrong.empty()) throw CLI::ValidationError("--camera", wrong);
            },
            "Where the camera stands, what it looks at, and its angle of view in degrees; when absent, it "
            "sees "
            "everything")
        ->option_text("X,Y,Z,TX,TY,TZ[,ANGLE]")
        ->group("Picture");
    addUp(command, options.up);
}

void addSequence(CLI::App& command, SequenceOptions& options, bool withForce)
{
    command.add_option("--first", options.first, "The first frame to make")
        ->check(frameNumber)
        ->option_text("NUMBER")
        ->group("Sequence");
    command.add_option("--last", options.last, "The last frame to make")
        ->check(frameNumber)
        ->option_text("NUMBER")
        ->group("Sequence");
    command
        .add_option("-j,--jobs", options.jobs,
                    "Make so many frames at once, which share the threads: faster where frames are small")
        ->check(wholeNumber(1, 256))
        ->option_text("COUNT [1]")
        ->group("Sequence");
    if (!withForce) return;
    command
        .add_flag("--force", options.force,
                  "Make frames again that are up to date: made from the same particles with the same options")
        ->group("Sequence");
}

void addJobFile(CLI::App& command)
{
    static std::string read, written;  // main reads them back by their names
    command
        .add_option("--config", read,
                    "Take the options of a job file as well; those given here as well go before")
        ->check(anyFile({"toml"}))
        ->option_text("FILE")
        ->group("Job files");
    command.add_option("--save-config", written, "Write all these options into a job file, and go on")
        ->check(anyFile({"toml"}))
        ->option_text("FILE")
        ->group("Job files");
}

std::string jobFileOf(const CLI::App& command)
{
    const CLI::Option* const option = command.get_option_no_throw("--save-config");
    return option && option->count() > 0 ? option->results().front() : "";
}

std::string settingsText(const CLI::App& command)
{
    static const std::set<std::string> aside{
        "--help",  "--quiet",  "--threads", "--memory", "--first",  "--last",        "--jobs",
        "--force", "--output", "--preview", "--format", "--config", "--save-config", "--ranks-per-frame"};
    std::string text = command.get_name() + "\n";
    for (const CLI::Option* option : command.get_options())
    {
        const std::string name = option->get_name();
        if (option->count() == 0 || option->get_positional() || aside.count(name) > 0 ||
            option->get_group() == orderedGroup)
            continue;
        text += name;
        for (const std::string& value : option->results()) text += " " + value;
        text += "\n";
    }
    for (const auto& [name, value] : orderedValues(command))
        text.append(name).append(" ").append(value).append("\n");
    return text;
}

void nameInFolder(const CLI::App& command, const std::string& input, std::string& output,
                  std::string& newFolder)
{
    const bool isFolder = isFolderName(output);
    refuse(command, "--format", !isFolder,
           "is for an output folder; the extension of a file's name says what kind it is");
    if (!isFolder) return;
    std::string extension = "obj";
    if (const CLI::Option* format = command.get_option_no_throw("--format"); format && format->count() > 0)
        extension = format->results().front();
    newFolder = output;
    const auto name = formats::pathOf(input).stem();
    output = formats::utf8Of(formats::pathOf(output) / name) + "." + extension;
}

void refuse(const CLI::App& command, const std::string& option, bool isUseless, const std::string& reason)
{
    const CLI::Option* const given = command.get_option_no_throw(option);
    if (isUseless && given && given->count() > 0) throw CLI::ValidationError(option, reason);
}

void checkFrames(const CLI::App& command, const FrameFiles& files)
{
    const bool isSequence = std::any_of(files.inputs.begin(), files.inputs.end(), isPattern);
    for (const std::string& name : files.outputs)
        if (isPattern(name) != isSequence)
            throw CLI::ValidationError(
                name, isSequence
                          ? "must have a {} where the input has it, for each frame makes a file of its own"
                          : "has a {}, but the input has none");
    for (const char* option : {"--first", "--last", "--jobs"})
        refuse(command, option, !isSequence,
               "is for the frames of a sequence; put a {} into the names where the frame's number stands");
}

void refusePictureOptions(const CLI::App& command, bool hasPicture)
{
    for (const char* option : {"--preview-size", "--preview-particles", "--camera"})
        refuse(command, option, !hasPicture, "is for a picture; name one with --preview");
}

void refuseFormatOptions(const CLI::App& command, const std::string& output)
{
    for (const char* option : {"--normals", "--no-normals"})
        refuse(command, option, !formats::holdsNormals(output),
               "has no effect on " + output + ", whose format has no vertex normals");
}

}  // namespace tavrix::tool
