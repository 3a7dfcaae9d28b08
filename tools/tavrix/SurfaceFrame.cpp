#include "SurfaceFrame.h"

#include <algorithm>
#include <cstdio>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/particles/ParticleNeighbours.h>

#include "Failure.h"
#include "FileName.h"
#include "Interrupt.h"
#include "MeshFile.h"
#include "MeshRepair.h"
#include "MeshWeld.h"
#include "OutputFile.h"
#include "ParticleFile.h"
#include "preview/Picture.h"
#include "preview/Render.h"

namespace tavrix::tool
{

namespace
{

using Field = ScalarField3<float, double>;

/// Bytes that the run needs for each node: a float sample, a sign bit, and a share for the surface.
constexpr double bytesPerNode = 5;

/// Removes the particles with fewer than `least` others within two radii; returns how many those were.
uint32 dropStrays(ParticleFile& particles, const SurfaceSettings& settings, uint32 least,
                  const std::string& file)
{
    if (least == 0) return 0;
    const double radius = 2.0 * settings.radius;
    const NeighbourGrid grid(particles.positions, radius, settings.threads);
    const Array<uint32> counts = countNeighbours(grid, particles.positions, radius, settings.threads, least);
    uint32 kept = 0;
    for (uint32 n = 0; n < counts.size(); ++n)
    {
        if (counts[n] < least) continue;
        particles.positions[kept] = particles.positions[n];
        particles.velocities[kept++] = particles.velocities[n];
    }
    particles.positions.resize(kept);
    particles.velocities.resize(kept);
    if (kept == 0)
        throw Failure(file + ": every particle has fewer than " + std::to_string(least) +
                      " neighbours within two radii; lower --min-neighbours or give a larger --radius");
    return counts.size() - kept;
}

Field buildField(const SurfaceSettings& settings, const GridFit& grid, const Array<Vector3F>& positions)
{
    Field field;
    field.reset(grid.sizeX, grid.sizeY, grid.sizeZ, grid.spacing);
    field.moveTo(grid.center);
    const auto margin = static_cast<float>(settings.reach() + grid.spacing);
    const auto radii = [&](float radius) { return Array<float>(positions.size(), radius); };
    switch (settings.field)
    {
        case FieldKind::Distance:
            field.setDistanceField(positions, radii(settings.radius), margin, settings.threads, interrupted);
            break;
        case FieldKind::Metaball:
            field.setMetaballField(positions, radii(settings.radius), margin, settings.influence,
                                   settings.threads, interrupted);
            break;
        case FieldKind::Anisotropic:
            field.setAnisotropyDistanceField(positions, radii(settings.reach() / 2), margin,
                                             AnisotropySettings{}, settings.threads, interrupted);
            break;
    }
    stopIfInterrupted();
    return field;
}

/// Turns faces around: the extractor's look towards larger samples, that is into the particles.
void faceOutwards(Mesh& mesh)
{
    for (Array<Index3>* faces : {&mesh.refTrindexPos(), &mesh.refTrindexNor()})
        for (Index3& face : *faces) std::swap(face.b, face.c);
}

void extract(Mesh& mesh, const SurfaceOptions& options, const SurfaceSettings& settings, const Field& field,
             const std::string& file)
{
    mesh.setName("surface");
    IsosurfaceExtractor3::extractMesh(field, mesh, settings.level * settings.valueAtOne(), 0, 0, 0, 0, 0, 0,
                                      settings.threads, interrupted, options.clean);
    stopIfInterrupted();
    if (mesh.isEmpty())
    {
        const auto& samples = field.getArrScalars();
        char message[160];
        std::snprintf(message, sizeof message,
                      ": no surface at level %.4g, the field's values go from 0 to %.4g; try a --level "
                      "between or a smaller --spacing",
                      settings.level,
                      *std::max_element(samples.begin(), samples.end()) / settings.valueAtOne());
        throw Failure(file + message);
    }
    faceOutwards(mesh);
}

/// Each pass moves every vertex half the way to the average of its neighbours: as smooth as diffusing the
/// field, in half the time, and drops and sheets neither vanish nor merge.
void relax(Mesh& mesh, const SurfaceOptions& options, const SurfaceSettings& settings)
{
    IsosurfaceExtractor3::tension(mesh, 0.5f, 0.0f, options.smoothing, settings.threads, interrupted);
    mesh.invalidateBox();
    stopIfInterrupted();
}

/// Gives the mesh the velocities of the particles around each vertex.
void carryVelocities(Mesh& mesh, const ParticleFile& particles, const SurfaceSettings& settings)
{
    const double reach = settings.reach();
    const NeighbourGrid grid(particles.positions, reach / 2, settings.threads);
    Array<Vector3F> velocities =
        interpolateAtPlaces(grid, particles.velocities, mesh.refPos(), reach, settings.threads, interrupted);
    stopIfInterrupted();
    mesh.addArray<Vector3F>("Velocity").swap(velocities);
}

bool wantsNormals(const SurfaceOptions& options) { return options.normals && holdsNormals(options.output); }

bool holdsVelocities(const std::string& output) { return extensionOf(output) == "bin"; }

void draw(const Mesh& mesh, const ParticleFile& particles, const SurfaceOptions& options,
          const SurfaceSettings& settings, Box3D box, const std::string& file)
{
    PreviewOptions picture = options.picture;
    picture.threads = settings.threads;
    const Vector3D radius{settings.radius, settings.radius, settings.radius};
    const View view = viewOf({box.min - radius, box.max + radius}, picture);
    std::vector<Picture> pictures;
    if (options.previewParticles)
        pictures.push_back(renderParticles(particles.positions, settings.radius, view, picture));
    pictures.push_back(renderMesh(mesh, view, picture));
    savePng(sideBySide(pictures), file);
}

}  // namespace

std::size_t stageCount(const SurfaceOptions& options)
{
    std::size_t count = 4;
    for (const bool isTaken : {options.smoothing > 0, options.simplify.has_value(), wantsNormals(options),
                               holdsVelocities(options.output), !options.preview.empty()})
        count += isTaken ? 1 : 0;
    return count;
}

FrameReport runFrame(const SurfaceOptions& options, const SurfaceFiles& files,
                     const std::optional<SurfaceSettings>& given, const std::optional<Box3D>& viewBox,
                     Progress& progress)
{
    if (isSameFile(files.input, files.output))
        throw Failure(files.output + ": is the input by another name; name another file");
    confirmFolder(files.output);
    confirmFolder(files.preview);
    progress.begin("read");
    ParticleFile particles = readParticleFile(files.input);
    const SurfaceSettings settings = given ? *given : settle(options, particles.positions);
    const uint32 strays = dropStrays(particles, settings, options.minNeighbours, files.input);
    const Box3D box = boundingBox(particles.positions);
    const GridFit grid = fitGrid(box, settings.reach(), settings.spacing, bytesPerNode, files.input);

    progress.begin("field");
    Field field = buildField(settings, grid, particles.positions);
    progress.begin("surface");
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    extract(mesh, options, settings, field, files.input);
    field.reset_toZeroSize();
    if (options.smoothing > 0)
    {
        progress.begin("smooth");
        relax(mesh, options, settings);
    }
    if (options.simplify)
    {
        progress.begin("simplify");
        weldMeshes(meshes, {{*options.simplify}}, false, files.input);
    }
    if (wantsNormals(options))
    {
        progress.begin("normals");
        mesh.recalculateNormalsParallelized(settings.threads);
    }
    else
        dropNormals(mesh);
    if (holdsVelocities(files.output))
    {
        progress.begin("velocities");
        carryVelocities(mesh, particles, settings);
    }
    stopIfInterrupted();
    progress.begin("write");
    writeMeshes(files.output, meshes, {options.asciiStl});
    if (!files.preview.empty())
    {
        progress.begin("preview");
        if (!wantsNormals(options)) mesh.recalculateNormalsParallelized(settings.threads);
        draw(mesh, particles, options, settings, viewBox.value_or(box), files.preview);
    }
    progress.end();
    return {settings, particles.positions.size(), particles.leftOut,   strays,
            grid,     mesh.getPosSize(),          mesh.getFacesSize(), holdsVelocities(files.output)};
}

}  // namespace tavrix::tool
