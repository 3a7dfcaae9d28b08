#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include <algorithm>

#include <tavrix/fields/detail/AnisotropicKernels.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/SheetSeparation.h>
#include <tavrix/meshproc/MeshDecimation.h>
#include <tavrix/meshproc/MeshFairing.h>
#include <tavrix/meshproc/VertexWelding.h>
#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/reconstruction/detail/BlockRoad.h>
#include <tavrix/reconstruction/detail/ParticleWeights.h>

namespace tavrix
{

namespace
{

using detail::BlockRoadEnd;
using Status = ReconstructionStatus;

/// The values without those of the numbers, which ascend.
template <class T>
Array<T> without(const Array<T>& values, const Array<uint32>& numbers)
{
    Array<T> kept(values.size() - numbers.size());
    uint32 count = 0;
    for (uint32 n = 0, next = 0; n < values.size(); ++n)
        if (next < numbers.size() && numbers[next] == n)
            ++next;
        else
            kept[count++] = values[n];
    return kept;
}

/// One call of reconstructSurface. Steps return the status that ends it, or Done to go on.
class Reconstruction
{
public:
    Reconstruction(const Array<Vector3F>& positions, const std::vector<ParticleAttribute>& attributes,
                   const ReconstructionSettings& settings, ProgressScope& progress)
        : _all(positions), _attributes(attributes), _progress(progress)
    {
        report.settings = settings;
    }

    Status run(Mesh& mesh)
    {
        for (const auto step :
             {&Reconstruction::settle, &Reconstruction::leaveOutStrays, &Reconstruction::makeSurface,
              &Reconstruction::smooth, &Reconstruction::weld, &Reconstruction::fillHollows,
              &Reconstruction::decimate, &Reconstruction::computeNormals, &Reconstruction::carryAttributes})
        {
            const Status status = (this->*step)(mesh);
            if (status != Status::Done) return status;
            if (_progress.isStopped()) return Status::Stopped;
        }
        return Status::Done;
    }

    ReconstructionReport report{};

private:
    const Array<Vector3F>& positions() const { return report.leftOut.empty() ? _all : _kept; }
    uint32 particles() const { return positions().size(); }

    void leaveOut(Array<uint32> numbers)
    {
        report.leftOut = std::move(numbers);
        report.particles = _all.size() - report.leftOut.size();
        if (!report.leftOut.empty()) _kept = without(_all, report.leftOut);
    }

    Status settle(Mesh&)
    {
        leaveOut(findStrays(_all, 0, 0));
        report.infinite = report.leftOut.size();
        if (report.particles == 0) return Status::NoParticles;
        report.radiusIsEstimated = !report.settings.radius;
        report.settings = settledFor(report.settings, positions());
        return report.settings.radius ? Status::Done : Status::NoRadius;
    }

    Status leaveOutStrays(Mesh&)
    {
        const ReconstructionSettings& s = report.settings;
        if (s.leastNeighbours == 0) return Status::Done;
        leaveOut(findStrays(_all, 2.0 * static_cast<float>(*s.radius), s.leastNeighbours, s.threadCount));
        return report.particles == 0 ? Status::AllAreStrays : Status::Done;
    }

    Status makeSurface(Mesh& mesh)
    {
        if (!_progress.begin("field")) return Status::Stopped;
        report.box = boxAround(positions());
        const ReconstructionSettings& s = report.settings;
        const auto radius = static_cast<float>(*s.radius);
        const auto ball = [&positions = positions(), radius](uint32 n) {
            return detail::Particle{positions[n].x, positions[n].y, positions[n].z, radius};
        };
        detail::Polling polling(ProgressScope::poll);
        switch (s.kernel)
        {
            case SurfaceKernel::Distance:
                return extract(detail::distanceKernel, particles(), ball, polling, mesh, 0,
                               [](auto&) { return true; });
            case SurfaceKernel::Metaball:
                return extractMetaballs(polling, mesh);
            default:
                return extractAnisotropic(polling, mesh);
        }
    }

    Status extractMetaballs(detail::Polling& polling, Mesh& mesh)
    {
        const ReconstructionSettings& s = report.settings;
        const detail::EvenFilling filling(s.reach() / *s.particleSpacing);
        const detail::WeightedBallKernel kernel{s.reach(), static_cast<float>(1 / filling.value())};
        const auto ball = [&positions = positions()](uint32 n) {
            return detail::WeightedBall{positions[n].x, positions[n].y, positions[n].z, 1};
        };
        const auto weigh = [&](detail::ParticleBlocks<detail::WeightedBallKernel>& sorted)
        { return weighParticles(sorted, kernel, filling, s.threadCount, polling); };
        return extract(kernel, particles(), ball, polling, mesh, 0, weigh);
    }

