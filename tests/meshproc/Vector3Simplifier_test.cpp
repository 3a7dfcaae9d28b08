#include <tavrix/meshproc/Vector3Simplifier.h>

#include <array>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <tavrix/meshproc/VertexWelding.h>

#if !defined(_WIN32)
#include "FailingAllocations.h"
#endif
#include "meshproc/SimplifierOracle.h"
#include "Polls.h"

using namespace tavrix;

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr float smallest = std::numeric_limits<float>::denorm_min();
constexpr auto center = V3S_SIMP_MODE::center, centered = V3S_SIMP_MODE::centered;
using Params = PolyParam<8, float>;
using Points = Array<Vector3D>;
using Indices = Array<uint32>;
using Triangles = Array<Index3>;

/// -0 differs from 0 here, and what is not a number equals itself.
template <class T, class Range>
bool haveSameBytes(const Array<T>& a, const Range& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// Coordinates around which a tolerance of 0.1 decides differently: far apart, with many equal ones, in
/// clusters a little smaller and larger than it, and out of the ordinary.
const std::pair<const char*, double (*)(std::mt19937&)> clouds[] = {
    {"uniform", [](std::mt19937& chance) { return static_cast<double>(chance() >> 8) * 0x1p-24 * 3 - 1; }},
    {"lattice", [](std::mt19937& chance) { return double{static_cast<float>(chance() % 9) * 0.05f - 0.2f}; }},
    {"clusters",
     [](std::mt19937& chance) {
         return static_cast<double>(chance() % 6000 / 1000) + static_cast<double>(chance() % 1000) * 0.00011;
     }},
    {"strange", [](std::mt19937& chance)
     {
         const double all[] = {0.0,   -0.0,  0.1, 0.05, notANumber, -notANumber, infinity, -infinity, 3e38,
                               -3e38, 1e-42, 1,   -1,   -0.1,       2e38,        1e30,     -1e-42,    0.2};
         return all[chance() % std::size(all)];
     }}};

template <class T>
std::vector<Vector3<T>> makeCloud(double (*coordinate)(std::mt19937&), uint32 count, std::mt19937& chance)
{
    std::vector<Vector3<T>> points(count);
    for (Vector3<T>& p : points)
    {
        for (uint32 axis = 0; axis < 3; ++axis) p[axis] = static_cast<T>(coordinate(chance));
        if (chance() % 3 == 0) p = points[chance() % count];
    }
    return points;
}

template <class T>
void compareWithOracle(const std::vector<Vector3<T>>& points, const std::vector<uint32>& families,
                       const Params& tolerances, V3S_SIMP_MODE mode)
{
    test::SimplifierOracle<T> oracle;
    oracle.points = points;
    oracle.families = families;
    oracle.run(tolerances, mode == centered);

    Vector3Simplifier<T> simplifier;
    const Array<Vector3<T>> input(points);
    const Indices familyArray(families);
    if (!families.empty()) simplifier.setArrFamily(familyArray);
    for (int run = 0; run < 2; ++run)  // the second finds the caller's families again
    {
        EXPECT_EQ(simplifier.simplifyConst(input, tolerances, mode), oracle.hasMerged);
        EXPECT_TRUE(haveSameBytes(simplifier.getArrPosOut(), oracle.output));
        EXPECT_TRUE(haveSameBytes(simplifier.getArrPosDict_In_to_Out(), oracle.dictionary));
    }
}

template <class T>
void compareOnClouds()
{
    std::mt19937 chance(7);
    const Params lists[] = {{},
                            {0.1f},
                            {0.02f, 0.1f},
                            {0.05f, 0.0f, 0.1f, 0.3f},
                            {-1.0f},
                            {smallest},
                            {static_cast<float>(notANumber), 0.04f},
                            {static_cast<float>(infinity)}};
    for (const auto& [name, coordinate] : clouds)
        for (const uint32 count : {0u, 1u, 2u, 3u, 25u, 60u, 400u, 5000u})
        {
            SCOPED_TRACE(testing::Message() << name << ", " << count << " points");
            const auto points = makeCloud<T>(coordinate, count, chance);
            std::vector<uint32> families(count > 10 ? count - 5 : count);  // some points have none
            for (uint32& family : families) family = static_cast<uint32>(chance() % 3) * 0x7FF00001u;
            for (const Params& list : lists)
                for (const V3S_SIMP_MODE mode : {center, centered})
                {
                    compareWithOracle(points, {}, list, mode);
                    compareWithOracle(points, families, list, mode);
                }
        }
}

// Points 0 and 4 merge; from 0 to 1 it is 4, points 2 and 3 lie 0.5 and 0.25 beside the middle of that edge.
const Points facePoints{{0, 0, 0}, {4, 0, 0}, {2, 0, 0.5}, {2, 0.75, 0}, {0, 0, 0}};
const Triangles faces{{0, 1, 2}, {0, 4, 2}, {2, 1, 4},       {1, 3, 0},
                      {3, 4, 1}, {0, 1, 7}, {0, 7, noIndex}, {1, 1, 2}};

/// Makes the protected steps callable, as for a host's own pass.
struct Steps : Vector3Simplifier<double>
{
    using Base = Vector3Simplifier<double>;
    using Base::faces_translateRemoveDegenerateDictionary;
    using Base::faces_translateRemoveDegenerateTrindicesDictionary;
    using Base::focus;
    using Base::getSubBlockRepeatedSize_coord;
    using Base::selectPointInArrCoordBlock;
    using Base::simplify_1;
    using Base::simplify_loopX;
    using Base::simplify_loopY;
    using Base::simplify_loopZ;
};

}  // namespace

