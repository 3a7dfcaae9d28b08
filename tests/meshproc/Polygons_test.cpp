#include <tavrix/meshproc/Polygons.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>

using namespace tavrix;

namespace
{

Polyline square(double x, double y, double half)
{
    return {{x - half, y - half}, {x + half, y - half}, {x + half, y + half}, {x - half, y + half}};
}

double upTo(double most, std::mt19937& random) { return most * static_cast<double>(random() % 1024) / 1024; }

/// A star around a point, its radii between one and two times the scale.
Polyline star(std::mt19937& random, uint32 count, double scale, Vector2D at = {0, 0})
{
    Polyline points;
    for (uint32 n = 0; n < count; ++n)
    {
        const double angle = 2 * piValue * n / count, r = scale + upTo(scale, random);
        points.push_back({at.x + r * std::cos(angle), at.y + r * std::sin(angle)});
    }
    return points;
}

double distance(const Vector2D& p, const Vector2D& a, const Vector2D& b)
{
    const double t = std::clamp(dot(p - a, b - a) / dot(b - a, b - a), 0.0, 1.0);
    return length(p - (a + (b - a) * t));
}

double distance(const Vector2D& p, const Polyline& loop)
{
    double least = 1e300;
    for (uint32 n = 0; n < loop.size(); ++n)
        least = std::min(least, distance(p, loop[n], loop[(n + 1) % loop.size()]));
    return least;
}

/// Whether the segments have a point in common, other than an end of both.
bool cross(const Vector2D& a, const Vector2D& b, const Vector2D& c, const Vector2D& d)
{
    const auto side = [](const Vector2D& p, const Vector2D& q, const Vector2D& r)
    {
        const double area = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
        return (area > 0) - (area < 0);
    };
    if (a == c || a == d || b == c || b == d) return false;
    return side(a, b, c) * side(a, b, d) < 0 && side(c, d, a) * side(c, d, b) < 0;
}

bool areSimple(const std::vector<Polyline>& loops)
{
    std::vector<std::pair<Vector2D, Vector2D>> edges;
    for (const Polyline& loop : loops)
        for (uint32 n = 0; n < loop.size(); ++n) edges.emplace_back(loop[n], loop[(n + 1) % loop.size()]);
    for (std::size_t i = 0; i < edges.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (cross(edges[i].first, edges[i].second, edges[k].first, edges[k].second)) return false;
    return true;
}

}  // namespace

// Whole numbers whose products 53 bits do not hold, so that rounding would decide wrongly; 64 bits do.
TEST(Polygonum, LocatesPointsExactly)
{
    std::mt19937_64 random(3);
    uint32 places[3] = {};
    for (uint32 round = 0; round < 400; ++round)
    {
        // a huge sliver: its points lie near the line from the origin to (u, v), many on it
        const int64 u = int64(random() % 1000) + 1, v = int64(random() % 1000) + 1, far = int64{1} << 20;
        Polyline points;
        for (uint32 n = 0; n < 7; ++n)
        {
            const int64 along = int64(random() % uint64(far));
            points.push_back(
                {double(u * along + int64(random() % 3) - 1), double(v * along + int64(random() % 3) - 1)});
        }
        const Polygonum polygon(points);
        for (uint32 n = 0; n < 50; ++n)
        {
            const int64 along = int64(random() % uint64(far));
            const Vector2D p = n < 7 ? points[n] : Vector2D{double(u * along), double(v * along)};
            bool isInside = false, isOnBorder = false;
            for (uint32 i = 0; i < 7; ++i)
            {
                const Vector2D &a = points[i], &b = points[(i + 1) % 7];
                const int64 area = int64(b.x - a.x) * int64(p.y - a.y) - int64(b.y - a.y) * int64(p.x - a.x);
                const int64 within =
                    int64(p.x - a.x) * int64(p.x - b.x) + int64(p.y - a.y) * int64(p.y - b.y);
                isOnBorder |= area == 0 && within <= 0;
                if ((a.y > p.y) != (b.y > p.y) && (area > 0) == (b.y > a.y)) isInside = !isInside;
            }
            const PointPlace expected = isOnBorder ? PointPlace::Border
                                        : isInside ? PointPlace::Inside
                                                   : PointPlace::Outside;
            ASSERT_EQ(polygon.locate(p), expected) << round << ", " << n;
            ++places[uint32(expected)];
        }
    }
    for (const uint32 count : places) EXPECT_GT(count, 300u);
}

TEST(Polygonum, MeasuresBothWaysAround)
{
    Polygonum shape(Polyline{{0, 0}, {4, 0}, {4, 3}});
    EXPECT_EQ(shape.signedArea(), 6);
    EXPECT_EQ(shape.perimeter(), 12);
    EXPECT_EQ(shape.box(), (Box2D{{0, 0}, {4, 3}}));
    shape.reverse();
    EXPECT_EQ(shape.signedArea(), -6);
    EXPECT_EQ(shape[0], (Vector2D{0, 0}));
    std::mt19937 random(1);
    for (uint32 n = 0; n < 200; ++n)
    {
        Polygonum sliver(Polyline{
            {0.1, 0.1}, {upTo(9, random), 0}, {upTo(9, random), 0}, {upTo(9, random), 1e-16}, {3, 0}});
        const double area = sliver.signedArea();
        sliver.reverse();
        EXPECT_EQ(sliver.signedArea(), -area);
    }
    EXPECT_EQ(Polygonum().signedArea(), 0);
    EXPECT_TRUE(Polygonum().box().isEmpty());
    EXPECT_EQ(Polygonum().locate({0, 0}), PointPlace::Outside);
}

// Loops that touch at corners and along edges, islands in holes, and either way around.
TEST(Polygons, TellHolesByDepth)
{
    struct Case
    {
        std::vector<Polyline> loops;
        std::vector<uint32> parents;
        double area;
    };
    constexpr uint32 none = noIndex;
    const Polyline diamond{{0, -1}, {1, 0}, {0, 1}, {-1, 0}};
    const Case cases[] = {
        {{square(0, 0, 1), square(0, 0, 4), square(0, 0, 2), square(0, 0, 3)},
         {2, none, 3, 1},
         64 - 36 + 16 - 4},
        {{square(0, 0, 4), square(-2, -2, 1), square(2, 2, 1), square(9, 0, 1)},
         {none, 0, 0, none},
         64 - 8 + 4},
        {{square(0, 0, 1), diamond}, {none, 0}, 4 - 2},             // corners on edges
        {{square(0, 0, 2), square(-1, -1, 1)}, {none, 0}, 16 - 4},  // in a corner, along two edges
        {{square(0, 0, 1), square(2, 0, 1), square(2, 2, 1)}, {none, none, none}, 12},  // side by side
        {{{{0, 0}, {4, 0}, {4, 4}, {2, 1}, {0, 4}}, {{2, 1}, {3, 3}, {1, 3}}},
         {none, none},
         10 + 2},                                                 // in a notch
        {{square(0, 0, 1), square(0, 0, 1)}, {none, 0}, 0},       // one twice
        {{square(0, 0, 2), square(1, 1, 2)}, {none, none}, 32}};  // crossing
    for (const Case& each : cases)
        for (const uint32 turned : {0u, 1u, 2u, 3u})
        {
            std::vector<Polygonum> loops;
            for (const Polyline& loop : each.loops) loops.emplace_back(loop);
            for (uint32 n = 0; n < loops.size(); ++n)
                if ((turned >> n % 2 & 1) != 0) loops[n].reverse();
            const Polygons polygons(loops);
            std::vector<uint32> parents;
            for (uint32 n = 0; n < polygons.size(); ++n)
            {
                parents.push_back(polygons.parent(n));
                EXPECT_EQ(polygons[n].isCounterClockwise(), !polygons.isHole(n));
            }
            EXPECT_EQ(parents, each.parents) << &each - cases;
            EXPECT_DOUBLE_EQ(polygons.area(), each.area) << &each - cases;
        }
}

// Beside a count of the loops around each loop's point; and what is inside, by places in all loops.
TEST(Polygons, NestManyLoops)
{
    std::mt19937 random(5);
    std::vector<Polygonum> loops;
    for (uint32 i = 0; i < 12; ++i)
        for (uint32 k = 0; k < 12; ++k)
            for (uint32 depth = 0; depth < 1 + (i + k) % 4; ++depth)
                loops.emplace_back(star(random, 9, std::pow(0.45, depth), {5.0 * i, 5.0 * k}));
    loops.emplace_back(square(30, 30, 100));
    std::shuffle(loops.begin(), loops.end(), random);
    const Polygons polygons(loops);
    for (uint32 n = 0; n < polygons.size(); ++n)
    {
        uint32 around = 0;
        for (uint32 other = 0; other < polygons.size(); ++other)
            around += other != n && loops[other].locate(loops[n][0]) == PointPlace::Inside ? 1 : 0;
        EXPECT_EQ(polygons.depth(n), around);
        EXPECT_EQ(polygons.depth(n),
                  polygons.parent(n) == noIndex ? 0 : polygons.depth(polygons.parent(n)) + 1);
    }
    EXPECT_EQ(polygons.locate({32.5, 32.5}), PointPlace::Inside);
    EXPECT_EQ(polygons.locate({131, 30}), PointPlace::Outside);
    EXPECT_EQ(polygons.locate({130, 30}), PointPlace::Border);
}

// Deep spirals of thin walls, whose neighbouring turns simplification would have cross.
TEST(PolylineTools, SimplifyWithinTheToleranceAndKeepLoopsSimple)
{
    std::mt19937 random(7);
    std::vector<Polyline> spiral(1);
    for (const bool isBack : {false, true})
        for (uint32 n = 0; n < 600; ++n)
        {
            const uint32 step = isBack ? 599 - n : n;
            const double angle = step / 20.0, r = 1 + angle * 0.1 + (isBack ? 0.02 : 0) + upTo(0.01, random);
            spiral[0].push_back({r * std::cos(angle), r * std::sin(angle)});
        }
    const std::vector<Polyline> nested{star(random, 500, 4), star(random, 400, 1.9), square(3.9, 0.3, 0.05),
                                       square(-3.5, 0.2, 0.01)};
    const std::vector<Polyline> bump{{{0, 0}, {9, 0}, {9, 9}, {5, 9}, {4.7, 9.3}, {4.4, 9}, {0, 9}},
                                     square(4.7, 9.1, 0.01)};
    ASSERT_TRUE(areSimple(spiral) && areSimple(nested));
    for (const auto& loops : {spiral, nested, bump})
        for (const double tolerance : {0.003, 0.05, 0.4, 3.0})
        {
            const std::vector<Polyline> simple = polylinetools::simplifyLoops(loops, tolerance);
            ASSERT_EQ(simple.size(), loops.size());
            EXPECT_TRUE(areSimple(simple)) << tolerance;
            std::vector<Polygonum> before, after;
            std::size_t pointsBefore = 0, pointsAfter = 0;
            for (std::size_t n = 0; n < loops.size(); ++n)
            {
                for (const Vector2D& p : loops[n]) ASSERT_LE(distance(p, simple[n]), tolerance * (1 + 1e-9));
                EXPECT_GE(simple[n].size(), 3u);
                pointsBefore += loops[n].size();
                pointsAfter += simple[n].size();
                before.emplace_back(loops[n]);
                after.emplace_back(simple[n]);
            }
            const Polygons nestedBefore(before), nestedAfter(after);
            for (uint32 n = 0; n < nestedBefore.size(); ++n)
                EXPECT_EQ(nestedBefore.parent(n), nestedAfter.parent(n)) << tolerance;
            const bool isSpiral = loops.size() == 1, isBump = loops.size() == 2;
            EXPECT_LE(pointsAfter, isSpiral                    ? pointsBefore * 2 / 3
                                   : !isBump && tolerance == 3 ? pointsBefore / 10
                                                               : pointsBefore);
        }
    const Polyline line{{0, 0}, {1, 0}, {2, 0}, {3, 1}, {4, 2}, {4, 2}};
    EXPECT_EQ(polylinetools::simplifyChain(line, 0), (Polyline{{0, 0}, {2, 0}, {4, 2}}));
    EXPECT_TRUE(polylinetools::simplifyChain({}, 1).empty());
}

TEST(PolylineTools, DropRepeatsAndSpikes)
{
    const Vector2D a{0, 0}, b{1, 0}, c{1, 1}, d{5, 5}, e{6, 5};
    struct Case
    {
        Polyline given;
        bool isLoop;
        Polyline left;
    };
    const Case cases[] = {{{a, a, b, b, c, a}, true, {a, b, c}},
                          {{a, b, d, e, d, b, c}, true, {a, b, c}},
                          {{d, a, b, c, a, d, e}, true, {a, b, c}},
                          {{e, d, a, b, c, a, d}, true, {a, b, c}},
                          {{a, b, c, b}, true, {a}},
                          {{a, a, a}, true, {a}},
                          {{}, true, {}},
                          {{a, b, c, a}, false, {a, b, c, a}},
                          {{a, b, b, d, b, c}, false, {a, b, c}}};
    for (const Case& each : cases)
    {
        Polyline points = each.given;
        polylinetools::dropRepeats(points, each.isLoop);
        EXPECT_EQ(points, each.left) << &each - cases;
    }
}

// The outline of a polygon cut into pieces, which are shuffled, turned around, and apart by up to a gap.
TEST(PolylineTools, JoinPieces)
{
    std::mt19937 random(11);
    for (const double apart : {0.0, 1e-4})
        for (const bool areTurned : {false, true})
        {
            const Polyline loops[] = {star(random, 40, 1), star(random, 60, 1, {5, 0})};
            std::vector<Polyline> pieces;
            for (const Polyline& loop : loops)
                for (uint32 n = 0; n < loop.size(); n += 5)
                {
                    Polyline piece;
                    for (uint32 k = n; k <= n + 5; ++k) piece.push_back(loop[k % loop.size()]);
                    piece[5].x += apart;
                    if (areTurned && random() % 2 == 0) std::reverse(piece.begin(), piece.end());
                    pieces.push_back(piece);
                }
            pieces.push_back({{9, 9}, {10, 9}});
            pieces.push_back({{10, 9}, {10, 12}});
            pieces.push_back({});
            std::shuffle(pieces.begin(), pieces.end(), random);
            const polylinetools::JoinedPolylines joined = polylinetools::joinPolylines(pieces, 2 * apart);
            ASSERT_EQ(joined.loops.size(), 2u);
            ASSERT_EQ(joined.chains.size(), 1u);
            EXPECT_EQ(joined.chains[0].size(), 3u);
            double area = 0, expected = 0;
            for (const Polyline& loop : joined.loops) area += std::abs(Polygonum(loop).signedArea());
            for (const Polyline& loop : loops) expected += Polygonum(loop).signedArea();
            EXPECT_NEAR(area, expected, 1e-3);
            EXPECT_EQ(polylinetools::joinPolylines(pieces, 0).loops.size(), apart > 0 ? 0u : 2u);
        }
}
