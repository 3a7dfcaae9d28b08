#include <tavrix/reconstruction/SolidSurface.h>

#include <algorithm>
#include <cmath>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/reconstruction/detail/BlockRoad.h>
#include <tavrix/reconstruction/detail/SolidFinder.h>

namespace tavrix
{

namespace
{

using detail::BlockRoadEnd;

SolidStatus statusOf(BlockRoadEnd end)
{
    switch (end)
    {
        case BlockRoadEnd::Done:
            return SolidStatus::Done;
        case BlockRoadEnd::Stopped:
            return SolidStatus::Stopped;
        case BlockRoadEnd::TooWide:
            return SolidStatus::TooWide;
        case BlockRoadEnd::TooLarge:
            return SolidStatus::TooLarge;
        default:
            return SolidStatus::NoSurface;
    }
}

detail::LatticeSteps stepsOf(double spacing) { return {{1 / spacing, 1 / spacing, 1 / spacing}, spacing}; }

detail::BlockMeshPlan meshPlanOf(const SolidSettings& settings, bool turnsFaces)
{
    return {settings.cleanUp,
            turnsFaces,
            static_cast<double>(settings.memory.value_or(~uint64{0})),
            settings.fillCavities ? 14.0 : 0.0,
            settings.fillCavities ? 45.0 : 0.0,
            settings.threadCount};
}

detail::SolidShape shapeOf(const SolidSettings& settings)
{
    detail::SolidShape shape{settings.offset};
    if (settings.shell) shape.wall = *settings.shell;
    return shape;
}

/// The box around the surface that the offset moves, in steps.
detail::LatticeExtent extentOf(const Box3D& box, const SolidSettings& settings)
{
    detail::LatticeExtent extent{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        extent.low[axis] = box.min[axis] / settings.spacing;
        extent.high[axis] = box.max[axis] / settings.spacing;
        extent.reach[axis] = std::max(settings.offset, 0.0) / settings.spacing + 2;
    }
    return extent;
}

/// The last block of a lattice that an extent reaches.
detail::BlockIndex lastBlock(const detail::BlockLattice& lattice, const detail::LatticeExtent& extent)
{
    detail::BlockIndex last;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double steps =
            extent.high[axis] + extent.reach[axis] - static_cast<double>(lattice.firstNode[axis]);
        last[axis] = static_cast<uint32>(steps) >> detail::blockShift;
    }
    return last;
}

BlockRoadEnd extractSolid(const detail::SolidDistance& distance, const Box3D& box,
                          const SolidSettings& settings, ProgressScope& progress, detail::Polling& polling,
                          SolidReport& report, Mesh& mesh)
{
    const detail::LatticeExtent extent = extentOf(box, settings);
    if (!isCoverable(extent)) return BlockRoadEnd::TooWide;
    const detail::BlockLattice lattice = latticeOver(stepsOf(settings.spacing), extent);
    const detail::SolidShape shape = shapeOf(settings);
    const std::vector<detail::BlockIndex> blocks =
        findSolidBlocks(distance, shape, lattice, lastBlock(lattice, extent), settings.threadCount, polling);
    report.blocks = blocks.size();
    if (polling.isStopped() || !progress.begin("surface")) return BlockRoadEnd::Stopped;
    std::vector<detail::SolidFinder> finders;
    for (uint32 w = 0; w < settings.threadCount; ++w) finders.emplace_back(distance, shape, lattice);
    detail::BlockExtraction<detail::SolidFinder> extraction(std::move(finders), polling);
    const detail::BlockMeshPlan plan = meshPlanOf(settings, true);
    if (!extraction.run(blocks, plan.bytes)) return BlockRoadEnd::Stopped;
    if (extraction.size().faces == 0) return BlockRoadEnd::NoSurface;
    report.bytes = plan.bytesOf(extraction.size(), 0);
    if (!plan.fits(extraction.size(), 0)) return BlockRoadEnd::TooLarge;
    return assembleByPlan(extraction.surfaces(), plan, polling, mesh);
}

SolidReport reshape(const Mesh& solid, Mesh& mesh, const SolidSettings& settings, ProgressScope& progress)
{
    SolidReport report;
    const Box3D box = boxOfFaces(solid);
    const auto ended = [&](SolidStatus status)
    {
        report.status = status;
        return report;
    };
    if (box.isEmpty()) return ended(SolidStatus::NoFaces);
    if (!progress.begin("distances")) return ended(SolidStatus::Stopped);
    MeshCollider collider;
    collider.create(solid, settings.threadCount);
    const detail::SolidDistance distance(collider, settings.isSheet, settings.spacing * 1e-9);
    detail::Polling polling(ProgressScope::poll);
    if (!settings.isSheet && (settings.shell || settings.offset < 0))
        report.depth = findDepth(distance, box, settings.spacing / 4,
                                 settings.spacing + settings.shell.value_or(0) - settings.offset);
    return ended(statusOf(extractSolid(distance, box, settings, progress, polling, report, mesh)));
}

SolidReport uniteSpheres(const Array<Vector3F>& centers, double radius, Mesh& mesh,
                         const SolidSettings& settings, ProgressScope& progress)
{
    if (!progress.begin("distances")) return {SolidStatus::Stopped};
    // depths are cut at 0, so that the surface lies at one of two spacings
    const double level = 2 * settings.spacing;
    const auto reach = static_cast<float>(radius + settings.offset + level);
    const auto ball = [&](uint32 n) {
        return detail::Particle{centers[n].x, centers[n].y, centers[n].z, reach};
    };
    detail::Polling polling(ProgressScope::poll);
    detail::BlockRoad<detail::BallKernel> road({{detail::SplatMerge::Depth, 1.0f, 1.0f},
                                                settings.spacing,
                                                static_cast<float>(level),
                                                meshPlanOf(settings, false)},
                                               polling);
    detail::MeshPart made;
    BlockRoadEnd end = road.sort(centers.size(), ball);
    if (end == BlockRoadEnd::Done)
        end = progress.begin("surface") ? road.extract(made) : BlockRoadEnd::Stopped;
    mesh = std::move(made.mesh);
    return {statusOf(end), road.blockCount(), road.bytes()};
}

/// Fills the cavities of what was made, when that is asked for.
void finish(Mesh& made, SolidReport& report, const SolidSettings& settings, ProgressScope& progress)
{
    if (report.status != SolidStatus::Done || !settings.fillCavities) return;
    if (progress.begin("cavities"))
        report.counts = fillCavities(made);
    else
        report.status = SolidStatus::Stopped;
}

SolidSettings settled(const SolidSettings& settings)
{
    SolidSettings result = settings;
    if (result.threadCount == 0) result.threadCount = Hardware::getThreadCount();
    return result;
}

}  // namespace

