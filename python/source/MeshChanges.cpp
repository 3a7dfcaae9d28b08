#include <cmath>

#include <pybind11/stl.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshSplitting.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/mesh/SheetSeparation.h>
#include <tavrix/meshproc/HoleFilling.h>
#include <tavrix/meshproc/MeshClipping.h>
#include <tavrix/meshproc/MeshDecimation.h>
#include <tavrix/meshproc/MeshFairing.h>
#include <tavrix/meshproc/VertexWelding.h>
#include <tavrix/reconstruction/SolidSurface.h>

#include "MeshObject.h"

// The operations that make a mesh of a mesh.

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;

/// Whether normals are to be made anew once positions or faces have changed, and with which threads.
void renewNormals(Mesh& mesh, bool had, uint32 threads, CancelCallback callback)
{
    if (had) mesh.createNormals(piValue, threads, callback);
}

py::object withNormals(const MeshObject& self, std::optional<double> crease, const Threads& threads,
                       const py::object& progress)
{
    if (crease && !(*crease >= 0 && *crease <= 180))
        throw py::value_error("crease: expected 0 to 180 degrees");
    const double angle = crease ? *crease * piValue / 180 : piValue;
    const uint32 count = threadsOf(threads);
    return changedCopy(self, progress, "normals",
                       [&](Mesh& mesh, CancelCallback callback)
                       { mesh.createNormals(angle, count, callback); });
}

py::object smoothed(const MeshObject& self, uint32 passes, std::optional<uint32> passesAtBends,
                    std::optional<double> farthest, const Threads& threads, const py::object& progress)
{
    FairingSettings settings;
    settings.passes = passes;
    settings.passesAtBends = passesAtBends;
    if (farthest) settings.farthest = positive(*farthest, "farthest");
    settings.threadCount = threadsOf(threads);
    return changedCopy(self, progress, "smooth",
                       [&](Mesh& mesh, CancelCallback callback)
                       {
                           const bool had = !mesh.nor().empty();
                           if (!fairPositions(mesh.refPos(), mesh.trindexPos(), settings, callback)) return;
                           mesh.invalidateBox();
                           renewNormals(mesh, had, settings.threadCount, callback);
                       });
}

py::object welded(const MeshObject& self, const std::vector<double>& tolerances, bool dropThin,
                  const Threads& threads, const py::object& progress)
{
    if (tolerances.empty() || tolerances.size() > 8)
        throw py::value_error("tolerance: expected one to eight");
    for (const double tolerance : tolerances)
        if (!(tolerance >= 0) || !std::isfinite(tolerance))
            throw py::value_error("tolerance: expected finite numbers of 0 and more");
    const bool joinsEqualOnly = tolerances.back() == 0 && tolerances.front() == 0;
    const uint32 count = threadsOf(threads);
    const Reading reading(self);
    Mesh mesh;
    longStage(progress, "weld",
              [&](CancelCallback callback)
              {
                  mesh.setName(self.mesh.getName());
                  mesh.refPos() = self.mesh.pos();
                  mesh.refTrindexPos() = self.mesh.trindexPos();
                  if (!weldVertices(mesh.refPos(), mesh.refTrindexPos(), tolerances, dropThin, callback))
                      return;
                  separateSheets(mesh, joinsEqualOnly ? BackToBack::Keep : BackToBack::Drop, callback);
                  dropUnusedPositions(mesh);
                  renewNormals(mesh, !self.mesh.nor().empty(), count, callback);
              });
    return objectOf(std::move(mesh));
}

py::object decimated(const MeshObject& self, std::optional<uint32> faces, std::optional<double> ratio,
                     std::optional<double> error, const Threads& threads, const py::object& progress)
{
    if (!faces && !ratio && !error) throw py::value_error("decimate: give faces, ratio or error");
    if (ratio && !(*ratio >= 0 && *ratio <= 1)) throw py::value_error("ratio: expected 0 to 1");
    if (error && !(*error >= 0)) throw py::value_error("error: expected a number of 0 and more");
    const DecimationSettings settings{faces, ratio, error, threadsOf(threads)};
    return changedCopy(self, progress, "decimate",
                       [&](Mesh& mesh, CancelCallback callback) { decimateMesh(mesh, settings, callback); });
}

