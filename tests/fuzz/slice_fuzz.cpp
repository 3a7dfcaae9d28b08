#include <algorithm>
#include <cmath>

#include "Choices.h"
#include "Fuzz.h"

using namespace tavrix;
using fuzz::Choices;
using fuzz::require;

namespace
{

/// Few different values, so that many vertices lie on planes, and now and then one out of the ordinary.
double coordinate(Choices& choices)
{
    const uint32 b = choices.below(64);
    return b < 63 ? static_cast<int>(b % 9) - 4 : choices.number<double>();
}

Vector3D point(Choices& choices)
{
    const double x = coordinate(choices), y = coordinate(choices);
    return {x, y, coordinate(choices)};
}

/// Faces between any of the positions, each one closed by three others to a tetrahedron, or not.
void addFaces(Choices& choices, Mesh& mesh, bool isClosed)
{
    const uint32 positions = 4 + choices.below(12), faces = 1 + choices.below(24);
    for (uint32 n = 0; n < positions; ++n) mesh.refPos().push_back(point(choices));
    Array<Index3>& all = mesh.refTrindexPos();
    for (uint32 n = 0; n < faces; ++n)
    {
        const uint32 a = choices.below(positions), b = choices.below(positions), c = choices.below(positions),
                     d = choices.below(positions);
        all.push_back({a, b, c});
        if (!isClosed) continue;
        all.push_back({a, c, d});
        all.push_back({c, b, d});
        if (choices.flag())
            all.push_back({b, a, d});
        else
            all.push_back({a, b, d});  // turned over
    }
}

bool isSound(const Polygons& polygons)
{
    for (uint32 n = 0; n < polygons.size(); ++n)
    {
        if (polygons[n].size() < 3 || polygons[n].isCounterClockwise() == polygons.isHole(n)) return false;
        const uint32 parent = polygons.parent(n);
        if (polygons.depth(n) != (parent == noIndex ? 0 : polygons.depth(parent) + 1)) return false;
    }
    return true;
}

}  // namespace

// Slices any mesh, tetrahedra that share edges and lie in one another above all, with planes through
// vertices: of a closed mesh all cuts close, loops turn as they are nested, simplifying loses none, and
// threads change nothing.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Choices choices(data, size);
    Mesh mesh;
    const bool isClosed = choices.flag();
    addFaces(choices, mesh, isClosed);
    std::vector<double> heights;
    for (uint32 n = 0; n < 6; ++n) heights.push_back(choices.flag() ? coordinate(choices) : 0.5 + n);
    const SliceFrame frame =
        choices.flag() ? SliceFrame::alongAxis(choices.below(3)) : SliceFrame::along({1, 2, -1});
    const MeshSlices slices = sliceMesh(mesh, frame, heights, {.threadCount = 1});
    const MeshSlices simple =
        sliceMesh(mesh, frame, heights, {.gap = 0.5, .tolerance = 0.75, .threadCount = 2});
    require(slices.slices.size() == heights.size(), "a slice a height");
    for (std::size_t n = 0; n < heights.size(); ++n)
    {
        const MeshSlice &slice = slices.slices[n], &other = simple.slices[n];
        require(!isClosed || slices.unusableFaces > 0 || slice.openChains.empty(), "cuts close");
        require(!isClosed || slices.unusableFaces > 0 || other.polygons.size() == slice.polygons.size(),
                "simplifying keeps every loop");
        require(isSound(slice.polygons), "loops turn as they are nested");
        const double area = slice.polygons.area();
        require(std::isfinite(area), "areas");
    }
    return 0;
}
