#include <tavrix/implicit/detail/MeshInside.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <tavrix/implicit/detail/MeshDistance.h>

using namespace tavrix;
using namespace tavrix::detail;

namespace
{

constexpr double pi = 3.14159265358979323846;
/// Below 0 inside; its amount may be any where it is above the tolerance of a test.
using Shape = std::function<double(const Vector3D&)>;

/// The surface that the point goes over as both angles run through count steps, along `v` in full turns or
/// from pole to pole.
template <class Point>
Mesh makeTurned(uint32 count, bool isFullTurn, const Point& point)
{
    Mesh mesh;
    const uint32 steps = isFullTurn ? count : count - 1;
    for (uint32 u = 0; u < count; ++u)
        for (uint32 v = 0; v < count; ++v)
        {
            const double b = isFullTurn ? 2 * pi * v / count : pi * v / steps - pi / 2;
            mesh.refPos().push_back(point(2 * pi * u / count, b));
            if (v == steps) continue;
            const uint32 u1 = (u + 1) % count, v1 = (v + 1) % count;
            mesh.refTrindexPos().push_back({u * count + v, u1 * count + v, u1 * count + v1});
            mesh.refTrindexPos().push_back({u * count + v, u1 * count + v1, u * count + v1});
        }
    return mesh;
}

/// A torus about the axis through the origin along z, faces outwards where R > r.
Mesh makeTorus(double R, double r)
{
    return makeTurned(48, true,
                      [=](double a, double b)
                      {
                          const double rho = R + r * std::cos(b);
                          return Vector3D{rho * std::cos(a), rho * std::sin(a), r * std::sin(b)};
                      });
}

/// Its poles lie on rows of nodes.
Mesh makeSphere(const Vector3D& center, double radius)
{
    const auto point = [=](double a, double b) {
        return center + Vector3D{std::cos(b) * std::cos(a), std::cos(b) * std::sin(a), std::sin(b)} * radius;
    };
    return makeTurned(48, false, point);
}

Mesh makeCube(const Vector3D& low, const Vector3D& high)
{
    Mesh mesh;
    mesh.createCubePrimitive({low, high});
    return mesh;
}

Mesh together(const Mesh& a, const Mesh& b)
{
    Mesh all(a);
    all.addMesh(b);
    return all;
}

Mesh flipped(const Mesh& mesh)
{
    Mesh other(mesh);
    for (Index3& t : other.refTrindexPos()) t = {t.a, t.c, t.b};
    return other;
}

/// Without the faces that `isGone` names.
Mesh without(const Mesh& mesh, const std::function<bool(uint32)>& isGone)
{
    Mesh rest(mesh);
    rest.refTrindexPos().clear();
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        if (!isGone(f)) rest.refTrindexPos().push_back(mesh.trindexPos()[f]);
    return rest;
}

double ball(const Vector3D& p, const Vector3D& center, double radius) { return length(p - center) - radius; }
double torus(const Vector3D& p, double R, double r) { return std::hypot(std::hypot(p.x, p.y) - R, p.z) - r; }
double cube(const Vector3D& p, double low, double high)
{
    return std::max({low - p.x, p.x - high, low - p.y, p.y - high, low - p.z, p.z - high});
}

/// Nodes at whole multiples of 1/8, so that corners and edges of the shapes lie on rows and nodes.
GridDescription3<double> makeGrid()
{
    return GridDescription3<double>::centered(33, 29, 37, {0.125, 0.125, 0.125});
}

std::vector<float> sampled(const Mesh& mesh, uint32 threads = 2, float band = 0.4f)
{
    const auto grid = makeGrid();
    std::vector<float> samples(grid.size);
    detail::Polling none(nullptr);
    EXPECT_TRUE(sampleDistance(mesh, grid, band, threads, none, samples.data()));
    EXPECT_TRUE(negateInside(mesh, grid, threads, none, samples.data()));
    return samples;
}

/// The nodes further than the tolerance from the shape whose sample has the wrong sign.
uint32 wrongSigns(const Mesh& mesh, const Shape& shape, double tolerance)
{
    const auto grid = makeGrid();
    const std::vector<float> samples = sampled(mesh);
    uint32 wrong = 0;
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const Index3 n = grid.getIndexes(m);
        const double d = shape(grid.getPoint(n.a, n.b, n.c));
        wrong += std::fabs(d) > tolerance && (d < 0) != (samples[m] < 0);
    }
    return wrong;
}

struct Solid
{
    const char* name;
    Mesh mesh;
    Shape shape;
    double tolerance;  ///< of the faces against the shape
};

