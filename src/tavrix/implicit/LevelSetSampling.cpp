#include <tavrix/implicit/LevelSetSampling.h>

#include <algorithm>
#include <cmath>

#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// Sweeping tolerance, in separations.
constexpr double sweepTolerance = 1e-3;

/// Nodes that the box of a face or a sphere holds, widened by so many on every side; the extent is one in
/// nodes.
double nodesIn(const Vector3D& extent, uint32 widened)
{
    const double both = 2.0 * widened + 1;
    return (extent.x + both) * (extent.y + both) * (extent.z + both);
}

double nodesAround(const Mesh& mesh, double spacing, uint32 nodes)
{
    double sum = 0;
    const detail::MeshFaces faces(mesh);
    for (uint32 f = 0; f < faces.faceCount; ++f)
        if (const Box3D box = faces.box(f); !box.isEmpty())
            sum += nodesIn((box.max - box.min) * (1 / spacing), nodes);
    return sum;
}

/// Widest band whose sampling is affordable; `visited(band)` is the number of node visits it costs.
template <class NodesVisited>
uint32 exactBandNodes(double neededNodes, NodesVisited visited)
{
    constexpr uint32 narrowest = 3, widest = 10;
    constexpr double affordable = 2e8;  // visits, of which a thread does some ten millions in a second
    uint32 nodes = narrowest;
    while (nodes < widest && nodes < neededNodes && visited(nodes + 1) <= affordable) ++nodes;
    return nodes;
}

double depthOf(const LevelSet& surface)
{
    float low, high;
    surface.findMinMax(low, high);
    return -static_cast<double>(low);
}

/// Inverts the surface of a mesh that is inside out as a whole, whose outside came out solid. Returns whether
/// it did.
bool turnOutwards(LevelSet& surface)
{
    if (surface.getArraySize() == 0 || !(surface.get(0) < 0)) return false;
    const float band = surface.getDefaultValue();
    surface.invert();
    surface.setBand(band);
    surface.createNeighborsCells();
    return true;
}

/// Extends the distances from the exact band to the plan's by sweeping.
uint32 finish(LevelSet& surface, const LevelSetPlan& plan, uint32 exactNodes, uint32 threadCount,
              CancelCallback callback)
{
    const bool isWider = plan.band > exactNodes && !isCancelled(callback);
    if (isWider) widenBandTo(surface, plan.band, threadCount, callback);
    if (!isCancelled(callback)) return exactNodes;
    surface.init_toZeroSize();
    return 0;
}

/// The samples on a grid of so many more layers of nodes on every side; there, what pad(nearest sample) says.
template <class Pad>
LevelSet padded(const LevelSet& surface, uint32 nodes, Pad pad)
{
    const auto& grid = surface.getField().getGrid();
    const Index3 sizes{grid.sizeX + 2 * nodes, grid.sizeY + 2 * nodes, grid.sizeZ + 2 * nodes};
    LevelSet large;
    large.reset(sizes.a, sizes.b, sizes.c, grid.largestSeparation);
    large.moveTo(grid.box.min + (grid.box.max - grid.box.min) / 2);
    large.getDefaultValue() = surface.getDefaultValue();
    const auto clamped = [nodes](uint32 n, uint32 size)
    { return std::min(std::max(n, nodes) - nodes, size - 1); };
    uint32 m = 0;
    for (uint32 i = 0; i < sizes.a; ++i)
        for (uint32 j = 0; j < sizes.b; ++j)
            for (uint32 k = 0; k < sizes.c; ++k, ++m)
            {
                const Index3 node{clamped(i, grid.sizeX), clamped(j, grid.sizeY), clamped(k, grid.sizeZ)};
                const bool isOld = node == Index3{i - nodes, j - nodes, k - nodes};
                const float value = surface.get(node);
                large.set(m, isOld ? value : pad(value));
            }
    return large;
}

}  // namespace

LevelSetExtent LevelSetExtent::forOffset(double spacing, double offset, double wall)
{
    return {spacing, std::max(offset, 0.0), std::max(std::fabs(offset), std::fabs(offset - wall))};
}

