#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include <Polls.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/MeshTopology.h>

using namespace tavrix;

namespace
{

/// A mesh of these positions whose faces name three consecutive ones.
Mesh meshOf(const std::vector<Vector3D>& positions)
{
    Mesh mesh;
    mesh.refPos() = Array<Vector3D>(positions);
    mesh.refNor() = Array<Vector3F>(mesh.getPosSize(), Vector3F{0, 0, 1});
    for (uint32 n = 0; n + 2 < positions.size(); ++n) mesh.refTrindexPos().push_back({n, n + 1, n + 2});
    mesh.refTrindexNor() = mesh.refTrindexPos();
    return mesh;
}

double whole(std::mt19937& random, uint32 limit) { return static_cast<double>(random() % limit); }

}  // namespace

// With whole coordinates only equal positions are within the tolerance.
TEST(IsosurfaceExtractor3Clean, PositionsMergeInOrderAndFacesFollow)
{
    std::mt19937 random(7);
    for (uint32 count : {1u, 2u, 10u, 300u, 20000u})
        for (double tolerance : {0.0, 0.25})
        {
            std::vector<Vector3D> positions;
            std::set<std::array<double, 3>> merged;
            for (uint32 n = 0; n < count; ++n)
            {
                const Vector3D p{whole(random, 20), whole(random, 30), whole(random, 12)};
                positions.push_back(p);
                merged.insert({p.x, p.y, p.z});
            }
            Mesh mesh = meshOf(positions);
            IsosurfaceExtractor3::mcaClean(mesh, tolerance);
            EXPECT_TRUE(std::ranges::equal(mesh.pos(), merged,
                                           [](const Vector3D& a, const auto& b) {
                                               return a == Vector3D{b[0], b[1], b[2]};
                                           }));
            EXPECT_EQ(mesh.nor().size(), mesh.getPosSize());
            uint32 face = 0;
            for (uint32 n = 0; n + 2 < count; ++n)
            {
                const Vector3D &a = positions[n], &b = positions[n + 1], &c = positions[n + 2];
                if (a == b || b == c || c == a) continue;  // collapsed, and gone
                const Index3 f = mesh.trindexPos()[face++];
                EXPECT_TRUE(mesh.pos()[f.a] == a && mesh.pos()[f.b] == b && mesh.pos()[f.c] == c) << n;
            }
            EXPECT_EQ(face, mesh.getFacesSize());
            EXPECT_EQ(mesh.trindexNor(), mesh.trindexPos());
        }
}

TEST(IsosurfaceExtractor3Clean, GroupsCompareWithTheirFirstPosition)
{
    const auto expectMerged = [](const std::vector<Vector3D>& positions, double tolerance,
                                 const Array<Vector3D>& merged, uint32 count)
    {
        Mesh mesh = meshOf(positions);
        IsosurfaceExtractor3::mcaClean(mesh, tolerance);
        EXPECT_EQ(mesh.getPosSize(), count);
        for (uint32 n = 0; n < merged.size(); ++n) EXPECT_EQ(mesh.pos()[n], merged[n]);
    };
    // the middle one is within the tolerance of both others, which stay apart
    expectMerged({{0.9, 0, 0}, {0, 0, 0}, {1.8, 0, 0}}, 1, {{0, 0, 0}, {1.8, 0, 0}}, 2);
    const double nan = std::numeric_limits<double>::quiet_NaN(), next = std::nextafter(3.0, 4.0);
    expectMerged({{1, 2, 3}, {1, 2, next}, {1, 2, 3}, {-0.0, 0, 0}, {0.0, 0, 0}}, 0, {}, 3);
    // what is no number never merges, and comes last
    expectMerged({{nan, 0, 0}, {nan, 0, 0}, {1, 0, 0}, {1, 0, 0}}, 1e300, {{1, 0, 0}}, 3);
    expectMerged({}, 1, {}, 0);
    // infinite coordinates are no distance apart, but an infinite one from all others
    const double inf = std::numeric_limits<double>::infinity();
    expectMerged({{0, 0, 0}, {inf, 0, 0}, {inf, 0, 0}}, inf, {{0, 0, 0}}, 1);
    expectMerged({{1, 1, 1}, {0, 0, 0}, {1, 1, 1}}, -1, {{0, 0, 0}, {1, 1, 1}, {1, 1, 1}}, 3);
}

TEST(IsosurfaceExtractor3Clean, EveryThreadCountGivesOneAnswerOnClustersNearTheNodes)
{
    // Samples so near the threshold that vertices lie about a tolerance apart around the nodes: the
    // comparison contradicts itself there.
    std::mt19937 random(11);
    const float levels[] = {-1, -1, -1, -1.1e-4f, 1.3e-4f, 1, 1, 1};
    ScalarField3<float, double> field;
    field.reset(40, 40, 40, 1.0);
    for (float& sample : field.refArrScalars()) sample = levels[random() % 8];
    Mesh raw, reference;
    IsosurfaceExtractor3::extractMesh(field, raw, 0.0f, 0, 0, 0, 0, 0, 0, 1, nullptr, false);
    IsosurfaceExtractor3::extractMesh(field, reference, 0.0f, 0, 0, 0, 0, 0, 0, 1, nullptr, true);
    EXPECT_LT(reference.getPosSize(), raw.getPosSize());
    IsosurfaceExtractor3::mcaClean(raw, 1.0 / 8192);
    EXPECT_EQ(raw.pos(), reference.pos());
    EXPECT_EQ(raw.trindexPos(), reference.trindexPos());
    for (uint32 threads : {2u, 3u, 7u, 16u})
    {
        Mesh mesh;
        IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, threads, nullptr, true);
        EXPECT_EQ(mesh.trindexPos(), reference.trindexPos());
        EXPECT_EQ(mesh.pos(), reference.pos());
    }
}

