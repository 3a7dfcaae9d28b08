#include <algorithm>
#include <cmath>

#include <pybind11/stl.h>

#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include "Choice.h"
#include "Memory.h"
#include "MeshObject.h"
#include "Ranks.h"

namespace tavrix::python
{

namespace
{

/// What a reconstruction did, for Python.
struct Report
{
    ReconstructionReport kernel;
};

/// The attributes of particles, which the kernel reads where they lie.
class AttributesIn
{
public:
    AttributesIn(const py::dict& attributes, uint32 particles)
    {
        for (const auto& [key, values] : attributes)
        {
            const auto name = py::cast<std::string>(key);
            if (name.empty() || name.find('\0') != std::string::npos)
                throw py::value_error("attributes: expected names that are not empty and hold no zero byte");
            const py::array array = numbersIn(values, name.c_str());
            if (array.ndim() == 1)
                add(_numbers, name, array, particles);
            else
                add(_vectors, name, array, particles);
        }
    }
    const std::vector<ParticleAttribute>& all() const { return _all; }

private:
    template <class T>
    void add(std::vector<std::unique_ptr<ArrayIn<T>>>& kept, const std::string& name, const py::array& array,
             uint32 particles)
    {
        kept.push_back(std::make_unique<ArrayIn<T>>(array, name.c_str()));
        if (kept.back()->size() != particles)
            throw py::value_error(name + ": expected a value for each of the " + std::to_string(particles) +
                                  " particles, got " + std::to_string(kept.back()->size()));
        _all.push_back({name, &kept.back()->array()});
    }

    std::vector<std::unique_ptr<ArrayIn<float>>> _numbers;
    std::vector<std::unique_ptr<ArrayIn<Vector3F>>> _vectors;
    std::vector<ParticleAttribute> _all;
};

[[noreturn]] void raiseTooLarge(const ReconstructionReport& report)
{
    PyErr_Format(
        PyExc_MemoryError,
        "the work would take some %lld MB; give a larger spacing, min_neighbours where particles are strewn "
        "about, or more memory",
        static_cast<long long>(report.bytes / 1e6));
    throw py::error_already_set();
}

/// Raises what says why there is no surface.
void confirmDone(const ReconstructionReport& report)
{
    const ReconstructionSettings& settings = report.settings;
    switch (report.status)
    {
        case ReconstructionStatus::Done:
        case ReconstructionStatus::Stopped:
            return;
        case ReconstructionStatus::NoParticles:
            throw py::value_error("positions: none is finite, so there is no surface");
        case ReconstructionStatus::AllAreStrays:
            throw py::value_error(
                "every particle has fewer than " + std::to_string(settings.leastNeighbours) +
                " neighbours within two radii; lower min_neighbours or give a larger radius");
        case ReconstructionStatus::NoRadius:
            throw py::value_error("radius: no two particles lie apart to estimate it from; give one");
        case ReconstructionStatus::TooWide:
            throw py::value_error(
                "the particles span too many steps of the lattice; give a larger spacing, or "
                "min_neighbours=1 to leave out what lies alone");
        case ReconstructionStatus::TooLarge:
            raiseTooLarge(report);
        case ReconstructionStatus::NoSurface:
            throw py::value_error("no surface at level " + std::to_string(settings.level) +
                                  ", the field's values go from 0 to " + std::to_string(report.highestLevel) +
                                  "; give a level between or a smaller spacing");
        case ReconstructionStatus::NothingIsLeft:
            throw py::value_error("simplify: the tolerance leaves no faces; give a smaller one");
    }
}

struct Options
{
    std::optional<double> radius, spacing, particleSpacing, influence, simplify, decimate;
    std::string field, quality;
    double level;
    std::optional<bool> matchVolume;
    std::optional<uint32> smooth;
    uint32 minNeighbours;
    bool clean, fillCavities, normals;
    std::optional<py::ssize_t> threads;
    std::optional<uint64> memory;
};

std::optional<double> positiveIfGiven(const std::optional<double>& value, const char* name)
{
    if (value) positive(*value, name);
    return value;
}

ReconstructionSettings settingsOf(const Options& options)
{
    if (options.influence && !(*options.influence >= 0 && *options.influence <= 100))
        throw py::value_error("influence: expected 0 to 100");
    if (options.decimate && !(*options.decimate >= 0 && *options.decimate <= 1))
        throw py::value_error("decimate: expected a part of the faces, 0 to 1");
    ReconstructionSettings settings;
    settings.quality = choice<SurfaceQuality>(
        options.quality, "quality", {{"normal", SurfaceQuality::Normal}, {"smooth", SurfaceQuality::Smooth}});
    settings.kernel = choice<SurfaceKernel>(options.field, "field",
                                            {{"metaball", SurfaceKernel::Metaball},
                                             {"anisotropic", SurfaceKernel::Anisotropic},
                                             {"distance", SurfaceKernel::Distance}});
    settings.radius = positiveIfGiven(options.radius, "radius");
    settings.spacing = positiveIfGiven(options.spacing, "spacing");
    settings.particleSpacing = positiveIfGiven(options.particleSpacing, "particle_spacing");
    settings.influence = options.influence;
    settings.level = positive(options.level, "level");
    settings.matchVolume = options.matchVolume;
    settings.leastNeighbours = options.minNeighbours;
    settings.cleanUp = options.clean;
    settings.smoothing = options.smooth;
    settings.weldTolerance = positiveIfGiven(options.simplify, "simplify");
    settings.fillCavities = options.fillCavities;
    settings.decimation = options.decimate;
    settings.normals = options.normals;
    settings.threadCount = threadsOf(options.threads);
    settings.memory = options.memory.value_or(availableMemory());
    return settings;
}

/// The arguments as the kernel takes them.
struct Input
{
    Input(const py::object& given, const Options& options, const py::dict& carried)
        : positions(given, "positions"), attributes(carried, positions.size()), settings(settingsOf(options))
    {
    }

