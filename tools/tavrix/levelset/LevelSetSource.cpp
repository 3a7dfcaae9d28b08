#include "levelset/LevelSetSource.h"

#include <algorithm>
#include <cmath>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "commands/GridMemory.h"
#include "commands/RadiusOrEstimate.h"
#include "files/MeshFile.h"
#include "files/ParticleFile.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// Bytes that a run needs for each node of a grid that grows, which is there twice.
constexpr double bytesPerGrownNode = 10;

/// Estimated radii, half the particles' spacing, are enlarged so that the spheres run together.
constexpr double overlap = 1.6;

/// What distances are needed for.
LevelSetExtent extentOf(const LevelSetOptions& options, double spacing)
{
    return options.reshapes() ? LevelSetExtent::forOffset(spacing, options.offset, options.shell.value_or(0))
                              : LevelSetExtent{spacing};
}

// From geometry

/// The plan around a box. Throws Failure when it does not fit.
LevelSetPlan planOver(const Box3D& box, double spacing, const LevelSetOptions& options)
{
    const LevelSetExtent extent = extentOf(options, spacing);
    const LevelSetPlan plan = planLevelSet(box, extent);
    confirmFits(plan.grid, box, extent.outermost + 3 * spacing, LevelSetPlan::bytesPerNode, options.input);
    return plan;
}

std::string gridAndBandText(const LevelSetPlan& plan, uint32 exactNodes)
{
    return "grid       " + gridText(plan.grid) + "\n" +
           (plan.band <= exactNodes
                ? formatted("band       %u spacings, exact\n", exactNodes)
                : formatted("band       %.4g spacings, exact to %u\n", plan.band, exactNodes));
}

/// The meshes of the file as one, without normals and with one position a place.
Mesh readSolid(const std::string& file, Progress& progress)
{
    const MeshFile content = readMeshes(file);
    Mesh mesh = joinMeshes(content.meshes);
    const uint32 leftOut = content.leftOut, infinite = dropInfiniteFaces(mesh);
    if (leftOut > 0)
        progress.note(file +
                      formatted(": %u faces name vertices that are not there and are left out", leftOut));
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
void noteFaults(const Mesh& mesh, const std::string& file, Progress& progress)
{
    const MeshTopology topology = computeTopology(mesh);
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

std::string describe(const Mesh& mesh)
{
    const MeshTopology topology = computeTopology(mesh);
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

LevelSetSource fromMesh(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (options.radius)
        throw Failure(options.input + ": is a mesh, and --radius is for particles; leave it out");
    progress.begin("read");
    const Mesh mesh = readSolid(options.input, progress);
    if (!options.isUnsigned) noteFaults(mesh, options.input, progress);
    const Box3D box = boxOfFaces(mesh);
    const LevelSetPlan plan = planOver(box, spacingFor(box, options), options);

    progress.begin("distances");
    LevelSetSource source{{}, describe(mesh)};
    bool wasTurned = false;
    const uint32 exact =
        sampleMesh(source.surface, mesh, plan,
                   options.isUnsigned ? TX_IMPLICIT_SURFACE_UNSIGNED : TX_IMPLICIT_SURFACE_SIGNED, threads,
                   interrupted, &wasTurned);
    stopIfInterrupted();
    if (wasTurned) progress.note(options.input + ": its faces look inwards and are turned around");
    source.summary += gridAndBandText(plan, exact);
    return source;
}

LevelSetSource fromParticles(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (options.isUnsigned)
        throw Failure(options.input + ": holds particles, and --unsigned is for meshes; leave it out");
    progress.begin("read");
    const ParticleFile particles = readParticleFile(options.input);
    if (particles.leftOut > 0)
        progress.note(options.input + formatted(": left out %u particle%s without a finite position",
                                                particles.leftOut, particles.leftOut == 1 ? "" : "s"));
    const uint32 count = particles.positions.size();
    const double half = radiusOrEstimate(options.radius, particles.positions, options.input);
    const double radius = options.radius ? half : half * overlap;
    const double spacing = options.spacing.value_or(radius / 2);
    const Vector3D reach{radius, radius, radius};
    const Box3D centers = boxAround(particles.positions);
    const LevelSetPlan plan = planOver({centers.min - reach, centers.max + reach}, spacing, options);

    progress.begin("distances");
    LevelSetSource source{{},
                          formatted("particles  %u, radius %.6g%s\n", count, radius,
                                    options.radius ? "" : " (estimated from their spacing)")};
    const uint32 exact =
        sampleParticles(source.surface, particles.positions, radius, plan, threads, interrupted);
    stopIfInterrupted();
    source.summary += gridAndBandText(plan, exact);
    return source;
}

// From a field

/// Makes room on the field's grid for growth by the offset. Throws Failure when that does not fit.
void makeRoom(LevelSet& surface, const LevelSetOptions& options)
{
    const auto& grid = surface.getField().getGrid();
    const double nodes = std::ceil(options.offset / grid.largestSeparation);
    const double count = (grid.sizeX + 2 * nodes) * (grid.sizeY + 2 * nodes) * (grid.sizeZ + 2 * nodes);
    confirmFits(count, bytesPerGrownNode, options.loadField + ": grown by --offset");
    surface = grownGrid(surface, static_cast<uint32>(nodes));
}

LevelSetSource fromField(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    progress.begin("read");
    LevelSetSource source{readField(options.loadField, options.layout, LevelSetPlan::bytesPerNode), ""};
    LevelSet& surface = source.surface;
    stopIfInterrupted();

    progress.begin("distances");
    if (options.offset > 0) makeRoom(surface, options);
    const auto& grid = surface.getField().getGrid();
    const double spacing = grid.largestSeparation;
    const double band = bandFor(extentOf(options, spacing), grid.box);
    const GridFit fit{{double(grid.sizeX), double(grid.sizeY), double(grid.sizeZ)}, {0, 0, 0}, spacing};
    source.summary = "input      a field\ngrid       " + gridText(fit) + "\n" +
                     formatted("band       %.4g spacings\n", band);
    if (options.redistance)
        redistanceBand(surface, band, threads);
    else if (options.reshapes())
        widenBandTo(surface, band, threads);
    stopIfInterrupted();
    return source;
}

}  // namespace

LevelSetSource makeLevelSet(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (!options.loadField.empty()) return fromField(options, threads, progress);
    if (kindOfFile(options.input) == FileKind::Particles) return fromParticles(options, threads, progress);
    return fromMesh(options, threads, progress);
}

}  // namespace tavrix::tool
