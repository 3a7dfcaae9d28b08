#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include <tavrix/tavrix.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

constexpr double pi = std::numbers::pi;

/// A solid as exact distances in a unit cube of so many nodes a side, cut to three separations.
template <class Distance>
LevelSet solid(uint32 nodes, Distance distance)
{
    LevelSet surface;
    const double h = 1.0 / (nodes - 1);
    surface.reset(nodes, nodes, nodes, h);
    surface.moveTo({0.5, 0.5, 0.5});
    surface.setBand(static_cast<float>(3 * h));
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
        surface.set(m,
                    static_cast<float>(std::clamp(distance(surface.getField().getPoint(m)), -3 * h, 3 * h)));
    return surface;
}

LevelSet ball(uint32 nodes, const Vector3D& center, double radius)
{
    return solid(nodes, [&](const Vector3D& p) { return length(p - center) - radius; });
}

Mesh meshOf(const LevelSet& surface)
{
    Mesh mesh;
    extractClosed(surface, mesh, 2);
    return mesh;
}

/// The mean distance of a mesh's vertices from a sphere, in separations.
double distanceFromSphere(const LevelSet& surface, const Vector3D& center, double radius)
{
    const Mesh mesh = meshOf(surface);
    double sum = 0;
    for (const Vector3D& p : mesh.pos()) sum += std::fabs(length(p - center) - radius);
    return sum / mesh.getPosSize() / surface.getField().getPointSeparation();
}

/// Deforms what is in the unit cube and takes it back again, in a time of 3 (LeVeque, SIAM Journal on
/// Numerical Analysis 33, 1996; Enright et al., Journal of Computational Physics 183, 2002).
Vector3D deforming(const Vector3D& p, double t)
{
    const double c = std::cos(pi * t / 3);
    const auto s = [](double x) { return std::sin(pi * x); };
    const double x = s(p.x), y = s(p.y), z = s(p.z), xx = s(2 * p.x), yy = s(2 * p.y), zz = s(2 * p.z);
    return {2 * c * x * x * yy * zz, -c * xx * y * y * zz, -c * xx * yy * z * z};
}

}  // namespace

TEST(LevelSetAdvection, BallsMoveAndStayBalls)
{
    const Velocity3 moving = [](const Vector3D&, double) { return Vector3D{0.3, -0.2, 0.1}; };
    const Velocity3 turning = [](const Vector3D& p, double) { return Vector3D{0.5 - p.y, p.x - 0.5, 0}; };
    const Velocity3 growing = [](const Vector3D& p, double) {
        return unitOrZero(p - Vector3D{0.5, 0.5, 0.5}) * 0.15;
    };
    const struct
    {
        const Velocity3& velocity;
        double time;
        Vector3D from, to;
        double radius;  ///< at the end
    } cases[] = {{moving, 1, {0.35, 0.6, 0.4}, {0.65, 0.4, 0.5}, 0.2},
                 {moving, -0.5, {0.5, 0.5, 0.5}, {0.35, 0.6, 0.45}, 0.2},
                 {turning, pi, {0.5, 0.7, 0.5}, {0.5, 0.3, 0.5}, 0.2},
                 {growing, 1, {0.5, 0.5, 0.5}, {0.5, 0.5, 0.5}, 0.35},
                 {growing, -0.5, {0.5, 0.5, 0.5}, {0.5, 0.5, 0.5}, 0.125}};
    for (const auto& c : cases)
    {
        LevelSet surface = ball(51, c.from, 0.2);
        const AdvectionReport report = advect(surface, c.velocity, 0, c.time);
        EXPECT_TRUE(report.isDone);
        EXPECT_GE(report.redistancings, 1u);
        EXPECT_LT(distanceFromSphere(surface, c.to, c.radius), 0.08);
        for (uint32 m = 0; m < surface.getArraySize(); ++m)  // distances again
        {
            const double exact = length(surface.getField().getPoint(m) - c.to) - c.radius;
            ASSERT_NEAR(surface.get(m), std::clamp(exact, -0.06, 0.06), 0.4 * 0.02);
        }
    }
}

TEST(LevelSetAdvection, SharpEdgesTurnWithoutLosingMuchVolume)
{
    // a slotted ball, turned once around (Zalesak, Journal of Computational Physics 31, 1979)
    LevelSet surface = solid(81,
                             [](const Vector3D& p)
                             {
                                 const double d = length(p - Vector3D{0.5, 0.72, 0.5}) - 0.18;
                                 const double slot = std::max(std::fabs(p.x - 0.5) - 0.05, p.y - 0.78);
                                 return std::max(d, -slot);
                             });
    const double before = signedVolume(meshOf(surface));
    const AdvectionReport report = advect(surface,
                                          [](const Vector3D& p, double) {
                                              return Vector3D{0.5 - p.y, p.x - 0.5, 0};
                                          },
                                          0, 2 * pi, {AdvectionSettings{.threadCount = 2}});
    EXPECT_GT(report.redistancings, 10u);
    EXPECT_NEAR(signedVolume(meshOf(surface)) / before, 1, 0.05);
    EXPECT_EQ(countParts(meshOf(surface)), 1u);
    float value;
    EXPECT_TRUE(surface.eval({0.5, 0.68, 0.5}, value));
    EXPECT_GT(value, 0.02f);  // in the slot
}

TEST(LevelSetAdvection, DeformationComesBackTheSameForEveryThreadCount)
{
    LevelSet first;
    for (const uint32 threads : {1u, 3u})
    {
        LevelSet surface = ball(65, {0.35, 0.35, 0.35}, 0.15);
        LevelSetAdvectionSettings settings;
        settings.threadCount = threads;
        const Velocity3 back = [](const Vector3D& p, double t)
        { return deforming(p, t < 0.4 ? t : t + 2.2); };
        advect(surface, back, 0, 0.4, settings);
        const Mesh sheet = meshOf(surface);
        EXPECT_GT(length(sheet.getBox().max - sheet.getBox().min), 0.6);  // the ball's is 0.52
        advect(surface, back, 0.4, 0.8, settings);
        if (threads == 1)
        {
            first = surface;
            EXPECT_LT(distanceFromSphere(surface, {0.35, 0.35, 0.35}, 0.15), 0.5);
            EXPECT_NEAR(signedVolume(meshOf(surface)), 4 * pi / 3 * std::pow(0.15, 3), 0.0008);
        }
        EXPECT_EQ(std::memcmp(surface.getField().getDenseSamples(), first.getField().getDenseSamples(),
                              first.getArraySize() * sizeof(float)),
                  0);
    }
}

TEST(LevelSetAdvection, EveryPollCanCancel)
{
    const LevelSet before = ball(41, {0.35, 0.35, 0.35}, 0.15);
    LevelSetAdvectionSettings settings;
    settings.redistanceAfter = 1e9;
    EXPECT_GT(test::stopAtPolls(
                  4,
                  [&](CancelCallback callback)
                  {
                      LevelSet surface = before;
                      settings.callback = callback;
                      return advect(surface, deforming, 0, 0.05, settings).isDone;
                  },
                  [] {}),
              30);
    LevelSet none;
    EXPECT_EQ(advect(none, deforming, 0, 1).steps, 0u);
}
