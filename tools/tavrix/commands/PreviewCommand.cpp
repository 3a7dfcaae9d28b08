#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/RadiusOrEstimate.h"
#include "commands/SmoothNormals.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/ParticleFile.h"
#include "preview/Render.h"
#include "run/Failure.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct PreviewRunOptions : RunOptions
{
    std::vector<std::string> files;
    std::string output;
    std::optional<double> particleRadius;
    std::optional<Box3D> viewBox;  ///< what the camera looks at; absent, all that is drawn
    PreviewOptions picture;
    bool strict = false;

    bool isTurntable() const { return picture.turns > 1; }

    std::vector<std::string*> inputs()
    {
        std::vector<std::string*> names;
        for (std::string& file : files) names.push_back(&file);
        return names;
    }
    std::vector<std::string*> outputs() { return {&output}; }
};

/// Something to draw, and the box that it takes up.
struct Subject
{
    std::variant<Mesh, Array<Vector3F>> matter;
    float particleRadius;
    Box3D box;
};

Subject meshSubject(const std::string& file, const PreviewRunOptions& options, Progress& progress)
{
    const formats::MeshFile content =
        readMeshes(file, options.strict, progress, threadsFor(options.picture.threads, options));
    const auto smooth =
        formats::kindOfFile(file) == formats::FileKind::Stl ? smoothSeparateFaces : confirmSmoothNormals;
    for (Mesh* mesh : content.meshes) smooth(*mesh);
    Subject subject{joinMeshes(content.meshes), 0, {}};
    subject.box = boxOfFaces(std::get<Mesh>(subject.matter));
    if (subject.box == Box3D::empty())
        throw Failure(file + ": has no face to draw; all have corners without finite coordinates");
    return subject;
}

Subject particleSubject(const std::string& file, const std::optional<double>& radius)
{
    Array<Vector3F> positions = formats::readParticleFile(file).positions;
    const double used = radiusOrEstimate(radius, positions, file, "--particle-radius");
    const Box3D box = boxAround(positions);
    const Vector3D reach{used, used, used};
    return {std::move(positions), static_cast<float>(used), {box.min - reach, box.max + reach}};
}

Subject subjectOf(const std::string& file, const PreviewRunOptions& options, Progress& progress)
{
    return formats::holdsMesh(file) ? meshSubject(file, options, progress)
                                    : particleSubject(file, options.particleRadius);
}

Picture draw(const Subject& subject, const View& view, const PreviewOptions& options)
{
    if (const auto* positions = std::get_if<Array<Vector3F>>(&subject.matter))
        return renderParticles(*positions, subject.particleRadius, view, options);
    return renderMesh(std::get<Mesh>(subject.matter), view, options);
}

std::vector<Subject> subjectsOf(const PreviewRunOptions& options, Progress& progress)
{
    std::vector<Subject> subjects;
    for (const std::string& file : options.files) subjects.push_back(subjectOf(file, options, progress));
    return subjects;
}

Box3D boxOf(const std::vector<Subject>& subjects)
{
    Box3D box = Box3D::empty();
    for (const Subject& subject : subjects) box.extend(subject.box);
    return box;
}

Picture drawAll(const std::vector<Subject>& subjects, const View& view, const PreviewOptions& picture,
                Progress& progress)
{
    std::vector<Picture> pictures;
    pictures.reserve(subjects.size());
    for (const Subject& subject : subjects)
    {
        const StageScope stage(progress, "draw");
        pictures.push_back(draw(subject, view, picture));
    }
    return sideBySide(pictures);
}

/// Draws the subjects as they are seen on the way around them, or once.
void drawTurns(const std::vector<Subject>& subjects, const PreviewRunOptions& options, Progress& progress)
{
    PreviewOptions picture = options.picture;
    picture.threads = threadsFor(picture.threads, options);
    const Box3D box = options.viewBox ? *options.viewBox : boxOf(subjects);
    for (picture.turn = 0; picture.turn < picture.turns; ++picture.turn)
    {
        const View view = viewOf(box, picture);
        if (!maySee(view, box)) progress.note(options.output + ": nothing of the scene is before the camera");
        const std::string name = options.isTurntable()
                                     ? fillPattern(options.output, paddedNumber(picture.turn, picture.turns))
                                     : options.output;
        if (options.isTurntable()) confirmOutputs({options.files, {name}});
        const Picture whole = drawAll(subjects, view, picture, progress);
        progress.begin("write");
        savePng(whole, name);
    }
}

