#include <cmath>
#include <cstring>
#include <limits>

#include <pybind11/stl.h>

#include <tavrix/implicit/LevelSetAdvection.h>
#include <tavrix/implicit/LevelSetExtraction.h>
#include <tavrix/implicit/LevelSetSampling.h>
#include <tavrix/implicit/SolidCombination.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "Extraction.h"
#include "FieldObject.h"
#include "FileCalls.h"
#include "formats/FieldFile.h"
#include "Memory.h"

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;

/// A level set as Python has it; its grid never changes.
struct LevelSetObject
{
    LevelSet surface;

    const GridDescription3<double>& grid() const { return surface.getField().getGrid(); }
    double spacing() const { return grid().largestSeparation; }
};

using Made = std::unique_ptr<LevelSetObject>;

/// The plan around a box. Raises what says why there is none.
LevelSetPlan planFor(const Box3D& box, double spacing, double outermost, double farthest)
{
    if (!(box.min.x <= box.max.x)) throw py::value_error("there is nothing finite to make distances from");
    if (!(outermost >= 0) || !(farthest >= 0))
        throw py::value_error("margin, band: expected numbers of 0 and more");
    LevelSetExtent extent{positive(spacing, "spacing")};
    extent.outermost = outermost;
    extent.farthest = std::max(farthest, outermost);
    const LevelSetPlan plan = planLevelSet(box, extent);
    if (!plan.grid.isIndexable())
        throw py::value_error("spacing: the grid would have more than 2^32 - 1 nodes");
    confirmMemory(plan.bytes());
    return plan;
}

Made fromMesh(const MeshObject& mesh, double spacing, double margin, double band, bool isSigned,
              const Threads& threads, const py::object& progress)
{
    const Reading reading(mesh);
    const LevelSetPlan plan = planFor(boxOfFaces(mesh.mesh), spacing, margin, band);
    const auto type = isSigned ? TX_IMPLICIT_SURFACE_SIGNED : TX_IMPLICIT_SURFACE_UNSIGNED;
    const uint32 count = threadsOf(threads);
    auto made = std::make_unique<LevelSetObject>();
    longStage(progress, "distances",
              [&](CancelCallback callback)
              { sampleMesh(made->surface, mesh.mesh, plan, type, count, callback); });
    return made;
}

Made levelSetFromParticles(const py::object& positions, double radius, double spacing, double margin,
                           double band, const Threads& threads, const py::object& progress)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    positive(radius, "radius");
    Box3D box = Box3D::empty();
    for (const Vector3F& p : in.array())
        if (isFinite(p)) box.extend(Vector3D{p.x, p.y, p.z});
    if (box.min.x <= box.max.x)
    {
        const Vector3D reach{radius, radius, radius};
        box = {box.min - reach, box.max + reach};
    }
    const LevelSetPlan plan = planFor(box, spacing, margin, band);
    const uint32 count = threadsOf(threads);
    auto made = std::make_unique<LevelSetObject>();
    longStage(progress, "distances",
              [&](CancelCallback callback)
              { sampleParticles(made->surface, in.array(), radius, plan, count, callback); });
    return made;
}

/// Samples that are distances, or shall become such by redistance.
Made makeLevelSet(py::handle object, double spacing, py::handle origin, const std::optional<double>& band)
{
    const py::array samples = numbersIn(object, "samples");
    const auto grid = gridOf(samples, py::float_(spacing), origin);
    const auto block = contiguous<float>(samples);
    auto made = std::make_unique<LevelSetObject>();
    made->surface.reset(grid.sizeX, grid.sizeY, grid.sizeZ, spacing);
    made->surface.refField().adopt(grid, Array<float>(std::span<const float>(block.data(), grid.size)));
    float width = 0;
    for (py::ssize_t n = 0; n < block.size(); ++n)
        if (std::isfinite(block.data()[n])) width = std::max(width, std::fabs(block.data()[n]));
    made->surface.setBand(band ? static_cast<float>(positive(*band, "band")) : width);
    return made;
}