    Status extractAnisotropic(detail::Polling& polling, Mesh& mesh)
    {
        const ReconstructionSettings& s = report.settings;
        constexpr double fitting = 150;  // bytes a particle
        report.bytes = fitting * particles();
        if (report.bytes > grantedBytes()) return Status::TooLarge;
        Array<detail::Ellipsoid> ellipsoids;
        {
            const Array<float> radii(particles(), static_cast<float>(s.reach() / 2));
            detail::AnisotropicKernels kernels(positions(), radii, s.anisotropy(), s.threadCount,
                                               ProgressScope::poll);
            if (!kernels.measureNeighbourhoods() || !kernels.fitEllipsoids() || !kernels.fitBoxes())
                return Status::Stopped;
            ellipsoids = kernels.takeEllipsoids();
        }
        const auto ellipsoid = [&](uint32 n) { return ellipsoids[n]; };
        const uint32 count = ellipsoids.size();
        return extract(detail::EllipsoidKernel{detail::SplatMerge::Sum}, count, ellipsoid, polling, mesh,
                       static_cast<double>(count) * sizeof(detail::Ellipsoid),
                       [&](auto&)
                       {
                           ellipsoids.reserve(0);
                           return true;
                       });
    }

    double grantedBytes() const { return static_cast<double>(report.settings.memory.value_or(~uint64{0})); }

    /// What the steps after the extraction take at most, for each vertex.
    double bytesPerVertex() const
    {
        constexpr double normal = sizeof(Vector3F), smoothing = 140, welding = 40, filling = 14,
                         decimating = 240, interpolating = 44;
        const ReconstructionSettings& s = report.settings;
        double inPassing = *s.smoothing > 0 ? smoothing : 0;
        if (s.weldTolerance) inPassing = std::max(inPassing, welding);
        if (s.fillCavities) inPassing = std::max(inPassing, filling);
        if (s.decimation) inPassing = std::max(inPassing, decimating);
        const double kept = (s.normals ? normal : 0) + static_cast<double>(_attributes.size()) * normal;
        return std::max(inPassing, kept + (_attributes.empty() ? 0 : interpolating));
    }

    /// And for each face.
    double bytesPerFace() const
    {
        constexpr double separating = 65, filling = 45;
        const ReconstructionSettings& s = report.settings;
        return std::max({s.weldTolerance ? separating : 0, s.fillCavities ? filling : 0,
                         s.normals ? double{sizeof(Index3)} : 0});
    }

    /// The particles are what make(n) gives, from so many bytes, until prepare(sorted) frees these; it is
    /// false when it was stopped.
    template <class Kernel, class Make, class Prepare>
    Status extract(const Kernel& kernel, uint32 count, Make make, detail::Polling& polling, Mesh& mesh,
                   double held, Prepare prepare)
    {
        const ReconstructionSettings& s = report.settings;
        detail::BlockRoad<Kernel> road({kernel,
                                        *s.spacing,
                                        static_cast<float>(s.level) * s.valueAtLevelOne(),
                                        {s.cleanUp, false, static_cast<double>(s.memory.value_or(~uint64{0})),
                                         bytesPerVertex(), bytesPerFace(), s.threadCount}},
                                       polling);
        BlockRoadEnd end = road.sort(count, make, held);
        if (end == BlockRoadEnd::Done && !prepare(road.sorted())) end = BlockRoadEnd::Stopped;
        if (end == BlockRoadEnd::Done && *s.matchVolume)
        {
            const double each = *s.particleSpacing * *s.particleSpacing * *s.particleSpacing;
            end = road.matchVolume(particles() * each);
            report.settings.level = road.level() / s.valueAtLevelOne();
        }
        if (end == BlockRoadEnd::Done)
            end = _progress.begin("surface") ? road.extract(mesh) : BlockRoadEnd::Stopped;
        report.blocks = road.blockCount();
        report.bytes = std::max(report.bytes, road.bytes());
        report.highestLevel = road.highestValue() / s.valueAtLevelOne();
        switch (end)
        {
            case BlockRoadEnd::Done:
                return Status::Done;
            case BlockRoadEnd::TooWide:
                return Status::TooWide;
            case BlockRoadEnd::TooLarge:
                return Status::TooLarge;
            case BlockRoadEnd::NoSurface:
                return Status::NoSurface;
            default:
                return Status::Stopped;
        }
    }

    Status smooth(Mesh& mesh)
    {
        const ReconstructionSettings& s = report.settings;
        if (*s.smoothing == 0) return Status::Done;
        if (!_progress.begin("smooth")) return Status::Stopped;
        const FairingSettings fairing{*s.smoothing, s.passesAtBends(), *s.particleSpacing / 2, s.threadCount};
        if (!fairPositions(mesh.refPos(), mesh.refTrindexPos(), fairing, ProgressScope::poll))
            return Status::Stopped;
        mesh.invalidateBox();
        return Status::Done;
    }