std::string previewOne(const PreviewRunOptions& options)
{
    Progress progress(1 + (1 + options.files.size()) * options.picture.turns, options.quiet, options.label,
                      options.bar());
    progress.begin("read");
    drawTurns(subjectsOf(options, progress), options, progress);
    progress.end();
    if (options.isFrame) return writtenText(filesOf(options), progress.totalSeconds());
    if (options.quiet) return {};
    const auto width = static_cast<uint32>(options.picture.width * options.files.size());
    std::printf("%s %u x %u pixels -> %s\n", options.isTurntable() ? "pictures  " : "picture   ", width,
                options.picture.height, options.output.c_str());
    printCosts(progress, threadsFor(options.picture.threads, options));
    return {};
}

/// The largest radius of particles in the first frame that can be read; 0 without particles.
float radiusOfFirst(const std::vector<PreviewRunOptions>& frames)
{
    Progress silent(1, true);
    return ofFirstReadable(frames,
                           [&](const PreviewRunOptions& frame)
                           {
                               float radius = 0;
                               for (const Subject& subject : subjectsOf(frame, silent))
                                   radius = std::max(radius, subject.particleRadius);
                               return radius;
                           });
}

/// One camera and one radius of particles for all frames.
std::string settleView(PreviewRunOptions& options, const std::vector<PreviewRunOptions>& frames)
{
    std::string text;
    if (const float radius = options.particleRadius ? 0 : radiusOfFirst(frames); radius > 0)
    {
        options.particleRadius = radius;
        text = formatted("radius %.9g\n", double{radius});
    }
    Progress silent(1, true);
    Box3D whole = Box3D::empty();
    for (PreviewRunOptions frame : frames)
    {
        frame.particleRadius = options.particleRadius;
        const auto box = ofFirstReadable(std::vector{frame}, [&](const PreviewRunOptions& one)
                                         { return std::optional(boxOf(subjectsOf(one, silent))); });
        if (box) whole.extend(*box);
    }
    if (whole == Box3D::empty()) return text;
    options.viewBox = whole;
    return text + formatted("view %.9g %.9g %.9g to %.9g %.9g %.9g\n", whole.min.x, whole.min.y, whole.min.z,
                            whole.max.x, whole.max.y, whole.max.z);
}

/// Rejects what has no effect.
void checkTogether(const CLI::App& preview, const PreviewRunOptions& options)
{
    FrameFiles files = filesOf(options);
    if (options.isTurntable())
    {
        if (isSequence(files))
            throw CLI::ValidationError("--turntable", "goes around one scene, and the input is a sequence");
        if (!isPattern(options.output))
            throw CLI::ValidationError("--output",
                                       "must have a {} for the number of each picture of --turntable");
        files.outputs.clear();
    }
    checkFrames(preview, files);
    const auto& extensions = formats::particleExtensions();
    const auto mayBeParticles = [&](const std::string& file)
    { return std::count(extensions.begin(), extensions.end(), formats::extensionOf(file)) > 0; };
    refuse(preview, "--particle-radius",
           std::none_of(options.files.begin(), options.files.end(), mayBeParticles),
           "is for particle files, and none of these is one");
}

}  // namespace

void addPreviewCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<PreviewRunOptions>();
    CLI::App* preview = app.add_subcommand("preview", "Draw a picture of mesh or particle files");
    preview->add_option("FILE", options->files, anyFileText("several stand side by side, seen by one camera"))
        ->required()
        ->check(anyFile(inputExtensions()))
        ->option_text("...");
    preview->add_option("-o,--output", options->output, "Picture to write (.png), needed")
        ->required()
        ->check(outputWithExtension({"png"}))
        ->option_text("OUT");
    addPictureArguments(*preview, "--size", options->picture);
    preview
        ->add_option("-r,--particle-radius", options->particleRadius,
                     "Radius to draw particles with; half their spacing when absent")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Picture");
    preview
        ->add_option(
            "--turntable", options->picture.turns,
            "Draw so many pictures, evenly on the way around the scene; the {} of the output gets their "
            "numbers")
        ->check(wholeNumber(2, 100000))
        ->option_text("COUNT")
        ->group("Picture");
    addThreads(*preview, options->picture.threads)->group("Run");
    addStrict(*preview, options->strict);
    addQuiet(*preview, options->quiet)->group("Run");
    addSequence(*preview, options->sequence);
    preview->footer(
        "\nExamples:\n"
        "  tavrix preview water.obj -o water.png\n"
        "  tavrix preview frame_0035.bin water_0035.obj -o both.png --size 900x900\n"
        "  tavrix preview part.stl -o part.png --up z\n"
        "  tavrix preview part.stl -o turn_{}.png --turntable 36\n"
        "  tavrix preview water.obj -o near.png --camera 3,2,4,1,0.5,0.5,40");
    preview->callback(
        [preview, options, &command]
        {
            options->settings = settingsText(*preview);
            checkTogether(*preview, *options);
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runFrameByFrame(*options, settleView, previewOne); },
                       options->files.front(), options->output, "try a smaller --size"};
        });
}

}  // namespace tavrix::tool
