#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <random>
#include <vector>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/implicit/detail/EikonalSweepKernel.h>
#include <tavrix/implicit/detail/FlagPropagation.h>
#include <tavrix/implicit/detail/SlabPipeline.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

using namespace tavrix;

namespace
{

template <class T>
using Surface = ImplicitSurface3Regular<T>;

constexpr int32 directions[8][3] = {{1, 1, 1},  {-1, 1, 1},  {-1, -1, 1},  {1, -1, 1},
                                    {1, 1, -1}, {-1, 1, -1}, {-1, -1, -1}, {1, -1, -1}};

/// The update of a node as it is defined; returns the change, or noChange.
template <class T>
T updateNode(ScalarField3<T, double>& field, const Index3& node, const int32* direction, T bandLimit)
{
    const double h = field.getPointSeparation();
    const T own = field.get(node);
    T n[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        Index3 upwind = node;
        upwind[axis] -= static_cast<uint32>(direction[axis]);
        n[axis] = upwind[axis] < field.getGrid().sizeAlong(axis) ? field.get(upwind) : own;
    }
    std::sort(n, n + 3);
    const auto no = static_cast<T>(detail::noChange);
    if (std::fabs(n[0]) > bandLimit && std::fabs(n[1]) > bandLimit && std::fabs(n[2]) > bandLimit) return no;
    const double a = n[0], b = n[1], c = n[2];
    auto u = static_cast<T>(a + h);
    if (std::fabs(n[1]) <= std::fabs(u))
        u = static_cast<T>((a + b + std::sqrt(2 * h * h - (a - b) * (a - b))) / 2);
    if (std::fabs(n[2]) <= std::fabs(u))
        u = static_cast<T>(
            (a + b + c + std::sqrt(3 * h * h - (a - b) * (a - b) - (a - c) * (a - c) - (b - c) * (b - c))) /
            3);
    if (!(own > u)) return no;
    field.set(node, u);
    return own - u;
}

/// The iteration as it is defined, one node after the other; returns how many there were.
template <class T>
uint32 sweepLiterally(ScalarField3<T, double>& field, T bandLimit, T tolerance)
{
    for (uint32 iterations = 1;; ++iterations)
    {
        T maxChange = -1e7;
        for (const auto& d : directions)
            for (uint32 m = 0; m < field.size(); ++m)
            {
                Index3 node = field.getIndexes(m);
                for (uint32 axis = 0; axis < 3; ++axis)
                    if (d[axis] < 0) node[axis] = field.getGrid().sizeAlong(axis) - 1 - node[axis];
                maxChange = std::max(maxChange, updateNode(field, node, d, bandLimit));
            }
        if (!(tolerance <= maxChange)) return iterations;
    }
}

template <class T>
Surface<T> randomSurface(const Index3& size, double h, T far)
{
    Surface<T> surface;
    surface.reset(size.a, size.b, size.c, h);
    std::mt19937 random(size.c);
    for (T& v : surface.refField().refArrScalars())
        v = random() % 4 == 0 ? static_cast<T>(static_cast<double>(random() % 1000) / 100 * h) : far;
    return surface;
}

double exactSphere(const Vector3D& p) { return length(p) - 0.6; }

/// Of the cube from -1 to 1.
template <class T, class Function>
Surface<T> surfaceOf(uint32 size, const Function& value)
{
    Surface<T> surface;
    surface.reset(size, size, size, 2.0 / (size - 1));
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
        surface.set(m, static_cast<T>(value(surface.getField().getPoint(m))));
    return surface;
}

/// The exact band of a sphere around its surface, and far values elsewhere.
template <class T>
Surface<T> sphereBand(uint32 size)
{
    const auto band = [=](const Vector3D& p)
    {
        const double d = exactSphere(p);
        return std::fabs(d) < 4.0 / (size - 1) ? d : std::copysign(10, d);
    };
    Surface<T> surface = surfaceOf<T>(size, band);
    surface.getDefaultValue() = 10;
    return surface;
}

}  // namespace

template <class T>
class Sweeping : public testing::Test
{
};
using Values = testing::Types<float, double>;
TYPED_TEST_SUITE(Sweeping, Values);

TYPED_TEST(Sweeping, IsTheDefinedIteration)
{
    for (const Index3& size : {Index3{5, 6, 7}, Index3{3, 19, 40}, Index3{1, 1, 1}, Index3{4, 1, 9}})
        for (const double h : {0.37, 1e-25, 1e20})
            for (const auto far :
                 {static_cast<TypeParam>(270 * h), std::numeric_limits<TypeParam>::infinity()})
                for (const auto bandLimit : {static_cast<TypeParam>(2700 * h), static_cast<TypeParam>(7 * h)})
                    for (const auto tolerance : {TypeParam(0), static_cast<TypeParam>(0.1 * h)})
                    {
                        Surface<TypeParam> surface = randomSurface<TypeParam>(size, h, far);
                        auto expected(surface.getField());
                        const uint32 iterations = sweepLiterally(expected, bandLimit, tolerance);
                        EXPECT_EQ(surface.fastSweeping(bandLimit, tolerance, 1), iterations);
                        EXPECT_EQ(surface.getField().getArrScalars(), expected.getArrScalars());
                    }
}