std::vector<Solid> closedSolids()
{
    const Vector3D o{0, 0, 0}, aside{0.75, 0.25, 0}, far{2, 0, 0};
    const Mesh cubeMesh = makeCube({-1, -1, -1}, {1, 1, 1});
    return {
        {"torus", makeTorus(1, 0.5), [](const Vector3D& p) { return torus(p, 1, 0.5); }, 0.01},
        // where it laps over itself it winds the other way
        {"torus that meets itself", makeTorus(0.5, 1),
         [](const Vector3D& p) { return std::max(torus(p, 0.5, 1), -torus(p, -0.5, 1)); }, 0.03},
        {"sphere with poles on rows", makeSphere(o, 1), [o](const Vector3D& p) { return ball(p, o, 1); },
         0.01},
        {"cube with faces in planes of nodes", cubeMesh, [](const Vector3D& p) { return cube(p, -1, 1); },
         1e-9},
        {"cube between the nodes", makeCube({-1.06, -1.06, -1.06}, {0.93, 0.93, 0.93}),
         [](const Vector3D& p) { return cube(p, -1.06, 0.93); }, 1e-9},
        {"cube around the grid", makeCube({-9, -9, -9}, {9, 9, 9}), [](const Vector3D&) { return -1.0; }, 0},
        {"overlapping spheres", together(makeSphere(o, 1), makeSphere(aside, 0.8)),
         [=](const Vector3D& p) { return std::min(ball(p, o, 1), ball(p, aside, 0.8)); }, 0.01},
        {"touching spheres", together(makeSphere(o, 1), makeSphere(far, 1)),
         [=](const Vector3D& p) { return std::min(ball(p, o, 1), ball(p, far, 1)); }, 0.01},
        {"cubes that share a face", together(cubeMesh, makeCube({1, -1, -1}, {3, 1, 1})),
         [](const Vector3D& p) {
             return std::min(cube(p, -1, 1), cube(p - Vector3D{2, 0, 0}, -1, 1));
         },
         1e-9},
        {"sphere with a cavity", together(makeSphere(o, 1.5), flipped(makeSphere(aside, 0.5))),
         [=](const Vector3D& p) { return std::max(ball(p, o, 1.5), -ball(p, aside, 0.5)); }, 0.02},
        {"nothing", Mesh(), [](const Vector3D&) { return 1.0; }, 0},
    };
}

TEST(MeshInside, ClosedMeshesHaveTheRightSignEverywhere)
{
    for (const Solid& solid : closedSolids())
    {
        EXPECT_EQ(wrongSigns(solid.mesh, solid.shape, solid.tolerance), 0u) << solid.name;
        if (solid.mesh.isEmpty()) continue;
        // inside out as a whole: the same solid seen from outside
        const Shape outside = [&](const Vector3D& p) { return -solid.shape(p); };
        EXPECT_EQ(wrongSigns(flipped(solid.mesh), outside, solid.tolerance), 0u)
            << solid.name << ", inside out";
    }
}

TEST(MeshInside, HolesDoNotLeak)
{
    const Vector3D o{0, 0, 0};
    const Mesh sphere = makeSphere(o, 1);
    const Shape shape = [o](const Vector3D& p) { return ball(p, o, 1); };
    for (const uint32 gone : {0u, 100u, 255u, 1000u})
        EXPECT_EQ(wrongSigns(without(sphere, [gone](uint32 f) { return f == gone; }), shape, 0.03), 0u)
            << gone;
    std::mt19937 random(3);
    const auto oneInThirty = [&](uint32) { return random() % 30 == 0; };
    EXPECT_EQ(wrongSigns(without(sphere, oneInThirty), shape, 0.15), 0u);
    // a cube without its top: what is wrong lies at the opening
    const Mesh cubeMesh = makeCube({-1, -1, -1}, {1, 1, 1});
    const Mesh bin = without(cubeMesh,
                             [&](uint32 f)
                             {
                                 const Index3& t = cubeMesh.trindexPos()[f];
                                 return (t.a & t.b & t.c & 4) != 0;
                             });
    EXPECT_EQ(bin.getFacesSize(), 10u);
    EXPECT_EQ(wrongSigns(
                  bin, [](const Vector3D& p) { return cube(p, -1, 1); }, 0.13),
              0u);
}

TEST(MeshInside, BadFacesDoNotCount)
{
    Mesh mesh = makeSphere({0, 0, 0}, 1);
    const std::vector<float> samples = sampled(mesh);
    mesh.refPos().push_back({std::nan(""), 0, 0});
    mesh.refTrindexPos().push_back({0, 1, mesh.getPosSize() - 1});
    mesh.refTrindexPos().push_back({0, 1, noIndex});
    EXPECT_EQ(samples, sampled(mesh));
    mesh.refPos().push_back({1e308, -1e308, 1e308});
    mesh.refPos().push_back({-1e308, 1e308, 1e308});
    mesh.refTrindexPos().push_back({0, mesh.getPosSize() - 2, mesh.getPosSize() - 1});
    for (const float sample : sampled(mesh)) EXPECT_FALSE(std::isnan(sample));
}

TEST(MeshInside, DoesNotDependOnTheThreadCount)
{
    std::mt19937 random(4);
    const Mesh mesh = without(makeTorus(1, 0.5), [&](uint32) { return random() % 9 == 0; });
    const std::vector<float> one = sampled(mesh, 1);
    for (const uint32 threads : {2u, 3u, 7u, 60u}) EXPECT_EQ(one, sampled(mesh, threads)) << threads;
}

}  // namespace
