#include <limits>

#include <pybind11/stl.h>

#include <tavrix/spatial/AdaptiveDistance.h>
#include <tavrix/spatial/MeshCollider.h>
#include <tavrix/spatial/MeshThickness.h>

#include "MeshObject.h"

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A collider as Python has it; it never changes.
struct ColliderObject
{
    MeshCollider collider;
};

/// Points on a mesh, one a question, in one block of memory that numpy's views share.
struct Hits
{
    py::array block;  ///< of bytes

    py::ssize_t size() const { return block.shape(0) / static_cast<py::ssize_t>(sizeof(MeshPoint)); }
    const std::byte* data() const { return static_cast<const std::byte*>(block.data()); }

    /// One member of all points.
    template <class Scalar>
    py::array member(std::size_t offset, py::ssize_t components) const
    {
        std::vector<py::ssize_t> shape{size()}, strides{sizeof(MeshPoint)};
        if (components > 1)
        {
            shape.push_back(components);
            strides.push_back(sizeof(Scalar));
        }
        if (size() == 0) return py::array(py::dtype::of<Scalar>(), shape);
        return py::array(py::dtype::of<Scalar>(), shape, strides, data() + offset, block);
    }
};

Hits hitsOf(Array<MeshPoint>&& points)
{
    for (MeshPoint& point : points)
        if (point.face == noIndex) point = {noIndex, infinity, {}, {}};
    auto* kept = new Array<MeshPoint>(std::move(points));
    const py::capsule owner(kept, [](void* array) { delete static_cast<Array<MeshPoint>*>(array); });
    const std::size_t bytes = kept->size() * sizeof(MeshPoint);
    return {viewOf(reinterpret_cast<const uint8*>(kept->data()), bytes, owner, true)};
}

std::unique_ptr<ColliderObject> makeCollider(const MeshObject& mesh, const Threads& threads,
                                             const py::object& progress)
{
    const uint32 count = threadsOf(threads);
    auto made = std::make_unique<ColliderObject>();
    const Reading reading(mesh);
    longStage(progress, "tree",
              [&](CancelCallback callback) { made->collider.create(mesh.mesh, count, callback); });
    return made;
}

/// Not below 0, and a number.
double limitIn(double limit)
{
    if (!(limit >= 0)) throw py::value_error("limit: expected a number of 0 and more");
    return limit;
}

Array<Ray3D> raysOf(py::handle originsIn, py::handle directionsIn)
{
    const ArrayIn<Vector3D> origins(originsIn, "origins"), directions(directionsIn, "directions");
    const uint32 count = std::max(origins.size(), directions.size());
    const bool fits = (origins.size() == count || origins.size() == 1) &&
                      (directions.size() == count || directions.size() == 1);
    if (!fits)
        throw py::value_error("directions: expected as many as origins, or one, got " +
                              std::to_string(directions.size()) + " for " + std::to_string(origins.size()));
    Array<Ray3D> rays(count);
    for (uint32 n = 0; n < count; ++n)
        rays[n] = {origins.array()[origins.size() == 1 ? 0 : n],
                   directions.array()[directions.size() == 1 ? 0 : n]};
    return rays;
}

Hits castRays(const ColliderObject& self, py::handle origins, py::handle directions, double limit,
              const Threads& threads, const py::object& progress)
{
    limitIn(limit);
    const Array<Ray3D> rays = raysOf(origins, directions);
    const uint32 count = threadsOf(threads);
    Array<MeshPoint> hits;
    longStage(progress, "rays",
              [&](CancelCallback callback) {
                  self.collider.castRays({rays.data(), rays.size()}, hits, limit, count, callback);
              });
    return hitsOf(std::move(hits));
}

