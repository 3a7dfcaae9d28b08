#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include <spatial/TestSolids.h>
#include <tavrix/tavrix.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

constexpr double pi = std::numbers::pi;
constexpr SolidOperation operations[] = {SolidOperation::Union, SolidOperation::Intersection,
                                         SolidOperation::Difference};

/// A ball as exact distances, cut to the band, on a grid of a spacing whose first node lies off the lattice.
LevelSet ball(const Vector3D& center, double radius, double spacing, double band, double margin)
{
    LevelSet surface;
    const auto nodes = static_cast<uint32>(std::ceil(2 * (radius + margin) / spacing)) + 1;
    surface.reset(nodes, nodes, nodes, spacing);
    surface.moveTo(center + Vector3D{0.31, 0.17, -0.23} * spacing);
    surface.setBand(static_cast<float>(band));
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
        surface.set(m, static_cast<float>(std::clamp(length(surface.getField().getPoint(m) - center) - radius,
                                                     -band, band)));
    return surface;
}

double volumeOf(const LevelSet& surface)
{
    Mesh mesh;
    extractClosed(surface, mesh);
    return signedVolume(mesh);
}

LevelSet combined(LevelSet first, const LevelSet& second, SolidOperation operation, uint32 threads = 1)
{
    EXPECT_TRUE(combine(first, second, operation, threads));
    return first;
}

double ballVolume(double radius) { return 4 * pi / 3 * std::pow(radius, 3); }

/// Of what two balls share, whose centres are a distance apart.
double lensVolume(double r, double s, double d)
{
    return pi * std::pow(r + s - d, 2) * (d * d + 2 * d * (r + s) - 3 * (r - s) * (r - s)) / (12 * d);
}

bool sameBytes(const LevelSet& a, const LevelSet& b)
{
    const auto &x = a.getField().getArrScalars(), &y = b.getField().getArrScalars();
    return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(float)) == 0;
}

}  // namespace

TEST(SolidCombination, VolumesOfTwoBallsAreThoseOfGeometry)
{
    constexpr double r = 1, s = 0.8, d = 1.1, spacing = 0.05;
    const double lens = lensVolume(r, s, d);
    const double expected[] = {ballVolume(r) + ballVolume(s) - lens, lens, ballVolume(r) - lens};
    const LevelSet first = ball({0.1, 0.2, 0.3}, r, spacing, 3 * spacing, 3 * spacing);
    // of the same spacing, coarser, finer with a narrower band, and cut just beyond the surface
    for (const auto& [h, band, margin] : {std::array{spacing, 3 * spacing, 4 * spacing},
                                          {0.07, 0.3, 0.3},
                                          {0.02, 0.04, 0.06},
                                          {0.05, 0.15, 0.05}})
    {
        const LevelSet second = ball({0.1, 0.2 - d, 0.3}, s, h, band, margin);
        for (uint32 n = 0; n < 3; ++n)
        {
            const LevelSet result = combined(first, second, operations[n], 2);
            EXPECT_NEAR(volumeOf(result), expected[n], 0.006 * ballVolume(r)) << n << ' ' << h;
            EXPECT_EQ(result.getField().size(), combinedGrid(first, second, operations[n]).nodeCount());
            EXPECT_FLOAT_EQ(result.getDefaultValue(), first.getDefaultValue());
            EXPECT_FALSE(reachesBorder(result));
            EXPECT_GT(result.getNumberOfSurfaceCells(), 100u);
            for (const uint32 threads : {1u, 3u})
                EXPECT_TRUE(sameBytes(combined(first, second, operations[n], threads), result));
        }
    }
}

TEST(SolidCombination, SamplesOfTheSameLatticeStayToTheBit)
{
    LevelSet a, b;
    for (LevelSet* surface : {&a, &b})
    {
        const double from = surface == &a ? -0.5 : 0.1, to = surface == &a ? 0.5 : 0.7;
        const Mesh cube = test::makeCube(from, to);
        sampleMesh(*surface, cube, planLevelSet(cube.getBox(), {0.1}), TX_IMPLICIT_SURFACE_SIGNED);
    }
    const LevelSet both = combined(a, b, SolidOperation::Union),
                   rest = combined(a, b, SolidOperation::Difference);
    const float band = a.getDefaultValue();
    const auto cut = [band](float v) { return std::clamp(v, -band, band); };
    const auto &own = a.getField().getGrid(), &all = both.getField().getGrid();
    EXPECT_EQ(all.box.min, own.box.min);
    EXPECT_GE(all.box.max.x, b.getBox().max.x - 1e-9);
    // between the first nodes of both
    const auto steps = static_cast<uint32>(std::lround((b.getBox().min.x - own.box.min.x) / 0.1));
    for (uint32 m = 0; m < own.size; ++m)
    {
        const Index3 at = own.getIndexes(m);
        const auto in = [&](uint32 n, uint32 size) { return n >= steps && n - steps < size; };
        if (!in(at.a, b.getField().sizeX()) || !in(at.b, b.getField().sizeY()) ||
            !in(at.c, b.getField().sizeZ()))
            continue;
        const float other = b.get(at.a - steps, at.b - steps, at.c - steps);
        ASSERT_EQ(both.get(at), std::min(cut(a.get(at)), cut(other)));
        ASSERT_EQ(rest.get(at), std::max(cut(a.get(at)), -cut(other)));
    }
    EXPECT_NEAR(volumeOf(a) - volumeOf(rest), 0.064, 0.01);
}

TEST(SolidCombination, SolidsThatReachTheBorderEndThere)
{
    LevelSet full;  // all inside
    full.reset(11, 11, 11, 0.1);
    full.setBand(0.3f);
    full.refField().set(-0.3f);
    const LevelSet drop = ball({2, 0, 0}, 0.4, 0.1, 0.3, 0.3);
    EXPECT_NEAR(volumeOf(combined(drop, full, SolidOperation::Union)), 1.1 * 1.1 * 1.1 + ballVolume(0.4),
                0.06);
    EXPECT_NEAR(volumeOf(combined(full, drop, SolidOperation::Union)), 1.1 * 1.1 * 1.1 + ballVolume(0.4),
                0.06);
    const LevelSet none;
    EXPECT_TRUE(sameBytes(combined(none, drop, SolidOperation::Union), drop));
    EXPECT_TRUE(sameBytes(combined(drop, none, SolidOperation::Difference), drop));
    EXPECT_EQ(volumeOf(combined(drop, none, SolidOperation::Intersection)), 0);
    EXPECT_EQ(combined(none, drop, SolidOperation::Difference).getField().size(), 0u);
    EXPECT_THROW(combined(drop, ball({1e9, 0, 0}, 0.4, 0.1, 0.3, 0.3), SolidOperation::Union),
                 std::length_error);
}

TEST(SolidCombination, EveryPollCanCancel)
{
    const LevelSet a = ball({0, 0, 0}, 1, 0.02, 0.06, 0.1), b = ball({0.5, 0, 0}, 1, 0.02, 0.06, 0.1);
    LevelSet result;
    for (const uint32 threads : {1u, 3u})
        EXPECT_GT(test::stopAtPolls(
                      4,
                      [&](CancelCallback callback)
                      {
                          result = a;
                          return combine(result, b, SolidOperation::Union, threads, callback);
                      },
                      [&] { EXPECT_TRUE(sameBytes(result, a)); }),
                  5);
}
