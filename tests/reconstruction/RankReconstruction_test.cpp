// The surface that ranks make together is that of one process, byte for byte.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include <tavrix/meshproc/detail/PartFairing.h>
#include <tavrix/reconstruction/detail/BlockRoad.h>
#include <tavrix/tavrix.h>

#include "ThreadRanks.h"

using namespace tavrix;
using test::ThreadRanks;

namespace
{

using Status = ReconstructionStatus;

/// Particles with what they carry.
struct Scene
{
    Array<Vector3F> positions;
    Array<Vector3F> velocities;
    Array<float> heat;
};

class Random
{
public:
    explicit Random(uint32 seed) : _engine(seed) {}

    uint32 below(uint32 end) { return static_cast<uint32>(_engine() % end); }
    float unit() { return static_cast<float>(below(100001)) / 100000.0f; }

private:
    std::mt19937 _engine;
};

Scene withValues(Array<Vector3F> positions, Random& random)
{
    Scene scene{std::move(positions), {}, {}};
    for (uint32 n = 0; n < scene.positions.size(); ++n)
    {
        scene.velocities.push_back({random.unit(), random.unit(), random.unit()});
        scene.heat.push_back(random.unit());
    }
    return scene;
}

/// Pools 0.1 apart over several blocks, a spray beside them, and what is astray or nowhere.
Scene mixedScene(uint32 seed)
{
    Random random(seed);
    const auto jitter = [&] { return 0.03f * (random.unit() - 0.5f); };
    Array<Vector3F> positions;
    for (int i = 0; i < 22; ++i)
        for (int j = 0; j < 9; ++j)
            for (int k = 0; k < 14; ++k)
                positions.push_back({0.1f * static_cast<float>(i) + jitter() - 1,
                                     0.1f * static_cast<float>(j) + jitter(),
                                     0.1f * static_cast<float>(k) + jitter() + 3});
    for (int n = 0; n < 40; ++n)
        positions.push_back({4 * random.unit() - 2, 2 * random.unit(), 2.5f + 3 * random.unit()});
    positions.push_back({50, -70, 20});
    positions.push_back({NAN, 0, 0});
    // as a simulation may bring them, far from sorted
    for (uint32 n = positions.size(); n > 1; --n) std::swap(positions[n - 1], positions[random.below(n)]);
    return withValues(std::move(positions), random);
}

Scene sceneOf(std::initializer_list<Vector3F> positions)
{
    Random random(1);
    return withValues(Array<Vector3F>(positions), random);
}

/// A run of the scene's particles.
template <class T>
Array<T> run(const Array<T>& values, uint32 begin, uint32 end)
{
    return Array<T>(std::span<const T>(values.begin() + begin, values.begin() + end));
}

/// Where the shares of the ranks begin, at random; some have nothing.
std::vector<uint32> randomShares(uint32 count, uint32 ranks, Random& random)
{
    std::vector<uint32> cuts{0, count};
    for (uint32 r = 1; r < ranks; ++r) cuts.push_back(random.below(3) == 0 ? 0 : random.below(count + 1));
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

struct Made
{
    Mesh mesh;
    ReconstructionReport report;
};

Made makeAlone(const Scene& scene, const ReconstructionSettings& settings)
{
    Made made;
    const std::vector<ParticleAttribute> attributes{{"Velocity", &scene.velocities}, {"Heat", &scene.heat}};
    made.report = reconstructSurface(scene.positions, made.mesh, settings, attributes);
    return made;
}

/// What each rank gets.
std::vector<Made> makeOverRanks(const Scene& scene, const ReconstructionSettings& settings, uint32 ranks,
                                Random& random)
{
    const std::vector<uint32> cuts = randomShares(scene.positions.size(), ranks, random);
    std::vector<Made> made(ranks);
    ThreadRanks::run(ranks,
                     [&](RankGroup& group)
                     {
                         const uint32 r = group.rank(), begin = cuts[r], end = cuts[r + 1];
                         const Scene share{run(scene.positions, begin, end),
                                           run(scene.velocities, begin, end), run(scene.heat, begin, end)};
                         const std::vector<ParticleAttribute> attributes{{"Velocity", &share.velocities},
                                                                         {"Heat", &share.heat}};
                         made[r].report =
                             reconstructSurface(share.positions, group, made[r].mesh, settings, attributes);
                     });
    return made;
}

void expectSameReport(const ReconstructionReport& a, const ReconstructionReport& b)
{
    EXPECT_EQ(a.status, b.status);
    EXPECT_EQ(a.particles, b.particles);
    EXPECT_EQ(a.infinite, b.infinite);
    EXPECT_EQ(a.strays, b.strays);
    EXPECT_EQ(a.settings.radius, b.settings.radius);
    EXPECT_EQ(a.radiusIsEstimated, b.radiusIsEstimated);
    EXPECT_EQ(a.highestLevel, b.highestLevel);
    if (b.status != Status::Done) return;
    EXPECT_EQ(a.settings.level, b.settings.level);
    EXPECT_EQ(a.blocks, b.blocks);
    EXPECT_EQ(a.box, b.box);
}

void expectSameMesh(const Mesh& a, const Mesh& b)
{
    ASSERT_EQ(a.getPosSize(), b.getPosSize());
    EXPECT_TRUE(a.pos() == b.pos());
    EXPECT_TRUE(a.trindexPos() == b.trindexPos());
    EXPECT_TRUE(a.nor() == b.nor());
    ASSERT_EQ(a.findArray<float>("Heat") != nullptr, b.findArray<float>("Heat") != nullptr);
    if (!a.findArray<float>("Heat")) return;
    EXPECT_TRUE(*a.findArray<float>("Heat") == *b.findArray<float>("Heat"));
    EXPECT_TRUE(*a.findArray<Vector3F>("Velocity") == *b.findArray<Vector3F>("Velocity"));
}

void expectSameOverRanks(const Scene& scene, const ReconstructionSettings& settings,
                         const std::vector<uint32>& rankCounts, uint32 seed)
{
    Random random(seed);
    const Made alone = makeAlone(scene, settings);
    for (const uint32 ranks : rankCounts)
    {
        SCOPED_TRACE(std::to_string(ranks) + " ranks");
        ReconstructionSettings each = settings;
        each.threadCount = 1 + ranks % 2;
        const std::vector<Made> made = makeOverRanks(scene, each, ranks, random);
        uint32 leftOut = 0;
        for (const Made& m : made)
        {
            expectSameReport(m.report, alone.report);
            leftOut += m.report.leftOut.size();
        }
        EXPECT_EQ(leftOut, alone.report.leftOut.size());
        expectSameMesh(made[0].mesh, alone.mesh);
        for (uint32 r = 1; r < ranks; ++r) EXPECT_TRUE(made[r].mesh.isEmpty());
    }
}

}  // namespace

TEST(RankReconstruction, MakesTheMeshOfOneProcess)
{
    uint32 seed = 0;
    for (const auto kernel : {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
        for (const auto quality : {SurfaceQuality::Normal, SurfaceQuality::Smooth})
        {
            SCOPED_TRACE(std::to_string(static_cast<int>(kernel)) + " " +
                         std::to_string(static_cast<int>(quality)));
            ReconstructionSettings settings{.quality = quality, .kernel = kernel, .threadCount = 2};
            if (kernel == SurfaceKernel::Distance) settings.radius = 0.09;
            expectSameOverRanks(mixedScene(seed), settings, {1, 3, 4}, seed);
            settings.leastNeighbours = 1 + seed % 3;
            settings.weldTolerance = 0.004;
            settings.fillCavities = true;
            settings.cleanUp = seed % 2 == 0;
            expectSameOverRanks(mixedScene(seed), settings, {2, 7}, seed);
            ++seed;
        }
}

TEST(RankReconstruction, AgreesOnScenesThatAreOdd)
{
    const Vector3F nowhere{INFINITY, 0, 0};
    const std::vector<Scene> scenes{
        sceneOf({}),
        sceneOf({nowhere, nowhere}),
        sceneOf({{1, 2, 3}}),
        sceneOf({{1, 2, 3}, {1, 2, 3}, nowhere}),
        sceneOf({{0, 0, 0}, {0.1f, 0, 0}, {-0.0f, 0.1f, 0}}),
        sceneOf({{0, 0, 0}, {1e9f, 0, 0}, {1e9f, 100, 0}}),
        sceneOf({{-1e4f, 0, 0}, {1e4f, 3, 0}, {1e4f, 3.1f, 0}, {1e4f, 3.1f, 0.1f}})};
    for (std::size_t n = 0; n < scenes.size(); ++n)
        for (const auto kernel :
             {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
        {
            SCOPED_TRACE(n);
            for (const uint32 least : {0u, 1u})
                expectSameOverRanks(scenes[n], {.kernel = kernel, .leastNeighbours = least}, {1, 3}, 5);
            expectSameOverRanks(scenes[n], {.kernel = kernel, .radius = 0.07}, {2, 4}, 6);
            expectSameOverRanks(scenes[n], {.kernel = kernel, .radius = 0.07, .level = 50}, {2}, 6);
        }
}

TEST(RankReconstruction, StopsOnAllRanksWhenOneIsStoppedOrLacksMemory)
{
    const Scene scene = mixedScene(3);
    for (const auto kernel : {SurfaceKernel::Metaball, SurfaceKernel::Anisotropic})
        for (const char* stage : {"field", "surface", "smooth", "normals", "attributes"})
        {
            std::vector<Status> ends(3);
            ThreadRanks::run(
                3,
                [&](RankGroup& group)
                {
                    // the first does what is left at the end
                    const bool stops = group.rank() == (stage[0] == 's' && stage[1] == 'u');
                    const auto go = [&](const std::string& now, double) { return !stops || now != stage; };
                    const Scene& none = sceneOf({});
                    const Scene& share = group.rank() == 1 ? scene : none;
                    Mesh mesh;
                    const auto report = reconstructSurface(share.positions, group, mesh, {.kernel = kernel},
                                                           {{"Heat", &share.heat}}, go);
                    ends[group.rank()] = report.status;
                    EXPECT_TRUE(mesh.isEmpty());
                });
            for (const Status end : ends) EXPECT_EQ(end, Status::Stopped) << stage;
        }
    for (const uint64 bytes : {10000u, 2000000u})
        ThreadRanks::run(3,
                         [&](RankGroup& group)
                         {
                             ReconstructionSettings settings;
                             if (group.rank() == 0) settings.memory = bytes;
                             Mesh mesh;
                             const auto report = reconstructSurface(scene.positions, group, mesh, settings);
                             EXPECT_EQ(report.status, Status::TooLarge);
                             EXPECT_GT(report.bytes, static_cast<double>(bytes));
                         });
}

TEST(RankReconstruction, IsForecast)
{
    const Scene scene = mixedScene(4);
    for (const auto kernel : {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
    {
        const ReconstructionSettings settings{.kernel = kernel, .radius = 0.07, .spacing = 0.011};
        const auto forecast = forecastRanks(scene.positions, settings, {1, 4, 100000});
        ASSERT_TRUE(forecast);
        const Made made = makeAlone(scene, settings);
        EXPECT_EQ(forecast->particles, made.report.particles);
        const bool isLike = kernel != SurfaceKernel::Anisotropic;  // for which others stand
        EXPECT_NEAR(forecast->vertices / made.mesh.getPosSize(), 1, isLike ? 0.12 : 0.3);
        EXPECT_TRUE(kernel != SurfaceKernel::Metaball || forecast->blocks == made.report.blocks);
        const RankLoads &one = forecast->loads[0], &few = forecast->loads[1], &many = forecast->loads[2];
        EXPECT_EQ(one.dealt, forecast->particles);
        EXPECT_EQ(one.mostDealt, forecast->particles);
        EXPECT_EQ(one.mostBlocks, forecast->blocks);
        EXPECT_TRUE(one.imbalance == 1 && one.mostSurface == 1);
        EXPECT_TRUE(few.dealt > one.dealt && few.dealt < 4 * one.dealt);
        // ellipsoids need particles from so far around that a rank may get all
        EXPECT_TRUE(few.mostDealt >= few.dealt / 4 && few.mostDealt < one.dealt + (isLike ? 0 : 1));
        EXPECT_TRUE(few.imbalance < 1.3 && few.mostSurface < 0.4);
        EXPECT_TRUE(many.mostBlocks >= 1 && many.mostBlocks < few.mostBlocks);
    }
    EXPECT_FALSE(forecastRanks({}, {}, {2}));
    EXPECT_FALSE(forecastRanks({{1, 2, 3}, {1, 2, 3}}, {}, {2}));
    EXPECT_FALSE(forecastRanks({{0, 0, 0}, {1e9f, 0, 0}}, {.radius = 0.01}, {2}));
}

TEST(RankReconstruction, SharesTheSidesOfACubeOutEvenly)
{
    // five blocks of eight particles a side, so that what lies beyond its sides are other blocks, without
    // particles
    Random random(5);
    Array<Vector3F> positions;
    for (int n = 0; n < 40 * 40 * 40; ++n)
    {
        const auto place = [&](int at) { return 0.05f * (static_cast<float>(at) + 0.4f * random.unit()); };
        const float x = place(n / 40 / 40), y = place(n / 40 % 40), z = place(n % 40);
        positions.push_back({x, y, z});
    }
    for (const uint32 ranks : {2u, 4u})
        ThreadRanks::run(ranks,
                         [&](RankGroup& group)
                         {
                             const uint32 count = positions.size(), r = group.rank();
                             RankMesh part;
                             reconstructSurface(run(positions, count / ranks * r, count / ranks * (r + 1)),
                                                group, part, {.radius = 0.025, .smoothing = 0});
                             uint32 own = 0;
                             for (const MeshRun& vertices : part.vertexRuns) own += vertices.count;
                             EXPECT_LT(own * ranks, 1.15 * part.vertexCount) << ranks << " ranks";
                         });
}

namespace
{

/// Gives every block to any of the ranks; the last gets none.
class AnyOwner : public detail::BlockOwners
{
public:
    AnyOwner(uint32 ranks, uint64 seed) : _owners(ranks - 1), _seed(seed) {}
    uint32 ownerOf(const detail::BlockPlace& block) const override
    {
        uint64 mixed = _seed;
        for (const int64 index : block) mixed = (mixed ^ static_cast<uint64>(index)) * 0x9E3779B97F4A7C15u;
        return static_cast<uint32>((mixed >> 40) % _owners);
    }

private:
    uint32 _owners;
    uint64 _seed;
};

/// Balls, and the road to their surface; where `isOnNodes` all lies such that vertices coincide at nodes.
struct Balls
{
    explicit Balls(bool onNodes) : isOnNodes(onNodes), positions(onNodes ? nodes() : mixedScene(8).positions)
    {
    }

    /// The smoothed surface of the balls that reach the blocks of the share, with normals.
    void make(const detail::BlockShare& share, detail::MeshPart& part) const
    {
        // within 5 steps the depth is 3 steps, also where a node lies 3 and 4 steps away along two axes
        const detail::BallKernel kernel =
            isOnNodes ? detail::BallKernel{detail::SplatMerge::Depth, 1, 1} : detail::metaballKernel(60);
        const double spacing = isOnNodes ? 0.0625 : 0.021;
        const float radius = isOnNodes ? 0.5f : 0.06f, level = isOnNodes ? 0.1875f : 0.8f;
        const auto ball = [&](uint32 n) {
            return detail::Particle{positions[n].x, positions[n].y, positions[n].z, radius};
        };
        detail::Polling none(nullptr);
        detail::BlockRoad<detail::BallKernel> road({kernel, spacing, level, {true, false, 1e12, 0, 0, 1, {}}},
                                                   none, share);
        ASSERT_EQ(road.sort(positions.size(), ball), detail::BlockRoadEnd::Done);
        ASSERT_TRUE(isOnNodes || road.matchVolume(3.0) == detail::BlockRoadEnd::Done);
        ASSERT_EQ(road.extract(part), detail::BlockRoadEnd::Done);
        Mesh& mesh = part.mesh;
        const FairingSettings fairing{12, 4, 0.5 * spacing, 1};
        ASSERT_TRUE(detail::fairPart(mesh.refPos(), mesh.trindexPos(), part.border, fairing, nullptr));
        mesh.recalculateVertexesNormals(1);
    }

    bool isOnNodes;
    Array<Vector3F> positions;

private:
    static Array<Vector3F> nodes()
    {
        Random random(9);
        Array<Vector3F> places;
        const auto node = [&] { return 0.0625f * static_cast<float>(random.below(64)) - 2; };
        for (uint32 n = 0; n < 110; ++n) places.push_back({node(), node(), node()});
        return places;
    }
};

}  // namespace

TEST(RankReconstruction, NoOwnershipOfBlocksShows)
{
    for (const bool isOnNodes : {false, true})
    {
        const Balls balls(isOnNodes);
        detail::MeshPart alone;
        balls.make({}, alone);
        ASSERT_GT(alone.mesh.getFacesSize(), 10000u);
        for (const uint32 ranks : {2u, 5u, 11u})
        {
            SCOPED_TRACE(std::to_string(ranks) + " ranks");
            Mesh mesh;
            ThreadRanks::run(ranks,
                             [&](RankGroup& group)
                             {
                                 const AnyOwner owners(ranks, 77 * ranks);
                                 detail::MeshPart part;
                                 balls.make({group, owners}, part);
                                 Mesh whole = gatherMesh(group, std::move(part));
                                 if (group.rank() == 0) mesh = std::move(whole);
                             });
            expectSameMesh(mesh, alone.mesh);
        }
    }
}