TEST(IsosurfaceExtractor3Clean, WildInputStaysInBounds)
{
    // Coordinates a fraction of the tolerance apart, infinities and what is no number.
    std::mt19937 random(12);
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    std::vector<Vector3D> positions;
    for (uint32 n = 0; n < 60000; ++n)
        positions.push_back({whole(random, 4000) * 0.3, whole(random, 40) * 0.3, whole(random, 40) * 0.3});
    for (uint32 n = 0; n < 60000; n += 997) positions[n][n % 3] = n % 2 ? nan : inf;
    Mesh mesh = meshOf(positions), again = meshOf(positions);
    IsosurfaceExtractor3::mcaClean(mesh, 1.0);
    IsosurfaceExtractor3::mcaClean(again, 1.0);
    EXPECT_LT(mesh.getPosSize(), 60000u);
    EXPECT_EQ(mesh.trindexPos(), again.trindexPos());
    for (const Index3& f : mesh.trindexPos()) ASSERT_LT(std::max({f.a, f.b, f.c}), mesh.getPosSize());
}

TEST(IsosurfaceExtractor3Clean, AValidMeshStaysValidWithAllThatItCarries)
{
    // Two cubes side by side share four corners. Flat normals outnumber the positions, and are numbered
    // apart.
    Mesh mesh, next;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
    next.createCubePrimitive({{1, 0, 0}, {2, 1, 1}});
    mesh.addMesh(next);
    mesh.createNormals(0.5);
    mesh.refTrindexPos().push_back({0, 0, 1});  // collapsed, and so it goes
    mesh.refTrindexNor().push_back({5, 6, 7});
    auto& weights = mesh.addArray<double>("Weights");
    for (const Vector3D& p : mesh.pos())
    {
        weights.push_back(p.x);
        weights.push_back(p.y);
    }
    auto& materials = mesh.addArray<uint32>("Material", MeshArrayInf::PER_FACE);
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f) materials.push_back(100 + f);
    mesh.createSafe_arrNorSurface();
    ASSERT_TRUE(hasValidIndices(mesh));
    ASSERT_GT(mesh.nor().size(), mesh.getPosSize());

    for (const CancelCallback callback : {CancelCallback{}, CancelCallback{[] { return 0; }}})
    {
        Mesh cleaned;
        cleaned.copyAllFrom(mesh, true);
        ASSERT_TRUE(IsosurfaceExtractor3::mcaClean(cleaned, 0, 2, callback));
        EXPECT_TRUE(hasValidIndices(cleaned));
        EXPECT_EQ(cleaned.getPosSize(), 12u);
        EXPECT_EQ(cleaned.nor(), mesh.nor());
        EXPECT_TRUE(std::ranges::equal(cleaned.trindexNor(), std::span(mesh.trindexNor()).first(24)));
        EXPECT_EQ(cleaned.norSurface().size(), 12u);
        for (uint32 p = 0; p < 12; ++p)
            for (const uint32 axis : {0u, 1u})
                EXPECT_EQ(cleaned.findArray<double>("Weights")->data()[2 * p + axis], cleaned.pos()[p][axis]);
        EXPECT_EQ(cleaned.findArray<uint32>("Material")->size(), 24u);
        EXPECT_EQ(cleaned.findArray<uint32>("Material")->back(), 123u);
    }
}

TEST(IsosurfaceExtractor3Clean, EveryPollCanCancelAndPollsFollowTheWork)
{
    // A flat sheet, so that all is one run along x, in the worst order; large enough for several polls a
    // step.
    std::mt19937 random(5);
    std::vector<Vector3D> positions;
    for (uint32 n = 0; n < 200000; ++n) positions.push_back({0, whole(random, 700), whole(random, 700)});
    Mesh mesh = meshOf(positions);
    mesh.addArray<Vector3F>("Velocity").resize(mesh.getPosSize());
    Mesh reference(mesh);
    IsosurfaceExtractor3::mcaClean(reference, 0.25);
    for (const uint32 threads : {1u, 3u})
    {
        const auto clean = [&](CancelCallback callback)
        {
            Mesh cleaned;
            cleaned.copyAllFrom(mesh, true);
            const bool done = IsosurfaceExtractor3::mcaClean(cleaned, 0.25, threads, callback);
            EXPECT_EQ(cleaned.trindexPos(), (done ? reference : mesh).trindexPos());
            EXPECT_EQ(cleaned.pos(), (done ? reference : mesh).pos());
            return done;
        };
        EXPECT_GT(test::stopAtPolls(5, clean, [] {}), 60);
    }
}
