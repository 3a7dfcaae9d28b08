#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include <particles/Clouds.h>
#include <tavrix/particles/ParticleNeighbours.h>

using namespace tavrix;
using test::cloud;
using test::squaredDistance;

namespace
{

void expectBruteForce(const Array<Vector3F>& positions, std::initializer_list<double> cellSizes, double reach)
{
    const float inf = std::numeric_limits<float>::infinity();
    const Array<Vector3F> values = cloud(positions.size(), 1, 2);
    Array<Vector3D> places;
    for (const Vector3F& p : cloud(300, 1.4f, 3)) places.push_back(convert<double>(p));
    places.push_back({inf, 0, 0});
    Array<uint32> counts(positions.size(), 0u);
    for (uint32 n = 0; n < positions.size(); ++n)
        for (uint32 m = 0; m < positions.size(); ++m)
            counts[n] +=
                n != m && squaredDistance(positions[n], convert<double>(positions[m])) < reach * reach;
    Array<uint32> few = counts;
    for (uint32& count : few) count = std::min(count, 3u);
    Array<Vector3D> averages(places.size(), Vector3D{0, 0, 0});
    for (uint32 place = 0; place < places.size(); ++place)
    {
        double weight = 0;
        for (uint32 n = 0; n < positions.size(); ++n)
        {
            const double t = 1 - squaredDistance(positions[n], places[place]) / (reach * reach);
            if (!(t > 0)) continue;
            weight += t * t * t;
            averages[place] += convert<double>(values[n]) * (t * t * t);
        }
        if (weight > 0) averages[place] = averages[place] / weight;
    }
    for (const double cellSize : cellSizes)
    {
        const NeighbourGrid grid(positions, cellSize, 2);
        Array<Vector3F> first;
        for (const uint32 threads : {1u, 2u, 7u})
        {
            EXPECT_EQ(countNeighbours(grid, positions, reach, threads), counts);
            EXPECT_EQ(countNeighbours(grid, positions, reach, threads, 3), few);
            const auto found = interpolateAtPlaces(grid, values, places, reach, threads, nullptr);
            if (threads == 1) first = found;
            EXPECT_EQ(found, first);
        }
        for (uint32 place = 0; place < places.size(); ++place)
            ASSERT_LT(length(convert<double>(first[place]) - averages[place]), 1e-4) << "place " << place;
    }
}

}  // namespace

TEST(ParticleNeighbours, EqualBruteForceForEveryThreadCount)
{
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    Array<Vector3F> positions = cloud(700, 1, 1);
    for (const Vector3F& p : {positions[3], {inf, 0, 0}, {0, nan, 0}}) positions.push_back(p);
    expectBruteForce(positions, {0.03, 0.065, 0.3, 5}, 0.13);
    // cells far apart that share a key, beside a dense cloud
    for (const float far : {1e3f, -1e6f, 1e12f, 3e38f, -3e38f})
        for (const Vector3F& p : {Vector3F{far, 0.5f, 0.5f}, {0.5f, far, 0.5f}, {far, far, far}})
            positions.push_back(p);
    expectBruteForce(positions, {0.05}, 0.1);
    // a flat sheet with a reach of hundreds of cells, and particles at one place
    Array<Vector3F> sheet = cloud(300, 1, 3);
    for (Vector3F& p : sheet) p.z = 0.25f;
    expectBruteForce(sheet, {1e-3}, 0.4);
    expectBruteForce(Array<Vector3F>(20, Vector3F{1, 0.5f, 0.5f}), {0.1}, 0.1);
}

TEST(ParticleNeighbours, ReachesMayBeLostInTheRoundingOfFarCoordinates)
{
    for (const float far : {0.0f, 1e6f, -3e7f, 1e12f, -3e38f})
    {
        const Array<Vector3F> positions{{far, far, far}};
        const Array<Vector3D> places{{far, far, far}};
        const auto found = interpolateAtPlaces(NeighbourGrid(positions, 1e-3), {{1, 2, 3}}, places, 1e-3);
        EXPECT_EQ(found[0], (Vector3F{1, 2, 3})) << far;
    }
}

TEST(ParticleNeighbours, BadValuesCountAsZeroAndPollsStop)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Array<Vector3F> positions{{0, 0, 0}, {0.1f, 0, 0}, {5, 5, 5}};
    const NeighbourGrid grid(positions, 0.5, 1);
    const Array<Vector3D> places{{0.05, 0, 0}};
    const auto found =
        interpolateAtPlaces(grid, {{nan, 4, 2}, {2, -nan, 4}, {nan, nan, nan}}, places, 1, 1, nullptr);
    EXPECT_LT(length(found[0] - Vector3F{1, 2, 3}), 1e-6f);
    const auto stopped = interpolateAtPlaces(grid, positions, places, 1, 1, [] { return 1; });
    EXPECT_EQ(stopped[0], (Vector3F{0, 0, 0}));
    const auto none = interpolateAtPlaces(NeighbourGrid({}, 1, 1), {}, places, 1, 1, nullptr);
    EXPECT_EQ(none[0], (Vector3F{0, 0, 0}));
}