TEST(Vector3Simplifier, TheSweepIsThatOfItsDefinition)
{
    compareOnClouds<float>();
    compareOnClouds<double>();
}

TEST(Vector3Simplifier, OutputIsInTheOrderOfTheSweep)
{
    const Points points{{2, 0, 0}, {1, 3, 0}, {1.25, 2, 0}, {1, 2, 1}, {1, 2, -1}, {2, 0, 0}};
    const Points output{{1, 2, -1}, {1.25, 2, 0}, {1, 2, 1}, {1, 3, 0}, {2, 0, 0}};
    const Indices families{1, 0, 1, 0, 1, 0};
    Vector3Simplifier<double> simplifier;
    simplifier.setArrFamily(families);
    simplifier.clearArrFamily();
    Indices dictionary;
    EXPECT_TRUE(simplifier.simplifyConst(points, dictionary, {0.5f}, center));
    EXPECT_EQ(simplifier.getArrPosOut(), output);
    EXPECT_EQ(dictionary, (Indices{4, 3, 1, 2, 0, 4}));
    Points pair{{0, 0, 0}, {0, 0.25, 0}};
    EXPECT_FALSE(simplifier.simplifyOverwrite(pair, {0.25f}, center)) << "exactly the tolerance";
    EXPECT_TRUE(simplifier.simplifyOverwrite(pair, {0.5f}, V3S_SIMP_MODE(9)));
    EXPECT_EQ(pair, (Points{{0, 0.125, 0}})) << "any other mode is the centre";
}

