#include "commands/GridMemory.h"

#include <algorithm>

#include <tavrix/platform/Hardware.h>

#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

double nodesThatFit(double bytesPerNode)
{
    return std::min(static_cast<double>(availableMemory()) / bytesPerNode, 4294967295.0);
}

}  // namespace

std::string gridText(const GridFit& grid)
{
    return formatted("%.0f x %.0f x %.0f nodes, spacing %.6g", grid.sizes.x, grid.sizes.y, grid.sizes.z,
                     grid.spacing);
}

uint64 availableMemory()
{
    const double available = Hardware::getMemoryInfo().available * 1024 * 1024;
    return static_cast<uint64>(available > 0 ? available * 0.9 : 4e11);
}

void confirmFits(const GridFit& grid, const Box3D& box, double reach, double bytesPerNode,
                 const std::string& file)
{
    const double nodes = grid.nodeCount(), limit = nodesThatFit(bytesPerNode);
    if (nodes <= limit) return;
    const Vector3D extent = box.max - box.min;
    throw Failure(
        file +
        formatted(
            ": a grid of spacing %.3g over everything in it (%.3g x %.3g x %.3g; is some of it astray?) "
            "would have %.3g nodes (%.3g GiB), more than fits; try --spacing %.2g",
            grid.spacing, extent.x, extent.y, extent.z, nodes, nodes * bytesPerNode / (1 << 30),
            fittingSpacing(box, reach, grid.spacing, limit)));
}

void confirmFits(double nodes, double bytesPerNode, const std::string& file)
{
    if (nodes <= nodesThatFit(bytesPerNode)) return;
    throw Failure(file +
                  formatted(": work on its %.3g nodes takes %.3g GiB, more than fits; use a larger machine",
                            nodes, nodes * bytesPerNode / (1 << 30)));
}

}  // namespace tavrix::tool
