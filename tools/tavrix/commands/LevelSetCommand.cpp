#include "commands/Command.h"

#include <map>
#include <memory>

#include <CLI/CLI.hpp>

#include "arguments/OrderedOptions.h"
#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "commands/ParticleCrop.h"
#include "levelset/LevelSetRun.h"

namespace tavrix::tool
{

namespace
{

const std::map<std::string, formats::FieldLayout> layoutNames{{"regular", formats::FieldLayout::Regular},
                                                              {"sparse", formats::FieldLayout::Sparse}};

void addFiles(CLI::App& levelset, LevelSetOptions& options)
{
    levelset.add_option("IN", options.input, anyFileText())
        ->check(anyFile(inputExtensions()))
        ->option_text(" ");
    addMeshOutput(levelset, options.output, "Mesh file to write, needed without --save-field");
    addStrict(levelset, options.strict);
    addNormals(levelset, options.normals);
    addClip(levelset, options.clip);
    addMeshFinish(levelset, options.finish);
    addCrop(levelset, options.crop);
    addQuiet(levelset, options.quiet);
}

void addDistances(CLI::App& levelset, LevelSetOptions& options)
{
    levelset
        .add_option(
            "-s,--spacing", options.spacing,
            "Grid spacing; when absent, a 128th of a mesh's longest side, half the radius of particles")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Distances");
    levelset
        .add_option(
            "-r,--radius", options.radius,
            "Radius of particles, whose spheres are the solid; their spacing when absent, so that an even "
            "filling has no gaps (below 0.87 of it each cube of eight has one); --offset takes back what "
            "that "
            "adds outside")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Distances");
    levelset
        .add_flag(
            "--unsigned", options.isUnsigned,
            "Take a mesh as a sheet that encloses nothing: with --offset, the surface is a wall around it")
        ->group("Distances");
    addThreads(levelset, options.threads)->group("Distances");
}

void addShape(CLI::App& levelset, LevelSetOptions& options)
{
    levelset.add_option("--offset", options.offset, "Move the surface outwards by so much; below 0 inwards")
        ->check(finiteNumber)
        ->option_text("NUMBER [0]")
        ->group("Shape");
    levelset
        .add_option(
            "--shell", options.shell,
            "Hollow the solid: a wall of this thickness stays inside the surface, which --offset moves "
            "first")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Shape");
    addFillCavities(levelset, options.fillCavities)->group("Shape");
    levelset
        .add_flag("--redistance", options.redistance,
                  "Calculate distances anew: of a field that is loaded, and after --offset and --shell")
        ->group("Shape");
}

/// The options that combine solids, by their names.
struct CombiningOption
{
    const char* name;
    SolidOperation operation;
    const char* description;
};
constexpr CombiningOption combiningOptions[] = {
    {"--union", SolidOperation::Union,
     "Add another solid: a mesh, particles or a field file (.field). Such options are taken in the order in "
     "which they stand, before --offset and --shell"},
    {"--subtract", SolidOperation::Difference, "Cut another solid away"},
    {"--intersect", SolidOperation::Intersection, "Keep what lies in another solid as well"}};

void addCombination(CLI::App& levelset)
{
    std::vector<std::string> extensions = inputExtensions();
    extensions.emplace_back("field");
    for (const CombiningOption& combining : combiningOptions)
        levelset.add_option(combining.name, combining.description)
            ->check(anyFile(extensions))
            ->take_all()
            ->allow_extra_args(false)
            ->option_text("FILE")
            ->group(orderedGroup);
}

/// The solids of these options in the order of the command line.
std::vector<OtherSolid> othersOf(const CLI::App& levelset)
{
    std::vector<OtherSolid> others;
    for (const auto& [name, file] : orderedValues(levelset))
        for (const CombiningOption& combining : combiningOptions)
            if (name == combining.name) others.push_back({combining.operation, file});
    return others;
}

void addFields(CLI::App& levelset, LevelSetOptions& options)
{
    levelset.add_option("--save-field", options.saveField, "Write the distances into a file as well")
        ->check(anyFile())
        ->option_text("FILE")
        ->group("Field files");
    levelset
        .add_option("--load-field", options.loadField,
                    "Begin with the distances of such a file instead of IN")
        ->check(anyFile())
        ->option_text("FILE")
        ->group("Field files");
    levelset
        .add_option_function<std::string>(
            "--field-format", [&options](const std::string& name) { options.layout = layoutNames.at(name); },
            "How field files hold the samples: 'regular' (all) or 'sparse' (those below the default value)")
        ->check(oneOf({"regular", "sparse"}))
        ->option_text("NAME [regular]")
        ->group("Field files");
    levelset
        .add_flag(
            "--force", options.sequence.force,
            "Replace the file of --save-field when there is one, and make frames again that are up to date")
        ->group("Field files");
}

void addPicture(CLI::App& levelset, LevelSetOptions& options)
{
    addPreview(levelset, options.preview);
    addPictureArguments(levelset, "--preview-size", options.picture);
}

/// Rejects options that contradict each other or have no effect.
void checkTogether(const CLI::App& levelset, const LevelSetOptions& options)
{
    const auto demand = [](bool holds, const char* option, const std::string& what)
    {
        if (!holds) throw CLI::ValidationError(option, what);
    };
    const bool isLoaded = !options.loadField.empty();
    demand(isLoaded || !options.input.empty(), "IN", "is required: a mesh or particle file, or --load-field");
    demand(!isLoaded || options.input.empty(), "--load-field",
           "stands instead of the input file; give one of them");
    demand(!isLoaded || !(options.spacing || options.radius || options.isUnsigned),
           "--spacing, --radius and --unsigned", "say how a field is made; that of --load-field is");
    demand(!options.output.empty() || !options.saveField.empty(), "--output",
           "is required: the mesh file to write, or --save-field");
    demand(!options.fillCavities || !options.shell, "--fill-cavities",
           "would fill the hollow that --shell makes; give one of them");
    demand(!options.isUnsigned || options.offset > 0, "--unsigned",
           "has no inside, so it needs an --offset above 0: the surface is a wall that far around the sheet");
    demand(!options.isUnsigned || options.others.empty(), "--unsigned",
           "has no inside, which --union, --subtract and --intersect need; make the wall first, then combine "
           "it");
    checkFrames(levelset, filesOf(options));
    refusePictureOptions(levelset, !options.preview.empty());
    if (!options.output.empty())
    {
        refuseFormatOptions(levelset, options.output);
        checkMeshFinish(levelset, options.output);
    }
    checkClip(levelset, options.clip);
    refuse(levelset, "--field-format", !isLoaded && options.saveField.empty(),
           "is for field files; name one with --save-field or --load-field");
    refuse(levelset, "--force", options.saveField.empty() && !isSequence(filesOf(options)),
           "is for field files that are there, and for sequences");
    for (const char* option : {"--ascii", "--digits", "--normals", "--no-normals", "--fill-cavities",
                               "--clip", "--scale", "--output-up", "--crease"})
        refuse(levelset, option, options.output.empty() && options.preview.empty(),
               "is for the mesh, and none is made; name one with --output");
}

}  // namespace

void addLevelSetCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<LevelSetOptions>();
    CLI::App* levelset =
        app.add_subcommand("levelset", "Grow, shrink, hollow and remesh solids by their distances");
    addFiles(*levelset, *options);
    addDistances(*levelset, *options);
    addCombination(*levelset);
    addShape(*levelset, *options);
    addFields(*levelset, *options);
    addSequence(*levelset, options->sequence, false);
    addPicture(*levelset, *options);
    levelset->footer(
        "\nField files do not tell how far their distances reach: they have a band of three\n"
        "spacings, samples beyond are cut to it, and it is the default value that sparse ones\n"
        "leave out. Fields from elsewhere need --redistance when they are no distances. Where the\n"
        "inside of a field reaches the border of its grid, the mesh is closed half a spacing\n"
        "beyond.\n\n"
        "Solids are combined at one spacing, on whole grids. --offset and --shell then go on\n"
        "from distances that are calculated anew.\n\n"
        "Examples:\n"
        "  tavrix levelset part.stl -o larger.stl --offset 0.5\n"
        "  tavrix levelset part.stl -o hollow.stl --shell 2 --spacing 0.25\n"
        "  tavrix levelset sheet.obj -o wall.obj --unsigned --offset 1\n"
        "  tavrix levelset part.stl -o fitted.stl --union boss.stl --subtract hole.stl\n"
        "  tavrix levelset water.bin -o water.obj --radius 0.04 --save-field water.field\n"
        "  tavrix levelset --load-field water.field -o smaller.obj --offset -0.01");
    levelset->callback(
        [levelset, options, &command]
        {
            if (!options->output.empty())
                nameInFolder(*levelset, options->source(), options->output, options->folder);
            options->others = othersOf(*levelset);
            options->settings = settingsText(*levelset);
            options->finish.up = options->picture.up;
            checkTogether(*levelset, *options);
            options->quiet |=
                formats::isStandardOutput(options->output) || formats::isStandardOutput(options->saveField);
            command = {[options] { return runLevelSet(*options); }, options->source(),
                       options->output.empty() ? options->saveField : options->output,
                       "try a larger --spacing"};
        });
}

}  // namespace tavrix::tool