py::object clipped(const MeshObject& self, py::handle low, py::handle high, bool closed,
                   const py::object& progress)
{
    const Box3D box = boxOf(low, high);
    return changedCopy(self, progress, "clip",
                       [&](Mesh& mesh, CancelCallback callback)
                       { clipMesh(mesh, box, closed ? ClipCut::Closed : ClipCut::Open, callback); });
}

py::object repaired(const MeshObject& self, const py::object& progress)
{
    return changedCopy(self, progress, "repair",
                       [&](Mesh& mesh, CancelCallback callback)
                       {
                           const bool had = !mesh.nor().empty();
                           dropNormals(mesh);
                           dropInfiniteFaces(mesh);
                           joinEqualPositions(mesh, callback);
                           orientMixedParts(mesh, callback);
                           dropUnusedPositions(mesh);
                           renewNormals(mesh, had, 1, callback);
                       });
}

py::object flipped(const MeshObject& self)
{
    return changedCopy(self, py::none(), "flip",
                       [&](Mesh& mesh, CancelCallback)
                       {
                           turnFaces(mesh);
                           for (Vector3F& normal : mesh.refNor()) normal = -normal;
                       });
}

py::object withoutCavities(const MeshObject& self, const py::object& progress)
{
    return changedCopy(self, progress, "cavities",
                       [&](Mesh& mesh, CancelCallback callback) { fillCavities(mesh, callback); });
}

py::object withFilledHoles(const MeshObject& self, uint32 mostEdges, const py::object& progress)
{
    if (mostEdges > 5000) throw py::value_error("most_edges: expected 0 to 5000");
    return changedCopy(self, progress, "holes",
                       [&](Mesh& mesh, CancelCallback callback) { fillHoles(mesh, mostEdges, callback); });
}

py::object withSeparateSheets(const MeshObject& self, const py::object& progress)
{
    return changedCopy(self, progress, "sheets",
                       [&](Mesh& mesh, CancelCallback callback)
                       { separateSheets(mesh, BackToBack::Drop, callback); });
}

/// Raises what says why there is no reshaped solid.
void confirmDone(const SolidReport& report)
{
    switch (report.status)
    {
        case SolidStatus::Done:
        case SolidStatus::Stopped:
            return;
        case SolidStatus::NoFaces:
            throw py::value_error("the mesh has no faces of finite corners");
        case SolidStatus::TooWide:
            throw py::value_error("the solid spans too many steps of the lattice; give a larger spacing");
        case SolidStatus::TooLarge:
            PyErr_Format(PyExc_MemoryError,
                         "the work would take some %lld MB; give a larger spacing or more memory",
                         static_cast<long long>(report.bytes / 1e6));
            throw py::error_already_set();
        case SolidStatus::NoSurface:
            throw py::value_error(report.depth > 0
                                      ? "nothing is left of the solid, which is " +
                                            std::to_string(report.depth) + " deep at its deepest place"
                                      : std::string("the solid is empty at this spacing"));
    }
}

py::list splitIntoParts(const MeshObject& self, uint32 leastFaces, const py::object& progress)
{
    const Reading reading(self);
    ArrayOfPtr<Mesh> parts;
    longStage(progress, "parts",
              [&](CancelCallback callback) { parts = splitParts(self.mesh, leastFaces, callback); });
    py::list meshes;
    for (Mesh* part : parts) meshes.append(objectOf(std::move(*part)));
    return meshes;
}

