#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include <tavrix/tavrix.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

/// A bell around a point, on a unit cube of so many nodes a side.
Field bell(uint32 nodes, const Vector3D& center, double width)
{
    Field field;
    field.reset(nodes, nodes, nodes, 1.0 / (nodes - 1));
    field.moveTo({0.5, 0.5, 0.5});
    for (uint32 m = 0; m < field.size(); ++m)
        field[m] = static_cast<float>(std::exp(-std::pow(length(field.getPoint(m) - center) / width, 2)));
    return field;
}

double largestDifference(const Field& a, const Field& b)
{
    double largest = 0;
    for (uint32 m = 0; m < a.size(); ++m) largest = std::max(largest, std::fabs(double{a[m]} - b[m]));
    return largest;
}

double meanDifference(const Field& a, const Field& b)
{
    double sum = 0;
    for (uint32 m = 0; m < a.size(); ++m) sum += std::fabs(double{a[m]} - b[m]);
    return sum / a.size();
}

bool sameBytes(const Field& a, const Field& b)
{
    return std::memcmp(a.getArrScalars().data(), b.getArrScalars().data(), a.size() * sizeof(float)) == 0;
}

const Velocity3 turning = [](const Vector3D& p, double) { return Vector3D{0.5 - p.y, p.x - 0.5, 0.1}; };

}  // namespace

TEST(FieldAdvection, BellsGoWithTheFlow)
{
    const Vector3D from{0.4, 0.45, 0.42};
    const Vector3D way{0.15, -0.08, 0.11};
    const struct
    {
        const char* name;
        Velocity3 velocity;
        Vector3D to;
    } flows[] = {
        {"steady", [&](const Vector3D&, double) { return way; }, from + way},
        {"backwards in x", [&](const Vector3D&, double) { return way * -1.0; }, from - way},
        // whose integral three points give exactly, and one or two do not
        {"unsteady", [&](const Vector3D&, double t) { return way * (12 * t * t - 6 * t); }, from + way},
        {"fast at the end", [&](const Vector3D&, double t) { return way * (6 * std::pow(t, 5)); },
         from + way}};
    for (const auto& flow : flows)
    {
        Field coarse = bell(41, from, 0.09), fine = bell(81, from, 0.09);
        AdvectionSettings settings;
        settings.courant = 1;
        settings.threadCount = 2;
        EXPECT_TRUE(advect(coarse, flow.velocity, 0, 1, settings).isDone);
        settings.courant = std::pow(2, -2.0 / 3);  // so that time is as exact as space
        advect(fine, flow.velocity, 0, 1, settings);
        const double large = meanDifference(coarse, bell(41, flow.to, 0.09));
        const double small = meanDifference(fine, bell(81, flow.to, 0.09));
        EXPECT_LT(large, 3e-4) << flow.name;
        EXPECT_GT(large / small, 17) << flow.name << ": a fifth-order method would give 32, from " << large;
    }
}

TEST(FieldAdvection, EveryThreadCountGivesTheSameBytes)
{
    const Field before = bell(47, {0.4, 0.45, 0.42}, 0.1);
    Field first;
    for (const uint32 threads : {1u, 2u, 3u})
    {
        Field field = before;
        AdvectionSettings settings;
        settings.threadCount = threads;
        EXPECT_GT(advect(field, turning, 0, 0.4, settings).steps, 10u);
        if (threads == 1) first = field;
        EXPECT_TRUE(sameBytes(field, first));
    }
    EXPECT_GT(largestDifference(before, first), 0.2);
    advect(first, turning, 0.4, 0);
    EXPECT_LT(largestDifference(before, first), 0.01);
}

TEST(FieldAdvection, WorkIsDoneWhereTheFieldVariesAlone)
{
    static uint32 farCalls, calls;  // the velocity is asked for on this thread
    farCalls = calls = 0;
    Field field = bell(41, {0.3, 0.3, 0.3}, 0.04), other = field;
    for (uint32 m = 0; m < field.size(); ++m)  // a box of one value within it
        if (field[m] < 1e-3f) field[m] = other[m] = 0;
    const Velocity3 flow = [](const Vector3D& p, double)
    {
        ++calls;
        farCalls += std::min({p.x, p.y, p.z}) > 0.6 ? 1 : 0;
        return Vector3D{0.1, 0.1, 0.1};
    };
    advect(field, flow, 0, 0.5);
    EXPECT_EQ(farCalls, 0u);
    EXPECT_GT(calls, 1000u);
    EXPECT_EQ(field.get(35, 35, 35), 0.0f);
    // the same where something varies everywhere
    for (uint32 m = 0; m < other.size(); ++m) other[m] += static_cast<float>(1e-3 * other.getPoint(m).x);
    farCalls = 0;
    advect(other, flow, 0, 0.5);
    EXPECT_GT(farCalls, 1000u);
    EXPECT_LT(largestDifference(field, other), 1.2e-3);

    Field constant = field;
    constant.set(3.0f);
    calls = 0;
    EXPECT_TRUE(advect(constant, flow, 0, 1).isDone);
    EXPECT_EQ(calls, 0u);
    Field none;
    EXPECT_EQ(advect(none, flow, 0, 1).steps, 0u);
}

TEST(FieldAdvection, WhatIsAtTheBorderFlowsIn)
{
    Field field;
    field.reset(9, 10, 21, 0.1);
    for (uint32 m = 0; m < field.size(); ++m) field[m] = field.getPoint(m).z < -0.55 ? 1.0f : 0.0f;
    advect(
        field,
        [](const Vector3D&, double) {
            return Vector3D{0, 0, 1};
        },
        0, 1);
    for (uint32 k = 0; k < 21; ++k)
    {
        if (k < 12) { EXPECT_NEAR(field.get(4, 4, k), 1, 0.02) << k; }
        if (k > 17) { EXPECT_NEAR(field.get(4, 4, k), 0, 0.02) << k; }
    }
}

TEST(FieldAdvection, GridsOfVelocitiesAreInterpolated)
{
    Vector3Field3<float, double> velocities;
    velocities.reset(GridDescription3<double>::centered(5, 5, 5, {0.5, 0.5, 0.5}));
    for (uint32 m = 0; m < velocities.size(); ++m)
    {
        const Index3 at = velocities.getGrid().getIndexes(m);
        const Vector3D p = velocities.getGrid().getPoint(at.a, at.b, at.c);
        velocities.set(m, convert<float>(turning(p, 0)));
    }
    Field a = bell(33, {0.5, 0.6, 0.4}, 0.1), b = a;
    advect(a, turning, 0, 0.5);
    advect(b, steadyVelocity(velocities), 0, 0.5);
    EXPECT_LT(largestDifference(a, b), 1e-4);
    EXPECT_EQ(steadyVelocity(velocities)({9, 9, 9}, 0), (Vector3D{0, 0, 0}));
}

TEST(FieldAdvection, EveryPollCanCancel)
{
    const Field before = bell(47, {0.4, 0.45, 0.42}, 0.2);
    for (const uint32 threads : {1u, 3u})
    {
        AdvectionSettings settings;
        settings.threadCount = threads;
        EXPECT_GT(test::stopAtPolls(
                      4,
                      [&](CancelCallback callback)
                      {
                          Field field = before;
                          settings.callback = callback;
                          return advect(field, turning, 0, 0.05, settings).isDone;
                      },
                      [] {}),
                  50);
    }
}