    Status weld(Mesh& mesh)
    {
        if (!report.settings.weldTolerance) return Status::Done;
        if (!_progress.begin("weld")) return Status::Stopped;
        dropNormals(mesh);
        weldVertices(mesh.refPos(), mesh.refTrindexPos(), {&*report.settings.weldTolerance, 1});
        mesh.invalidateBox();
        mesh.invalidateConnectivity();
        if (separateSheets(mesh).faces > 0) dropUnusedPositions(mesh);
        return mesh.getFacesSize() == 0 ? Status::NothingIsLeft : Status::Done;
    }

    Status fillHollows(Mesh& mesh)
    {
        if (!report.settings.fillCavities) return Status::Done;
        if (!_progress.begin("cavities")) return Status::Stopped;
        report.counts = fillCavities(mesh);
        return Status::Done;
    }

    Status decimate(Mesh& mesh)
    {
        if (!report.settings.decimation) return Status::Done;
        if (!_progress.begin("decimate")) return Status::Stopped;
        dropNormals(mesh);
        decimateMesh(mesh, {.ratio = report.settings.decimation, .threadCount = report.settings.threadCount},
                     ProgressScope::poll);
        return Status::Done;
    }

    Status computeNormals(Mesh& mesh)
    {
        if (!report.settings.normals)
        {
            dropNormals(mesh);
            return Status::Done;
        }
        if (!_progress.begin("normals")) return Status::Stopped;
        mesh.recalculateVertexesNormals(report.settings.threadCount, ProgressScope::poll);
        return Status::Done;
    }

    Status carryAttributes(Mesh& mesh)
    {
        if (_attributes.empty()) return Status::Done;
        if (!_progress.begin("attributes")) return Status::Stopped;
        const double reach = report.settings.reach();
        const uint32 threads = report.settings.threadCount;
        const NeighbourGrid grid(positions(), reach / 2, threads);
        const auto interpolate = [&](const Array<Vector3F>& values)
        {
            const Array<Vector3F> kept =
                report.leftOut.empty() ? Array<Vector3F>() : without(values, report.leftOut);
            return interpolateAtPlaces(grid, report.leftOut.empty() ? values : kept, mesh.refPos(), reach,
                                       threads, ProgressScope::poll);
        };
        std::vector<Scalar> scalars;
        for (const ParticleAttribute& attribute : _attributes)
        {
            if (const auto* vectors = std::get_if<const Array<Vector3F>*>(&attribute.values))
            {
                Array<Vector3F> values = interpolate(**vectors);
                mesh.addArray<Vector3F>(TX_String(attribute.name)).swap(values);
            }
            else
                scalars.push_back({*std::get<const Array<float>*>(attribute.values),
                                   mesh.addArray<float>(TX_String(attribute.name))});
        }
        carryScalars(scalars, interpolate);
        return Status::Done;
    }

    struct Scalar
    {
        const Array<float>& values;
        Array<float>& carried;
    };

    /// Three scalars at a time go as the axes of one vector.
    template <class Interpolate>
    void carryScalars(const std::vector<Scalar>& scalars, const Interpolate& interpolate)
    {
        for (std::size_t first = 0; first < scalars.size(); first += 3)
        {
            const auto count = static_cast<uint32>(std::min<std::size_t>(scalars.size() - first, 3));
            Array<Vector3F> together(_all.size(), Vector3F{0, 0, 0});
            for (uint32 k = 0; k < count; ++k)
            {
                const Array<float>& values = scalars[first + k].values;
                for (uint32 n = 0; n < together.size(); ++n) together[n][k] = values[n];
            }
            const Array<Vector3F> carried = interpolate(together);
            for (uint32 k = 0; k < count; ++k)
            {
                Array<float>& target = scalars[first + k].carried;
                target.resize(carried.size());
                for (uint32 n = 0; n < carried.size(); ++n) target[n] = carried[n][k];
            }
        }
    }

    const Array<Vector3F>& _all;
    const std::vector<ParticleAttribute>& _attributes;
    ProgressScope& _progress;
    Array<Vector3F> _kept;  ///< when some are left out
};

}  // namespace

ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, Mesh& mesh,
                                        const ReconstructionSettings& settings,
                                        const std::vector<ParticleAttribute>& attributes,
                                        const ProgressCallback& progress)
{
    ProgressScope scope(progress);
    Reconstruction reconstruction(positions, attributes, settings, scope);
    Mesh made;
    made.setName("surface");
    reconstruction.report.status = reconstruction.run(made);
    mesh = reconstruction.report.status == ReconstructionStatus::Done ? std::move(made) : Mesh();
    return std::move(reconstruction.report);
}

}  // namespace tavrix
