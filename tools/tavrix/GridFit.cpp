#include "GridFit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <tavrix/platform/Hardware.h>

#include "Failure.h"

namespace tavrix::tool
{

namespace
{

struct Extent
{
    double low, high;  ///< in nodes
    double count() const { return high - low + 1; }
};

Extent extentOf(double min, double max, double reach, double spacing)
{
    return {std::floor((min - reach) / spacing) - 1, std::ceil((max + reach) / spacing) + 1};
}

double nodesAt(const Box3D& box, double reach, double spacing)
{
    double nodes = 1;
    for (uint32 axis = 0; axis < 3; ++axis)
        nodes *= extentOf(box.min[axis], box.max[axis], reach, spacing).count();
    return nodes;
}

double nodesThatFit(double bytesPerNode)
{
    const double available = Hardware::getMemoryInfo().available * 1024 * 1024;
    const double fitting = available > 0 ? available * 0.9 / bytesPerNode : 4e9;
    return std::min(fitting, 4294967295.0);
}

/// The smallest spacing, to two digits, whose grid fits.
double fittingSpacing(const Box3D& box, double reach, double spacing, double nodes)
{
    while (std::isfinite(spacing) && nodesAt(box, reach, spacing) > nodes) spacing *= 1.02;
    const double digit = std::pow(10, std::floor(std::log10(spacing)) - 1);
    return std::ceil(spacing / digit) * digit;
}

}  // namespace

std::string GridFit::text() const
{
    char line[128];
    std::snprintf(line, sizeof line, "%u x %u x %u nodes, spacing %.6g", sizeX, sizeY, sizeZ, spacing);
    return line;
}

Box3D boundingBox(const Array<Vector3F>& positions)
{
    Box3D box = Box3D::empty();
    for (const Vector3F& p : positions) box.extend(convert<double>(p));
    return box;
}

GridFit fitGrid(const Box3D& box, double reach, double spacing, double bytesPerNode, const std::string& file)
{
    const double nodes = nodesAt(box, reach, spacing), limit = nodesThatFit(bytesPerNode);
    if (!(nodes <= limit))
    {
        const Vector3D extent = box.max - box.min;
        char message[320];
        std::snprintf(
            message, sizeof message,
            ": a grid of spacing %.3g over everything in it (%.3g x %.3g x %.3g; is some of it astray?) "
            "would have %.3g nodes (%.3g GiB), more than fits; try --spacing %.2g",
            spacing, extent.x, extent.y, extent.z, nodes, nodes * bytesPerNode / (1 << 30),
            fittingSpacing(box, reach, spacing, limit));
        throw Failure(file + message);
    }
    GridFit grid{0, 0, 0, {0, 0, 0}, spacing};
    uint32* sizes[] = {&grid.sizeX, &grid.sizeY, &grid.sizeZ};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const Extent extent = extentOf(box.min[axis], box.max[axis], reach, spacing);
        *sizes[axis] = static_cast<uint32>(extent.count());
        grid.center[axis] = (extent.low + extent.high) / 2 * spacing;
    }
    return grid;
}

void confirmFits(double nodes, double bytesPerNode, const std::string& file)
{
    if (nodes <= nodesThatFit(bytesPerNode)) return;
    char message[160];
    std::snprintf(message, sizeof message,
                  ": work on its %.3g nodes takes %.3g GiB, more than fits; use a larger machine", nodes,
                  nodes * bytesPerNode / (1 << 30));
    throw Failure(file + message);
}

}  // namespace tavrix::tool
