#include <cmath>
#include <span>
#include <stdexcept>
#include <string>

#include <pybind11/stl.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/meshproc/MeshDisplacement.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/spatial/MeshRemeshing.h>

#include "MeshObject.h"

// The operations that give a mesh other faces on the same or on a smoother surface.

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;

constexpr double bytesPerFace = 150;

void confirmFit(double faces, const char* cure)
{
    const double available = Hardware::getMemoryInfo().available * 1024 * 1024;
    if (!(available > 0) || faces * bytesPerFace < available) return;
    PyErr_Format(PyExc_MemoryError, "some %lld million faces would not fit; %s",
                 static_cast<long long>(faces / 1e6), cure);
    throw py::error_already_set();
}

void confirmSize(const TessellationReport& report)
{
    if (report.status == TessellationStatus::TooLarge)
        throw std::length_error("the mesh would have more than 2^30 faces");
}

py::object subdivided(const MeshObject& self, uint32 levels, std::optional<double> sharp, bool limit,
                      const Threads& threads, const py::object& progress)
{
    if (levels > 14) throw py::value_error("levels: expected 0 to 14");
    if (sharp && !(*sharp >= 0 && *sharp <= 180)) throw py::value_error("sharp: expected 0 to 180 degrees");
    SubdivisionSettings settings;
    settings.levels = levels;
    if (sharp) settings.creaseAngle = *sharp * piValue / 180;
    settings.toLimit = limit;
    const uint32 count = threadsOf(threads);
    confirmFit(std::ldexp(self.mesh.getFacesSize(), 2 * static_cast<int>(levels)), "give fewer levels");
    return changedCopy(self, progress, "subdivide",
                       [&](Mesh& mesh, CancelCallback callback)
                       { confirmSize(MeshTessellator(count, callback).subdivide(mesh, settings)); });
}

py::object withSplitEdges(const MeshObject& self, double longest, const Threads& threads,
                          const py::object& progress)
{
    positive(longest, "longest");
    const uint32 count = threadsOf(threads);
    confirmFit(3 * MeshTessellator::leastFaces(self.mesh, longest), "give a longer edge");
    return changedCopy(self, progress, "split",
                       [&](Mesh& mesh, CancelCallback callback)
                       { confirmSize(MeshTessellator(count, callback).splitEdges(mesh, longest)); });
}

py::object displaced(const MeshObject& self, const py::object& heights, const Threads& threads,
                     const py::object& progress)
{
    const uint32 count = threadsOf(threads);
    const bool isOne = py::isinstance<py::float_>(heights) || py::isinstance<py::int_>(heights);
    const Array<double> same(isOne ? self.mesh.getPosSize() : 0, isOne ? heights.cast<double>() : 0);
    std::optional<ArrayIn<double>> each;
    if (!isOne) each.emplace(heights, "heights");
    const std::span<const double> values = isOne ? std::span(same.data(), same.size()) : each->span();
    if (values.size() != self.mesh.getPosSize())
        throw py::value_error("heights: expected one for each of the " +
                              std::to_string(self.mesh.getPosSize()) + " vertices");
    return changedCopy(self, progress, "displace",
                       [&](Mesh& mesh, CancelCallback callback)
                       { MeshDisplacement(count, callback).byHeights(mesh, values); });
}

py::object remeshed(const MeshObject& self, double edge, double sharp, uint32 rounds, const Threads& threads,
                    const py::object& progress)
{
    RemeshingSettings settings{positive(edge, "edge")};
    if (!(sharp >= 0 && sharp <= 180)) throw py::value_error("sharp: expected 0 to 180 degrees");
    settings.sharpAngle = sharp * piValue / 180;
    settings.rounds = rounds;
    settings.threadCount = threadsOf(threads);
    confirmFit(3 * MeshTessellator::leastFaces(self.mesh, edge * 4 / 3), "give a longer edge");
    return changedCopy(self, progress, "remesh",
                       [&](Mesh& mesh, CancelCallback callback)
                       {
                           const RemeshingReport report = remeshIsotropically(mesh, settings, callback);
                           if (report.status == RemeshingStatus::TooLarge)
                               throw std::length_error("the mesh would have too many faces");
                       });
}

}  // namespace

void bindMeshRefinement(py::class_<MeshObject>& type)
{
    type.def("subdivide", &subdivided, py::arg("levels") = 1, py::kw_only(), py::arg("sharp") = py::none(),
             py::arg("limit") = true, py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The mesh with four faces for each, level by level, towards a smooth surface (Loop's scheme).

    sharp: in degrees; edges where faces meet at more than that stay, as smooth curves, and corners where such an
    edge or a border turns by more. None smooths all but borders. limit: the vertices lie on the smooth surface,
    else on the last level's net. Normals become those of the surface, if there were some; attributes are
    carried along, and seams stay closed.

    >>> len(tavrix.Mesh.sphere().subdivide(2).faces) == 16 * len(tavrix.Mesh.sphere().faces)
    True
    >>> round(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).subdivide(3, sharp=30).volume, 9)
    1.0
    )")
        .def("split_edges", &withSplitEdges, py::arg("longest"), py::kw_only(),
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The mesh with its edges cut in half until none is longer; the surface stays what it was.

    Normals and attributes are carried along. No vertex lies on another face's edge.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).split_edges(0.5).is_closed
    True
    )")
        .def("displace", &displaced, py::arg("heights"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(The mesh with its vertices moved along their normals, outwards for heights above 0.

    heights: one for each vertex, such as samples of a field or a picture, or one for all. Vertices at one place
    along a seam move together. Normals are made anew, if there were some.

    >>> ball = tavrix.Mesh.sphere(500).split_edges(0.05)
    >>> bool(ball.displace(0.1 * ball.vertices[:, 2]).volume > ball.volume)
    True
    )")
        .def("remesh", &remeshed, py::arg("edge"), py::kw_only(), py::arg("sharp") = 40.0,
             py::arg("rounds") = 8, py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The mesh with even faces on the same surface, whose edges have about one length.

    sharp: in degrees; edges where faces meet at more than that stay, and vertices where such an edge or a border
    turns by more. rounds: how often to go over it. Attributes are lost, and normals made anew if there were some.

    >>> round(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).remesh(0.2).volume, 9)
    1.0
    )");
}

}  // namespace tavrix::python