TYPED_TEST(Sweeping, ThreadsChangeNothing)
{
    const Surface<TypeParam> band = sphereBand<TypeParam>(75);
    Surface<TypeParam> one(band);
    const uint32 iterations = one.fastSweeping(TypeParam(1e-4), 1);
    one.createNeighborsCells();
    ScalarField3<TypeParam, double> carried(one.getField());
    one.fastSweepingExtend(carried, TypeParam(1e-4), 1);
    for (const uint32 threads : {2u, 40u})
    {
        Surface<TypeParam> other(band);
        EXPECT_EQ(other.fastSweeping(TypeParam(1e-4), threads), iterations);
        EXPECT_EQ(other.getField().getArrScalars(), one.getField().getArrScalars()) << threads;
        ScalarField3<TypeParam, double> values(one.getField());
        one.fastSweepingExtend(values, TypeParam(1e-4), threads);
        EXPECT_EQ(values.getArrScalars(), carried.getArrScalars()) << threads;
    }
}

TYPED_TEST(Sweeping, EndsWhenNothingChanges)
{
    Surface<TypeParam> surface = sphereBand<TypeParam>(20);
    surface.fastSweeping(TypeParam(0), 1);
    EXPECT_EQ(surface.fastSweeping(TypeParam(0), 1), 1u);
    EXPECT_EQ(surface.fastSweeping(TypeParam(-1e9), 1), 1u);
    Surface<TypeParam> empty;
    EXPECT_EQ(empty.fastSweeping(TypeParam(0), 2), 0u);
    const TypeParam far = surface.get(0u);
    surface.moveTo({1e9, 0, 0});  // the band limit is the box's diagonal wherever it lies
    surface.set(0u, TypeParam(50));
    surface.fastSweeping(TypeParam(0), 1);
    EXPECT_NEAR(surface.get(0u), far, 1e-4);
}

TYPED_TEST(Sweeping, FarNodesTakeTheSideOfTheirFlags)
{
    using Real = TypeParam;
    const auto expectSides = [](const auto& change, const auto& expectedAt)
    {
        Surface<Real> surface = sphereBand<Real>(25);
        surface.createNeighborsCells();
        change(surface);
        Surface<Real> widened(surface), narrow(surface);
        surface.fastSweeping(Real(1e-4), 2);
        widened.widenBand(Real(20), Real(1e-4), 2);
        narrow.widenBand(Real(0.3), Real(1e-4), 1);
        EXPECT_LT(narrow.getCutOffValue(), narrow.getDefaultValue());
        for (uint32 m = 0; m < surface.getArraySize(); ++m)
        {
            const double expected = expectedAt(exactSphere(surface.getField().getPoint(m)));
            EXPECT_NEAR(surface.get(m), expected, 0.2) << m;
            EXPECT_EQ(widened.get(m), surface.get(m)) << m;
            EXPECT_NEAR(narrow.get(m), std::clamp(expected, -0.3, 0.3), 0.1) << m;
            EXPECT_FALSE(surface.isNeighborsNegative(m) && expected > 0) << m;
        }
    };
    // far values that lost their sides, a surface turned inside out, and one with two outsides
    const auto loseSides = [](Surface<Real>& s)
    {
        s.addBorderAroundNeighbors();
        for (Real& v : s.refField().refArrScalars()) v = std::fabs(v) == 10 ? Real(10) : v;
    };
    expectSides(loseSides, [](double d) { return d; });
    expectSides([](auto& s) { s.invert(); }, [](double d) { return -d; });
    expectSides([](auto& s) { s.abs(); }, [](double d) { return std::fabs(d); });
}

TYPED_TEST(Sweeping, RedistancesWhatIsNoDistance)
{
    const uint32 size = 65;
    const double h = 2.0 / (size - 1);
    const auto expectSphere = [&](const auto& value, double nearby, double anywhere)
    {
        Surface<TypeParam> surface = surfaceOf<TypeParam>(size, value);
        surface.redistance(TypeParam(4), static_cast<TypeParam>(1e-3 * h), 2);
        for (uint32 m = 0; m < surface.getArraySize(); ++m)
        {
            const double d = exactSphere(surface.getField().getPoint(m));
            EXPECT_NEAR(surface.get(m), d, std::fabs(d) < 1.5 * h ? nearby : anywhere);
        }
    };
    expectSphere([](const Vector3D& p) { return (dot(p, p) - 0.36) * (3 + p.x); }, 0.1 * h, 2 * h);
    // what only tells inside from outside
    for (const double v : {1.0, 1e200, double{INFINITY}})
        expectSphere(
            [&](const Vector3D& p) {
                return length(p - Vector3D{0, 0, 0.75}) < h / 2 ? NAN : std::copysign(v, exactSphere(p));
            },
            0.1, 0.1);
}