double bandFor(const LevelSetExtent& extent, const Box3D& grid)
{
    if (extent.farthest == 0) return 3;
    return std::min(extent.farthest, length(grid.max - grid.min)) / extent.spacing + 4;
}

LevelSetPlan planLevelSet(const Box3D& box, const LevelSetExtent& extent)
{
    const double spacing = extent.spacing;
    const GridFit grid = fitGrid(box, extent.outermost + 3 * spacing, spacing);
    const Vector3D half = (grid.sizes - Vector3D{1.5, 1.5, 1.5}) * (spacing / 2);
    const Box3D inner{grid.center - half, grid.center + half};
    return {grid, inner, bandFor(extent, inner)};
}

uint32 sampleMesh(LevelSet& surface, const Mesh& mesh, const LevelSetPlan& plan, IMPLICIT_SURFACE_TYPE type,
                  uint32 threadCount, CancelCallback callback, bool* wasTurned)
{
    const double spacing = plan.grid.spacing;
    const uint32 nodes = exactBandNodes(plan.band, [&](uint32 n) { return nodesAround(mesh, spacing, n); });
    if (!surface.init(mesh, spacing, plan.box, type, threadCount, callback, nodes)) return 0;
    const bool isTurned = turnOutwards(surface);
    if (wasTurned) *wasTurned = isTurned;
    return finish(surface, plan, nodes, threadCount, callback);
}

uint32 sampleParticles(LevelSet& surface, const Array<Vector3F>& positions, double radius,
                       const LevelSetPlan& plan, uint32 threadCount, CancelCallback callback)
{
    const double spacing = plan.grid.spacing;
    const Vector3D diameter = Vector3D{radius, radius, radius} * (2 / spacing);
    const uint32 nodes =
        exactBandNodes(plan.band, [&](uint32 n) { return positions.size() * nodesIn(diameter, n); });
    if (!surface.init(positions, Array<float>(positions.size(), static_cast<float>(radius)), spacing,
                      plan.box, threadCount, callback, nodes))
        return 0;
    return finish(surface, plan, nodes, threadCount, callback);
}

void redistanceBand(LevelSet& surface, double separations, uint32 threadCount, CancelCallback callback)
{
    const double separation = surface.getField().getGrid().largestSeparation;
    surface.redistance(static_cast<float>(separations * separation),
                       static_cast<float>(sweepTolerance * separation), threadCount, callback);
}

void widenBandTo(LevelSet& surface, double separations, uint32 threadCount, CancelCallback callback)
{
    const double separation = surface.getField().getGrid().largestSeparation;
    surface.widenBand(static_cast<float>(separations * separation),
                      static_cast<float>(sweepTolerance * separation), threadCount, callback);
}

LevelSet grownGrid(const LevelSet& surface, uint32 nodes)
{
    return padded(surface, nodes,
                  [far = surface.getDefaultValue()](float nearest) { return std::copysign(far, nearest); });
}

bool reachesBorder(const LevelSet& surface)
{
    const auto& grid = surface.getField().getGrid();
    uint32 m = 0;
    for (uint32 i = 0; i < grid.sizeX; ++i)
        for (uint32 j = 0; j < grid.sizeY; ++j)
        {
            const bool isAtSide = i == 0 || i + 1 == grid.sizeX || j == 0 || j + 1 == grid.sizeY;
            const uint32 step = isAtSide || grid.sizeZ == 1 ? 1 : grid.sizeZ - 1;
            for (uint32 k = 0; k < grid.sizeZ; k += step)
                if (surface.getField()[m + k] < 0) return true;
            m += grid.sizeZ;
        }
    return false;
}

LevelSet cappedGrid(const LevelSet& surface)
{
    return padded(surface, 1, [](float nearest) { return std::fabs(nearest); });
}

double offsetOutwards(LevelSet& surface, double distance)
{
    const double depth = depthOf(surface);
    surface.offsetSurface(static_cast<float>(-distance));
    return depth;
}

double hollowOut(LevelSet& surface, double thickness)
{
    const double depth = depthOf(surface);
    const auto t = static_cast<float>(thickness);
    for (float& v : surface.refField().refArrScalars()) v = std::max(v, -(v + t));
    return depth;
}

}  // namespace tavrix
