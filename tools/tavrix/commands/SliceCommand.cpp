#include "commands/Command.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/MeshSlicing.h>
#include <tavrix/meshproc/VertexWelding.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/SliceFile.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct SliceOptions : RunOptions
{
    std::string input, output, at, axis = "z", unit = "mm";
    std::optional<double> every, from, to;
    SliceSettings slicing;
    bool strict = false;

    std::vector<std::string*> inputs() { return {&input}; }
    std::vector<std::string*> outputs() { return {&output}; }

    /// Whether each layer gets a file of its own.
    bool isFileEach() const { return !isFrame && isPattern(output) && !isPattern(input); }
};

/// The direction of an axis by its letter, or of three numbers; none when they are none.
std::optional<Vector3D> parseAxis(const std::string& text)
{
    const std::size_t letter = std::string("xyz").find(text);
    if (text.size() == 1 && letter < 3)
    {
        Vector3D axis{0, 0, 0};
        axis[static_cast<uint32>(letter)] = 1;
        return axis;
    }
    const std::vector<double> numbers = parseNumbers(text);
    if (numbers.size() != 3) return std::nullopt;
    const Vector3D axis{numbers[0], numbers[1], numbers[2]};
    return std::max({std::abs(axis.x), std::abs(axis.y), std::abs(axis.z)}) >= 1e-30 ? std::optional(axis)
                                                                                     : std::nullopt;
}

/// Layers of the same thickness, each cut in its middle unless the first plane was given.
std::vector<double> evenHeights(const SliceOptions& options, const HeightRange& mesh)
{
    constexpr double mostLayers = 1e6;
    const double step = *options.every, first = options.from.value_or(mesh.low + step / 2);
    const double last = std::min(options.to.value_or(mesh.high), mesh.high);
    if (!(first <= last))
        throw Failure(
            options.input + ": " +
            formatted("no plane meets the mesh, which reaches from %.6g to %.6g; take a smaller --every "
                      "or another --from",
                      mesh.low, mesh.high));
    const double count = std::floor((last - first) / step) + 1;
    if (count > mostLayers)
        throw Failure(
            options.input + ": " +
            formatted("would have %.3g layers, and a million are the most; take a larger --every", count));
    std::vector<double> heights;
    for (uint32 n = 0; n < static_cast<uint32>(count); ++n) heights.push_back(first + n * step);
    return heights;
}

/// All faces of a file, the corners at one place joined.
Mesh wholeMesh(formats::MeshFile& file)
{
    Mesh mesh = file.meshes.size() == 1 ? std::move(*file.meshes[0]) : joinMeshes(file.meshes);
    weldVertices(mesh.refPos(), mesh.refTrindexPos(), std::array{0.0});
    mesh.invalidateBox();
    return mesh;
}

/// What slices hold.
struct Totals
{
    uint64 outers = 0, holes = 0, points = 0, chains = 0;
    double area = 0, largest = 0;  ///< the sum over all layers, and the largest of one
    Box2D box = Box2D::empty();
};

Totals totalsOf(const std::vector<MeshSlice>& slices)
{
    Totals totals;
    for (const MeshSlice& slice : slices)
    {
        for (uint32 n = 0; n < slice.polygons.size(); ++n)
        {
            ++(slice.polygons.isHole(n) ? totals.holes : totals.outers);
            totals.points += slice.polygons[n].size();
        }
        for (const Polyline& chain : slice.openChains)
            for (const Vector2D& p : chain) totals.box.extend(p);
        totals.chains += slice.openChains.size();
        const double area = slice.polygons.area();
        totals.area += area;
        totals.largest = std::max(totals.largest, area);
        totals.box.extend(slice.polygons.box());
    }
    return totals;
}

/// Writes all layers into the output, or each into one of its own.
void writeLayers(const SliceOptions& options, const std::vector<MeshSlice>& slices, const Box2D& box,
                 Progress& progress)
{
    const formats::SliceSheet sheet{box, options.unit};
    if (!options.isFileEach()) return formats::writeSlices(options.output, slices, 0, sheet);
    std::vector<std::string> names;
    for (std::size_t n = 0; n < slices.size(); ++n)
        names.push_back(fillPattern(options.output, paddedNumber(n, slices.size())));
    for (const std::string& name : names) confirmOutputs({{options.input}, {name}});
    for (std::size_t n = 0; n < slices.size(); ++n)
    {
        formats::writeSlices(names[n], std::span(slices).subspan(n, 1), static_cast<uint32>(n), sheet);
        progress.tell(static_cast<double>(n + 1) / static_cast<double>(slices.size()));
        stopIfInterrupted();
    }
}

