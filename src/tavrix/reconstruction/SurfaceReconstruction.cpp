#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include <algorithm>
#include <numeric>

#include <tavrix/fields/detail/AnisotropicKernels.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/SheetSeparation.h>
#include <tavrix/meshproc/detail/PartFairing.h>
#include <tavrix/meshproc/MeshDecimation.h>
#include <tavrix/meshproc/VertexWelding.h>
#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/reconstruction/detail/BlockRoad.h>
#include <tavrix/reconstruction/detail/ParticleDeal.h>
#include <tavrix/reconstruction/detail/ParticleWeights.h>
#include <tavrix/reconstruction/detail/ValuesAtPlaces.h>

namespace tavrix
{

namespace
{

using detail::BlockRoadEnd;
using detail::MeshPart;
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

/// One call of reconstructSurface, without ranks or as one of them. Steps return the status that ends it, or
/// Done to go on.
class Reconstruction
{
public:
    Reconstruction(const Array<Vector3F>& positions, RankGroup* ranks, bool isGathered,
                   const std::vector<ParticleAttribute>& attributes, const ReconstructionSettings& settings,
                   ProgressScope& progress)
        : _all(positions),
          _ranks(ranks),
          _isGathered(isGathered),
          _attributes(attributes),
          _progress(progress)
    {
        report.settings = settings;
    }

    Status run(MeshPart& part)
    {
        for (const auto step :
             {&Reconstruction::settle, &Reconstruction::leaveOutStrays, &Reconstruction::makeSurface,
              &Reconstruction::smooth, &Reconstruction::gatherForSteps, &Reconstruction::weld,
              &Reconstruction::fillHollows, &Reconstruction::decimate, &Reconstruction::computeNormals,
              &Reconstruction::carryAttributes, &Reconstruction::handOver})
        {
            Status status = (this->*step)(part);
            if (status == Status::Done && _progress.isStopped()) status = Status::Stopped;
            if (const Status all = worst(status); all != Status::Done) return all;
        }
        return Status::Done;
    }

    ReconstructionReport report{};

private:
    /// The particles that take part, as far as this process needs them.
    const Array<Vector3F>& positions() const { return report.leftOut.empty() && !_ranks ? _all : _kept; }
    detail::ParticleShare share() const { return {_all, report.leftOut, _firstNumber}; }

    bool isFirst() const { return !_ranks || _ranks->rank() == 0; }
    /// Whether steps are to be taken that need the whole mesh.
    bool needsWhole() const
    {
        return report.settings.weldTolerance || report.settings.fillCavities || report.settings.decimation;
    }
    /// Begins a stage that all ranks take part in; `Done` to go on.
    Status begin(const char* stage) const
    {
        return worst(_progress.begin(stage) ? Status::Done : Status::Stopped);
    }
    Status worst(Status status) const
    {
        return _ranks ? static_cast<Status>(
                            static_cast<int>(detail::largestOf(*_ranks, static_cast<int>(status))))
                      : status;
    }
    uint64 sum(uint64 number) const
    {
        return _ranks ? static_cast<uint64>(detail::sumOver(*_ranks, static_cast<int64>(number))) : number;
    }

    void leaveOut(Array<uint32> numbers)
    {
        report.leftOut = std::move(numbers);
        report.particles = static_cast<uint32>(sum(_all.size() - report.leftOut.size()));
        if (!report.leftOut.empty() && !_ranks) _kept = without(_all, report.leftOut);
    }

    Status settle(MeshPart&)
    {
        if (_ranks)
        {
            const std::vector<int64> starts = detail::startsOver(*_ranks, _all.size());
            if (starts.back() > noIndex) return Status::TooLarge;
            _firstNumber = static_cast<uint32>(starts[_ranks->rank()]);
        }
        leaveOut(findStrays(_all, 0, 0));
        report.infinite = static_cast<uint32>(sum(report.leftOut.size()));
        if (report.particles == 0) return Status::NoParticles;
        report.radiusIsEstimated = !report.settings.radius;
        if (_ranks && !report.settings.radius && !(report.settings.radius = estimateRadius(_all, *_ranks)))
            return Status::NoRadius;
        report.settings = settledFor(report.settings, positions());
        return report.settings.radius ? Status::Done : Status::NoRadius;
    }