TYPED_TEST(Sweeping, ExtendsValuesAlongTheNormals)
{
    Surface<TypeParam> surface = sphereBand<TypeParam>(49);
    surface.fastSweeping(TypeParam(1e-4), 1);
    surface.createNeighborsCells();
    ScalarField3<TypeParam, double> heights(surface.getField());
    Vector3Field3<TypeParam, double> vectors;
    surface.initVectorSparseField(vectors, {1, 2, 3});
    for (uint32 m = 0; m < heights.size(); ++m)
    {
        const Vector3D p = heights.getPoint(m);
        heights[m] = surface.isSurface(m) ? static_cast<TypeParam>(p.z / length(p)) : TypeParam(-99);
    }
    const auto before = heights;
    for (TypeParam& v : heights.refArrScalars()) v = v == -99 ? static_cast<TypeParam>(NAN) : v;
    EXPECT_GE(surface.fastSweepingExtend(heights, TypeParam(1e-4), 2), 1u);
    surface.fastSweepingExtend(vectors, TypeParam(1e-4), 1);
    for (uint32 m = 0; m < heights.size(); ++m)
    {
        const Vector3D p = heights.getPoint(m);
        if (length(p) < 0.2) continue;
        EXPECT_NEAR(heights[m], p.z / length(p), 0.12);
        EXPECT_NEAR(length(vectors.get(m) - Vector3<TypeParam>{1, 2, 3}), 0, 1e-5);
    }
    ScalarField3<TypeParam, double> inBand(before);
    surface.getDefaultValue() = TypeParam(0.2);
    surface.fastSweepingExtendSparse(inBand, TypeParam(1e-4), 1);
    for (uint32 m = 0; m < heights.size(); ++m)
        EXPECT_EQ(inBand[m] == -99, std::fabs(surface.get(m)) >= TypeParam(0.2)) << m;
    ScalarField3<TypeParam, double> other;
    EXPECT_EQ(surface.fastSweepingExtend(other, TypeParam(1e-4), 1), 0u);
}

// More workers than the machine may have, some of which leave slabs unfinished.
TEST(SlabPipeline, BlocksFollowTheirNeighboursAndSweepsEachOther)
{
    constexpr uint32 slabs = 23, blocks = 9, sweeps = 40;
    for (const uint32 workers : {1u, 2u, 16u})
    {
        std::vector<std::array<std::atomic<uint32>, blocks>> visits(slabs);
        std::atomic<uint32> sweepsDone = 0, faults = 0;
        detail::SlabPipeline pipeline(slabs, blocks, [&] { return ++sweepsDone < sweeps; });
        parallelFor(workers, workers,
                    [&](uint32, uint64, uint64)
                    {
                        while (const detail::SlabPipeline::Slab slab{pipeline})
                        {
                            faults += slab.sweep() != sweepsDone;
                            const uint32 s = slab.number();
                            for (uint32 b = 0; b < blocks - slab.sweep() % 3; ++b)
                            {
                                slab.await(b);
                                faults += s > 0 && visits[s - 1][b] <= visits[s][b];
                                faults += visits[s][b]++ > slab.sweep();
                                slab.tell(b + 1);
                            }
                        }
                    });
        EXPECT_EQ(faults, 0u);
        EXPECT_EQ(sweepsDone, sweeps);
        for (uint32 s = 0; s < slabs; ++s) EXPECT_EQ(visits[s][0], sweeps);
    }
}

TEST(FlagPropagation, IsTheDefinedOne)
{
    std::mt19937 random(5);
    for (const Index3& size : {Index3{4, 5, 130}, Index3{3, 7, 64}, Index3{6, 6, 5}, Index3{1, 1, 1}})
    {
        const auto grid = GridDescription3<double>::centered(size.a, size.b, size.c, {1, 1, 1});
        BitArray flags[3] = {BitArray(grid.size), BitArray(grid.size), BitArray(grid.size)};
        for (uint32 m = 0; m < grid.size; ++m)
            if (random() % 37 == 0) flags[random() % 3].set(m);
        BitArray expected[3] = {flags[0], flags[1], flags[2]};
        const auto copyFlags = [&](uint32 to, uint32 from)
        {
            for (const BitArray& f : expected)
                if (f.test(to)) return;
            for (BitArray& f : expected)
                if (f.test(from)) f.set(to);
        };
        for (const uint32 axis : {2u, 1u, 0u})
        {
            const uint32 step = axis == 2 ? 1 : axis == 1 ? grid.sizeZ : grid.sizeYZ;
            for (uint32 m = 0; m < grid.size; ++m)
                if (grid.getIndexes(m)[axis] > 0) copyFlags(m, m - step);
            for (uint32 m = grid.size; m-- > 0;)
                if (grid.getIndexes(m)[axis] + 1 < grid.sizeAlong(axis)) copyFlags(m, m + step);
        }
        detail::Polling none(nullptr);
        detail::propagateFlags(none, grid, {&flags[0], &flags[1], &flags[2]});
        for (uint32 f = 0; f < 3; ++f) EXPECT_EQ(flags[f].getWords(), expected[f].getWords());
    }
}
