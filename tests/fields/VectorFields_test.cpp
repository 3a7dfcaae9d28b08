#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#include <tavrix/tavrix.h>

using namespace tavrix;

namespace
{

using Vectors = Vector3Field3<float, double>;
using Scalars = ScalarField3<float, double>;

/// A field of velocityAt(point) on a grid of three different separations, off the origin.
template <class VelocityAt>
Vectors made(uint32 x, uint32 y, uint32 z, VelocityAt velocityAt)
{
    auto grid = GridDescription3<double>::centered(x, y, z, {0.1, 0.2, 0.05});
    grid.setOrigin({1, -2, 3});
    Vectors field;
    field.reset(grid);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 at = grid.getIndexes(m);
        field.set(m, convert<float>(velocityAt(grid.getPoint(at.a, at.b, at.c))));
    }
    return field;
}

template <class Field, class ValueAt>
Field plane(uint32 x, uint32 y, double separation, ValueAt valueAt)
{
    Field field;
    field.reset(x, y, separation);
    for (uint32 i = 0; i < x; ++i)
        for (uint32 j = 0; j < y; ++j) field.set(i, j, valueAt(field.getGrid().getPoint(i, j)));
    return field;
}

float bell(const Vector2D& p, const Vector2D& center)
{
    return static_cast<float>(std::exp(-dot(p - center, p - center) / 0.02));
}

double meanDifference(const ScalarField2<float>& a, const ScalarField2<float>& b)
{
    double sum = 0;
    for (uint32 m = 0; m < a.size(); ++m) sum += std::fabs(double{a[m]} - b[m]);
    return sum / a.size();
}

/// Half a turn of a bell about the middle of the square, in so many steps; the mean error.
double turningError(uint32 nodes, uint32 steps, PlaneAdvectionScheme scheme)
{
    const double separation = 2.0 / (nodes - 1);
    const auto velocity =
        plane<Vector2Field2<float>>(nodes, nodes, separation,
                                    [](const Vector2D& p) {
                                        return Vector2F{static_cast<float>(-p.y), static_cast<float>(p.x)};
                                    });
    auto field = plane<ScalarField2<float>>(nodes, nodes, separation,
                                            [](const Vector2D& p) {
                                                return bell(p, {0.4, 0});
                                            });
    const auto exact = plane<ScalarField2<float>>(nodes, nodes, separation,
                                                  [](const Vector2D& p) {
                                                      return bell(p, {-0.4, 0});
                                                  });
    for (uint32 n = 0; n < steps; ++n) advect(field, velocity, std::numbers::pi / steps, scheme, 2);
    return meanDifference(field, exact);
}

}  // namespace

TEST(Vector3Field3, DerivativesOfLinearFieldsAreExactUpToTheBorders)
{
    const Vectors field = made(
        5, 4, 6,
        [](const Vector3D& p) {
            return Vector3D{2 * p.x + 3 * p.y - p.z, p.x - 4 * p.y + 5 * p.z, -6 * p.x + 7 * p.y + 8 * p.z};
        });
    const Vectors turning = made(1, 40, 70, [](const Vector3D& p) { return Vector3D{0, -p.z, p.y}; });
    for (const uint32 threads : {1u, 3u})
    {
        Scalars outflow;
        Vectors swirl;
        divergence(field, outflow, threads);
        field.curl(swirl, threads);
        EXPECT_EQ(outflow.getGrid().box.min, field.getBox().min);
        for (uint32 m = 0; m < field.size(); ++m)
        {
            ASSERT_NEAR(outflow[m], 2 - 4 + 8, 2e-4);
            ASSERT_LT(length(swirl.get(m) - Vector3F{7 - 5, -1 + 6, 1 - 3}), 3e-4);
        }
        divergence(turning, outflow, threads);
        turning.curl(swirl, threads);
        for (uint32 m = 0; m < turning.size(); ++m)
        {
            ASSERT_NEAR(outflow[m], 0, 2e-4);
            ASSERT_LT(length(swirl.get(m) - Vector3F{2, 0, 0}), 3e-4);
        }
    }
    Scalars none;
    Vectors empty;
    divergence(empty, none);
    EXPECT_EQ(none.size(), 0u);
}

TEST(Vector3Field3, SplattedParticlesAreWeightedMeans)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<float> unit(-0.1f, 1.1f);  // some lie outside
    Array<Vector3F> positions, vectors;
    for (uint32 n = 0; n < 3000; ++n)
    {
        positions.push_back({1 + 0.5f * unit(engine), -2 + unit(engine), 3 + 0.4f * unit(engine)});
        vectors.push_back({unit(engine), unit(engine) - 1, 7});
    }
    positions.push_back({1.5f, -1, 3.4f});  // on the last node
    vectors.push_back({1, 2, 7});
    const auto zero = [](const Vector3D&) { return Vector3D{9, 9, 9}; };
    Vectors first = made(6, 6, 9, zero);
    Array<float> weights;
    first.splat(positions, vectors, &weights);

    const GridDescription3<double>& grid = first.getGrid();
    std::vector<double> sums(grid.size);
    std::vector<Vector3D> expected(grid.size, Vector3D{0, 0, 0});
    double inside = 0, all = 0;
    for (uint32 n = 0; n < positions.size(); ++n)
    {
        const Vector3D p = convert<double>(positions[n]);
        if (!grid.contains(p)) continue;
        ++inside;
        for (uint32 m = 0; m < grid.size; ++m)  // tents around the nodes
        {
            const Index3 at = grid.getIndexes(m);
            const Vector3D d = p - grid.getPoint(at.a, at.b, at.c);
            double weight = 1;
            for (uint32 axis = 0; axis < 3; ++axis)
                weight *= std::max(1 - std::fabs(d[axis]) / grid.separation[axis], 0.0);
            sums[m] += weight;
            expected[m] = expected[m] + convert<double>(vectors[n]) * weight;
        }
    }
    for (uint32 m = 0; m < grid.size; ++m)
    {
        ASSERT_NEAR(weights[m], sums[m], 1e-3);
        ASSERT_LT(length(convert<double>(first.get(m)) - expected[m] * (1 / sums[m])), 1e-4);
        all += weights[m];
    }
    EXPECT_NEAR(all, inside, 0.01);
    EXPECT_GT(positions.size() - inside, 500);
    for (const uint32 threads : {2u, 5u})
    {
        Vectors field = made(6, 6, 9, zero);
        field.splat(positions, vectors, nullptr, threads);
        EXPECT_EQ(std::memcmp(field.getArrVectors().data(), first.getArrVectors().data(),
                              grid.size * sizeof(Vector3F)),
                  0);
    }
    first.splat({}, {}, &weights);
    EXPECT_EQ(first.get(3, 3, 3), (Vector3F{0, 0, 0}));
    EXPECT_EQ(weights[7], 0);
    Vectors none;
    none.splat(positions, vectors, &weights);
    EXPECT_EQ(weights.size(), 0u);
}

