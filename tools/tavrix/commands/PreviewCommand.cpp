#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/platform/Timer.h>
#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/RadiusOrEstimate.h"
#include "commands/SmoothNormals.h"
#include "formats/FileKind.h"
#include "formats/MeshFile.h"
#include "formats/ParticleFile.h"
#include "preview/Render.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

struct Options
{
    std::vector<std::string> inputs;
    std::string output;
    std::optional<double> particleRadius;
    PreviewOptions picture;
    bool quiet = false;
};

/// Something to draw, and the box that it takes up.
struct Subject
{
    std::variant<Mesh, Array<Vector3F>> matter;
    float particleRadius;
    Box3D box;
};

Subject meshSubject(const std::string& file)
{
    const formats::MeshFile content = formats::readMeshes(file);
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

Subject subjectOf(const std::string& file, const Options& options)
{
    return formats::holdsMesh(file) ? meshSubject(file) : particleSubject(file, options.particleRadius);
}

Picture draw(const Subject& subject, const View& view, const PreviewOptions& options)
{
    if (const auto* positions = std::get_if<Array<Vector3F>>(&subject.matter))
        return renderParticles(*positions, subject.particleRadius, view, options);
    return renderMesh(std::get<Mesh>(subject.matter), view, options);
}

void runPreview(const Options& options)
{
    Timer timer;
    timer.start();
    std::vector<Subject> subjects;
    Box3D box = Box3D::empty();
    for (const std::string& file : options.inputs)
    {
        subjects.push_back(subjectOf(file, options));
        box.extend(subjects.back().box.min);
        box.extend(subjects.back().box.max);
    }
    const View view = viewOf(box, options.picture);
    std::vector<Picture> pictures;
    pictures.reserve(subjects.size());
    for (const Subject& subject : subjects) pictures.push_back(draw(subject, view, options.picture));
    const Picture whole = sideBySide(pictures);
    savePng(whole, options.output);
    if (options.quiet) return;
    std::printf("picture    %u x %u pixels -> %s\n", whole.width, whole.height, options.output.c_str());
    std::printf("time       %.3f s\n", timer.stop());
}

}  // namespace

void addPreviewCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<Options>();
    CLI::App* preview = app.add_subcommand("preview", "Draw a picture of mesh or particle files");
    preview
        ->add_option("FILE", options->inputs,
                     "Mesh or particle files; several stand side by side, seen by one camera")
        ->required()
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
    addThreads(*preview, options->picture.threads)->group("Run");
    addQuiet(*preview, options->quiet)->group("Run");
    preview->footer(
        "Particles are taken of every format that tavrix surface takes.\n\nExamples:\n"
        "  tavrix preview water.obj -o water.png\n"
        "  tavrix preview frame_0035.bin water_0035.obj -o both.png --size 900x900\n"
        "  tavrix preview part.stl -o part.png --up z");
    preview->callback(
        [options, &command]
        {
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runPreview(*options), 0; }, options->inputs.front(),
                       options->output, "try a smaller --size"};
        });
}

}  // namespace tavrix::tool