/// A changed copy: change(copy, CancelCallback) runs as a long call of one stage.
template <class Change>
Made changedCopy(const LevelSetObject& self, const py::object& progress, const Change& change)
{
    auto copy = std::make_unique<LevelSetObject>();
    longStage(progress, "distances",
              [&](CancelCallback callback)
              {
                  copy->surface = self.surface;
                  change(copy->surface, callback);
              });
    return copy;
}

/// Makes room on the grid, and distances far enough, for what reaches outwards and inwards; false when
/// stopped.
bool makeRoom(LevelSet& surface, const LevelSetExtent& extent, uint32 threads, CancelCallback callback)
{
    const double nodes = std::ceil(extent.outermost / extent.spacing);
    if (callback() != 0) return false;
    if (nodes > 0) surface = grownGrid(surface, static_cast<uint32>(nodes));
    if (callback() != 0) return false;
    widenBandTo(surface, bandFor(extent, surface.getField().getGrid().box), threads, callback);
    return callback() == 0;
}

void confirmGrowth(const LevelSetObject& self, double distance)
{
    const auto& grid = self.grid();
    const double more = 2 * std::ceil(std::max(distance, 0.0) / self.spacing());
    const double nodes = (grid.sizeX + more) * (grid.sizeY + more) * (grid.sizeZ + more);
    if (!(nodes <= 0xFFFFFFFF))
        throw py::value_error("distance: the grid would have more than 2^32 - 1 nodes");
    confirmMemory(nodes * 10);
}

Made grown(const LevelSetObject& self, double distance, const Threads& threads, const py::object& progress)
{
    if (!std::isfinite(distance)) throw py::value_error("distance: expected a finite number");
    confirmGrowth(self, distance);
    const uint32 count = threadsOf(threads);
    return changedCopy(
        self, progress,
        [&](LevelSet& surface, CancelCallback callback)
        {
            if (makeRoom(surface, LevelSetExtent::forOffset(self.spacing(), distance), count, callback))
                offsetOutwards(surface, distance);
        });
}

Made hollowed(const LevelSetObject& self, double thickness, const Threads& threads,
              const py::object& progress)
{
    positive(thickness, "thickness");
    const uint32 count = threadsOf(threads);
    return changedCopy(
        self, progress,
        [&](LevelSet& surface, CancelCallback callback)
        {
            if (makeRoom(surface, LevelSetExtent::forOffset(self.spacing(), 0, thickness), count, callback))
                hollowOut(surface, thickness);
        });
}

Made redistanced(const LevelSetObject& self, const std::optional<double>& band, const Threads& threads,
                 const py::object& progress)
{
    const double width = band ? positive(*band, "band") : std::fabs(double{self.surface.getDefaultValue()});
    const double separations = std::max(width / self.spacing(), 1.0);
    const uint32 count = threadsOf(threads);
    return changedCopy(self, progress,
                       [&](LevelSet& surface, CancelCallback callback)
                       { redistanceBand(surface, separations, count, callback); });
}

/// Combines a copy with another solid.
Made combined(const LevelSetObject& self, const LevelSetObject& other, SolidOperation operation,
              const Threads& threads, const py::object& progress)
{
    const GridFit grid = combinedGrid(self.surface, other.surface, operation);
    if (!grid.isIndexable()) throw py::value_error("other: the grid would have more than 2^32 - 1 nodes");
    confirmMemory(grid.nodeCount() * 10);
    const uint32 count = threadsOf(threads);
    return changedCopy(self, progress,
                       [&](LevelSet& surface, CancelCallback callback)
                       { combine(surface, other.surface, operation, count, callback); });
}

template <SolidOperation operation>
Made combinedBy(const LevelSetObject& self, const LevelSetObject& other, const Threads& threads,
                const py::object& progress)
{
    return combined(self, other, operation, threads, progress);
}