Hits nearest(const ColliderObject& self, py::handle points, double limit, const Threads& threads,
             const py::object& progress)
{
    limitIn(limit);
    const ArrayIn<Vector3D> in(points, "points");
    const uint32 count = threadsOf(threads);
    Array<MeshPoint> hits;
    longStage(progress, "nearest",
              [&](CancelCallback callback)
              { self.collider.nearestPoints(in.span(), hits, limit, count, callback); });
    return hitsOf(std::move(hits));
}

py::array contains(const ColliderObject& self, py::handle points, const Threads& threads,
                   const py::object& progress)
{
    const ArrayIn<Vector3D> in(points, "points");
    const uint32 count = threadsOf(threads);
    Array<uint8> inside;
    longStage(progress, "inside",
              [&](CancelCallback callback) { self.collider.areInside(in.span(), inside, count, callback); });
    return givenAway(std::move(inside)).attr("view")(py::dtype::of<bool>());
}

py::array windings(const ColliderObject& self, py::handle points, const Threads& threads,
                   const py::object& progress)
{
    const ArrayIn<Vector3D> in(points, "points");
    const uint32 count = threadsOf(threads);
    Array<double> numbers;
    longStage(progress, "windings",
              [&](CancelCallback callback)
              { self.collider.windingNumbers(in.span(), numbers, count, callback); });
    return givenAway(std::move(numbers));
}

py::array signedDistancesOf(const ColliderObject& self, py::handle points, std::optional<double> tolerance,
                            const Threads& threads, const py::object& progress)
{
    const ArrayIn<Vector3D> in(points, "points");
    const uint32 count = threadsOf(threads);
    const double bound = tolerance ? positive(*tolerance, "tolerance") : 0;
    Array<double> distances;
    longStage(progress, "distances",
              [&](CancelCallback callback)
              {
                  if (tolerance)
                      signedDistances(self.collider, in.span(), bound, distances, count, callback);
                  else
                      self.collider.signedDistances(in.span(), distances, count, callback);
              });
    return givenAway(std::move(distances));
}

py::array thicknesses(const ColliderObject& self, const Threads& threads, const py::object& progress)
{
    const uint32 count = threadsOf(threads);
    Array<double> found;
    longStage(progress, "thickness",
              [&](CancelCallback callback) { measureThickness(self.collider, found, count, callback); });
    return givenAway(std::move(found));
}

void bindHits(py::module_& module)
{
    py::class_<Hits>(module, "Hits",
                     R"(Points on a mesh, one for each question: writeable views of one block of memory.

    face: shape (n,), int32, -1 where there is none; distance: shape (n,), float64, infinite there; position and
    barycentric: shape (n, 3), float64, zero there.

    >>> hits = tavrix.Collider(tavrix.Mesh.box((0, 0, 0), (1, 1, 1))).nearest([[0.5, 0.5, 3]])
    >>> hits.position.tolist(), hits.distance.tolist()
    ([[0.5, 0.5, 1.0]], [2.0])
    )")
        .def_property_readonly(
            "face", [](const Hits& self) { return self.member<int32>(offsetof(MeshPoint, face), 1); },
            "The faces, shape (n,), int32; -1 where nothing is found.")
        .def_property_readonly(
            "distance",
            [](const Hits& self) { return self.member<double>(offsetof(MeshPoint, distance), 1); },
            "How far away, shape (n,), float64; of rays in lengths of their directions.")
        .def_property_readonly(
            "position",
            [](const Hits& self) { return self.member<double>(offsetof(MeshPoint, position), 3); },
            "The points, shape (n, 3), float64.")
        .def_property_readonly(
            "barycentric",
            [](const Hits& self) { return self.member<double>(offsetof(MeshPoint, barycentric), 3); },
            "The weights of the faces' corners, shape (n, 3), float64.")
        .def("__len__", &Hits::size);
}

}  // namespace