TEST(Vector3Simplifier, DegenerateAndThinTrianglesAreDropped)
{
    const float half = 0.5f;  // which faces of that height do not exceed
    for (const bool dropsThin : {false, true})
    {
        SCOPED_TRACE(dropsThin);
        const Points output{{0, 0, 0}, {2, 0, 0.5}, {2, 0.75, 0}, {4, 0, 0}};
        const Triangles kept =
            dropsThin ? Triangles{{3, 2, 0}, {2, 0, 3}}
                      : Triangles{{0, 3, 1}, {1, 3, 0}, {3, 2, 0}, {2, 0, 3}, {0, 3, 7}, {0, 7, noIndex}};
        const Indices newIndex = dropsThin
                                     ? Indices{noIndex, noIndex, noIndex, 0, 1, noIndex, noIndex, noIndex}
                                     : Indices{0, noIndex, 1, 2, 3, 4, 5, noIndex};
        const Steps simplifier;
        Points points = facePoints;
        Triangles tris = faces, again;
        Indices posDict, triDict, againDict;
        const auto simplify = [&](auto&... dictionaries)
        {
            return dropsThin ? simplifier.simplifyRemovingDegenerateFaces(points, tris, dictionaries...,
                                                                          {half}, center)
                             : simplifier.simplifyRemovingDegenerateTrindices(points, tris, dictionaries...,
                                                                              {half}, center);
        };
        EXPECT_TRUE(simplify(posDict, triDict));
        EXPECT_EQ(points, output);
        EXPECT_EQ(tris, kept);
        EXPECT_EQ(posDict, (Indices{0, 3, 1, 2, 0}));
        EXPECT_EQ(triDict, newIndex);

        simplifier.simplifyConst(facePoints, {half}, center);
        EXPECT_TRUE(
            dropsThin
                ? simplifier.faces_translateRemoveDegenerateDictionary(faces, again, againDict, {half})
                : simplifier.faces_translateRemoveDegenerateTrindicesDictionary(faces, again, againDict));
        EXPECT_EQ(again, kept);
        EXPECT_EQ(againDict, newIndex);

        // nothing merges any more, and nothing is dropped
        EXPECT_FALSE(simplify());
        EXPECT_EQ(tris, kept);
    }
}

TEST(Vector3Simplifier, TheLastToleranceDecidesWhatIsThin)
{
    const struct
    {
        Params params;
        uint32 kept;
    } cases[] = {{{}, 4},           {{static_cast<float>(notANumber)}, 4},
                 {{0.0f}, 4},       {{0.6f, 0.1f}, 4},
                 {{0.1f, 0.6f}, 2}, {{-0.6f}, 2},
                 {{0.7501f}, 0}};
    for (const auto& c : cases)
    {
        Points points = facePoints;
        Triangles tris{{0, 1, 2}, {2, 1, 0}, {1, 3, 0}, {3, 0, 1}, {0, 1, 1}, {0, 4, 4}};
        EXPECT_TRUE(
            Vector3Simplifier<double>().simplifyRemovingDegenerateFaces(points, tris, c.params, center));
        EXPECT_EQ(tris.size(), c.kept);
    }
}