TEST(PlaneFields, InterpolationAndDerivativesOfLinearFieldsAreExact)
{
    const auto slope =
        plane<ScalarField2<double>>(5, 7, 0.25, [](const Vector2D& p) { return 3 * p.x - 2 * p.y; });
    const auto flow = plane<Vector2Field2<double>>(5, 7, 0.25,
                                                   [](const Vector2D& p) {
                                                       return Vector2D{p.x + 2 * p.y, 5 * p.x - 4 * p.y};
                                                   });
    Vector2Field2<double> rise;
    ScalarField2<double> outflow, swirl;
    gradient(slope, rise);
    divergence(flow, outflow);
    curl(flow, swirl);
    for (uint32 m = 0; m < slope.size(); ++m)
    {
        EXPECT_NEAR(length(rise[m] - Vector2D{3, -2}), 0, 1e-12);
        EXPECT_NEAR(outflow[m], 1 - 4, 1e-12);
        EXPECT_NEAR(swirl[m], 5 - 2, 1e-12);
    }
    for (const Vector2D& p : {Vector2D{0, 0}, {-0.5, 0.75}, {0.5, -0.75}, {0.31, 0.11}, {-0.27, -0.6}})
    {
        EXPECT_TRUE(slope.evalSafe(p).a);
        EXPECT_NEAR(slope.evalSafe(p).b, 3 * p.x - 2 * p.y, 1e-12);
        EXPECT_NEAR(flow.evalSafe(p).b.y, 5 * p.x - 4 * p.y, 1e-12);
    }
    EXPECT_FALSE(slope.evalSafe({0.51, 0}).a);
    EXPECT_NEAR(slope.evalClamped({0.9, -9}), 3 * 0.5 + 2 * 0.75, 1e-12);
    EXPECT_FALSE(ScalarField2<float>().evalSafe({0, 0}).a);
    EXPECT_THROW(ScalarField2<float>().reset(70000, 70000, 1), std::length_error);
}

TEST(PlaneFields, MacCormackIsOfSecondOrderAndMakesNoExtremes)
{
    const auto semi = PlaneAdvectionScheme::SemiLagrangian, corrected = PlaneAdvectionScheme::MacCormack;
    const double coarse = turningError(61, 40, corrected), fine = turningError(121, 80, corrected);
    EXPECT_GT(coarse / fine, 3) << coarse;
    EXPECT_LT(coarse, 0.45 * turningError(61, 40, semi));
    EXPECT_LT(turningError(61, 40, semi) / turningError(121, 80, semi), 2.2);

    const auto step = [](const Vector2D& p) { return p.x < 0 ? 1.0f : 0.0f; };
    const auto flow = plane<Vector2Field2<float>>(31, 9, 0.1,
                                                  [](const Vector2D&) {
                                                      return Vector2F{0.3f, 0};
                                                  });
    auto field = plane<ScalarField2<float>>(31, 9, 0.1, step);
    for (uint32 n = 0; n < 7; ++n) advect(field, flow, 0.25, corrected);
    double sum = 0;
    for (uint32 i = 0; i < 31; ++i)
    {
        EXPECT_GE(field.get(i, 4), 0);
        EXPECT_LE(field.get(i, 4), 1);
        sum += field.get(i, 4) * 0.1;
    }
    EXPECT_NEAR(sum, 1.5 + 7 * 0.25 * 0.3, 0.06);
    EXPECT_EQ(field.get(0, 4), 1);  // flows in
}

TEST(PlaneFields, AFlowCarriesItselfTheSameForEveryThreadCount)
{
    const auto before = plane<Vector2Field2<float>>(
        90, 70, 0.1,
        [](const Vector2D& p) {
            return Vector2F{static_cast<float>(std::sin(p.y)), static_cast<float>(std::cos(p.x))};
        });
    for (const auto scheme : {PlaneAdvectionScheme::SemiLagrangian, PlaneAdvectionScheme::MacCormack})
    {
        Vector2Field2<float> first = before;
        const Vector2Field2<float> flow = before;
        advect(first, flow, 0.3, scheme);
        EXPECT_GT(length(first.get(40, 30) - before.get(40, 30)), 0.01f);
        for (const uint32 threads : {2u, 3u})
        {
            Vector2Field2<float> field = before;
            advect(field, field, 0.3, scheme, threads);
            EXPECT_EQ(std::memcmp(field.getArrVectors().data(), first.getArrVectors().data(),
                                  field.size() * sizeof(Vector2F)),
                      0);
        }
    }
}