    Status leaveOutStrays(MeshPart&)
    {
        const ReconstructionSettings& s = report.settings;
        if (s.leastNeighbours == 0) return Status::Done;
        const double radius = 2.0 * static_cast<float>(*s.radius);
        leaveOut(_ranks ? detail::findStrays(*_ranks, share(), *s.spacing, radius, s.leastNeighbours,
                                             s.threadCount)
                        : findStrays(_all, radius, s.leastNeighbours, s.threadCount));
        report.strays = static_cast<uint32>(sum(report.leftOut.size())) - report.infinite;
        return report.particles == 0 ? Status::AllAreStrays : Status::Done;
    }

    Status makeSurface(MeshPart& part)
    {
        const Status status = begin("field");
        if (status != Status::Done) return status;
        report.box = boxOfAll();
        const ReconstructionSettings& s = report.settings;
        const auto neighbourhood = static_cast<double>(s.anisotropy().neighbourReach * s.reach() / 2);
        const bool isAnisotropic = s.kernel == SurfaceKernel::Anisotropic;
        if (_ranks && !deal(isAnisotropic ? 2.01 * neighbourhood : s.reach())) return Status::TooWide;
        const auto radius = static_cast<float>(*s.radius);
        const auto ball = [&positions = positions(), radius](uint32 n) {
            return detail::Particle{positions[n].x, positions[n].y, positions[n].z, radius};
        };
        detail::Polling polling(ProgressScope::poll);
        switch (s.kernel)
        {
            case SurfaceKernel::Distance:
                return extract(detail::distanceKernel, positions().size(), ball, polling, part, 0,
                               [](auto&) { return true; });
            case SurfaceKernel::Metaball:
                return extractMetaballs(polling, part);
            default:
                return extractAnisotropic(polling, part);
        }
    }

    Box3D boxOfAll() const
    {
        if (!_ranks) return boxAround(positions());
        Box3D box = Box3D::empty();
        detail::forEachKept(_all.size(), report.leftOut,
                            [&](uint32 n) { box.extend(convert<double>(_all[n])); });
        return detail::boxOver(*_ranks, box);
    }

    /// Gets the particles that this rank needs, those within the margin around its blocks; false when no
    /// lattice covers them all.
    bool deal(double margin)
    {
        _deal = detail::dealOut(*_ranks, share(), *report.settings.spacing, margin);
        if (!_deal) return false;
        _kept.resize(_deal->particles.size());
        for (uint32 n = 0; n < _kept.size(); ++n) _kept[n] = _deal->particles[n].position;
        if (report.settings.kernel != SurfaceKernel::Anisotropic) _deal->particles.reserve(0);
        return true;
    }
    detail::BlockShare blockShare() const
    {
        return _ranks ? detail::BlockShare(*_ranks, _deal->owners) : detail::BlockShare();
    }

    Status extractMetaballs(detail::Polling& polling, MeshPart& part)
    {
        const ReconstructionSettings& s = report.settings;
        const detail::EvenFilling filling(s.reach() / *s.particleSpacing);
        const detail::WeightedBallKernel kernel{s.reach(), static_cast<float>(1 / filling.value())};
        const auto ball = [&positions = positions()](uint32 n) {
            return detail::WeightedBall{positions[n].x, positions[n].y, positions[n].z, 1};
        };
        const auto weigh = [&](detail::ParticleBlocks<detail::WeightedBallKernel>& sorted)
        { return weighParticles(sorted, kernel, filling, blockShare(), s.threadCount, polling); };
        return extract(kernel, positions().size(), ball, polling, part, 0, weigh);
    }

