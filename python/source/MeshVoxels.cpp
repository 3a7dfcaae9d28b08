#include <tavrix/fields/GridFit.h>
#include <tavrix/implicit/MeshVoxels.h>
#include <tavrix/mesh/MeshTopology.h>

#include "FieldObject.h"
#include "LongCall.h"
#include "Memory.h"
#include "MeshObject.h"

namespace tavrix::python
{

namespace
{

/// The nodes at whole multiples of the spacing around a mesh, with at least a layer more on every side.
GridDescription3<double> gridAround(const Mesh& mesh, double spacing)
{
    const Box3D box = boxOfFaces(mesh);
    if (box.isEmpty()) throw py::value_error("the mesh has no face that is finite");
    const GridFit fit = fitGrid(box, 0, positive(spacing, "spacing"));
    if (!fit.isIndexable()) throw py::value_error("spacing: the grid would have more than 2^32 - 1 nodes");
    constexpr double bytesOfNode = 7;
    confirmMemory(fit.nodeCount() * bytesOfNode);
    const Index3 size = fit.size();
    auto grid = GridDescription3<double>::centered(size.a, size.b, size.c, {spacing, spacing, spacing});
    grid.moveTo(fit.center);
    return grid;
}

py::tuple voxelized(const MeshObject& self, double spacing, const std::optional<py::ssize_t>& threads,
                    const py::object& progress)
{
    const uint32 count = threadsOf(threads);
    const Reading reading(self);
    const GridDescription3<double> grid = gridAround(self.mesh, spacing);
    Array<uint8> nodes;
    longStage(progress, "voxels",
              [&](CancelCallback callback)
              {
                  MeshVoxels voxels;
                  if (voxelize(self.mesh, grid, voxels, count, callback)) voxels.fill(nodes);
              });
    const auto shape = std::vector<py::ssize_t>{grid.sizeX, grid.sizeY, grid.sizeZ};
    return py::make_tuple(
        givenAway(std::move(nodes)).attr("view")(py::dtype::of<bool>()).attr("reshape")(shape),
        tupleOf(grid.box.min));
}

}  // namespace

void bindMeshVoxels(py::class_<MeshObject>& type)
{
    type.def(
        "voxelize", &voxelized, py::arg("spacing"), py::kw_only(), py::arg("threads") = py::none(),
        py::arg("progress") = py::none(),
        R"(The points of a grid inside the mesh: (solid, origin), a bool array (nx, ny, nz) and its first point.

    The points lie at whole multiples of the spacing, with at least one layer outside on every side. Inside is what the
    faces wind around, in overlapping parts too; a point on a face may go either way.

    >>> solid, origin = tavrix.Mesh.box((0.5, 0.5, 0.5), (3.5, 2.5, 1.5)).voxelize(1)
    >>> int(solid.sum()), solid.shape, origin
    (6, (7, 6, 5), (-1.0, -1.0, -1.0))
    )");
}

}  // namespace tavrix::python