    /// Of which types the attributes are, one bit each.
    uint64 attributeTypes() const
    {
        uint64 types = 1;
        for (const ParticleAttribute& attribute : attributes.all())
            types = (2 * types + attribute.values.index()) % (uint64{1} << 50);
        return types;
    }

    ArrayIn<Vector3F> positions;
    AttributesIn attributes;
    ReconstructionSettings settings;
};

py::object withReport(const py::object& made, std::unique_ptr<Report> report, bool returnReport)
{
    if (!returnReport) return made;
    return py::make_tuple(made, py::cast(std::move(report)));
}

py::object reconstruct(const py::object& positions, const Options& options, const py::dict& attributes,
                       const py::object& progress, bool returnReport)
{
    const Input in(positions, options, attributes);
    Mesh mesh;
    auto report = std::make_unique<Report>();
    longCall(progress,
             [&](const ProgressCallback& callback)
             {
                 report->kernel = reconstructSurface(in.positions.array(), mesh, in.settings,
                                                     in.attributes.all(), callback);
             });
    confirmDone(report->kernel);
    return withReport(objectOf(std::move(mesh)), std::move(report), returnReport);
}

/// The same of a rank's share; what goes wrong before the work, on any rank, is raised on all.
py::object reconstructPart(const py::object& over, const py::object& positions, const Options& options,
                           const py::dict& attributes, const py::object& progress, bool returnReport)
{
    PythonRanks ranks(over);
    std::optional<Input> in;
    std::optional<Watch> watch;
    ranks.together(
        [&]
        {
            in.emplace(positions, options, attributes);
            watch.emplace(progress);
        });
    ranks.confirmAlike(py::cast<uint64>(over.attr("digest")), "settings and the names of attributes");
    ranks.confirmAlike(in->attributeTypes(), "shapes of attributes");
    if (!options.threads) in->settings.threadCount = std::max(in->settings.threadCount / ranks.here(), 1u);
    if (!options.memory) in->settings.memory = availableMemory() / ranks.here();

    RankMesh part;
    auto report = std::make_unique<Report>();
    longCall(*watch,
             [&](const ProgressCallback& callback)
             {
                 report->kernel = reconstructSurface(in->positions.array(), ranks, part, in->settings,
                                                     in->attributes.all(), callback);
             });
    confirmDone(report->kernel);
    if (report->kernel.status == ReconstructionStatus::Stopped)
        throw std::runtime_error("the call was stopped on another rank");
    return withReport(objectOf(std::move(part), over), std::move(report), returnReport);
}

void bindReport(py::module_& module)
{
    py::class_<Report>(module, "ReconstructionReport", R"(What a reconstruction did, and with what.

    >>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(5.0)] * 3), axis=-1).reshape(-1, 3)
    >>> mesh, report = tavrix.reconstruct(grid, return_report=True)
    >>> round(report.radius, 2), report.radius_is_estimated
    (0.49, True)
    )")
        .def_property_readonly("radius", [](const Report& r) { return r.kernel.settings.radius; })
        .def_property_readonly("radius_is_estimated",
                               [](const Report& r) { return r.kernel.radiusIsEstimated; })
        .def_property_readonly("particle_spacing",
                               [](const Report& r) { return r.kernel.settings.particleSpacing; })
        .def_property_readonly("spacing", [](const Report& r) { return r.kernel.settings.spacing; })
        .def_property_readonly("influence", [](const Report& r) { return r.kernel.settings.influence; })
        .def_property_readonly("level", [](const Report& r) { return r.kernel.settings.level; })
        .def_property_readonly("smooth", [](const Report& r) { return r.kernel.settings.smoothing; })
        .def_property_readonly("particles", [](const Report& r) { return r.kernel.particles; })
        .def_property_readonly("left_out",
                               [](const Report& r) { return givenAway(Array<uint32>(r.kernel.leftOut)); })
        .def_property_readonly("bounds", [](const Report& r) { return boundsOf(r.kernel.box); })
        .def_property_readonly("blocks", [](const Report& r) { return r.kernel.blocks; })
        .def_property_readonly("bytes", [](const Report& r) { return static_cast<uint64>(r.kernel.bytes); })
        .def_property_readonly("cavities_filled", [](const Report& r) { return r.kernel.counts.cavities; });
}

}  // namespace

