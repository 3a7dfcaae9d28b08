#include "SurfaceCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/platform/Hardware.h>

#include "Failure.h"
#include "GridFit.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "ParticleFile.h"
#include "ParticleSpacing.h"
#include "Progress.h"

namespace tavrix::tool
{

namespace
{

using Field = ScalarField3<float, double>;

/// Everything about a run that the options left open.
struct Settings
{
    float radius;
    bool radiusIsEstimated;
    double spacing;
    float level;
    float influence;
    uint32 threads;

    /// How far a particle of this radius reaches in the field.
    double reach(FieldKind kind) const
    {
        return kind == FieldKind::Distance ? 2.0 * radius : radius * (influence * 0.038 + 1.2);
    }
};

Settings settle(const SurfaceOptions& options, const Array<Vector3F>& positions)
{
    Settings settings{};
    settings.radiusIsEstimated = !options.radius;
    const double radius = options.radius ? *options.radius : estimateSpacing(positions) / 2;
    settings.radius = static_cast<float>(radius);
    if (!(settings.radius > 0))
        throw Failure(
            options.input +
            ": the particles all lie at one place, so their radius cannot be estimated; give --radius");
    settings.spacing = options.spacing.value_or(radius / 2);
    settings.influence = static_cast<float>(options.influence);
    settings.level = static_cast<float>(options.level.value_or(defaultLevel(options.field)));
    settings.threads = options.threads ? options.threads : Hardware::getThreadCount();
    return settings;
}

void stopIfInterrupted()
{
    if (interrupted()) throw Failure("interrupted");
}

Field buildField(const SurfaceOptions& options, const Settings& settings, const GridFit& grid,
                 const Array<Vector3F>& positions)
{
    Field field;
    field.reset(grid.sizeX, grid.sizeY, grid.sizeZ, grid.spacing);
    field.moveTo(grid.center);
    const Array<float> radii(positions.size(), settings.radius);
    const auto margin = static_cast<float>(settings.reach(options.field) + grid.spacing);
    if (options.field == FieldKind::Distance)
        field.setDistanceField(positions, radii, margin, settings.threads, interrupted);
    else
        field.setMetaballField(positions, radii, margin, settings.influence, settings.threads, interrupted);
    stopIfInterrupted();
    return field;
}

/// Turns faces around: the extractor's look towards larger samples, that is into the particles.
void faceOutwards(Mesh& mesh)
{
    for (Array<Index3>* faces : {&mesh.refTrindexPos(), &mesh.refTrindexNor()})
        for (Index3& face : *faces) std::swap(face.b, face.c);
}

Mesh extract(const SurfaceOptions& options, const Settings& settings, const Field& field)
{
    Mesh mesh;
    mesh.setName("surface");
    IsosurfaceExtractor3::extractMesh(field, mesh, settings.level, 0, 0, 0, 0, 0, 0, settings.threads,
                                      interrupted, options.clean);
    stopIfInterrupted();
    if (mesh.isEmpty())
    {
        const auto& samples = field.getArrScalars();
        char message[160];
        std::snprintf(message, sizeof message,
                      ": no surface at level %.4g, the field's values go from 0 to %.4g; try a --level "
                      "between or a smaller --spacing",
                      settings.level, *std::max_element(samples.begin(), samples.end()));
        throw Failure(options.input + message);
    }
    faceOutwards(mesh);
    return mesh;
}

void writeObj(const std::string& output, const Mesh& mesh)
{
    writeFileWhole(output, [&](const std::string& path)
                   { return MeshFileParser<Mesh_OBJ_FileParser>::instance().write(TX_String(path), mesh); });
}

void warnOfLeftOut(const SurfaceOptions& options, uint32 leftOut)
{
    if (leftOut == 0 || options.quiet) return;
    std::fprintf(stderr, "tavrix: %s: left out %u %s without a finite position\n", options.input.c_str(),
                 leftOut, leftOut == 1 ? "particle" : "particles");
}

void printSummary(const SurfaceOptions& options, const Settings& settings, const GridFit& grid,
                  uint32 particleCount, const Mesh& mesh, const Progress& progress)
{
    std::printf("particles  %u, radius %.6g%s\n", particleCount, settings.radius,
                settings.radiusIsEstimated ? " (estimated from their spacing)" : "");
    std::printf("grid       %s\n", grid.text().c_str());
    std::printf("mesh       %u vertices, %u faces -> %s\n", mesh.getPosSize(), mesh.getFacesSize(),
                options.output.c_str());
    std::printf("time      ");
    double total = 0;
    for (const Progress::Stage& stage : progress.stages())
    {
        std::printf(" %s %.3f s,", stage.name.c_str(), stage.seconds);
        total += stage.seconds;
    }
    std::printf(" in all %.3f s on %u %s\n", total, settings.threads,
                settings.threads == 1 ? "thread" : "threads");
    std::printf("memory     %.0f MiB at most\n", Hardware::getMemoryInfo().processPeak);
}

}  // namespace

double defaultLevel(FieldKind kind) { return kind == FieldKind::Distance ? 0.05 : 1.0; }

void runSurface(const SurfaceOptions& options)
{
    Progress progress(5, options.quiet);
    progress.begin("read");
    const auto [positions, leftOut] = readParticleFile(options.input);
    const Settings settings = settle(options, positions);
    const GridFit grid =
        fitGrid(boundingBox(positions), settings.reach(options.field), settings.spacing, options.input);

    progress.begin("field");
    Field field = buildField(options, settings, grid, positions);
    progress.begin("surface");
    Mesh mesh = extract(options, settings, field);
    field.reset_toZeroSize();
    progress.begin("normals");
    mesh.recalculateNormalsParallelized(settings.threads);
    stopIfInterrupted();
    progress.begin("write");
    writeObj(options.output, mesh);
    progress.end();
    warnOfLeftOut(options, leftOut);
    if (!options.quiet) printSummary(options, settings, grid, positions.size(), mesh, progress);
}

}  // namespace tavrix::tool
