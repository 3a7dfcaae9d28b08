#include <tavrix/mesh/PolygonTriangulation.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <vector>

using namespace tavrix;

namespace
{

using Polygon = std::vector<Vector3D>;

Polygon flat(std::initializer_list<std::pair<double, double>> corners)
{
    Polygon polygon;
    for (const auto& [x, y] : corners) polygon.push_back({x, y, 0});
    return polygon;
}

double doubleArea(const Polygon& p, const Index3& t) { return cross(p[t.b] - p[t.a], p[t.c] - p[t.a]).z; }

/// What is wrong with the triangles of a polygon in the plane z = 0, or "". Triangles whose edges are those
/// of the polygon once all inner ones cancel cover every point as often as the polygon winds around it, if
/// none is turned over: a simple polygon exactly once.
std::string faultOf(const Polygon& polygon, uint32 flatTriangles = 0)
{
    Array<Index3> triangles;
    triangulatePolygon(polygon, triangles);
    if (triangles.size() != polygon.size() - 2) return std::to_string(triangles.size()) + " triangles";
    std::map<std::pair<uint32, uint32>, int> edges;
    const auto addEdge = [&](uint32 from, uint32 to, int times)
    {
        edges[{from, to}] += times;
        edges[{to, from}] -= times;
    };
    const auto count = static_cast<uint32>(polygon.size());
    for (uint32 n = 0; n < count; ++n) addEdge(n, (n + 1) % count, -1);
    uint32 flats = 0;
    for (const Index3& t : triangles)
    {
        if (std::max({t.a, t.b, t.c}) >= count) return "a corner that is not there";
        for (uint32 n = 0; n < 3; ++n) addEdge(t[n], t[(n + 1) % 3], 1);
        if (doubleArea(polygon, t) < 0) return "a triangle turned over";
        flats += doubleArea(polygon, t) == 0 ? 1 : 0;
    }
    for (const auto& [edge, times] : edges)
        if (times != 0)
            return "an edge between " + std::to_string(edge.first) + " and " + std::to_string(edge.second);
    return flats == flatTriangles ? "" : std::to_string(flats) + " triangles without area";
}

Polygon randomStar(uint32 seed, uint32 count)
{
    std::mt19937 random(seed);
    Polygon polygon;
    for (uint32 n = 0; n < count; ++n)
    {
        const double angle = 6.283185307179586 * n / count, radius = 100 + double(random() % 900);
        polygon.push_back({radius * std::cos(angle), radius * std::sin(angle), 0});
    }
    return polygon;
}

Polygon spiral(uint32 count)
{
    Polygon polygon;
    const auto add = [&](double turn, double width)
    {
        const double radius = 1 + turn / 6.283185307179586 * 3 + width;
        polygon.push_back({radius * std::cos(turn), radius * std::sin(turn), 0});
    };
    for (uint32 n = 0; n < count; ++n) add(n * 0.25, 1);
    for (uint32 n = count; n-- > 0;) add(n * 0.25, 0);
    return polygon;
}

Polygon comb(uint32 teeth)
{
    Polygon polygon{{0, 0, 0}, {2.0 * teeth, 0, 0}};
    for (uint32 n = teeth; n-- > 0;)
        for (const auto& [x, y] : {std::pair{2.0, 1.0}, {1.5, 900.0}, {1.0, 1.0}})
            polygon.push_back({2.0 * n + x, y, 0});
    return polygon;
}

}  // namespace

