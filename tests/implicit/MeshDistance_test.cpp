#include <tavrix/implicit/detail/MeshDistance.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include <spatial/TestSolids.h>
#include <tavrix/implicit/detail/MeshDistanceKernel.h>

using namespace tavrix;
using namespace tavrix::detail;

namespace
{

using Grid = GridDescription3<double>;

void addFace(Mesh& mesh, const Vector3D& a, const Vector3D& b, const Vector3D& c)
{
    const uint32 first = mesh.getPosSize();
    for (const Vector3D& p : {a, b, c}) mesh.refPos().push_back(p);
    mesh.refTrindexPos().push_back({first, first + 1, first + 2});
}

/// Faces around a centre: tiny to larger than the grid, needles, caps, segments and points.
Mesh makeFaces(uint32 count, const Vector3D& center, double extent, uint32 seed)
{
    std::mt19937 random(seed);
    const auto vector = [&](double scale)
    {
        Vector3D v{};
        for (uint32 axis = 0; axis < 3; ++axis) v[axis] = static_cast<double>(random() % 20001) / 10000 - 1;
        return v * scale;
    };
    Mesh mesh;
    for (uint32 n = 0; n < count; ++n)
    {
        const double size = extent * std::ldexp(4.0, -static_cast<int>(n % 11));
        const Vector3D a = center + vector(extent), b = a + vector(size);
        const Vector3D shapes[] = {a + vector(size),        b + vector(size * 1e-3),
                                   b + vector(size * 1e-7), a,
                                   (a + b) * 0.5,           (a + b) * 0.5 + vector(size * 1e-5),
                                   b + vector(size * 2),    b + (b - a)};
        addFace(mesh, a, n % 40 == 3 ? a : b, shapes[n % 8]);
    }
    return mesh;
}

template <class T>
std::vector<T> sampled(const Mesh& mesh, const Grid& grid, T band, uint32 threads = 1)
{
    std::vector<T> samples(grid.size, T(-1));
    detail::Polling none(nullptr);
    EXPECT_TRUE(sampleDistance(mesh, grid, band, threads, none, samples.data()));
    return samples;
}

/// The largest difference of a sample from the distance, computed face by face in double precision.
template <class T>
double largestError(const Mesh& mesh, const Grid& grid, T band)
{
    const std::vector<T> samples = sampled(mesh, grid, band, 2);
    double largest = 0;
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const Index3 n = grid.getIndexes(m);
        double nearest = band;
        for (const Index3& t : mesh.trindexPos())
            nearest = std::min(nearest, test::distanceFromFace(grid.getPoint(n.a, n.b, n.c), mesh.pos()[t.a],
                                                               mesh.pos()[t.b], mesh.pos()[t.c]));
        largest = std::max(largest, std::fabs(double{samples[m]} - nearest));
    }
    return largest;
}

Grid gridAt(uint32 x, uint32 y, uint32 z, const Vector3D& separation, const Vector3D& center)
{
    Grid grid = Grid::centered(x, y, z, separation);
    grid.moveTo(center);
    return grid;
}

TEST(MeshDistance, EqualsBruteForce)
{
    const struct Case
    {
        const char* name;
        Grid grid;
        uint32 faces;
        double extent, band;
    } cases[] = {
        {"whole groups of nodes", gridAt(14, 17, 24, {0.1, 0.1, 0.1}, {0, 0, 0}), 60, 0.9, 0.3},
        {"long rows, which are clipped", gridAt(9, 9, 75, {0.1, 0.1, 0.1}, {0, 0, 0}), 40, 3, 0.35},
        {"rows shorter than a group", gridAt(12, 11, 5, {0.1, 0.2, 0.15}, {0, 0, 0}), 60, 0.6, 0.4},
        {"far from the origin", gridAt(13, 9, 19, {0.1, 0.15, 0.07}, {9e3, -2e4, 7e3}), 60, 0.7, 0.3},
        {"a band beyond the grid", gridAt(8, 9, 33, {0.1, 0.1, 0.1}, {0, 0, 0}), 3, 0.9, 50},
        {"one node", gridAt(1, 1, 1, {1, 1, 1}, {0, 0, 0}), 8, 0.9, 2},
    };
    for (const Case& c : cases)
        for (uint32 seed = 1; seed < 4; ++seed)
        {
            const Mesh mesh = makeFaces(c.faces, (c.grid.box.min + c.grid.box.max) * 0.5, c.extent, seed);
            const double scale = c.band + 4 * c.extent;
            EXPECT_LT(largestError(mesh, c.grid, static_cast<float>(c.band)), 1e-6 * scale) << c.name;
            EXPECT_LT(largestError(mesh, c.grid, c.band), 2e-8 * scale) << c.name;
        }
}

