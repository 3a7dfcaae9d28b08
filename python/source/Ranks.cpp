#include "Ranks.h"

#include <numeric>

#include "MeshObject.h"

namespace tavrix::python
{

namespace
{

/// numpy's array over memory that outlives the call.
template <class T>
py::array over(T* data, std::size_t size)
{
    using Scalar = std::remove_const_t<T>;
    return py::array(py::dtype::of<Scalar>(), {size}, {sizeof(Scalar)}, data, py::none());
}

std::size_t total(const uint32* counts, uint32 ranks)
{
    return std::accumulate(counts, counts + ranks, std::size_t{0});
}

/// The part as Python has it: its mesh is an object like others.
struct PartObject
{
    RankMesh part;  ///< without the mesh
    py::object mesh, ranks;
};

/// The places of runs' elements in the part, or their numbers in the whole mesh.
py::array spread(const std::vector<MeshRun>& runs, uint32 MeshRun::*first)
{
    uint32 count = 0;
    for (const MeshRun& run : runs) count += run.count;
    Array<uint32> all(count);
    uint32* next = all.data();
    for (const MeshRun& run : runs)
    {
        std::iota(next, next + run.count, run.*first);
        next += run.count;
    }
    return givenAway(std::move(all));
}

py::object gather(const PartObject& self)
{
    PythonRanks ranks(self.ranks);
    RankMesh part;
    ranks.together(
        [&]
        {
            const auto& object = py::cast<const MeshObject&>(self.mesh);
            const Reading reading(object);
            part.mesh.copyAllFrom(object.mesh, true);
            part.numbers = self.part.numbers;
            part.vertexRuns = self.part.vertexRuns;
            part.faceRuns = self.part.faceRuns;
            part.vertexCount = self.part.vertexCount;
            part.faceCount = self.part.faceCount;
        });
    Mesh whole;
    {
        const py::gil_scoped_release release;
        whole = gatherMesh(ranks, std::move(part));
    }
    if (ranks.rank() > 0) return py::none();
    return objectOf(std::move(whole));
}

}  // namespace

PythonRanks::PythonRanks(const py::object& ranks)
    : _ranks(ranks),
      _rank(py::cast<uint32>(ranks.attr("rank"))),
      _size(py::cast<uint32>(ranks.attr("size"))),
      _here(py::cast<uint32>(ranks.attr("here")))
{
}

void PythonRanks::sum(std::span<int64> numbers)
{
    const py::gil_scoped_acquire acquire;
    _ranks.attr("sum")(over(numbers.data(), numbers.size()));
}

void PythonRanks::largest(std::span<double> numbers)
{
    const py::gil_scoped_acquire acquire;
    _ranks.attr("largest")(over(numbers.data(), numbers.size()));
}

void PythonRanks::exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                           const uint32* incomingCounts, std::size_t recordSize)
{
    const py::gil_scoped_acquire acquire;
    _ranks.attr("exchange")(
        over(static_cast<const uint8*>(outgoing), recordSize * total(outgoingCounts, _size)),
        over(outgoingCounts, _size),
        over(static_cast<uint8*>(incoming), recordSize * total(incomingCounts, _size)),
        over(incomingCounts, _size), recordSize);
}

void PythonRanks::together(const std::function<void()>& work)
{
    std::exception_ptr raised;
    try
    {
        work();
    }
    catch (...)
    {
        raised = std::current_exception();
    }
    double any = raised ? 1 : 0;
    largest({&any, 1});
    if (raised) std::rethrow_exception(raised);
    if (any > 0) throw std::runtime_error("the call failed on another rank");
}

void PythonRanks::confirmAlike(uint64 number, const char* what)
{
    double ends[2] = {static_cast<double>(number), -static_cast<double>(number)};
    largest(ends);
    if (ends[0] != -ends[1])
        throw py::value_error(std::string(what) + ": expected the same on all ranks, got others on some");
}

py::object objectOf(RankMesh&& part, const py::object& ranks)
{
    auto made = std::make_unique<PartObject>();
    made->mesh = objectOf(std::move(part.mesh));
    made->part.numbers = std::move(part.numbers);
    made->part.vertexRuns = std::move(part.vertexRuns);
    made->part.faceRuns = std::move(part.faceRuns);
    made->part.vertexCount = part.vertexCount;
    made->part.faceCount = part.faceCount;
    made->ranks = ranks;
    return py::cast(std::move(made));
}

void bindRanks(py::module_& module)
{
    py::class_<PartObject>(module, "RankMesh", R"(The part of a mesh that one of many ranks has.

    mesh: what is here, with copies of what others own: the corners of own faces, and the faces around own vertices.
    own_vertices, own_faces: where in it those are that belong to this rank; every one belongs to one rank.
    vertex_numbers: of all vertices here in the whole mesh, ascending; face_numbers: of the own faces. vertex_count and
    face_count: how many the whole mesh has.
    )")
        .def_readonly("mesh", &PartObject::mesh)
        .def_property_readonly("own_vertices", [](const PartObject& self)
                               { return spread(self.part.vertexRuns, &MeshRun::first); })
        .def_property_readonly(
            "own_faces", [](const PartObject& self) { return spread(self.part.faceRuns, &MeshRun::first); })
        .def_property_readonly("vertex_numbers", [](const PartObject& self)
                               { return givenAway(Array<uint32>(self.part.numbers)); })
        .def_property_readonly("face_numbers", [](const PartObject& self)
                               { return spread(self.part.faceRuns, &MeshRun::number); })
        .def_property_readonly("vertex_count", [](const PartObject& self) { return self.part.vertexCount; })
        .def_property_readonly("face_count", [](const PartObject& self) { return self.part.faceCount; })
        .def("gather", &gather,
             R"(The whole mesh on the first rank, as one process would have it, and None on the others.

    Collective: all ranks call it.

    >>> part = tavrix.mpi.reconstruct(MPI.COMM_WORLD, grid)
    >>> part.gather().is_closed
    True
    )");
}

}  // namespace tavrix::python