    Status extractAnisotropic(detail::Polling& polling, MeshPart& part)
    {
        const ReconstructionSettings& s = report.settings;
        constexpr double fitting = 150;  // bytes a particle
        report.bytes = fitting * positions().size();
        const Status status = worst(report.bytes > grantedBytes() ? Status::TooLarge : Status::Done);
        if (status != Status::Done) return status;
        Array<detail::Ellipsoid> ellipsoids;
        {
            const Array<float> radii(positions().size(), static_cast<float>(s.reach() / 2));
            detail::AnisotropicKernels kernels(positions(), radii, s.anisotropy(), s.threadCount,
                                               ProgressScope::poll);
            const bool isDone =
                kernels.measureNeighbourhoods() && kernels.fitEllipsoids() && kernels.fitBoxes();
            if (worst(isDone ? Status::Done : Status::Stopped) != Status::Done) return Status::Stopped;
            ellipsoids = kernels.takeEllipsoids();
            if (_ranks)
            {
                auto dealt = detail::dealEllipsoids(*_ranks, *_deal, ellipsoids, kernels.order(),
                                                    kernels.cellSize(), s.threadCount);
                if (!dealt) return Status::TooWide;
                _deal->particles.reserve(0);
                ellipsoids = std::move(*dealt);
            }
        }
        const auto ellipsoid = [&](uint32 n) { return ellipsoids[n]; };
        const uint32 count = ellipsoids.size();
        return extract(detail::EllipsoidKernel{detail::SplatMerge::Sum}, count, ellipsoid, polling, part,
                       static_cast<double>(count) * sizeof(detail::Ellipsoid),
                       [&](auto&)
                       {
                           ellipsoids.reserve(0);
                           return true;
                       });
    }

    double grantedBytes() const { return static_cast<double>(report.settings.memory.value_or(~uint64{0})); }

    /// Bytes that the steps on a part of the mesh take for each vertex, beside its positions and faces; and
    /// those on the whole. One process has no part, and takes all of these.
    double bytesPerVertex(bool ofPart, bool ofWhole) const
    {
        constexpr double normal = sizeof(Vector3F), smoothing = 140, welding = 40, filling = 14,
                         decimating = 240, interpolating = 44;
        const ReconstructionSettings& s = report.settings;
        double inPassing = *s.smoothing > 0 && ofPart ? smoothing : 0;
        if (s.weldTolerance && ofWhole) inPassing = std::max(inPassing, welding);
        if (s.fillCavities && ofWhole) inPassing = std::max(inPassing, filling);
        if (s.decimation && ofWhole) inPassing = std::max(inPassing, decimating);
        const double kept = (s.normals ? normal : 0) + static_cast<double>(_attributes.size()) * normal;
        return std::max(inPassing, kept + (_attributes.empty() ? 0 : interpolating));
    }

    /// And for each face.
    double bytesPerFace(bool ofWhole) const
    {
        constexpr double separating = 65, filling = 45;
        const ReconstructionSettings& s = report.settings;
        return std::max({s.weldTolerance && ofWhole ? separating : 0, s.fillCavities && ofWhole ? filling : 0,
                         s.normals ? double{sizeof(Index3)} : 0});
    }

    detail::BlockMeshPlan meshPlan() const
    {
        const ReconstructionSettings& s = report.settings;
        detail::BlockMeshPlan plan{s.cleanUp,
                                   false,
                                   static_cast<double>(s.memory.value_or(~uint64{0})),
                                   bytesPerVertex(true, !_ranks),
                                   bytesPerFace(!_ranks),
                                   s.threadCount};
        if (_ranks && (_isGathered || needsWhole()))
            plan.bytesOfWhole = Tuple2<double, double>{bytesPerVertex(false, true), bytesPerFace(true)};
        return plan;
    }