/// Velocities at the nodes of a level set as a field.
Vector3Field3<float, double> velocitiesOf(py::handle object, const GridDescription3<double>& grid)
{
    const py::array array = numbersIn(object, "velocities");
    confirmShape(array, {grid.sizeX, grid.sizeY, grid.sizeZ, 3}, "velocities", "the shape of samples, and 3");
    const auto block = contiguous<float>(array);
    Vector3Field3<float, double> field;
    field.reset(grid);
    std::memcpy(field.refArrVectors().data(), block.data(), sizeof(float) * 3 * grid.size);
    return field;
}

Made advected(const LevelSetObject& self, const py::object& velocities, double duration,
              const Threads& threads, const py::object& progress)
{
    if (!std::isfinite(duration)) throw py::value_error("duration: expected a finite number");
    confirmMemory(self.grid().size * 24.0);
    const auto field = velocitiesOf(velocities, self.grid());
    LevelSetAdvectionSettings settings;
    settings.threadCount = threadsOf(threads);
    return changedCopy(self, progress,
                       [&](LevelSet& surface, CancelCallback callback)
                       {
                           settings.callback = callback;
                           advect(surface, steadyVelocity(field), 0, duration, settings);
                       });
}

Made inverted(const LevelSetObject& self)
{
    return changedCopy(self, py::none(), [](LevelSet& surface, CancelCallback) { surface.invert(); });
}

py::object extractSolid(const LevelSetObject& self, bool normals, const Threads& threads,
                        const py::object& progress)
{
    const uint32 count = threadsOf(threads);
    Mesh mesh;
    longStage(progress, "surface",
              [&](CancelCallback callback)
              {
                  {
                      const std::lock_guard<std::mutex> lock(extractionMutex());
                      extractClosed(self.surface, mesh, count, callback);
                  }
                  if (normals)
                      mesh.recalculateVertexesNormals(count, callback);
                  else
                      dropNormals(mesh);
              });
    return objectOf(std::move(mesh));
}

Made readLevelSet(const py::object& target)
{
    const std::string path = pathIn(target);
    auto made = std::make_unique<LevelSetObject>();
    readFile(path, [&] { made->surface = formats::readField(path, {}); });
    return made;
}

void writeLevelSet(const LevelSetObject& self, const py::object& target, bool sparse)
{
    const std::string path = pathIn(target);
    const auto layout = sparse ? formats::FieldLayout::Sparse : formats::FieldLayout::Regular;
    writeFile(
        [&]
        {
            LevelSet copy = self.surface;
            formats::writeField(path, layout, copy);
        });
}

py::array levelSetSamples(const py::object& self)
{
    return samplesView(self.cast<LevelSetObject&>().surface.refField(), self, true);
}

py::object copyOfLevelSet(const py::object& self)
{
    return py::type::of(self)(levelSetSamples(self), self.attr("spacing"), self.attr("origin"),
                              self.attr("band"));
}

void bindMaking(py::class_<LevelSetObject>& type)
{
    type.def(py::init(&makeLevelSet), py::arg("samples"), py::arg("spacing") = 1.0,
             py::arg("origin") = py::make_tuple(0, 0, 0), py::arg("band") = py::none())
        .def_static("from_mesh", &fromMesh, py::arg("mesh"), py::arg("spacing"), py::kw_only(),
                    py::arg("margin") = 0.0, py::arg("band") = 0.0, py::arg("signed") = true,
                    py::arg("threads") = py::none(), py::arg("progress") = py::none(),
                    R"(The distances from a mesh, negative inside.

    spacing: of the nodes, which lie on its whole multiples. margin: how far the grid reaches beyond the mesh. band:
    how far distances are needed; three spacings at least. signed: False for sheets, which enclose nothing.

    >>> solid = tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1)
    >>> bool(solid.evaluate([[0, 0, 0.9]])[0] < 0)
    True
    )")
        .def_static("from_particles", &levelSetFromParticles, py::arg("positions"), py::arg("radius"),
                    py::arg("spacing"), py::kw_only(), py::arg("margin") = 0.0, py::arg("band") = 0.0,
                    py::arg("threads") = py::none(), py::arg("progress") = py::none(),
                    R"(The distances from the union of spheres of one radius around positions of shape (n, 3).

    >>> drop = tavrix.LevelSet.from_particles([[0, 0, 0]], 1, 0.1)
    >>> round(drop.extract().volume, 1)
    4.2
    )")
        .def_static("read", &readLevelSet, py::arg("path"), R"(Reads a field file, of either layout.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).write("ball.field")
    >>> tavrix.LevelSet.read("ball.field").spacing
    0.1
    )")
        .def("write", &writeLevelSet, py::arg("path"), py::kw_only(), py::arg("sparse") = false,
             R"(Writes a field file, whole or not at all, with distances cut to three spacings.

    sparse: only what lies within the band.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).write("ball.field", sparse=True)
    )");
}

