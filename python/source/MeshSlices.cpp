#include <algorithm>
#include <array>
#include <cmath>

#include <pybind11/stl.h>

#include <tavrix/meshproc/MeshSlicing.h>
#include <tavrix/meshproc/VertexWelding.h>

#include "MeshObject.h"

// Cuts of meshes as arrays of points.

namespace tavrix::python
{

namespace
{

/// Heights are measured along an axis by its number, or along a direction.
SliceFrame frameOf(py::handle axis)
{
    if (py::isinstance<py::int_>(axis))
    {
        const auto number = axis.cast<py::ssize_t>();
        if (number < 0 || number > 2) throw py::value_error("axis: expected 0, 1, 2 or a direction");
        return SliceFrame::alongAxis(static_cast<uint32>(number));
    }
    const Vector3D direction = finitePoint(axis, "axis");
    if (!(length(direction) > 0)) throw py::value_error("axis: expected a direction, got 0");
    return SliceFrame::along(direction);
}

double toleranceOf(double value, const char* name)
{
    if (!(value >= 0) || !std::isfinite(value))
        throw py::value_error(std::string(name) + ": expected a finite number of 0 and more");
    return value;
}

py::array arrayOf(const Polyline& points)
{
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    static_assert(sizeof(Vector2D) == 2 * sizeof(double));
    std::copy(points.begin(), points.end(), reinterpret_cast<Vector2D*>(array.mutable_data()));
    return array;
}

py::list loopsOf(const MeshSlice& slice)
{
    py::list loops;
    for (const Polygonum& loop : slice.polygons) loops.append(arrayOf(loop.points()));
    return loops;
}

py::list chainsOf(const MeshSlice& slice)
{
    py::list chains;
    for (const Polyline& chain : slice.openChains) chains.append(arrayOf(chain));
    return chains;
}

py::object sliced(const MeshObject& self, py::handle heights, py::handle axis, double simplify, double gap,
                  bool withOpen, const std::optional<py::ssize_t>& threads, const py::object& progress)
{
    const SliceFrame frame = frameOf(axis);
    const ArrayIn<double> planes(heights, "heights");
    const SliceSettings settings{toleranceOf(gap, "gap"), toleranceOf(simplify, "simplify"),
                                 threadsOf(threads)};
    const Reading reading(self);
    MeshSlices made;
    longStage(progress, "slice",
              [&](CancelCallback callback)
              {
                  Mesh mesh;
                  mesh.refPos() = self.mesh.pos();
                  mesh.refTrindexPos() = self.mesh.trindexPos();
                  weldVertices(mesh.refPos(), mesh.refTrindexPos(), std::array{0.0});
                  made = sliceMesh(mesh, frame, planes.span(), settings, callback);
              });
    py::list layers, open;
    for (const MeshSlice& slice : made.slices)
    {
        layers.append(loopsOf(slice));
        if (withOpen) open.append(chainsOf(slice));
    }
    return withOpen ? py::object(py::make_tuple(layers, open)) : py::object(layers);
}

}  // namespace

void bindMeshSlices(py::class_<MeshObject>& type)
{
    using py::arg;
    type.def(
        "slice", &sliced, arg("heights"), arg("axis") = 2, py::kw_only(), arg("simplify") = 0.0,
        arg("gap") = 0.0, arg("open") = false, arg("threads") = py::none(), arg("progress") = py::none(),
        R"(What planes cut out of the mesh: for each height a list of loops, float64 arrays of shape (n, 2).

    heights: shape (n,), in any order. axis: 0, 1, 2 or a direction, along which they are measured from the
    origin; points then have the two axes that follow it (x, y along z), or, for a direction, such as lie
    across it. The last point of a loop is joined to its first. Outer loops run counter-clockwise, holes,
    which lie in an odd number of others, clockwise. Vertices at one place count as one, so that cuts of
    closed meshes close; a vertex on a plane counts as above it. Faces that are not finite are left out.

    simplify: leaves points out where loops move by no more than this; none come to cross. gap: joins ends of
    cuts no further apart. open: returns (loops, chains), with the cuts that end at borders of the mesh.

    >>> box = tavrix.Mesh.box((0, 0, 0), (3, 2, 1))
    >>> [len(loops) for loops in box.slice([0.25, 0.5, 7])]
    [1, 1, 0]
    >>> numpy.ptp(box.slice([0.5], axis=0)[0][0], axis=0).tolist()
    [2.0, 1.0]
    )");
}

}  // namespace tavrix::python
