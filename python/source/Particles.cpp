#include <algorithm>

#include <pybind11/stl.h>

#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/particles/ParticleSystem_v3.h>

#include "FileCalls.h"
#include "formats/OutputFile.h"
#include "formats/ParticleFile.h"
#include "LongCall.h"
#include "MeshObject.h"
#include "Numbers.h"

// What the class Particles of the package is made of.

namespace tavrix::python
{

namespace
{

using Threads = std::optional<py::ssize_t>;

/// (positions, velocities or None, attributes, how many particles were left out)
py::tuple readParticles(const py::object& target)
{
    const std::string path = pathIn(target);
    formats::ParticleFile file;
    readFile(path, [&] { file = formats::readParticleFile(path); });
    py::dict attributes;
    for (formats::PointAttribute& attribute : file.attributes)
        attributes[textOf(attribute.name)] =
            std::visit([](auto& values) { return givenAway(std::move(values)); }, attribute.values);
    py::object velocities = py::none();
    if (!file.velocities.empty()) velocities = givenAway(std::move(file.velocities));
    return py::make_tuple(givenAway(std::move(file.positions)), velocities, attributes, file.leftOut);
}

void writeParticles(const py::object& target, const py::object& positions, const py::object& velocities)
{
    const std::string path = pathIn(target);
    const ArrayIn<Vector3F> in(positions, "positions");
    ParticleSystem_v3 particles;
    particles.setArrPosition(in.array());
    if (!velocities.is_none()) particles.setArrVelocity(ArrayIn<Vector3F>(velocities, "velocities").array());
    writeFile(
        [&]
        {
            formats::writeFileWhole(
                path, [&](const std::string& name) { return particles.save_BIN(TX_String(name.c_str())); });
        });
}

double spacingOf(const py::object& positions)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    const py::gil_scoped_release release;
    return estimateSpacing(in.array());
}

py::array neighbourCounts(const py::object& positions, double radius, const Threads& threads)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    positive(radius, "radius");
    const uint32 count = threadsOf(threads);
    Array<uint32> counts;
    longStage(py::none(), "neighbours",
              [&](CancelCallback callback)
              {
                  const NeighbourGrid grid(in.array(), radius / 2, count);
                  counts = countNeighbours(grid, in.array(), radius, count, noIndex, callback);
              });
    return givenAway(std::move(counts));
}

py::array strays(const py::object& positions, double radius, uint32 least, const Threads& threads)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    positive(radius, "radius");
    const uint32 count = threadsOf(threads);
    Array<uint32> numbers;
    longStage(py::none(), "strays",
              [&](CancelCallback callback)
              { numbers = findStrays(in.array(), radius, least, count, callback); });
    return givenAway(std::move(numbers));
}

/// Values of shape (n,) or (n, 3) at places, of the same shape.
py::array interpolated(const py::object& positions, const py::object& values, const py::object& places,
                       double reach, const Threads& threads, const py::object& progress)
{
    const ArrayIn<Vector3F> in(positions, "positions");
    const ArrayIn<Vector3D> at(places, "places");
    positive(reach, "reach");
    const py::array given = numbersIn(values, "values");
    Array<Vector3F> vectors;
    if (given.ndim() == 1)
    {
        const ArrayIn<float> numbers(given, "values");
        for (const float v : numbers.array()) vectors.push_back({v, 0, 0});
    }
    else
        vectors = ArrayIn<Vector3F>(given, "values").array();
    if (vectors.size() != in.size())
        throw py::value_error("values: expected one for each of the " + std::to_string(in.size()) +
                              " positions, got " + std::to_string(vectors.size()));
    const uint32 count = threadsOf(threads);
    Array<Vector3F> results;
    longStage(progress, "interpolate",
              [&](CancelCallback callback)
              {
                  const NeighbourGrid grid(in.array(), reach / 2, count);
                  results = interpolateAtPlaces(grid, vectors, at.array(), reach, count, callback);
              });
    if (given.ndim() != 1) return givenAway(std::move(results));
    Array<float> numbers(results.size());
    std::transform(results.begin(), results.end(), numbers.begin(), [](const Vector3F& v) { return v.x; });
    return givenAway(std::move(numbers));
}

}  // namespace

void bindParticles(py::module_& module)
{
    module.def("read_particles", &readParticles, py::arg("path"));
    module.def("write_particles", &writeParticles, py::arg("path"), py::arg("positions"),
               py::arg("velocities"));
    module.def("neighbour_counts", &neighbourCounts, py::arg("positions"), py::arg("radius"),
               py::arg("threads"));
    module.def("strays", &strays, py::arg("positions"), py::arg("radius"), py::arg("least"),
               py::arg("threads"));
    module.def("interpolate", &interpolated, py::arg("positions"), py::arg("values"), py::arg("places"),
               py::arg("reach"), py::arg("threads"), py::arg("progress"));
    module.def(
        "estimate_spacing", &spacingOf, py::arg("positions"),
        R"(The distance between neighbouring particles if they stood on a cubic lattice; 0 when no two lie apart.

    positions: shape (n, 3).

    >>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(10.0)] * 3), axis=-1).reshape(-1, 3)
    >>> round(tavrix.estimate_spacing(grid), 1)
    1.0
    )");
}

}  // namespace tavrix::python