void bindCombining(py::class_<LevelSetObject>& type)
{
    type.def(
            "union", &combinedBy<SolidOperation::Union>, py::arg("other"), py::kw_only(),
            py::arg("threads") = py::none(), py::arg("progress") = py::none(),
            R"(The solid and another one. The other may lie on any grid; the nodes are those of this one, continued.

    >>> ball, box = tavrix.Mesh.sphere(), tavrix.Mesh.box((0, 0, 0), (1, 1, 1))
    >>> a, b = (tavrix.LevelSet.from_mesh(mesh, 0.05) for mesh in (ball, box))
    >>> round(a.union(b).extract().volume - a.subtract(b).extract().volume, 1)
    1.0
    )")
        .def("intersect", &combinedBy<SolidOperation::Intersection>, py::arg("other"), py::kw_only(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(What the solid and another one share.

    >>> a = tavrix.LevelSet.from_mesh(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)), 0.05)
    >>> b = tavrix.LevelSet.from_mesh(tavrix.Mesh.box((0.5, 0, 0), (2, 1, 1)), 0.1)
    >>> round(a.intersect(b).extract().volume, 1)
    0.5
    )")
        .def("subtract", &combinedBy<SolidOperation::Difference>, py::arg("other"), py::kw_only(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The solid without another one.

    >>> ball = tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1)
    >>> ball.subtract(ball.offset(-0.4)).extract().cavity_count
    1
    )");
}

void bindChanging(py::class_<LevelSetObject>& type)
{
    type.def("offset", &grown, py::arg("distance"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(The solid grown by a distance, or shrunk where it is below 0; the grid grows with it.

    >>> ball = tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1)
    >>> ball.offset(0.5).extract().volume > 2 * ball.extract().volume
    True
    )")
        .def("shell", &hollowed, py::arg("thickness"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(The solid hollowed to a wall of a thickness, inside its surface.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).shell(0.3).extract().cavity_count
    1
    )")
        .def("redistance", &redistanced, py::kw_only(), py::arg("band") = py::none(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The level set with its samples made distances from its surface again, as far as the band.

    >>> x, y, z = numpy.ogrid[-2:2:41j, -2:2:41j, -2:2:41j]
    >>> ball = tavrix.LevelSet(x*x + y*y + z*z - 1, 0.1, (-2, -2, -2)).redistance(band=0.5)
    >>> round(float(ball.evaluate([[1.3, 0, 0]])[0]), 1)
    0.3
    )")
        .def(
            "advect", &advected, py::arg("velocities"), py::arg("duration"), py::kw_only(),
            py::arg("threads") = py::none(), py::arg("progress") = py::none(),
            R"(The solid carried along with a flow for a time, on its grid; backwards where the time is below 0.

    velocities: a vector a node, shape (nx, ny, nz, 3); they stay the same.

    >>> ball = tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1, margin=0.5)
    >>> moved = ball.advect(numpy.broadcast_to((1, 0, 0), (*ball.shape, 3)), 0.4)
    >>> round(float(moved.extract().vertices[:, 0].max()), 1)
    1.4
    )")
        .def("invert", &inverted, R"(The level set with inside and outside exchanged.

    >>> bool(tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).invert().evaluate([[0, 0, 0]])[0] > 0)
    True
    )");
}

}  // namespace