TEST(PolygonTriangulation, FillsPolygonsOnce)
{
    const struct
    {
        const char* name;
        Polygon polygon;
        uint32 flatTriangles = 0;
    } cases[] = {
        {"triangle", flat({{0, 0}, {1, 0}, {0, 1}})},
        {"dart", flat({{0, 0}, {4, -4}, {1, 0}, {4, 4}})},
        {"dart, its tip first", flat({{1, 0}, {4, 4}, {0, 0}, {4, -4}})},
        {"L", flat({{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}})},
        {"L with corners on its lines",
         flat({{0, 0}, {1, 0}, {2, 0}, {2, 1}, {1.5, 1}, {1, 1}, {1, 1.25}, {1, 2}, {0, 2}, {0, 1}})},
        {"triangle with corners on one side", flat({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {0, 3}})},
        {"star of five points",
         flat({{0, 9}, {-2, 3}, {-9, 3}, {-4, -1}, {-6, -8}, {0, -4}, {6, -8}, {4, -1}, {9, 3}, {2, 3}})},
        {"doubled corners", flat({{0, 0}, {0, 0}, {2, 0}, {2, 2}, {2, 2}, {0, 2}}), 2},
        {"square with a hole, by a bridge",
         flat({{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 3}, {3, 6}, {6, 6}, {6, 3}, {3, 3}})},
        {"two squares that share a corner",
         flat({{0, 0}, {1, 0}, {1, 1}, {2, 1}, {2, 2}, {1, 2}, {1, 1}, {0, 1}}), 2},
        {"spike", flat({{0, 0}, {2, 0}, {5, 0}, {2, 0}, {2, 2}, {0, 2}}), 2},
        {"far from the origin", flat({{1e9, 1e9},
                                      {1e9 + 2, 1e9},
                                      {1e9 + 2, 1e9 + 1},
                                      {1e9 + 1, 1e9 + 1},
                                      {1e9 + 1, 1e9 + 2},
                                      {1e9, 1e9 + 2}})},
        {"spiral", spiral(100)},
        {"comb", comb(50)},
    };
    for (const auto& [name, polygon, flatTriangles] : cases)
    {
        EXPECT_EQ(faultOf(polygon, flatTriangles), "") << name;
        Polygon turned(polygon);  // any corner may come first
        for (uint32 n = 1; n < std::min<std::size_t>(polygon.size(), 12); ++n)
        {
            std::rotate(turned.begin(), turned.begin() + 1, turned.end());
            EXPECT_EQ(faultOf(turned, flatTriangles), "") << name << ", from corner " << n;
        }
    }
    for (uint32 seed = 0; seed < 300; ++seed)
        EXPECT_EQ(faultOf(randomStar(seed, 5 + seed)), "") << "star " << seed;
    for (const Polygon& large : {comb(20'000), randomStar(1, 20'000), spiral(10'000)})
        EXPECT_EQ(faultOf(large), "");
}

TEST(PolygonTriangulation, FillsPolygonsHoweverTheyLieInSpace)
{
    const Polygon shape = flat({{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}});
    const struct
    {
        Vector3D x, y;
    } planes[] = {{{0, 1, 0}, {0, 0, 1}},        {{0, 0, 1}, {1, 0, 0}},  {{1, 0, 0}, {0, 0, 1}},
                  {{1, 1, 0}, {-1, 1, 1}},       {{0, -1, 1}, {3, 1, 1}}, {{1e-200, 0, 0}, {0, 1e-200, 0}},
                  {{1e300, 0, 0}, {0, 0, 1e300}}};
    for (const auto& [x, y] : planes)
    {
        Polygon lying;
        for (const Vector3D& p : shape) lying.push_back(x * p.x + y * p.y);
        Array<Index3> expected, triangles;
        triangulatePolygon(shape, expected);
        triangulatePolygon(lying, triangles);
        EXPECT_EQ(triangles, expected) << x.x << ' ' << x.y;
    }
}

TEST(PolygonTriangulation, BadPolygonsGiveAsManyTriangles)
{
    const double inf = INFINITY;
    const Polygon polygons[] = {
        {},
        {{1, 2, 3}},
        {{1, 2, 3}, {4, 5, 6}},
        Polygon(7, {1, 2, 3}),
        {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {1.5, 1.5, 1.5}},
        {{0, 0, 0}, {inf, 0, 0}, {1, 1, 0}, {0, NAN, 0}},
        {{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}, {3, 3, 0}},
        flat({{0, 9}, {5, -7}, {-9, 3}, {9, 3}, {-5, -7}}),
        {{0, 0, 0}, {1e308, 0, 0}, {-1e308, 1e308, 0}, {-1e308, -1e308, 0}, {0, 1, 1}},
    };
    for (const Polygon& polygon : polygons)
    {
        Array<Index3> triangles{{7, 8, 9}};
        triangulatePolygon(polygon, triangles);
        EXPECT_EQ(triangles.size(), polygon.size() < 3 ? 0 : polygon.size() - 2);
        for (const Index3& t : triangles) EXPECT_LT(std::max({t.a, t.b, t.c}), polygon.size());
    }
}