TEST(Vector3Simplifier, ArraysAreHandedOverCopiedOrOverwritten)
{
    const Vector3Simplifier<double> simplifier;
    const Points merged{{0, 0, 0}, {2, 0, 0.5}, {2, 0.75, 0}, {4, 0, 0}};
    const Triangles renumbered{{0, 3, 1}, {0, 0, 1}, {1, 3, 0},       {3, 2, 0},
                               {2, 0, 3}, {0, 3, 7}, {0, 7, noIndex}, {3, 3, 1}};
    Points points;
    Triangles tris;
    EXPECT_TRUE(simplifier.simplify(facePoints, faces, points, tris, {0.5f}, center));
    EXPECT_EQ(points, merged);
    EXPECT_EQ(tris, renumbered);
    EXPECT_TRUE(simplifier.getArrPosOut().empty());

    EXPECT_FALSE(simplifier.simplify(facePoints, faces, points, tris, {0.0f}, center));
    EXPECT_EQ(points, facePoints);
    EXPECT_EQ(tris, faces);
    EXPECT_EQ(simplifier.getArrPosOut(), facePoints);

    EXPECT_TRUE(simplifier.simplifyOverwrite(points, tris, {0.5f}, center));
    EXPECT_EQ(points, merged);
    EXPECT_EQ(tris, renumbered);

    points = facePoints;
    EXPECT_TRUE(simplifier.snap(points, {0.5f, 2.5f}, centered));  // 2 and 3 join 0 along x
    EXPECT_EQ(points, (Points{{0, 0, 0}, {4, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_FALSE(simplifier.snap(points, {}, centered));

    EXPECT_TRUE(simplifier.simplifyConst(facePoints, {0.5f}, center));
    EXPECT_TRUE(simplifier.simplifyConst(simplifier.getArrPosOut(), {2.5f}, center));
    EXPECT_EQ(simplifier.getArrPosDict_In_to_Out(), (Indices{0, 0, 0, 1}));
}

TEST(Vector3Simplifier, ASubclassMayTakeAnyStepOnceItHasFocused)
{
    // equal points and near ones, in the order of the input: x is the key
    const Points points{{1, 0, 0}, {1, 0, 0}, {1.0625, 0, 0}, {0, 0, 0}};
    Steps pass;
    pass.focus(points, 0.1, center);
    EXPECT_EQ(pass.getSubBlockRepeatedSize_coord({0, 4}), 3u);
    EXPECT_EQ(pass.selectPointInArrCoordBlock({0, 3}), (Vector3D{1.03125, 0, 0}));
    pass.simplify_1(3);
    pass.simplify_loopZ({2, 1});
    pass.simplify_loopY({0, 2});
    EXPECT_EQ(pass.getArrPosOut(), (Points{{0, 0, 0}, {1.0625, 0, 0}, {1, 0, 0}}));
    EXPECT_EQ(pass.getArrPosDict_In_to_Out(), (Indices{2, 2, 1, 0}));
    pass.focus(points, 0.1, center);
    pass.simplify_loopX({0, 4});
    EXPECT_EQ(pass.getArrPosOut(), (Points{{0, 0, 0}, {1.03125, 0, 0}}));
}

TEST(PolyParam, HoldsSoManyAndNoMore)
{
    PolyParam<2, float> params{1.0f};
    params.push_back(2.0f);
    EXPECT_THROW(params.push_back(3.0f), std::length_error);
    EXPECT_EQ(params.size(), 2u);
    EXPECT_EQ(params.back(), 2.0f);
}

TEST(Vector3Simplifier, EveryPollCanStopAWelding)
{
    std::mt19937 random(5);
    const auto coordinate = [&] { return static_cast<double>(random() % 50) / 10; };
    Points points;
    Triangles faces;
    for (uint32 n = 0; n < 300'000; ++n) points.push_back({coordinate(), coordinate(), coordinate()});
    for (uint32 n = 0; n < 100'000; ++n) faces.push_back({3 * n, 3 * n + 1, 3 * n + 2});
    Points welded;
    Triangles left;
    const auto weld = [&](CancelCallback callback)
    {
        welded = points;
        left = faces;
        return weldVertices(welded, left, std::array{0.0, 0.15}, false, callback);
    };
    EXPECT_GE(test::stopAtPolls(8, weld, [&] { EXPECT_TRUE(welded == points && left == faces); }), 8);
    EXPECT_TRUE(weld(nullptr));
    EXPECT_LT(welded.size(), points.size());
}

#if !defined(_WIN32)
TEST(Vector3Simplifier, AMeshStaysAsItWasWhereverAnAllocationFails)
{
    const Params tolerances{0.1f, 0.5f};
    const std::function<void(Points&, Triangles&)> operations[] = {
        [&](Points& p, Triangles& t)
        { Vector3Simplifier<double>().simplifyOverwrite(p, t, tolerances, center); },
        [&](Points& p, Triangles& t)
        { Vector3Simplifier<double>().simplifyRemovingDegenerateTrindices(p, t, tolerances, center); },
        [&](Points& p, Triangles& t)
        {
            Indices posDict, triDict;
            Vector3Simplifier<double>().simplifyRemovingDegenerateFaces(p, t, posDict, triDict, tolerances,
                                                                        center);
        }};
    for (const auto& operation : operations)
    {
        bool failed = true;
        for (int n = 0; failed; ++n)
        {
            ASSERT_LT(n, 200);
            Points points = facePoints;
            Triangles tris = faces;
            failed = test::failsAtAllocation(n, [&] { operation(points, tris); });
            EXPECT_EQ(points == facePoints && tris == faces, failed) << "allocation " << n;
            EXPECT_EQ(points.size(), failed ? 5u : 4u);
        }
    }
}
#endif