void bindLevelSet(py::module_& module)
{
    py::class_<LevelSetObject> type(
        module, "LevelSet",
        R"(Distances from a surface on a regular grid, negative inside: solids to be grown, shrunk, hollowed and combined.

    samples: shape (nx, ny, nz), kept as float32. spacing: of the nodes, above 0. origin: the first node. band: how
    far distances go; the largest sample when None. Operations return another level set.

    >>> x, y, z = numpy.ogrid[-2:2:41j, -2:2:41j, -2:2:41j]
    >>> ball = tavrix.LevelSet(numpy.sqrt(x*x + y*y + z*z) - 1, 0.1, (-2, -2, -2))
    >>> round(ball.extract().volume, 2)
    4.16
    )");
    bindMaking(type);
    bindChanging(type);
    bindCombining(type);
    type.def("extract", &extractSolid, py::kw_only(), py::arg("normals") = false,
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The surface as a closed mesh, faces outwards; closed at the grid's border as well.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).extract().is_closed
    True
    )")
        .def(
            "evaluate",
            [](const LevelSetObject& self, const py::object& points, double outside, const Threads& threads)
            { return valuesAt(self.surface.getField(), points, outside, threads); },
            py::arg("points"), py::kw_only(), py::arg("outside") = std::numeric_limits<double>::quiet_NaN(),
            py::arg("threads") = py::none(), R"(The distances at points of shape (n, 3): shape (n,), float32.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)), 0.25).evaluate([[0.5, 0.5, 0.75]]).tolist()
    [-0.25]
    )")
        .def(
            "gradient",
            [](const LevelSetObject& self, const py::object& points, const Threads& threads)
            { return gradientsAt(self.surface.getField(), points, threads); },
            py::arg("points"), py::kw_only(), py::arg("threads") = py::none(),
            R"(The gradients at points of shape (n, 3): shape (n, 3), float32, about unit vectors away from the surface.

    >>> tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.1).gradient([[0, 0, 1]]).shape
    (1, 3)
    )")
        .def_property_readonly("samples", &levelSetSamples,
                               "The samples: a writeable view of shape (nx, ny, nz), float32.")
        .def(
            "__array__",
            [](const py::object& self, const py::object& dtype)
            {
                const py::array samples = levelSetSamples(self);
                return dtype.is_none() ? py::object(samples)
                                       : samples.attr("astype")(dtype, py::arg("copy") = false);
            },
            py::arg("dtype") = py::none())
        .def_property_readonly(
            "shape",
            [](const LevelSetObject& self)
            { return py::make_tuple(self.grid().sizeX, self.grid().sizeY, self.grid().sizeZ); },
            "Nodes along each axis.")
        .def_property_readonly("spacing", &LevelSetObject::spacing, "Between neighbouring nodes.")
        .def_property_readonly(
            "origin", [](const LevelSetObject& self) { return tupleOf(self.grid().box.min); },
            "The first node.")
        .def_property_readonly(
            "band", [](const LevelSetObject& self) { return double{self.surface.getDefaultValue()}; },
            "How far distances go.")
        .def("copy", &copyOfLevelSet, R"(A level set with samples of its own.

    >>> tavrix.LevelSet(numpy.ones((2, 2, 2))).copy().shape
    (2, 2, 2)
    )")
        .def("__copy__", &copyOfLevelSet)
        .def("__deepcopy__", [](const py::object& self, const py::dict&) { return copyOfLevelSet(self); })
        .def("__repr__",
             [](const LevelSetObject& self)
             {
                 const auto& grid = self.grid();
                 return "<tavrix.LevelSet of " + std::to_string(grid.sizeX) + " x " +
                        std::to_string(grid.sizeY) + " x " + std::to_string(grid.sizeZ) + " samples>";
             })
        .def(py::pickle(
            [](const py::object& self)
            {
                return py::make_tuple(levelSetSamples(self), self.attr("spacing"), self.attr("origin"),
                                      self.attr("band"));
            },
            [](const py::tuple& state)
            {
                if (state.size() != 4) throw py::value_error("the pickled state is not a level set's");
                return makeLevelSet(state[0], state[1].cast<double>(), state[2], state[3].cast<double>());
            }));
}

}  // namespace tavrix::python