    /// The particles are what make(n) gives, from so many bytes, until prepare(sorted) frees these; it is
    /// false when it was stopped.
    template <class Kernel, class Make, class Prepare>
    Status extract(const Kernel& kernel, uint32 count, Make make, detail::Polling& polling, MeshPart& part,
                   double held, Prepare prepare)
    {
        const ReconstructionSettings& s = report.settings;
        detail::BlockRoad<Kernel> road(
            {kernel, *s.spacing, static_cast<float>(s.level) * s.valueAtLevelOne(), meshPlan()}, polling,
            blockShare());
        BlockRoadEnd end = road.sort(count, make, held);
        if (_ranks) _kept.reserve(0);
        if (end == BlockRoadEnd::Done) end = road.goOn(prepare(road.sorted()));
        if (end == BlockRoadEnd::Done && *s.matchVolume)
        {
            const double each = *s.particleSpacing * *s.particleSpacing * *s.particleSpacing;
            end = road.matchVolume(report.particles * each);
            report.settings.level = road.level() / s.valueAtLevelOne();
        }
        if (end == BlockRoadEnd::Done) end = road.goOn(_progress.begin("surface"));
        if (end == BlockRoadEnd::Done) end = road.extract(part);
        report.blocks = road.blockCount();
        report.bytes = std::max(report.bytes, road.bytes());
        if (_ranks) report.bytes = detail::largestOf(*_ranks, report.bytes);
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

    Status smooth(MeshPart& part)
    {
        const ReconstructionSettings& s = report.settings;
        if (*s.smoothing == 0) return Status::Done;
        if (const Status status = begin("smooth"); status != Status::Done) return status;
        const FairingSettings fairing{*s.smoothing, s.passesAtBends(), *s.particleSpacing / 2, s.threadCount};
        if (!detail::fairPart(part.mesh.refPos(), part.mesh.trindexPos(), part.border, fairing,
                              ProgressScope::poll))
            return Status::Stopped;
        part.mesh.invalidateBox();
        return Status::Done;
    }

    Status gatherForSteps(MeshPart& part)
    {
        if (_ranks && needsWhole()) gather(part);
        return Status::Done;
    }

    /// Brings the mesh to the first rank.
    void gather(MeshPart& part)
    {
        Mesh whole = gatherMesh(*_ranks, std::move(part));
        part = {};
        part.mesh = std::move(whole);
    }

    Status weld(MeshPart& part)
    {
        if (!report.settings.weldTolerance || !isFirst()) return Status::Done;
        if (!_progress.begin("weld")) return Status::Stopped;
        Mesh& mesh = part.mesh;
        dropNormals(mesh);
        weldVertices(mesh.refPos(), mesh.refTrindexPos(), {&*report.settings.weldTolerance, 1});
        mesh.invalidateBox();
        mesh.invalidateConnectivity();
        if (separateSheets(mesh).faces > 0) dropUnusedPositions(mesh);
        return mesh.getFacesSize() == 0 ? Status::NothingIsLeft : Status::Done;
    }

    Status fillHollows(MeshPart& part)
    {
        if (!report.settings.fillCavities || !isFirst()) return Status::Done;
        if (!_progress.begin("cavities")) return Status::Stopped;
        report.counts = fillCavities(part.mesh);
        return Status::Done;
    }

    Status decimate(MeshPart& part)
    {
        if (!report.settings.decimation || !isFirst()) return Status::Done;
        if (!_progress.begin("decimate")) return Status::Stopped;
        dropNormals(part.mesh);
        decimateMesh(part.mesh,
                     {.ratio = report.settings.decimation, .threadCount = report.settings.threadCount},
                     ProgressScope::poll);
        return Status::Done;
    }

    /// Of the vertices that this process has: every one has all its faces here.
    Status computeNormals(MeshPart& part)
    {
        if (!report.settings.normals)
        {
            dropNormals(part.mesh);
            return Status::Done;
        }
        if (!_progress.begin("normals")) return Status::Stopped;
        part.mesh.recalculateVertexesNormals(report.settings.threadCount, ProgressScope::poll);
        return Status::Done;
    }

    Status carryAttributes(MeshPart& part)
    {
        if (_attributes.empty()) return Status::Done;
        if (const Status status = begin("attributes"); status != Status::Done) return status;
        const double reach = report.settings.reach();
        const uint32 threads = report.settings.threadCount;
        const Array<Vector3D>& places = part.mesh.pos();
        if (_ranks)
        {
            const detail::ValuesAtPlaces around(*_ranks, *_deal, share(), places, reach, threads);
            carry(part.mesh, [&](const Array<Vector3F>& values)
                  { return around.interpolate(values, ProgressScope::poll); });
            return Status::Done;
        }
        const Array<uint32>& leftOut = report.leftOut;
        const NeighbourGrid grid(positions(), reach / 2, threads);
        carry(part.mesh,
              [&](const Array<Vector3F>& values)
              {
                  const Array<Vector3F> kept = leftOut.empty() ? Array<Vector3F>() : without(values, leftOut);
                  return interpolateAtPlaces(grid, leftOut.empty() ? values : kept, places, reach, threads,
                                             ProgressScope::poll);
              });
        return Status::Done;
    }

    /// Gives the mesh the attributes, with what interpolate(values of all particles) makes of them at its
    /// vertices.
    template <class Interpolate>
    void carry(Mesh& mesh, const Interpolate& interpolate) const
    {
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
    }

    /// Leaves the mesh where it is to be: with the first rank, or in parts, of which one has all where steps
    /// needed that or there are no others.
    Status handOver(MeshPart& part)
    {
        if (_ranks && _isGathered && !needsWhole()) gather(part);
        if (_isGathered || (_ranks && !needsWhole())) return Status::Done;
        const uint32 vertices = part.mesh.getPosSize(), faces = part.mesh.getFacesSize();
        part.numbers.resize(vertices);
        std::iota(part.numbers.begin(), part.numbers.end(), 0u);
        part.vertexRuns = {{0, vertices, 0}};
        part.faceRuns = {{0, faces, 0}};
        part.vertexCount = static_cast<uint32>(sum(vertices));
        part.faceCount = static_cast<uint32>(sum(faces));
        return Status::Done;
    }

    struct Scalar
    {
        const Array<float>& values;
        Array<float>& carried;
    };

    /// Three scalars at a time go as the axes of one vector.
    template <class Interpolate>
    static void carryScalars(const std::vector<Scalar>& scalars, const Interpolate& interpolate)
    {
        for (std::size_t first = 0; first < scalars.size(); first += 3)
        {
            const auto count = static_cast<uint32>(std::min<std::size_t>(scalars.size() - first, 3));
            Array<Vector3F> together(scalars[first].values.size(), Vector3F{0, 0, 0});
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
    RankGroup* _ranks;       ///< none: this process has all particles
    const bool _isGathered;  ///< the first rank is to get the whole mesh
    const std::vector<ParticleAttribute>& _attributes;
    ProgressScope& _progress;
    uint32 _firstNumber = 0;               ///< of this rank's particles among all
    Optional<detail::ParticleDeal> _deal;  ///< over the ranks
    Array<Vector3F> _kept;                 ///< when some are left out, or dealt
};

/// What is made of the particles; an empty mesh unless it is done.
ReconstructionReport reconstruct(const Array<Vector3F>& positions, RankGroup* ranks, bool isGathered,
                                 MeshPart& made, const ReconstructionSettings& settings,
                                 const std::vector<ParticleAttribute>& attributes,
                                 const ProgressCallback& progress)
{
    ProgressScope scope(progress);
    if (ranks && ranks->size() == 1)
        ranks = nullptr;  // who is alone needs nothing of what ranks tell each other
    Reconstruction reconstruction(positions, ranks, isGathered, attributes, settings, scope);
    made.mesh.setName("surface");
    reconstruction.report.status = reconstruction.run(made);
    if (reconstruction.report.status != ReconstructionStatus::Done) made = {};
    return std::move(reconstruction.report);
}

}  // namespace

ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, Mesh& mesh,
                                        const ReconstructionSettings& settings,
                                        const std::vector<ParticleAttribute>& attributes,
                                        const ProgressCallback& progress)
{
    MeshPart made;
    ReconstructionReport report = reconstruct(positions, nullptr, true, made, settings, attributes, progress);
    mesh = std::move(made.mesh);
    return report;
}

ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, RankGroup& ranks, Mesh& mesh,
                                        const ReconstructionSettings& settings,
                                        const std::vector<ParticleAttribute>& attributes,
                                        const ProgressCallback& progress)
{
    MeshPart made;
    ReconstructionReport report = reconstruct(positions, &ranks, true, made, settings, attributes, progress);
    mesh = std::move(made.mesh);
    return report;
}

ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, RankGroup& ranks, RankMesh& part,
                                        const ReconstructionSettings& settings,
                                        const std::vector<ParticleAttribute>& attributes,
                                        const ProgressCallback& progress)
{
    MeshPart made;
    ReconstructionReport report = reconstruct(positions, &ranks, false, made, settings, attributes, progress);
    part = std::move(made);
    return report;
}

}  // namespace tavrix
