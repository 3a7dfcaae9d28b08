#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <tavrix/isosurface/detail/MeshCleaning.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

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

bool farApart(double a, double b, double tolerance) { return std::fabs(a - b) > tolerance; }

/// The merged positions by the plain definition; only for inputs on which the comparison is a strict weak ordering.
std::vector<Vector3D> plainMerge(std::vector<Vector3D> positions, double tolerance)
{
    std::stable_sort(positions.begin(), positions.end(),
                     [&](const Vector3D& a, const Vector3D& b)
                     {
                         for (uint32 axis = 0; axis < 3; ++axis)
                             if (farApart(a[axis], b[axis], tolerance)) return a[axis] < b[axis];
                         return false;
                     });
    std::vector<Vector3D> merged;
    for (const Vector3D& p : positions)
        if (merged.empty() || farApart(p.x, merged.back().x, tolerance) || farApart(p.y, merged.back().y, tolerance) ||
            farApart(p.z, merged.back().z, tolerance))
            merged.push_back(p);
    return merged;
}

}  // namespace

TEST(IsosurfaceExtractor3Clean, MergesAsThePlainDefinition)
{
    std::mt19937 random(7);
    for (uint32 count : {1u, 2u, 10u, 300u, 20000u})
    {
        std::vector<Vector3D> positions;
        for (uint32 n = 0; n < count; ++n)
            positions.push_back({whole(random, 20), whole(random, 30), whole(random, 40)});
        for (double tolerance : {0.0, 0.25})
        {
            Mesh mesh = meshOf(positions);
            IsosurfaceExtractor3::mcaClean(mesh, tolerance);
            EXPECT_TRUE(std::ranges::equal(mesh.pos(), plainMerge(positions, tolerance)));
            EXPECT_EQ(mesh.nor().size(), mesh.getPosSize());
        }
    }
}

TEST(IsosurfaceExtractor3Clean, FacesFollowTheirPositionsAndCollapsedOnesGo)
{
    std::mt19937 random(3);
    std::vector<Vector3D> positions;
    for (uint32 n = 0; n < 5000; ++n)
        positions.push_back({whole(random, 12), whole(random, 12), whole(random, 12)});
    Mesh mesh = meshOf(positions);
    IsosurfaceExtractor3::mcaClean(mesh, 0.5);
    uint32 face = 0;
    for (uint32 n = 0; n + 2 < positions.size(); ++n)
    {
        const Vector3D &a = positions[n], &b = positions[n + 1], &c = positions[n + 2];
        if (a == b || b == c || c == a) continue;
        const Index3 f = mesh.trindexPos()[face++];
        EXPECT_EQ(mesh.pos()[f.a], a);
        EXPECT_EQ(mesh.pos()[f.b], b);
        EXPECT_EQ(mesh.pos()[f.c], c);
    }
    EXPECT_EQ(face, mesh.getFacesSize());
    EXPECT_EQ(mesh.trindexNor(), mesh.trindexPos());
}

TEST(IsosurfaceExtractor3Clean, GroupsCompareWithTheirFirstPosition)
{
    // The middle one is within the tolerance of both others, which stay apart.
    Mesh chain = meshOf({{0.9, 0, 0}, {0, 0, 0}, {1.8, 0, 0}});
    IsosurfaceExtractor3::mcaClean(chain, 1.0);
    EXPECT_EQ(chain.pos(), (Array<Vector3D>{{0, 0, 0}, {1.8, 0, 0}}));
    EXPECT_EQ(chain.getFacesSize(), 0u);

    Mesh zero = meshOf({{1, 2, 3}, {1, 2, std::nextafter(3.0, 4.0)}, {1, 2, 3}, {-0.0, 0, 0}, {0.0, 0, 0}});
    IsosurfaceExtractor3::mcaClean(zero, 0.0);
    EXPECT_EQ(zero.getPosSize(), 3u);
}

TEST(IsosurfaceExtractor3Clean, ThreadsAndContradictoryInputGiveOneAnswer)
{
    // Coordinates a fraction of the tolerance apart: the comparison contradicts itself everywhere.
    std::mt19937 random(11);
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    std::vector<Vector3D> positions;
    for (uint32 n = 0; n < 60000; ++n)
        positions.push_back({whole(random, 4000) * 0.3, whole(random, 40) * 0.3, whole(random, 40) * 0.3});
    for (uint32 n = 0; n < 60000; n += 997) positions[n][n % 3] = n % 2 ? nan : inf;
    Mesh reference = meshOf(positions);
    detail::cleanMesh(reference, 1.0, 1);
    EXPECT_GT(reference.getPosSize(), 1000u);
    for (uint32 threads : {2u, 3u, 7u, 16u})
    {
        Mesh mesh = meshOf(positions);
        detail::cleanMesh(mesh, 1.0, threads);
        EXPECT_EQ(mesh.trindexPos(), reference.trindexPos());
        ASSERT_EQ(mesh.getPosSize(), reference.getPosSize());
        EXPECT_EQ(std::memcmp(mesh.pos().data(), reference.pos().data(), mesh.getPosSize() * sizeof(Vector3D)), 0);
    }
}

TEST(IsosurfaceExtractor3Clean, NumbersThatAreNoneNeverMerge)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Mesh mesh = meshOf({{nan, 0, 0}, {nan, 0, 0}, {1, 0, 0}, {1, 0, 0}});
    IsosurfaceExtractor3::mcaClean(mesh, 1e300);
    EXPECT_EQ(mesh.getPosSize(), 3u);
    EXPECT_EQ(mesh.pos()[0].x, 1.0);
    Mesh empty;
    IsosurfaceExtractor3::mcaClean(empty, 1.0);
    EXPECT_TRUE(empty.isEmpty());
}