void bindReconstruction(py::module_& module)
{
    bindReport(module);
    const auto call = [](const py::object& positions, std::optional<double> radius, const std::string& field,
                         std::optional<double> spacing, std::optional<double> particleSpacing,
                         std::optional<double> influence, double level, const std::string& quality,
                         std::optional<bool> matchVolume, std::optional<uint32> smooth, uint32 minNeighbours,
                         bool clean, bool fillCavities, std::optional<double> simplify,
                         std::optional<double> decimate, bool normals, const py::dict& attributes,
                         const std::optional<py::ssize_t>& threads, std::optional<uint64> memory,
                         const py::object& progress, bool returnReport, const py::object& ranks)
    {
        const Options options{radius, spacing,      particleSpacing, influence,   simplify, decimate,
                              field,  quality,      level,           matchVolume, smooth,   minNeighbours,
                              clean,  fillCavities, normals,         threads,     memory};
        if (!ranks.is_none())
            return reconstructPart(ranks, positions, options, attributes, progress, returnReport);
        return reconstruct(positions, options, attributes, progress, returnReport);
    };
    module.def(
        "reconstruct", call, py::arg("positions"), py::arg("radius") = py::none(), py::kw_only(),
        py::arg("field") = "metaball", py::arg("spacing") = py::none(),
        py::arg("particle_spacing") = py::none(), py::arg("influence") = py::none(), py::arg("level") = 1.0,
        py::arg("quality") = "normal", py::arg("match_volume") = py::none(), py::arg("smooth") = py::none(),
        py::arg("min_neighbours") = 0, py::arg("clean") = true, py::arg("fill_cavities") = false,
        py::arg("simplify") = py::none(), py::arg("decimate") = py::none(), py::arg("normals") = true,
        py::arg("attributes") = py::dict(), py::arg("threads") = py::none(), py::arg("memory") = py::none(),
        py::arg("progress") = py::none(), py::arg("return_report") = false, py::arg("_ranks") = py::none(),
        R"(The surface of particles as a closed mesh, faces outwards, which encloses their volume.

    positions: shape (n, 3), any real dtype; float32 is read where it lies. attributes: quantities of the particles
    to carry to the vertices, a mapping from names to arrays of shape (n,) or (n, 3). The other settings are those
    of `tavrix surface`, and the mesh is the program's to the byte: radius (half the particles' spacing when None),
    field 'metaball', 'anisotropic' or 'distance', spacing of the lattice (half the radius), particle_spacing (two
    radii), influence 0 to 100, level, quality 'normal' or 'smooth', match_volume, smooth (passes), min_neighbours,
    clean, fill_cavities, simplify (a tolerance), decimate (a ratio), normals, threads (all when None), memory (bytes).

    progress: True for a bar, or a callable(stage, done). return_report: also what was done, with the settings
    filled in, which the frames of a sequence share. Raises ValueError when there is no surface to be made,
    MemoryError when the work would take more than there is.

    >>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(10.0)] * 3), axis=-1).reshape(-1, 3)
    >>> mesh = tavrix.reconstruct(grid, attributes={"height": grid[:, 2]})
    >>> mesh.is_closed, list(mesh.attributes)
    (True, ['height'])
    )");
}

}  // namespace tavrix::python