void bindCollider(py::module_& module)
{
    bindHits(module);
    py::class_<ColliderObject>(
        module, "Collider",
        R"(A copy of a mesh that answers where rays hit it, what of it is near, and what is inside.

    Built in about a second for a million faces; questions are answered by all threads.

    >>> tavrix.Collider(tavrix.Mesh.sphere()).contains([[0, 0, 0], [2, 0, 0]]).tolist()
    [True, False]
    )")
        .def(py::init(&makeCollider), py::arg("mesh"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none())
        .def(
            "cast_rays", &castRays, py::arg("origins"), py::arg("directions"), py::kw_only(),
            py::arg("limit") = infinity, py::arg("threads") = py::none(), py::arg("progress") = py::none(),
            R"(The first points that rays hit, from either side, at most limit (in lengths of directions) away.

    origins, directions: shape (n, 3), or (1, 3) for all.

    >>> ball = tavrix.Collider(tavrix.Mesh.box((-1, -1, -1), (1, 1, 1)))
    >>> ball.cast_rays([[0, 0, 9]], [[0, 0, -1]]).distance.tolist()
    [8.0]
    )")
        .def("nearest", &nearest, py::arg("points"), py::kw_only(), py::arg("limit") = infinity,
             py::arg("threads") = py::none(), py::arg("progress") = py::none(),
             R"(The points of the surface nearest to points of shape (n, 3), at most limit away.

    >>> box = tavrix.Collider(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)))
    >>> box.nearest([[0.5, 0.5, 3]]).position.tolist()
    [[0.5, 0.5, 1.0]]
    )")
        .def("contains", &contains, py::arg("points"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(Whether points of shape (n, 3) are inside, what the faces wind around: shape (n,), bool.

    >>> tavrix.Collider(tavrix.Mesh.sphere()).contains([[0, 0, 0.5]]).tolist()
    [True]
    )")
        .def("winding_numbers", &windings, py::arg("points"), py::kw_only(), py::arg("threads") = py::none(),
             py::arg("progress") = py::none(),
             R"(How often the faces wind around points of shape (n, 3): shape (n,), float64.

    >>> tavrix.Collider(tavrix.Mesh.sphere()).winding_numbers([[0, 0, 0.5]]).tolist()
    [1.0]
    )")
        .def(
            "signed_distance", &signedDistancesOf, py::arg("points"), py::kw_only(),
            py::arg("tolerance") = py::none(), py::arg("threads") = py::none(),
            py::arg("progress") = py::none(),
            R"(The distances of points of shape (n, 3) from the surface, negative inside: shape (n,), float64.

    tolerance: what they may be wrong by; of a closed mesh, many points are then answered in a fraction of the time.

    >>> box = tavrix.Collider(tavrix.Mesh.box((-1, -1, -1), (1, 1, 1)))
    >>> box.signed_distance([[0, 0, 3], [0, 0, 0.5]]).tolist()
    [2.0, -0.5]
    )")
        .def(
            "thickness", &thicknesses, py::kw_only(), py::arg("threads") = py::none(),
            py::arg("progress") = py::none(),
            R"(How thick the solid is under each face, straight through to the other side: shape (n,), float64.

    Infinite where there is no other side.

    >>> tavrix.Collider(tavrix.Mesh.box((0, 0, 0), (4, 4, 0.5))).thickness().min().round(6)
    0.5
    )")
        .def(
            "overlapping",
            [](const ColliderObject& self, py::handle low, py::handle high)
            {
                Array<uint32> faces;
                self.collider.findOverlapping(boxOf(low, high), faces);
                return givenAway(std::move(faces));
            },
            py::arg("low"), py::arg("high"),
            R"(The numbers of the faces that have a point in common with the box between two corners, ascending: uint32.

    >>> len(tavrix.Collider(tavrix.Mesh.box((0, 0, 0), (1, 1, 1))).overlapping((0, 0, 1), (1, 1, 2)))
    10
    )")
        .def("__repr__",
             [](const ColliderObject& self) {
                 return "<tavrix.Collider of " + std::to_string(self.collider.getMesh().getFacesSize()) +
                        " faces>";
             });
}

}  // namespace tavrix::python