/// Prints what was made of the mesh.
void tell(const SliceOptions& options, const Mesh& mesh, const MeshSlices& made, const Totals& totals)
{
    const auto& slices = made.slices;
    const auto [low, high] = std::minmax_element(
        slices.begin(), slices.end(), [](const auto& a, const auto& b) { return a.height < b.height; });
    std::printf("layers     %zu, at %.6g to %.6g along %s\n", slices.size(), low->height, high->height,
                options.axis.c_str());
    std::printf("loops      %llu outer, %llu holes, %llu points\n",
                static_cast<unsigned long long>(totals.outers), static_cast<unsigned long long>(totals.holes),
                static_cast<unsigned long long>(totals.points));
    if (totals.chains > 0)
        std::printf("open       %llu chains end at borders of the mesh; --gap joins ends that lie near\n",
                    static_cast<unsigned long long>(totals.chains));
    std::printf("area       %.6g at most, %.6g on average\n", totals.largest,
                totals.area / static_cast<double>(slices.size()));
    if (options.every && !options.from && !options.to && totals.chains == 0)
        std::printf("volume     %.6g by the layers, %.6g of the mesh\n", totals.area * *options.every,
                    std::fabs(signedVolume(mesh)));
    std::printf("slices     -> %s\n", options.output.c_str());
}

std::string sliceOne(const SliceOptions& options)
{
    Progress progress(3, options.quiet, options.label, options.bar());
    progress.begin("read");
    formats::MeshFile file =
        readMeshes(options.input, options.strict, progress, threadsFor(options.slicing.threadCount, options));
    const Mesh mesh = wholeMesh(file);
    const SliceFrame frame = SliceFrame::along(*parseAxis(options.axis));
    const HeightRange range = heightsOf(mesh, frame);
    if (range.isEmpty()) throw Failure(options.input + ": holds no faces, so there is nothing to slice");
    const std::vector<double> heights =
        options.every ? evenHeights(options, range) : parseNumbers(options.at);
    SliceSettings settings = options.slicing;
    settings.threadCount = threadsFor(settings.threadCount, options);
    std::optional<StageScope> stage(std::in_place, progress, "slice");
    const MeshSlices made = sliceMesh(mesh, frame, heights, settings, StageScope::poll);
    stopIfInterrupted();
    stage.reset();
    const Totals totals = totalsOf(made.slices);
    if (totals.box.isEmpty())
        progress.note(
            options.input + ": " +
            formatted("no plane meets the mesh, which reaches from %.6g to %.6g", range.low, range.high));
    if (made.unusableFaces > 0)
        progress.note(options.input + ": " +
                      formatted("%u faces left out, whose corners are not finite", made.unusableFaces));
    progress.begin("write");
    writeLayers(options, made.slices, totals.box, progress);
    progress.end();
    if (options.isFrame)
        return formatted("%zu layers ", made.slices.size()) +
               writtenText(filesOf(options), progress.totalSeconds());
    if (options.quiet) return {};
    tell(options, mesh, made, totals);
    printCosts(progress, settings.threadCount);
    return {};
}

