#include "levelset/LevelSetInput.h"

#include <algorithm>
#include <cmath>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "commands/ParticleCrop.h"
#include "commands/RadiusOrEstimate.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/ParticleFile.h"
#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// Estimated radii, half the particles' spacing, are enlarged so that the spheres leave no gaps: a cubic
/// lattice needs 1.74 times, one whose particles are shaken more.
constexpr double overlap = 2;

/// The meshes of the file as one, without normals and with one position a place.
Mesh readSolid(const std::string& file, bool isStrict, Progress& progress)
{
    const formats::MeshFile content = readMeshes(file, isStrict, progress);
    Mesh mesh = joinMeshes(content.meshes);
    const uint32 infinite = dropInfiniteFaces(mesh);
    if (infinite > 0)
        progress.note(file + formatted(": %u faces have corners without finite coordinates and are left out",
                                       infinite));
    if (mesh.getFacesSize() == 0)
        throw Failure(file + ": has no face with finite coordinates; export it again");
    joinEqualPositions(mesh);
    if (const uint32 turned = orientMixedParts(mesh))
        progress.note(
            file + formatted(": %u faces look the other way than their neighbours and are turned", turned));
    return mesh;
}

/// Tells of what keeps the mesh from enclosing a solid.
void noteFaults(const MeshTopology& topology, const std::string& file, Progress& progress)
{
    if (!topology.isClosed())
        progress.note(
            file +
            formatted(": is open along %u edges; small holes are bridged, but of a sheet that encloses "
                      "nothing take a wall: --unsigned with --offset",
                      topology.boundaryEdgeCount));
    else if (!topology.isConsistentlyOriented())
        progress.note(file +
                      formatted(": its faces are of mixed orientation along %u edges; parts may be missing",
                                topology.inconsistentEdgeCount));
}

std::string describe(const Mesh& mesh, const MeshTopology& topology)
{
    const bool isClosed = topology.isClosed();
    const std::string faces =
        formatted("input      %u faces, %s", mesh.getFacesSize(), isClosed ? "closed" : "open");
    const bool hasVolume = isClosed && topology.isConsistentlyOriented();
    return faces + (hasVolume ? formatted(", volume %.6g\n", std::fabs(signedVolume(mesh))) : "\n");
}

double spacingFor(const Box3D& box, const LevelSetOptions& options)
{
    const Vector3D extent = box.max - box.min;
    const double spacing = options.spacing.value_or(std::max({extent.x, extent.y, extent.z}) / 128);
    if (!(spacing > 0)) throw Failure(options.input + ": all its corners lie at one place; give --spacing");
    return spacing;
}

LevelSetInput readMesh(const LevelSetOptions& options, Progress& progress)
{
    if (options.radius && options.others.empty())
        throw Failure(options.input + ": is a mesh, and --radius is for particles; leave it out");
    if (options.crop)
        throw Failure(options.input +
                      ": is a mesh, and --crop is for particles; --clip cuts the mesh that is made");
    progress.begin("read");
    LevelSetInput input;
    input.mesh = readSolid(options.input, options.strict, progress);
    const MeshTopology topology = computeEdgeTopology(input.mesh);
    if (!options.isUnsigned) noteFaults(topology, options.input, progress);
    input.isClosed = topology.isClosed() && topology.isConsistentlyOriented();
    input.box = boxOfFaces(input.mesh);
    input.spacing = spacingFor(input.box, options);
    input.summary = describe(input.mesh, topology);
    return input;
}

LevelSetInput readSpheres(const LevelSetOptions& options, Progress& progress)
{
    if (options.isUnsigned)
        throw Failure(options.input + ": holds particles, and --unsigned is for meshes; leave it out");
    progress.begin("read");
    formats::ParticleFile particles = formats::readParticleFile(options.input);
    if (particles.leftOut > 0)
        progress.note(options.input + formatted(": left out %u particle%s without a finite position",
                                                particles.leftOut, particles.leftOut == 1 ? "" : "s"));
    if (options.crop) cropParticles(particles, *options.crop, options.input);
    LevelSetInput input;
    const double half = radiusOrEstimate(options.radius, particles.positions, options.input);
    input.radius = options.radius ? half : half * overlap;
    input.spacing = options.spacing.value_or(input.radius / 2);
    const Vector3D reach{input.radius, input.radius, input.radius};
    const Box3D centers = boxAround(particles.positions);
    input.box = {centers.min - reach, centers.max + reach};
    input.summary = formatted("particles  %u, radius %.6g%s\n", particles.positions.size(), input.radius,
                              options.radius ? "" : " (estimated from their spacing)");
    input.centers = std::move(particles.positions);
    return input;
}

}  // namespace

LevelSetInput readInput(const LevelSetOptions& options, Progress& progress)
{
    return formats::holdsMesh(options.input) ? readMesh(options, progress) : readSpheres(options, progress);
}

}  // namespace tavrix::tool
