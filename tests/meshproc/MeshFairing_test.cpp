#include <tavrix/meshproc/MeshFairing.h>

#include <array>
#include <cmath>
#include <map>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshTopology.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

/// A torus of n by n / 2 quads, its vertices moved at random by up to `bumps`.
Mesh makeTorus(uint32 n, double bumps, const Vector3D& place = {0, 0, 0}, double size = 1)
{
    std::mt19937 random(n);
    const auto away = [&] { return bumps * (static_cast<double>(random() % 2001) / 1000 - 1); };
    Mesh mesh;
    const uint32 m = n / 2;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < m; ++k)
        {
            const double u = 2 * piValue * i / n, v = 2 * piValue * k / m, r = 1 + 0.4 * std::cos(v);
            const Vector3D p{r * std::cos(u) + away(), r * std::sin(u) + away(), 0.4 * std::sin(v) + away()};
            mesh.refPos().push_back(place + p * size);
            const uint32 a = i * m + k, b = (i + 1) % n * m + k, c = (i + 1) % n * m + (k + 1) % m,
                         d = i * m + (k + 1) % m;
            mesh.refTrindexPos().push_back({a, b, c});
            mesh.refTrindexPos().push_back({a, c, d});
        }
    return mesh;
}

/// The cube from 0 to 1, each side of n by n pairs of faces.
Mesh makeSidedCube(uint32 n)
{
    Mesh mesh;
    std::map<std::array<uint32, 3>, uint32> numbers;
    const auto vertex = [&](uint32 axis, uint32 side, uint32 i, uint32 k)
    {
        std::array<uint32, 3> at{};
        at[axis] = side * n;
        at[(axis + 1) % 3] = i;
        at[(axis + 2) % 3] = k;
        const auto [found, isNew] = numbers.try_emplace(at, mesh.getPosSize());
        if (isNew) mesh.refPos().push_back({at[0] / double(n), at[1] / double(n), at[2] / double(n)});
        return found->second;
    };
    for (uint32 axis = 0; axis < 3; ++axis)
        for (uint32 side = 0; side < 2; ++side)
            for (uint32 i = 0; i < n; ++i)
                for (uint32 k = 0; k < n; ++k)
                {
                    uint32 a = vertex(axis, side, i, k), b = vertex(axis, side, i + 1, k),
                           c = vertex(axis, side, i + 1, k + 1), d = vertex(axis, side, i, k + 1);
                    if (side == 0) std::swap(b, d);
                    mesh.refTrindexPos().push_back({a, b, c});
                    mesh.refTrindexPos().push_back({a, c, d});
                }
    return mesh;
}

/// How far the vertices lie from the torus, as a root of the mean square.
double roughness(const Mesh& mesh, const Vector3D& place = {0, 0, 0}, double size = 1)
{
    double sum = 0;
    for (const Vector3D& at : mesh.pos())
    {
        const Vector3D p = (at - place) / size;
        const double d = std::hypot(std::hypot(p.x, p.y) - 1, p.z) - 0.4;
        sum += d * d;
    }
    return std::sqrt(sum / mesh.getPosSize());
}

bool fair(Mesh& mesh, const FairingSettings& settings)
{
    return fairPositions(mesh.refPos(), mesh.refTrindexPos(), settings);
}

/// Passes of the umbrella operator, one by one; vertices at the border stay.
Array<Vector3D> passed(Array<Vector3D> positions, const Array<Index3>& faces,
                       const std::vector<bool>& isAtBorder, uint32 passes)
{
    for (uint32 pass = 0; pass < passes; ++pass)
    {
        Array<Vector3D> sums(positions.size(), Vector3D{0, 0, 0});
        std::vector<uint32> counts(positions.size());
        for (const Index3& f : faces)
            for (uint32 c = 0; c < 3; ++c)
            {
                sums[f[c]] += positions[f[(c + 1) % 3]];
                ++counts[f[c]];
            }
        for (uint32 v = 0; v < positions.size(); ++v)
            if (!isAtBorder[v]) positions[v] = (positions[v] + sums[v] / counts[v]) * 0.5;
    }
    return positions;
}

}  // namespace

TEST(MeshFairing, IsThePassesAndWhatTheyTookGivenBack)
{
    Mesh sheet = makeTorus(24, 0.05);
    const Array<Index3> closed = sheet.trindexPos();
    sheet.refTrindexPos().clear();  // open, for then no volume is restored
    for (uint32 f = 0; f < closed.size(); ++f)
        if (f > 40) sheet.refTrindexPos().push_back(closed[f]);
    std::vector<bool> isAtBorder(sheet.getPosSize());
    for (uint32 f = 0; f <= 40; ++f)
        for (uint32 c = 0; c < 3; ++c) isAtBorder[closed[f][c]] = true;
    const Array<Index3>& faces = sheet.trindexPos();
    for (const uint32 passes : {1u, 3u, 40u})
    {
        const Array<Vector3D> start = sheet.pos(), once = passed(start, faces, isAtBorder, passes);
        Array<Vector3D> lost = start;
        for (uint32 v = 0; v < lost.size(); ++v) lost[v] -= once[v];
        const Array<Vector3D> back = passed(lost, faces, isAtBorder, passes);
        Mesh faired = sheet;
        ASSERT_TRUE(fair(faired, {.passes = passes}));
        double worst = 0;
        for (uint32 v = 0; v < start.size(); ++v)
            worst = std::max(worst, length(faired.pos()[v] - (once[v] + back[v])));
        EXPECT_LT(worst, passes < 10 ? 1e-7 : 1e-3) << passes;
    }
}

