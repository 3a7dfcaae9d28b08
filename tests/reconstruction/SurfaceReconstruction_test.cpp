#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include <tavrix/tavrix.h>

using namespace tavrix;

using Status = ReconstructionStatus;

/// A shaken ball of particles 0.1 apart, and far from it a lone one and one that is not finite.
static Array<Vector3F> ballAndStrays()
{
    std::mt19937 random(2);
    const auto jitter = [&] { return (static_cast<float>(random() % 1001) / 1000.0f - 0.5f) * 0.03f; };
    Array<Vector3F> positions{{NAN, 0, 0}};
    for (int i = -6; i <= 6; ++i)
        for (int j = -6; j <= 6; ++j)
            for (int k = -6; k <= 6; ++k)
                if (i * i + j * j + k * k <= 36)
                    positions.push_back({0.1f * static_cast<float>(i) + jitter(),
                                         0.1f * static_cast<float>(j) + jitter(),
                                         0.1f * static_cast<float>(k) + jitter()});
    positions.push_back({1.5f, 0, 0});
    return positions;
}

TEST(SurfaceReconstruction, MakesAClosedSurfaceThatFacesOutwards)
{
    const Array<Vector3F> positions = ballAndStrays();
    EXPECT_NEAR(*settledFor({}, positions).radius, 0.05, 0.005);
    Array<Vector3F> velocities(positions.size(), Vector3F{1, 2, 3});
    velocities[0] = {9e9f, 0, 0};  // of a particle that is left out
    Array<float> heights(positions.size());
    for (uint32 n = 0; n < heights.size(); ++n) heights[n] = positions[n].y;
    const std::vector<ParticleAttribute> attributes{
        {"Velocity", &velocities}, {"Height", &heights}, {"Place", &positions}};
    for (const auto kernel : {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
    {
        const bool areBalls = kernel == SurfaceKernel::Distance;  // which leave gaps unless they overlap
        ReconstructionSettings settings{.kernel = kernel,
                                        .radius = areBalls ? 0.11 : 0.07,
                                        .particleSpacing = 0.1,
                                        .leastNeighbours = 2,
                                        .smoothing = 20};
        Mesh first;
        for (const uint32 threads : {1u, 3u})
        {
            settings.threadCount = threads;
            Mesh mesh;
            std::string stages, last;
            double before = 0, most = 0;
            const auto tell = [&](const char* stage, double done)
            {
                if (stage != last) stages += std::string(last = stage) + " ", before = 0;
                EXPECT_TRUE(done >= before && done <= 1) << stage;
                most = std::max(most, before = done);
                return true;
            };
            const auto report = reconstructSurface(positions, mesh, settings, attributes, tell);
            ASSERT_EQ(report.status, Status::Done);
            EXPECT_EQ(stages, "field surface smooth normals attributes ");
            EXPECT_GT(most, 0.9);
            EXPECT_EQ(report.leftOut, (Array<uint32>{0, positions.size() - 1}));
            EXPECT_EQ(report.infinite, 1u);
            EXPECT_EQ(report.strays, 1u);
            EXPECT_FALSE(report.radiusIsEstimated);
            EXPECT_LT(report.box.max.x, 0.7);
            const MeshTopology topology = computeTopology(mesh);
            EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
            const double held = 0.001 * report.particles;
            EXPECT_NEAR(signedVolume(mesh) / held, 1, areBalls ? 0.4 : 0.04);
            ASSERT_EQ(mesh.nor().size(), mesh.pos().size());
            for (uint32 n = 0; n < mesh.getPosSize(); ++n)
            {
                const auto p = convert<float>(mesh.pos()[n]);
                EXPECT_GT(dot(p, mesh.nor()[n]), 0.0f) << "inwards";
                EXPECT_LT(length((*mesh.findArray<Vector3F>("Velocity"))[n] - Vector3F{1, 2, 3}), 1e-5f);
                const Vector3F place = (*mesh.findArray<Vector3F>("Place"))[n];
                EXPECT_LT(length(place - p), 0.2f) << "linear in space";
                EXPECT_EQ((*mesh.findArray<float>("Height"))[n], place.y);
            }
            if (threads == 1) first = mesh;
            EXPECT_EQ(mesh.pos(), first.pos());
            EXPECT_EQ(mesh.trindexPos(), first.trindexPos());
        }
    }
}

TEST(SurfaceReconstruction, SpraysBecomeManifolds)
{
    // every other spray lies on the lattice, where the surface of balls touches itself at nodes
    uint32 contacts = 0;
    for (uint32 seed = 0; seed < 4; ++seed)
    {
        std::mt19937 random(seed);
        const auto unit = [&] { return static_cast<float>(random() % 1001) / 1000.0f; };
        const auto placed = [&](float v) { return seed % 2 == 0 ? v : std::round(v / 0.0125f) * 0.0125f; };
        Array<Vector3F> spray;
        for (uint32 n = 0; n < 300; ++n)
            spray.push_back({placed(0.3f * unit()), placed(0.3f * unit()), placed(0.3f * unit())});
        for (const auto kernel :
             {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
            for (const double weld : {0.0, 0.005, 0.02})
            {
                ReconstructionSettings settings{.kernel = kernel,
                                                .radius = 0.025,
                                                .spacing = 0.0125,
                                                .smoothing = seed / 2 * 10,
                                                .threadCount = 1 + seed % 3};
                if (weld > 0) settings.weldTolerance = weld;
                Mesh mesh;
                ASSERT_EQ(reconstructSurface(spray, mesh, settings).status, Status::Done);
                const MeshTopology topology = computeTopology(mesh);
                EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
                EXPECT_EQ(topology.nonManifoldEdgeCount, 0u);
                EXPECT_EQ(topology.nonManifoldVertexCount, 0u);
                EXPECT_EQ(topology.collapsedFaceCount, 0u);
                EXPECT_EQ(topology.positionCount, mesh.getPosSize());
                contacts += topology.selfContactCount;
            }
    }
    EXPECT_GT(contacts, 50u) << "there is something to be cut apart";
}

TEST(SurfaceReconstruction, EnclosesWhatTheParticlesHold)
{
    // a ball, a sheet two particles thick, a thread and a lone one, a lattice shaken
    std::mt19937 random(5);
    const auto fill = [&](auto isInside)
    {
        Array<Vector3F> positions;
        const auto away = [&] { return 0.3f * (static_cast<float>(random() % 2001) / 1000.0f - 1); };
        for (int i = -9; i <= 9; ++i)
            for (int j = -9; j <= 9; ++j)
                for (int k = -9; k <= 9; ++k)
                {
                    const Vector3F p{static_cast<float>(i) + 0.5f + away(), static_cast<float>(j) + away(),
                                     static_cast<float>(k) + away()};
                    if (isInside(p, i, j, k)) positions.push_back(p);
                }
        return positions;
    };
    const auto ball = fill([](const Vector3F& p, int, int, int) { return length(p) < 7; });
    const auto sheet = fill([](const Vector3F&, int i, int, int) { return i == 0 || i == -1; });
    const auto thread = fill([](const Vector3F&, int i, int j, int) { return i == 0 && j == 0; });
    struct Case
    {
        const Array<Vector3F>& positions;
        ReconstructionSettings settings;
        double low, high;
    };
    const Array<Vector3F> lone{{3, 2, 1}};
    for (const Case& c :
         {Case{ball, {}, 0.98, 1.02}, Case{ball, {.influence = 80}, 0.98, 1.02},
          Case{ball, {.influence = 100}, 0.98, 1.02}, Case{ball, {.spacing = 0.5}, 0.97, 1.02},
          Case{ball, {.smoothing = 10}, 0.98, 1.02},
          Case{ball, {.kernel = SurfaceKernel::Anisotropic}, 0.97, 1.03},
          Case{ball, {.kernel = SurfaceKernel::Anisotropic, .influence = 100}, 0.97, 1.04},
          Case{sheet, {}, 0.97, 1.03}, Case{sheet, {.kernel = SurfaceKernel::Anisotropic}, 0.9, 1.05},
          Case{thread, {}, 0.93, 1.05}, Case{thread, {.smoothing = 1000}, 0.93, 1.05},
          Case{lone, {}, 0.85, 1}, Case{lone, {.kernel = SurfaceKernel::Anisotropic}, 0.85, 1},
          Case{ball, {.quality = SurfaceQuality::Smooth}, 0.995, 1.005},
          Case{thread, {.matchVolume = true, .smoothing = 0}, 0.99, 1.01},
          Case{ball, {.kernel = SurfaceKernel::Distance, .matchVolume = true}, 0.98, 1.02}})
    {
        ReconstructionSettings settings = c.settings;
        settings.radius = 0.5;
        Mesh mesh, again;
        ASSERT_EQ(reconstructSurface(c.positions, mesh, settings).status, Status::Done);
        const double share = signedVolume(mesh) / c.positions.size();
        EXPECT_TRUE(share > c.low && share < c.high)
            << share << " case " << c.low << " " << c.positions.size();
        settings.threadCount = 3;
        ASSERT_EQ(reconstructSurface(c.positions, again, settings).status, Status::Done);
        EXPECT_EQ(again.pos(), mesh.pos());
    }
    // twice as tight: less than half the way from the surface to the centre
    Mesh loose, tight;
    reconstructSurface(ball, loose, {.radius = 0.5, .level = 0.5});
    reconstructSurface(ball, tight, {.radius = 0.5, .level = 1.5});
    EXPECT_GT(signedVolume(loose), 1.1 * ball.size());
    EXPECT_LT(signedVolume(tight), 0.9 * ball.size());
}

TEST(SurfaceReconstruction, FillsCavities)
{
    Array<Vector3F> shell;
    for (const Vector3F& p : ballAndStrays())
        if (isFinite(p) && length(p) > 0.3f && length(p) < 1) shell.push_back(p);
    const ReconstructionSettings settings{.radius = 0.05};
    ReconstructionSettings filling = settings;
    filling.fillCavities = true;
    Mesh hollow, filled;
    ASSERT_EQ(reconstructSurface(shell, hollow, settings).status, Status::Done);
    const auto report = reconstructSurface(shell, filled, filling, {{"Place", &shell}});
    EXPECT_EQ(countPartsAndCavities(hollow).cavities, report.counts.cavities);
    EXPECT_GT(report.counts.cavities, 0u);
    EXPECT_EQ(report.counts.parts, countParts(filled));
    EXPECT_EQ(countPartsAndCavities(filled).cavities, 0u);
    EXPECT_GT(signedVolume(filled), signedVolume(hollow) + 0.05);
    EXPECT_EQ(filled.nor().size(), filled.pos().size());
    EXPECT_EQ(filled.findArray<Vector3F>("Place")->size(), filled.getPosSize());
}

TEST(SurfaceReconstruction, AFarSceneChangesNothing)
{
    Array<Vector3F> positions = ballAndStrays();
    for (const auto kernel : {SurfaceKernel::Metaball, SurfaceKernel::Distance, SurfaceKernel::Anisotropic})
    {
        const ReconstructionSettings settings{
            .kernel = kernel, .radius = 0.07, .leastNeighbours = 2, .smoothing = 2, .threadCount = 2};
        Mesh alone;
        ASSERT_EQ(reconstructSurface(positions, alone, settings, {{"Place", &positions}}).status,
                  Status::Done);
        for (const float far : {50.0f, 2e5f, 6e7f})
        {
            Array<Vector3F> both = positions;
            for (uint32 n = 0; n < 30; ++n)
                both.push_back({far + 0.05f * static_cast<float>(n % 3), far, -far});
            Mesh mesh;
            ASSERT_EQ(reconstructSurface(both, mesh, settings, {{"Place", &both}}).status, Status::Done);
            ASSERT_GT(mesh.getPosSize(), alone.getPosSize());
            const auto beginsWith = [](const auto& all, const auto& first)
            { return std::equal(first.begin(), first.end(), all.begin()); };
            EXPECT_TRUE(beginsWith(mesh.pos(), alone.pos()));
            EXPECT_TRUE(beginsWith(mesh.nor(), alone.nor()));
            EXPECT_TRUE(beginsWith(mesh.trindexPos(), alone.trindexPos()));
            EXPECT_TRUE(beginsWith(*mesh.findArray<Vector3F>("Place"), *alone.findArray<Vector3F>("Place")));
        }
    }
}

TEST(SurfaceReconstruction, SaysWhyThereIsNoMesh)
{
    const Array<Vector3F> positions = ballAndStrays(), none{{NAN, 0, 0}}, one{{1, 2, 3}, {1, 2, 3}};
    struct Case
    {
        const Array<Vector3F>& positions;
        ReconstructionSettings settings;
        Status status;
    };
    for (const Case& c :
         {Case{none, {}, Status::NoParticles}, Case{{}, {}, Status::NoParticles},
          Case{one, {}, Status::NoRadius}, Case{positions, {.leastNeighbours = 900}, Status::AllAreStrays},
          Case{positions, {.level = 1e9}, Status::NoSurface},
          Case{positions, {.spacing = 1e-9}, Status::TooWide},
          Case{positions, {.memory = 1000}, Status::TooLarge},
          Case{positions, {.kernel = SurfaceKernel::Anisotropic, .memory = 50000}, Status::TooLarge},
          Case{positions, {.weldTolerance = 1e9}, Status::NothingIsLeft}})
    {
        Mesh mesh;
        mesh.addArray<float>("old");
        const ReconstructionReport report = reconstructSurface(c.positions, mesh, c.settings);
        EXPECT_EQ(report.status, c.status);
        EXPECT_TRUE(mesh.isEmpty());
    }
    Mesh mesh;
    EXPECT_EQ(reconstructSurface(one, mesh, {.radius = 1}).status, Status::Done);
    EXPECT_EQ(mesh.nor().size(), mesh.pos().size());
}

TEST(SurfaceReconstruction, EveryPollCanStop)
{
    const Array<Vector3F> positions = ballAndStrays();
    int polls = 0;
    const ReconstructionSettings settings{
        .smoothing = 1, .weldTolerance = 0.01, .decimation = 0.5, .threadCount = 2};
    const auto run = [&](const ProgressCallback& progress)
    {
        Mesh mesh;
        const auto status =
            reconstructSurface(positions, mesh, settings, {{"P", &positions}}, progress).status;
        EXPECT_EQ(mesh.isEmpty(), status != Status::Done);
        return status;
    };
    ASSERT_EQ(run([&](const char*, double) { return ++polls > 0; }), Status::Done);
    for (int n = 0; n < polls; n += 1 + n / 20)
    {
        int left = n;
        EXPECT_EQ(run([&](const char*, double) { return left-- > 0; }), Status::Stopped) << n;
    }
    EXPECT_THROW(run([](const char*, double) -> bool { throw std::string("of the host"); }), std::string);
    EXPECT_EQ(ProgressScope::poll(), 0);
}