void addPlanes(CLI::App& slice, SliceOptions& options)
{
    const auto check = [](auto parses, const char* message)
    {
        return CLI::Validator([=](const std::string& text)
                              { return parses(text) ? std::string() : message + (": " + text); },
                              "", "");
    };
    CLI::Option* const every =
        slice
            .add_option(
                "--every", options.every,
                "The thickness of layers, which lie on one another from the mesh's bottom up; each is cut "
                "in its middle")
            ->check(positiveNumber)
            ->option_text("NUMBER");
    slice.add_option("--at", options.at, "The heights to cut at, instead")
        ->check(check([](const std::string& text) { return !parseNumbers(text).empty(); },
                      "must be finite numbers with commas between them"))
        ->excludes(every)
        ->option_text("H,...");
    slice.add_option("--from", options.from, "The height of the first plane of --every")
        ->check(finiteNumber)
        ->option_text("H");
    slice.add_option("--to", options.to, "No plane of --every lies above this height")
        ->check(finiteNumber)
        ->option_text("H");
    slice
        .add_option("--axis", options.axis,
                    "Along which axis heights are measured: x, y, z, or a direction X,Y,Z")
        ->check(check([](const std::string& text) { return parseAxis(text).has_value(); },
                      "must be x, y, z or a direction of three numbers"))
        ->option_text("AXIS [z]");
}

void addPolygons(CLI::App& slice, SliceOptions& options)
{
    slice
        .add_option("--simplify", options.slicing.tolerance,
                    "Leave points out where polygons move by no more than this; none come to cross")
        ->check(positiveNumber)
        ->option_text("NUMBER");
    slice
        .add_option("--gap", options.slicing.gap,
                    "Join ends of cuts that are no further apart than this, where the mesh has cracks")
        ->check(positiveNumber)
        ->option_text("NUMBER");
    slice.add_option("--unit", options.unit, "What lengths are in, for SVG files: mm, cm, in, pt or px")
        ->check(oneOf({"mm", "cm", "in", "pt", "px"}))
        ->option_text("NAME [mm]");
}

/// Rejects options that contradict each other or have no effect.
void checkTogether(const CLI::App& slice, const SliceOptions& options)
{
    if (!options.every && options.at.empty())
        throw CLI::ValidationError("slice", "needs --every or --at, for the planes to cut at");
    for (const char* option : {"--from", "--to"})
        refuse(slice, option, !options.every, "is for the planes of --every");
    refuse(slice, "--unit", formats::extensionOf(options.output) != "svg", "is for SVG files");
    checkFrames(slice, {{options.input},
                        options.isFileEach() ? std::vector<std::string>() : std::vector{options.output}});
}

}  // namespace

void addSliceCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<SliceOptions>();
    CLI::App* slice = app.add_subcommand("slice", "Cut a mesh with parallel planes into polygons");
    slice->add_option("MESH", options->input, meshFileText())
        ->required()
        ->check(anyFile(formats::meshExtensions()))
        ->option_text(" ");
    slice
        ->add_option("-o,--output", options->output,
                     "File to write, needed: " + nameList(formats::sliceExtensions(), ".") +
                         ". With a {} in its name, which gets the layer's number, each layer has a file")
        ->required()
        ->check(outputWithExtension(formats::sliceExtensions()))
        ->option_text("OUT");
    addPlanes(*slice, *options);
    addPolygons(*slice, *options);
    addStrict(*slice, options->strict);
    addThreads(*slice, options->slicing.threadCount);
    addQuiet(*slice, options->quiet);
    addSequence(*slice, options->sequence);
    slice->footer(
        "Cuts of closed meshes close, wherever planes run. A vertex on a plane counts as above\n"
        "it: a plane in the top of a box cuts the whole box, one in its bottom nothing. Loops\n"
        "in an odd number of others are holes. Slices are seen from above, x to the right, with\n"
        "the other two axes as theirs: x, y along z; y, z along x; z, x along y.\n\n"
        "SVG files have a group for each layer; the pages of several files lie on one another.\n"
        "CSV files have a line for each point: layer, height, loop, kind (outer, hole, or open\n"
        "where the mesh is), x, y. Where the input has a {}, too, each frame of that sequence\n"
        "makes one file.\n\n"
        "Examples:\n"
        "  tavrix slice part.stl --every 0.2 -o layers.svg\n"
        "  tavrix slice part.stl --every 0.2 -o layer_{}.svg --simplify 0.01\n"
        "  tavrix slice part.stl --at 1.5,3 --axis x -o cuts.csv");
    slice->callback(
        [slice, options, &command]
        {
            options->settings = settingsText(*slice);
            checkTogether(*slice, *options);
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runFrameByFrame(*options, settleNothing, sliceOne); },
                       options->input, options->output, "try a larger --every"};
        });
}

}  // namespace tavrix::tool
