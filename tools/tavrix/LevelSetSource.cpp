#include "LevelSetSource.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include <tavrix/mesh/MeshTopology.h>

#include "Failure.h"
#include "GridFit.h"
#include "Interrupt.h"
#include "MeshFile.h"
#include "MeshRepair.h"
#include "ParticleFile.h"
#include "ParticleSpacing.h"
#include "preview/Shapes.h"

namespace tavrix::tool
{

namespace
{

/// Bytes that a run needs for each node at most: a float sample, three flags, and what sampling, sweeping
/// and extracting take for a time. A grid that grows is there twice.
constexpr double bytesPerNode = 8, bytesPerGrownNode = 10;

/// Estimated radii, half the particles' spacing, are enlarged so that the spheres run together.
constexpr double overlap = 1.6;

/// Sweeping ends when no sample changes by so many separations any more.
constexpr double sweepTolerance = 1e-3;

std::string text(const char* format, ...)
{
    char line[400];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    return line;
}

/// How far distances must be right, in separations: to the surfaces to come and four on, so that three around
/// each are. No distance is longer than the grid's diagonal.
double neededBand(const LevelSetOptions& options, double separation, const Box3D& grid)
{
    if (!options.reshapes()) return 3;
    const double inner = options.offset - options.shell.value_or(0);
    const double farthest = std::max(std::fabs(options.offset), std::fabs(inner));
    return std::min(farthest, length(grid.max - grid.min)) / separation + 4;
}

void carryOn(LevelSet& surface, double band, double separation, uint32 threads)
{
    surface.widenBand(static_cast<float>(band * separation), static_cast<float>(sweepTolerance * separation),
                      threads);
}

// From geometry

/// A grid for distances to what lies in the box.
struct Lattice
{
    GridFit fit;
    Box3D box;    ///< half a cell smaller than the nodes', which no rounding makes one of more cells
    double band;  ///< in separations
};

Lattice latticeOver(const Box3D& box, double spacing, const LevelSetOptions& options)
{
    const double reach = std::max(options.offset, 0.0) + 3 * spacing;
    const GridFit fit = fitGrid(box, reach, spacing, bytesPerNode, options.input);
    const Vector3D half = Vector3D{fit.sizeX - 1.5, fit.sizeY - 1.5, fit.sizeZ - 1.5} * (fit.spacing / 2);
    const Box3D inner{fit.center - half, fit.center + half};
    return {fit, inner, neededBand(options, spacing, inner)};
}

/// Nodes that the boxes of faces or spheres hold, each widened by so many nodes on every side; an extent is
/// one in nodes.
double nodesIn(const Vector3D& extent, uint32 widened)
{
    const double both = 2.0 * widened + 1;
    return (extent.x + both) * (extent.y + both) * (extent.z + both);
}

/// The widest band that is worth exact distances, given the number of nodes to be visited for one of so many.
template <class NodesVisited>
uint32 exactBandNodes(double neededNodes, NodesVisited visited)
{
    constexpr uint32 narrowest = 3, widest = 10;
    constexpr double affordable = 2e8;  // visits, of which a thread does some ten millions in a second
    uint32 nodes = narrowest;
    while (nodes < widest && nodes < neededNodes && visited(nodes + 1) <= affordable) ++nodes;
    return nodes;
}

/// Carries the distances on to the needed band, when the exact one is narrower, and tells of grid and band.
void finish(LevelSetSource& source, const Lattice& lattice, uint32 exactNodes, uint32 threads)
{
    stopIfInterrupted();
    const bool isExact = lattice.band <= exactNodes;
    source.summary += "grid       " + lattice.fit.text() + "\n";
    source.summary += isExact ? text("band       %u spacings, exact\n", exactNodes)
                              : text("band       %.4g spacings, exact to %u\n", lattice.band, exactNodes);
    if (!isExact) carryOn(source.surface, lattice.band, lattice.fit.spacing, threads);
    stopIfInterrupted();
}

/// The meshes of the file as one, without normals and with one position a place.
Mesh readSolid(const std::string& file, Progress& progress)
{
    const MeshFile content = readMeshes(file);
    Mesh mesh = joined(content.meshes);
    const uint32 leftOut = content.leftOut, infinite = dropInfiniteFaces(mesh);
    if (leftOut > 0)
        progress.note(file + text(": %u faces name vertices that are not there and are left out", leftOut));
    if (infinite > 0)
        progress.note(file +
                      text(": %u faces have corners without finite coordinates and are left out", infinite));
    if (mesh.getFacesSize() == 0)
        throw Failure(file + ": has no face with finite coordinates; export it again");
    joinEqualPositions(mesh);
    if (const uint32 turned = orientMixedParts(mesh))
        progress.note(file +
                      text(": %u faces look the other way than their neighbours and are turned", turned));
    return mesh;
}

/// Tells of what keeps the mesh from enclosing a solid.
void noteFaults(const Mesh& mesh, const std::string& file, Progress& progress)
{
    const MeshTopology topology = computeTopology(mesh);
    if (!topology.isClosed())
        progress.note(file +
                      text(": is open along %u edges; small holes are bridged, but of a sheet that encloses "
                           "nothing take a wall: --unsigned with --offset",
                           topology.boundaryEdgeCount));
    else if (!topology.isConsistentlyOriented())
        progress.note(file + text(": its faces are of mixed orientation along %u edges; parts may be missing",
                                  topology.inconsistentEdgeCount));
}

/// Makes the inside of a mesh that is inside out as a whole the solid; its outside was, up to the grid's
/// border.
void turnOutwards(LevelSet& surface, const std::string& file, Progress& progress)
{
    if (surface.getArraySize() == 0 || !(surface.get(0) < 0)) return;
    const float band = surface.getDefaultValue();
    surface.invert();
    setBand(surface, band);
    surface.createNeighborsCells();
    progress.note(file + ": its faces look inwards and are turned around");
}

std::string describe(const Mesh& mesh)
{
    const MeshTopology topology = computeTopology(mesh);
    const bool isClosed = topology.isClosed();
    const std::string faces =
        text("input      %u faces, %s", mesh.getFacesSize(), isClosed ? "closed" : "open");
    const bool hasVolume = isClosed && topology.isConsistentlyOriented();
    return faces + (hasVolume ? text(", volume %.6g\n", std::fabs(signedVolume(mesh))) : "\n");
}

double facesVisit(const Mesh& mesh, double spacing, uint32 nodes)
{
    double visits = 0;
    for (const Index3& face : mesh.trindexPos())
    {
        Box3D box = Box3D::empty();
        for (const uint32 corner : {face.a, face.b, face.c}) box.extend(mesh.pos()[corner]);
        visits += nodesIn((box.max - box.min) * (1 / spacing), nodes);
    }
    return visits;
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
    const Box3D box = boxOfDrawableFaces(mesh);
    const Lattice lattice = latticeOver(box, spacingFor(box, options), options);

    progress.begin("distances");
    const double spacing = lattice.fit.spacing;
    const uint32 nodes = exactBandNodes(lattice.band, [&](uint32 n) { return facesVisit(mesh, spacing, n); });
    LevelSetSource source{{}, describe(mesh)};
    source.surface.init(mesh, spacing, lattice.box,
                        options.isUnsigned ? TX_IMPLICIT_SURFACE_UNSIGNED : TX_IMPLICIT_SURFACE_SIGNED,
                        threads, interrupted, nodes);
    turnOutwards(source.surface, options.input, progress);
    finish(source, lattice, nodes, threads);
    return source;
}

LevelSetSource fromParticles(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (options.isUnsigned)
        throw Failure(options.input + ": holds particles, and --unsigned is for meshes; leave it out");
    progress.begin("read");
    const ParticleFile particles = readParticleFile(options.input);
    if (particles.leftOut > 0)
        progress.note(options.input + text(": left out %u particle%s without a finite position",
                                           particles.leftOut, particles.leftOut == 1 ? "" : "s"));
    const uint32 count = particles.positions.size();
    const double half = radiusOrEstimate(options.radius, particles.positions, options.input);
    const double radius = options.radius ? half : half * overlap;
    const double spacing = options.spacing.value_or(radius / 2);
    const Vector3D reach{radius, radius, radius};
    const Box3D centers = boundingBox(particles.positions);
    const Lattice lattice = latticeOver({centers.min - reach, centers.max + reach}, spacing, options);

    progress.begin("distances");
    const uint32 nodes =
        exactBandNodes(lattice.band, [&](uint32 n) { return count * nodesIn(reach * (2 / spacing), n); });
    LevelSetSource source{{},
                          text("particles  %u, radius %.6g%s\n", count, radius,
                               options.radius ? "" : " (estimated from their spacing)")};
    source.surface.init(particles.positions, Array<float>(count, static_cast<float>(radius)), spacing,
                        lattice.box, threads, interrupted, nodes);
    finish(source, lattice, nodes, threads);
    return source;
}

// From a field

/// The surface on a grid of so many nodes more on every side, which are far, on the side of the node next to
/// them.
LevelSet grown(const LevelSet& surface, uint32 nodes)
{
    const auto& grid = surface.getField().getGrid();
    const float far = surface.getDefaultValue();
    LevelSet large;
    large.reset(grid.sizeX + 2 * nodes, grid.sizeY + 2 * nodes, grid.sizeZ + 2 * nodes,
                grid.largestSeparation);
    large.moveTo(grid.box.min + (grid.box.max - grid.box.min) / 2);
    large.getDefaultValue() = far;
    const auto clamped = [nodes](uint32 n, uint32 size)
    { return std::min(std::max(n, nodes) - nodes, size - 1); };
    const Index3 sizes{grid.sizeX + 2 * nodes, grid.sizeY + 2 * nodes, grid.sizeZ + 2 * nodes};
    uint32 m = 0;
    for (uint32 i = 0; i < sizes.a; ++i)
        for (uint32 j = 0; j < sizes.b; ++j)
            for (uint32 k = 0; k < sizes.c; ++k, ++m)
            {
                const Index3 node{clamped(i, grid.sizeX), clamped(j, grid.sizeY), clamped(k, grid.sizeZ)};
                const bool isOld = node == Index3{i - nodes, j - nodes, k - nodes};
                const float value = surface.get(node);
                large.set(m, isOld ? value : std::copysign(far, value));
            }
    return large;
}

/// Makes room on the field's grid for growth by the offset. Throws Failure when that does not fit.
void makeRoom(LevelSet& surface, const LevelSetOptions& options)
{
    const auto& grid = surface.getField().getGrid();
    const double nodes = std::ceil(options.offset / grid.largestSeparation);
    const double count = (grid.sizeX + 2 * nodes) * (grid.sizeY + 2 * nodes) * (grid.sizeZ + 2 * nodes);
    confirmFits(count, bytesPerGrownNode, options.loadField + ": grown by --offset");
    surface = grown(surface, static_cast<uint32>(nodes));
}

LevelSetSource fromField(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    progress.begin("read");
    LevelSetSource source{readField(options.loadField, options.layout, bytesPerNode), ""};
    LevelSet& surface = source.surface;
    stopIfInterrupted();

    progress.begin("distances");
    if (options.offset > 0) makeRoom(surface, options);
    const auto& grid = surface.getField().getGrid();
    const double spacing = grid.largestSeparation, band = neededBand(options, spacing, grid.box);
    source.summary = "input      a field\ngrid       " +
                     GridFit{grid.sizeX, grid.sizeY, grid.sizeZ, {0, 0, 0}, spacing}.text() + "\n" +
                     text("band       %.4g spacings\n", band);
    if (options.redistance)
        redistance(surface, band, threads);
    else if (options.reshapes())
        carryOn(surface, band, spacing, threads);
    stopIfInterrupted();
    return source;
}

}  // namespace

void redistance(LevelSet& surface, double band, uint32 threads)
{
    const double separation = surface.getField().getGrid().largestSeparation;
    surface.redistance(static_cast<float>(band * separation), static_cast<float>(sweepTolerance * separation),
                       threads);
}

LevelSetSource makeLevelSet(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (!options.loadField.empty()) return fromField(options, threads, progress);
    if (kindOfFile(options.input) == FileKind::Particles) return fromParticles(options, threads, progress);
    return fromMesh(options, threads, progress);
}

}  // namespace tavrix::tool