SolidReport reshapeSolid(const Mesh& solid, Mesh& mesh, const SolidSettings& settings,
                         const ProgressCallback& progress)
{
    ProgressScope scope(progress);
    Mesh made;
    SolidReport report = reshape(solid, made, settled(settings), scope);
    finish(made, report, settings, scope);
    mesh = report.status == SolidStatus::Done ? std::move(made) : Mesh();
    return report;
}

SolidReport reshapeSpheres(const Array<Vector3F>& centers, double radius, Mesh& mesh,
                           const SolidSettings& settings, const ProgressCallback& progress)
{
    ProgressScope scope(progress);
    SolidSettings united = settled(settings);
    united.offset = std::max(settings.offset, 0.0);
    united.shell = {};
    Mesh made;
    SolidReport report = uniteSpheres(centers, radius, made, united, scope);
    if (report.status == SolidStatus::Done && (settings.shell || settings.offset < 0))
    {
        SolidSettings rest = settled(settings);
        rest.offset = std::min(settings.offset, 0.0);
        Mesh reshaped;
        report = reshape(made, reshaped, rest, scope);
        made = std::move(reshaped);
    }
    finish(made, report, settings, scope);
    mesh = report.status == SolidStatus::Done ? std::move(made) : Mesh();
    return report;
}

}  // namespace tavrix
