#include <tavrix/implicit/LevelSetExtraction.h>

#include <cmath>
#include <vector>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/SheetSeparation.h>

namespace tavrix
{

namespace
{

/// The vertices so near a node that clean-up may have joined several there: it joins within 2^-13 of a
/// separation, and vertices lie on edges, which meet at nodes alone.
std::vector<uint32> verticesAtNodes(const Mesh& mesh, const GridDescription3<double>& grid)
{
    constexpr double near = 1.0 / 2048;  // and rounding
    const double steps = 1 / grid.largestSeparation;
    const auto isNear = [](double at)
    {
        const double part = at - static_cast<double>(static_cast<int64>(at));
        return part < near || part > 1 - near;
    };
    std::vector<uint32> found;
    for (uint32 n = 0; n < mesh.getPosSize(); ++n)
    {
        const Vector3D at = (mesh.pos()[n] - grid.box.min) * steps;
        if (isNear(at.x) && isNear(at.y) && isNear(at.z)) found.push_back(n);
    }
    return found;
}

uint32 extractFrom(const LevelSet& surface, Mesh& mesh, uint32 threadCount, CancelCallback callback)
{
    if (surface.extractExplicitSurface(mesh, threadCount, callback) == 0) return 0;
    const std::vector<uint32> suspects = verticesAtNodes(mesh, surface.getField().getGrid());
    if (separateSheets(mesh, suspects, threadCount).faces > 0) dropUnusedPositions(mesh);
    return mesh.getFacesSize();
}

}  // namespace

uint32 extractClosed(const LevelSet& surface, Mesh& mesh, uint32 threadCount, CancelCallback callback)
{
    return reachesBorder(surface) ? extractFrom(cappedGrid(surface), mesh, threadCount, callback)
                                  : extractFrom(surface, mesh, threadCount, callback);
}

}  // namespace tavrix
