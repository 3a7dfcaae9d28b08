#include <tavrix/meshproc/Vector3Simplifier.h>

#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include "FailingAllocations.h"
#endif
#include "meshproc/SimplifierOracle.h"

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

enum class Cloud
{
    Uniform,
    Lattice,
    Clusters,
    Strange
};

/// Points around which a tolerance of 0.1 decides differently: far apart, with many equal coordinates, in
/// clusters a little smaller and larger than it, and with coordinates out of the ordinary.
template <class T>
std::vector<Vector3<T>> makeCloud(Cloud kind, uint32 count, std::mt19937& chance)
{
    static const double strange[] = {0.0,      -0.0,      0.1,  0.05,  notANumber, -notANumber,
                                     infinity, -infinity, 3e38, -3e38, 1e-42,      1,
                                     -1,       -0.1,      2e38, 1e30,  -1e-42,     0.2};
    const auto below = [&](uint32 limit) { return static_cast<uint32>(chance() % limit); };
    const auto coordinate = [&]() -> double
    {
        switch (kind)
        {
            case Cloud::Uniform:
                return below(1u << 24) * 0x1p-24 * 3 - 1;
            case Cloud::Lattice:
                return static_cast<float>(below(9)) * 0.05f - 0.2f;
            case Cloud::Clusters:
                return below(6) + below(1000) * 0.00011;
            case Cloud::Strange:
                return strange[below(std::size(strange))];
        }
        return 0;
    };
    std::vector<Vector3<T>> points(count);
    for (Vector3<T>& p : points)
    {
        for (uint32 axis = 0; axis < 3; ++axis) p[axis] = static_cast<T>(coordinate());
        if (below(3) == 0) p = points[below(count)];
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
    for (const Cloud cloud : {Cloud::Uniform, Cloud::Lattice, Cloud::Clusters, Cloud::Strange})
        for (const uint32 count : {0u, 1u, 2u, 3u, 25u, 60u, 400u, 5000u})
        {
            SCOPED_TRACE(testing::Message() << "cloud " << int(cloud) << ", " << count << " points");
            const auto points = makeCloud<T>(cloud, count, chance);
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

/// Makes the protected steps callable.
struct Steps : Vector3Simplifier<double>
{
    using Vector3Simplifier<double>::faces_translateRemoveDegenerateDictionary;
    using Vector3Simplifier<double>::faces_translateRemoveDegenerateTrindicesDictionary;
};

/// A host's own pass, of the protected steps.
struct OwnPass : Vector3Simplifier<double>
{
    using Block = Vector3Simplifier<double>::Block;

    void begin(const Points& points) { focus(points, 0.1, center); }
    void emit(uint32 place) { simplify_1(place); }
    void sweepX(uint32 start, uint32 count) { simplify_loopX({start, count}); }
    void sweepY(uint32 start, uint32 count) { simplify_loopY({start, count}); }
    void sweepZ(uint32 start, uint32 count) { simplify_loopZ({start, count}); }
    uint32 run(uint32 start, uint32 count) { return getSubBlockRepeatedSize_coord({start, count}); }
    Vector3D representative(uint32 start, uint32 count) { return selectPointInArrCoordBlock({start, count}); }
};

}  // namespace

TEST(Vector3Simplifier, TheSweepIsThatOfItsDefinition)
{
    compareOnClouds<float>();
    compareOnClouds<double>();
}

TEST(Vector3Simplifier, SmallCases)
{
    const struct
    {
        const char* name;
        Points points;
        V3S_SIMP_MODE mode;
        Points output;  // for a tolerance of 0.5
        Indices dictionary;
    } cases[] = {
        {"exactly the tolerance", {{1, 0, 0}, {0.5, 0, 0}}, center, {{1, 0, 0}, {0.5, 0, 0}}, {0, 1}},
        {"two, first along z", {{0, 0, 0.25}, {0.25, 0, 0}}, centered, {{0.25, 0, 0}}, {0, 0}},
        {"any other mode", {{0, 0, 0}, {0, 0.25, 0}}, V3S_SIMP_MODE(9), {{0, 0.125, 0}}, {0, 0}},
        {"sweep order",
         {{2, 0, 0}, {1, 3, 0}, {1.25, 2, 0}, {1, 2, 1}, {1, 2, -1}, {2, 0, 0}},
         center,
         {{1, 2, -1}, {1.25, 2, 0}, {1, 2, 1}, {1, 3, 0}, {2, 0, 0}},
         {4, 3, 1, 2, 0, 4}}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Vector3Simplifier<double> simplifier;
        EXPECT_EQ(simplifier.simplifyConst(c.points, {0.5f}, c.mode), c.output.size() < c.points.size());
        EXPECT_EQ(simplifier.getArrPosOut(), c.output);
        EXPECT_EQ(simplifier.getArrPosDict_In_to_Out(), c.dictionary);
        const Indices families{1, 0, 1, 0, 1, 0};
        simplifier.setArrFamily(families);
        simplifier.clearArrFamily();
        Indices dictionary;
        simplifier.simplifyConst(c.points, dictionary, {0.5f}, c.mode);
        EXPECT_EQ(dictionary, c.dictionary);
        Points points = c.points;
        simplifier.simplifyOverwrite(points, {0.5f}, c.mode);
        EXPECT_EQ(points, c.output);
    }
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
        EXPECT_TRUE(dropsThin ? simplifier.simplifyRemovingDegenerateFaces(points, tris, posDict, triDict,
                                                                           {half}, center)
                              : simplifier.simplifyRemovingDegenerateTrindices(points, tris, posDict, triDict,
                                                                               {half}, center));
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
        EXPECT_FALSE(dropsThin
                         ? simplifier.simplifyRemovingDegenerateFaces(points, tris, {half}, center)
                         : simplifier.simplifyRemovingDegenerateTrindices(points, tris, {half}, center));
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
    OwnPass pass;
    pass.begin(points);
    EXPECT_EQ(pass.run(0, 4), 3u);
    EXPECT_EQ(pass.representative(0, 3), (Vector3D{1.03125, 0, 0}));
    pass.emit(3);
    pass.sweepZ(2, 1);
    pass.sweepY(0, 2);
    EXPECT_EQ(pass.getArrPosOut(), (Points{{0, 0, 0}, {1.0625, 0, 0}, {1, 0, 0}}));
    EXPECT_EQ(pass.getArrPosDict_In_to_Out(), (Indices{2, 2, 1, 0}));
    pass.begin(points);
    pass.sweepX(0, 4);
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

#if !defined(_WIN32)
TEST(Vector3Simplifier, AMeshStaysAsItWasWhereverAnAllocationFails)
{
    const Params tolerances{0.1f, 0.5f};
    struct Run
    {
        Vector3Simplifier<double> simplifier{};
        Points pos = facePoints;
        Triangles tris = faces;
        Indices posDict{}, triDict{};
    };
    const std::function<void(Run&)> operations[] = {
        [&](Run& r) { r.simplifier.simplifyOverwrite(r.pos, r.tris, tolerances, center); },
        [&](Run& r) { r.simplifier.simplifyRemovingDegenerateTrindices(r.pos, r.tris, tolerances, center); },
        [&](Run& r) {
            r.simplifier.simplifyRemovingDegenerateFaces(r.pos, r.tris, r.posDict, r.triDict, tolerances,
                                                         center);
        }};
    for (const auto& operation : operations)
    {
        bool failed = true;
        for (int n = 0; failed; ++n)
        {
            ASSERT_LT(n, 200);
            Run run;
            failed = test::failsAtAllocation(n, [&] { operation(run); });
            EXPECT_EQ(run.pos == facePoints && run.tris == faces, failed) << "allocation " << n;
            EXPECT_EQ(run.pos.size(), failed ? 5u : 4u);
        }
    }
}
#endif