TEST(MeshFairing, TakesTheGrainOffAndKeepsVolumeAndPlace)
{
    for (const auto& [place, size] :
         {std::pair{Vector3D{0, 0, 0}, 1.0}, std::pair{Vector3D{1e6, -2e5, 3}, 1e3},
          std::pair{Vector3D{0, 0, 0}, 1e-20}})
        for (const uint32 passes : {10u, 200u})
        {
            const Mesh rough = makeTorus(120, 0.01, place, size);
            Mesh faired = rough;
            ASSERT_TRUE(fair(faired, {.passes = passes}));
            EXPECT_LT(roughness(faired, place, size),
                      (passes == 10 ? 0.4 : 0.3) * roughness(rough, place, size));
            EXPECT_NEAR(signedVolume(faired) / signedVolume(rough), 1, 1e-6);
            for (const uint32 threads : {2u, 5u})
            {
                Mesh other = rough;
                ASSERT_TRUE(fair(other, {.passes = passes, .threadCount = threads}));
                EXPECT_EQ(other.pos(), faired.pos());
            }
        }
}

TEST(MeshFairing, KeepsDropsThinPartsAndSharpEdges)
{
    // a small torus, and one so thin that the same passes would draw it together
    Mesh small = makeTorus(12, 0);
    const double volume = signedVolume(small);
    ASSERT_TRUE(fair(small, {.passes = 1000}));
    EXPECT_NEAR(signedVolume(small) / volume, 1, 1e-6);
    EXPECT_LT(roughness(small), 0.1);

    const Mesh box = makeSidedCube(24);
    const auto cornerOf = [](const Mesh& mesh)
    {
        double nearest = 1e9;
        for (const Vector3D& p : mesh.pos()) nearest = std::min(nearest, length(p - Vector3D{1, 1, 1}));
        return nearest;
    };
    Mesh even = box, careful = box, held = box;
    ASSERT_TRUE(fair(even, {.passes = 400}));
    ASSERT_TRUE(fair(careful, {.passes = 400, .passesAtBends = 10}));
    ASSERT_TRUE(fair(held, {.passes = 400, .farthest = 0.01}));
    EXPECT_LT(cornerOf(careful), 0.6 * cornerOf(even));
    EXPECT_LT(cornerOf(held), 0.02);
}

TEST(MeshFairing, LeavesWhatItCannotSmooth)
{
    const Mesh torus = makeTorus(40, 0.02);
    for (Mesh mesh : {Mesh(), torus})
    {
        const Array<Vector3D> before = mesh.pos();
        ASSERT_TRUE(fair(mesh, {.passes = 0}));
        EXPECT_EQ(mesh.pos(), before);
    }
    // a second part without a finite place, a collapsed face, and a vertex of two fans
    Mesh mesh = torus;
    const auto count = mesh.getPosSize();
    for (const Vector3D& p : {Vector3D{0, 0, 0}, Vector3D{1, 0, NAN}, Vector3D{0, 1, 0}, Vector3D{0, 0, 1}})
        mesh.refPos().push_back(p);
    for (const Index3& f : {Index3{0, 2, 1}, Index3{0, 1, 3}, Index3{1, 2, 3}, Index3{2, 0, 3}})
        mesh.refTrindexPos().push_back({f.a + count, f.b + count, f.c + count});
    mesh.refTrindexPos().push_back({count, count, count + 1});
    mesh.refTrindexPos().push_back({5, count, count + 1});
    Mesh faired = mesh;
    ASSERT_TRUE(fair(faired, {.passes = 30, .passesAtBends = 3, .threadCount = 3}));
    EXPECT_EQ(faired.pos()[5], mesh.pos()[5]) << "two fans meet there";
    EXPECT_EQ(faired.pos()[count], mesh.pos()[count]);
    EXPECT_LT(roughness(torus), 1);
    for (uint32 v = 0; v < count; ++v) ASSERT_TRUE(isFinite(faired.pos()[v]));
}

TEST(MeshFairing, CanBeStopped)
{
    Mesh mesh = makeTorus(100, 0.01);
    const Array<Vector3D> before = mesh.pos();
    test::stopAtPolls(
        20,
        [&](CancelCallback callback)
        {
            mesh.refPos() = before;
            return fairPositions(mesh.refPos(), mesh.trindexPos(),
                                 {.passes = 30, .passesAtBends = 5, .threadCount = 2}, callback);
        },
        [&] { EXPECT_EQ(mesh.pos(), before); });
}
