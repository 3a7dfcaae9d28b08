#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include <algorithm>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/meshproc/VertexWelding.h>
#include <tavrix/particles/ParticleNeighbours.h>

namespace tavrix
{

namespace
{

using Field = ScalarField3<float, double>;
using Status = ReconstructionStatus;

/// Bytes that the work needs for each node: a float sample, a sign bit, and a share for the surface.
constexpr double bytesPerNode = 5;

/// The values without those of the numbers, which ascend.
Array<Vector3F> without(const Array<Vector3F>& values, const Array<uint32>& numbers)
{
    Array<Vector3F> kept(values.size() - numbers.size());
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
             {&Reconstruction::settle, &Reconstruction::leaveOutStrays, &Reconstruction::fitLattice,
              &Reconstruction::buildField, &Reconstruction::extract, &Reconstruction::relax,
              &Reconstruction::weld, &Reconstruction::computeNormals, &Reconstruction::carryAttributes})
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

    Status fitLattice(Mesh&)
    {
        report.box = boxAround(positions());
        report.grid = fitGrid(report.box, report.settings.reach(), *report.settings.spacing);
        report.bytes = report.grid.nodeCount() * bytesPerNode;
        const auto granted = static_cast<double>(report.settings.memory.value_or(~uint64{0}));
        return report.grid.isIndexable() && report.bytes <= granted ? Status::Done : Status::TooLarge;
    }

    Status buildField(Mesh&)
    {
        if (!_progress.begin("field")) return Status::Stopped;
        const ReconstructionSettings& s = report.settings;
        const Index3 size = report.grid.size();
        _field.reset(size.a, size.b, size.c, *s.spacing);
        _field.moveTo(report.grid.center);
        const auto margin = static_cast<float>(s.reach() + *s.spacing);
        const auto radii = [&](double radius)
        { return Array<float>(positions().size(), static_cast<float>(radius)); };
        switch (s.kernel)
        {
            case SurfaceKernel::Distance:
                _field.setDistanceField(positions(), radii(*s.radius), margin, s.threadCount,
                                        ProgressScope::poll);
                break;
            case SurfaceKernel::Metaball:
                _field.setMetaballField(positions(), radii(*s.radius), margin,
                                        static_cast<float>(*s.influence), s.threadCount, ProgressScope::poll);
                break;
            case SurfaceKernel::Anisotropic:
                _field.setAnisotropyDistanceField(positions(), radii(s.reach() / 2), margin,
                                                  AnisotropySettings{}, s.threadCount, ProgressScope::poll);
                break;
        }
        return Status::Done;
    }

    /// The extractor's faces look towards larger samples, that is into the particles.
    Status extract(Mesh& mesh)
    {
        if (!_progress.begin("surface")) return Status::Stopped;
        const ReconstructionSettings& s = report.settings;
        IsosurfaceExtractor3::extractMesh(_field, mesh, static_cast<float>(*s.level) * s.valueAtLevelOne(), 0,
                                          0, 0, 0, 0, 0, s.threadCount, ProgressScope::poll, s.cleanUp);
        if (_progress.isStopped()) return Status::Stopped;
        if (mesh.isEmpty())
        {
            float low, high;
            _field.findMinMax(low, high);
            report.highestLevel = high / s.valueAtLevelOne();
            return Status::NoSurface;
        }
        _field.reset_toZeroSize();
        turnFaces(mesh);
        return Status::Done;
    }

    /// As smooth as diffusing the field, in half the time, and drops and sheets neither vanish nor merge.
    Status relax(Mesh& mesh)
    {
        if (report.settings.smoothing == 0) return Status::Done;
        if (!_progress.begin("smooth")) return Status::Stopped;
        IsosurfaceExtractor3::tension(mesh, 0.5f, 0.0f, report.settings.smoothing,
                                      report.settings.threadCount, ProgressScope::poll);
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
        return mesh.getFacesSize() == 0 ? Status::NothingIsLeft : Status::Done;
    }

    Status computeNormals(Mesh& mesh)
    {
        if (!report.settings.normals)
        {
            dropNormals(mesh);
            return Status::Done;
        }
        if (!_progress.begin("normals")) return Status::Stopped;
        mesh.recalculateNormalsParallelized(report.settings.threadCount);
        return Status::Done;
    }

    Status carryAttributes(Mesh& mesh)
    {
        if (_attributes.empty()) return Status::Done;
        if (!_progress.begin("attributes")) return Status::Stopped;
        const double reach = report.settings.reach();
        const uint32 threads = report.settings.threadCount;
        const NeighbourGrid grid(positions(), reach / 2, threads);
        for (const ParticleAttribute& attribute : _attributes)
        {
            const Array<Vector3F> kept =
                report.leftOut.empty() ? Array<Vector3F>() : without(attribute.values, report.leftOut);
            Array<Vector3F> values =
                interpolateAtPlaces(grid, report.leftOut.empty() ? attribute.values : kept, mesh.refPos(),
                                    reach, threads, ProgressScope::poll);
            mesh.addArray<Vector3F>(TX_String(attribute.name)).swap(values);
        }
        return Status::Done;
    }

    const Array<Vector3F>& _all;
    const std::vector<ParticleAttribute>& _attributes;
    ProgressScope& _progress;
    Array<Vector3F> _kept;  ///< when some are left out
    Field _field;
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
