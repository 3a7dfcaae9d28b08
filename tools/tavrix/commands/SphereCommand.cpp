#include "commands/Command.h"

#include <memory>

#include <CLI/CLI.hpp>

#include <tavrix/meshproc/SphereTriangulated.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshFinish.h"
#include "files/MeshNotes.h"
#include "formats/MeshFile.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct SphereOptions
{
    std::string output, folder;
    uint32 faces = 0;
    double radius = 1;
    MeshFinish finish;
    bool quiet = false;
};

void runSphere(const SphereOptions& options)
{
    makeFolder(options.folder);
    const SphereTriangulated<double> sphere(options.faces, options.radius);
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    mesh.setName("sphere");
    mesh.refPos() = sphere.getArrPos();
    mesh.refTrindexPos() = sphere.getArrTrindexPos();
    if (formats::holdsNormals(options.output)) mesh.recalculateNormals();
    Progress progress(1, options.quiet);
    finishAndWrite(meshes, options.finish, options.output, progress);
    if (!options.quiet) tellWritten(options.output, meshes);
}

}  // namespace

void addSphereCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<SphereOptions>();
    CLI::App* sphere = app.add_subcommand("sphere", "Write a sphere of 20 or 500 faces around the origin");
    sphere
        ->add_option("FACES", options->faces, "20: an icosahedron, its poles on the z axis; 500: poles on y")
        ->required()
        ->check(oneOf({"20", "500"}))
        ->option_text(" ");
    addMeshOutput(*sphere, options->output)->required();
    sphere->add_option("-r,--radius", options->radius, "Its radius")
        ->check(positiveNumber)
        ->option_text("NUMBER [1]");
    addMeshFinish(*sphere, options->finish);
    addQuiet(*sphere, options->quiet);
    sphere->footer("\nExamples:\n  tavrix sphere 500 -o ball.obj --radius 2.5");
    sphere->callback(
        [sphere, options, &command]
        {
            nameInFolder(*sphere, "sphere", options->output, options->folder);
            checkMeshFinish(*sphere, options->output);
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runSphere(*options), 0; }, options->output, options->output};
        });
}

}  // namespace tavrix::tool