py::object reshaped(const MeshObject& self, double distance, std::optional<double> spacing,
                    std::optional<double> shell, bool sheet, bool fill, bool normals, const Threads& threads,
                    std::optional<uint64> memory, const py::object& progress)
{
    constexpr double partsOfLongestSide = 128;
    const Reading reading(self);
    if (!std::isfinite(distance)) throw py::value_error("distance: expected a finite number");
    if (sheet && !(distance > 0)) throw py::value_error("distance: a sheet needs one above 0");
    if (shell) positive(*shell, "shell");
    const Box3D box = boxOfFaces(self.mesh);
    const Vector3D size = box.max - box.min;
    const double side = std::max({size.x, size.y, size.z});
    if (!spacing && !(side > 0)) throw py::value_error("the mesh has no extent; give a spacing");
    SolidSettings settings{positive(spacing.value_or(side / partsOfLongestSide), "spacing")};
    settings.offset = distance;
    settings.shell = shell;
    settings.isSheet = sheet;
    settings.fillCavities = fill;
    settings.threadCount = threadsOf(threads);
    settings.memory = memory;
    Mesh mesh;
    SolidReport report;
    longCall(progress,
             [&](const ProgressCallback& callback)
             {
                 report = reshapeSolid(self.mesh, mesh, settings, callback);
                 if (normals && report.status == SolidStatus::Done)
                     mesh.createNormals(piValue, settings.threadCount);
             });
    confirmDone(report);
    mesh.setName("surface");
    return objectOf(std::move(mesh));
}

}  // namespace