TEST(MeshDistance, NeedlesEndAtTheirTips)
{
    // nodes straight beyond the tip, where rounding decides on which side of the long edges they are
    const Grid grid = gridAt(9, 9, 9, {0.1, 0.1, 0.1}, {0.02, 0.03, 0.01});
    for (const Vector3D& direction : {Vector3D{1, 1, 1}, Vector3D{1, 2, -1}, Vector3D{0, 3, 1}})
        for (double width = 1e-3; width > 1e-9; width *= 0.4)
        {
            const Vector3D tip = grid.getPoint(4, 4, 4), end = tip - direction;
            Mesh mesh;
            addFace(mesh, end, end + Vector3D{width, 0, -width}, tip);
            EXPECT_LT(largestError(mesh, grid, 2.0f), 4e-6) << width;
        }
}

TEST(MeshDistance, BadFacesDoNotCount)
{
    const Grid grid = gridAt(6, 7, 18, {1, 1, 1}, {0, 0, 0});
    Mesh mesh = makeFaces(5, {0, 0, 0}, 3, 5);
    const std::vector<float> samples = sampled(mesh, grid, 4.0f);
    const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
    addFace(mesh, {nan, 0, 0}, {1, 0, 0}, {0, 1, 0});
    addFace(mesh, {0, 0, 0}, {1, -infinity, 0}, {0, 1, 0});
    mesh.refTrindexPos().push_back({0, 1, mesh.getPosSize()});
    EXPECT_EQ(sampled(makeFaces(20, {90, 0, 0}, 3, 5), grid, 4.0f), std::vector<float>(grid.size, 4.0f));
    EXPECT_EQ(samples, sampled(mesh, grid, 4.0f));
    // These do, as far as numbers go, and must give numbers.
    addFace(mesh, {-1e308, 0, 0}, {1e308, 1, 0}, {0, 1e308, 1e308});
    addFace(mesh, {-1e25, 0.5, 0}, {1e25, 0.25, 0}, {0, 1e-300, 1e30});
    for (const float band : {4.0f, 1e30f, std::numeric_limits<float>::infinity()})
        for (const float sample : sampled(mesh, grid, band))
            EXPECT_TRUE(sample >= 0 && sample <= band) << sample;
}

TEST(MeshDistance, DoesNotDependOnTheThreadCount)
{
    const Grid grid = gridAt(33, 21, 30, {0.1, 0.1, 0.1}, {0.3, 0, 0});
    const Mesh mesh = makeFaces(500, {0, 0, 0}, 1.5, 8);
    const std::vector<float> one = sampled(mesh, grid, 0.4f);
    for (const uint32 threads : {0u, 2u, 3u, 7u, 50u})
        EXPECT_EQ(one, sampled(mesh, grid, 0.4f, threads)) << threads;
}

#if defined(TX_AVX2_KERNELS)
template <class T>
void expectTheSameBytes(const Grid& grid, const Mesh& mesh, T band)
{
    std::vector<double> nodes[3];
    DistanceTarget<T> target{nullptr, {}, {}, {}, double{band}};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        target.size[axis] = grid.sizeAlong(axis);
        for (uint32 n = 0; n < target.size[axis]; ++n) nodes[axis].push_back(grid.getCoordinate(axis, n));
        target.nodes[axis] = nodes[axis].data();
        target.reciprocal[axis] = grid.reciprocalSeparation[axis];
    }
    std::vector<uint32> numbers(mesh.getFacesSize());
    for (uint32 f = 0; f < numbers.size(); ++f) numbers[f] = f;
    std::vector<T> samples[2], scratch(grid.sizeZ);
    for (const bool wide : {false, true})
    {
        samples[wide].assign(grid.size, band * band);
        target.samples = samples[wide].data();
        (wide ? avx2::lowerToFaces<T>
              : plain::lowerToFaces<T>)(target, mesh.pos().data(), mesh.trindexPos().data(), numbers.data(),
                                        numbers.size(), 1, grid.sizeX, scratch.data());
        (wide ? avx2::rootsUpTo<T> : plain::rootsUpTo<T>)(target.samples, grid.size, band);
    }
    EXPECT_EQ(samples[0], samples[1]);
    EXPECT_LT(*std::min_element(samples[0].begin(), samples[0].end()), band / 2);
}

TEST(MeshDistance, BothInstructionSetsGiveTheSameBytes)
{
    if (!hasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
    for (const uint32 depth : {5u, 16u, 27u, 60u})
    {
        const Grid grid = gridAt(12, 13, depth, {0.1, 0.1, 0.12}, {0, 0, 0});
        const Mesh mesh = makeFaces(200, {0, 0, 0}, 1, depth);
        expectTheSameBytes(grid, mesh, 0.4f);
        expectTheSameBytes(grid, mesh, 0.4);
    }
}
#endif

}  // namespace