void bindMeshChanges(py::class_<MeshObject>& type)
{
    type.def("with_normals", &withNormals, py::kw_only(), py::arg("crease") = py::none(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The mesh with normals, weighted by the faces' angles.

    crease: in degrees; edges whose faces' normals differ by more stay sharp, and vertices on them get several
    normals. None is smooth everywhere, with one normal for each vertex.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).with_normals(crease=30).normals.shape
    (24, 3)
    )")
        .def("smooth", &smoothed, py::arg("passes") = 10, py::kw_only(),
             py::arg("passes_at_bends") = py::none(), py::arg("farthest") = py::none(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The mesh with its closed parts smoothed, each of which keeps its volume.

    passes: how much; bumps narrower than some edge * sqrt(passes) go. passes_at_bends: at most so many at rims
    and edges. farthest: no vertex moves further away. Normals are made anew if there were some.

    >>> ball = tavrix.Mesh.sphere()
    >>> abs(ball.smooth(20).volume / ball.volume - 1) < 1e-3
    True
    )")
        .def(
            "parts", &splitIntoParts, py::arg("least_faces") = 1, py::kw_only(),
            py::arg("progress") = py::none(),
            R"(The parts that share no vertex, each as a mesh with its normals and attributes: a list, by their first faces.

    least_faces: parts of fewer are left out.

    >>> corners = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [5, 0, 0], [6, 0, 0], [5, 1, 0]]
    >>> [part.faces.tolist() for part in tavrix.Mesh(corners, [[0, 1, 2], [3, 4, 5]]).parts()]
    [[[0, 1, 2]], [[0, 1, 2]]]
    )")
        .def(
            "weld",
            [](const MeshObject& self, const py::object& tolerance, bool dropThin, const Threads& threads,
               const py::object& progress)
            {
                const bool isList = py::isinstance<py::sequence>(tolerance);
                const auto tolerances = isList ? tolerance.cast<std::vector<double>>()
                                               : std::vector<double>{tolerance.cast<double>()};
                return welded(self, tolerances, dropThin, threads, progress);
            },
            py::arg("tolerance") = 0.0, py::kw_only(), py::arg("drop_thin") = false,
            py::arg("threads") = py::none(), py::arg("progress") = py::none(),
            R"(The mesh with near vertices joined, those that differ by less than the tolerance along every axis.

    tolerance: 0 joins equal vertices, such as the corners of STL triangles; a list of up to eight joins step by
    step. drop_thin: without the faces no higher than the last tolerance. Attributes are lost, and normals are
    made anew if there were some. Sheets that come to touch share no vertex.

    >>> soup = tavrix.Mesh([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 1, 0], [1, 0, 0], [1, 1, 0]], [[0, 1, 2], [3, 4, 5]])
    >>> len(soup.weld().vertices)
    4
    )")
        .def("decimate", &decimated, py::kw_only(), py::arg("faces") = py::none(),
             py::arg("ratio") = py::none(), py::arg("error") = py::none(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(The mesh with fewer faces, which lie as near to it as they can (quadric errors).

    faces: at most so many are left. ratio: at most this part of them, 0 to 1. error: no point of either surface
    is further from the other. Until every goal is reached, or the error forbids more. Borders and seams keep
    their course; normals and attributes follow.

    >>> len(tavrix.Mesh.sphere().decimate(faces=100).faces)
    100
    )")
        .def("clip", &clipped, py::arg("low"), py::arg("high"), py::kw_only(), py::arg("closed") = false,
             py::arg("progress") = py::none(), R"(What of the mesh lies in the box between two corners.

    closed: caps close the cuts, so that a solid stays one; else the mesh has borders there.

    >>> half = tavrix.Mesh.sphere().clip((-2, -2, 0), (2, 2, 2), closed=True)
    >>> half.is_closed
    True
    )")
        .def(
            "repair", &repaired, py::kw_only(), py::arg("progress") = py::none(),
            R"(The mesh with equal vertices joined, faces oriented alike in each part, and what is not finite or unused dropped.

    >>> tavrix.Mesh([[0, 0, 0], [1, 0, 0], [0, 1, 0], [9, 9, 9]], [[0, 1, 2]]).repair().vertices.shape
    (3, 3)
    )")
        .def("flip", &flipped, R"(The mesh with its faces, and normals, turned around.

    >>> tavrix.Mesh.sphere().flip().volume < 0
    True
    )")
        .def("fill_cavities", &withoutCavities, py::kw_only(), py::arg("progress") = py::none(),
             R"(The mesh without its sealed inner surfaces, and without what floats within them.

    >>> tavrix.Mesh.sphere().fill_cavities().part_count
    1
    )")
        .def("fill_holes", &withFilledHoles, py::arg("most_edges") = 300, py::kw_only(),
             py::arg("progress") = py::none(),
             R"(The mesh with its holes closed, each by the faces over its vertices that bend least.

    most_edges: holes with more edges around them stay. Normals and attributes follow.

    >>> ball = tavrix.Mesh.sphere()
    >>> tavrix.Mesh(ball.vertices, ball.faces[5:]).fill_holes().is_closed
    True
    )")
        .def("separate_sheets", &withSeparateSheets, py::kw_only(), py::arg("progress") = py::none(),
             R"(The mesh cut apart where sheets share edges or vertices, so that it is 2-manifold.

    >>> tavrix.Mesh.sphere().separate_sheets().topology.is_manifold
    True
    )")
        .def("offset", &reshaped, py::arg("distance") = 0.0, py::arg("spacing") = py::none(), py::kw_only(),
             py::arg("shell") = py::none(), py::arg("sheet") = false, py::arg("fill_cavities") = false,
             py::arg("normals") = true, py::arg("threads") = py::none(), py::arg("memory") = py::none(),
             py::arg("progress") = py::none(),
             R"(The solid grown by a distance, shrunk where it is below 0, and meshed anew.

    distance: 0 remeshes. spacing: of the lattice; a 128th of the longest side when None. shell: then hollowed to
    a wall of this thickness. sheet: the mesh encloses nothing, and becomes a wall around it. memory: bytes that
    the work may take. Exact distances, by blocks near the surface alone. Raises ValueError when nothing is left.

    >>> grown = tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).offset(0.1, spacing=0.05)
    >>> grown.is_closed, round(grown.volume, 1)
    (True, 1.7)
    )");
}

}  // namespace tavrix::python
