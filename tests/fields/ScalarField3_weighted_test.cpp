#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <tavrix/fields/ScalarField3.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

struct Particles
{
    Array<Vector3F> positions, normals;
    Array<float> radii, weights;
};

Particles cloud(uint32 count)
{
    std::mt19937 random(11);
    const auto unit = [&] { return static_cast<float>(random() % 100001) / 100000.0f; };
    Particles p;
    for (uint32 n = 0; n < count; ++n)
    {
        p.positions.push_back({3 * unit() - 1.5f, 3 * unit() - 1.5f, 3 * unit() - 1.5f});
        p.normals.push_back({2 * unit() - 1, 2 * unit() - 1, 2 * unit() - 1});
        p.radii.push_back(0.1f + 0.2f * unit());
        p.weights.push_back(2 * unit());
    }
    return p;
}

Field emptyField()
{
    Field field;
    field.reset(20, 24, 33, 0.125);
    field.setDefaultValue(9);
    return field;
}

/// Every particle against every node: merge(sample, value) with the kernel's value for the offset.
template <class KernelOf, class Merge>
Field brute(uint32 count, const Particles& p, KernelOf kernelOf, Merge merge)
{
    Field field = emptyField();
    field.setZero();
    for (uint32 n = 0; n < count; ++n)
        for (uint32 m = 0; m < field.size(); ++m)
        {
            const Vector3D d = field.getPoint(m) - convert<double>(p.positions[n]);
            const double t = 1 - kernelOf(n, d);
            if (t > 0) field[m] = merge(field[m], static_cast<float>(p.weights[n] * t * t * t));
        }
    return field;
}

float larger(float a, float b) { return std::max(a, b); }
float sum(float a, float b) { return a + b; }

void expectNear(const Field& field, const Field& expected, const char* what)
{
    for (uint32 m = 0; m < field.size(); ++m)
        ASSERT_NEAR(field[m], expected[m], 1e-5 * (1 + std::fabs(expected[m]))) << what << ", node " << m;
}

}  // namespace

TEST(ScalarField3Weighted, FormsEqualBruteForceForEveryThreadCount)
{
    Particles p = cloud(60);
    const auto ball = [&](uint32 n, const Vector3D& d)
    {
        const double R = 1.5 * double{p.radii[n]};
        return dot(d, d) / (R * R);
    };
    const auto capped = [&](uint32 n, const Vector3D& d)
    {
        const double R = std::min(1.5 * double{p.radii[n]}, 0.3);
        return p.weights[n] > 0.5f ? dot(d, d) / (R * R) : 1.0;
    };
    const auto flattened = [&](uint32 n, const Vector3D& d)
    {
        const double along = dot(convert<double>(p.normals[n]), d), R = 2 * double{p.radii[n]};
        return (dot(d, d) + 3 * along * along) / (R * R);
    };
    Particles signs = p;
    for (uint32 n = 0; n < 60; n += 3) signs.weights[n] *= -1;
    const Field largest = brute(60, p, ball, larger), largestCapped = brute(60, p, capped, larger),
                summed = brute(60, signs, ball, sum), flat = brute(60, p, flattened, larger);
    for (const uint32 threads : {1u, 2u, 7u})
    {
        Field field = emptyField();
        ASSERT_TRUE(
            field.setWeigthDistanceField(p.positions, p.radii, p.weights, 1.0f, 1.5f, threads, nullptr));
        expectNear(field, largest, "largest");
        ASSERT_TRUE(field.setWeigthDistanceField(p.positions, p.radii, p.weights, 1.0f, 1.5f, 0.5f, 0.3,
                                                 threads, nullptr));
        expectNear(field, largestCapped, "capped");
        ASSERT_TRUE(field.setWeigthDistanceField_v2(p.positions, p.radii, signs.weights, 1.0f, 1.5f, threads,
                                                    nullptr));
        expectNear(field, summed, "summed");
        ASSERT_TRUE(field.setWeigthNormalDistanceField(p.positions, p.radii, p.normals, p.weights, 1.0f,
                                                       threads, nullptr));
        expectNear(field, flat, "flattened");
    }
}

TEST(ScalarField3Weighted, ReducesToThePlainKernel)
{
    const Particles p = cloud(60);
    const Array<float> ones(60, 1.0f);
    const Array<Vector3F> noNormals(60, Vector3F{0, 0, 0});
    Field plain = emptyField(), field = plain;
    plain.setDistanceField(p.positions, p.radii, 1.0f, 1, nullptr);
    field.setWeigthDistanceField(p.positions, p.radii, ones, 1.0f, 2.0f, 1, nullptr);
    expectNear(field, plain, "weights of one");
    field.setWeigthNormalDistanceField(p.positions, p.radii, noNormals, ones, 1.0f, 1, nullptr);
    expectNear(field, plain, "no normals");

    Field carved = emptyField(), expected = carved;
    carved.setSubtractiveWeigthDistanceField(p.positions, p.radii, ones, 1.0f, 2.0f, 1, nullptr);
    expected.setSubtractiveDistanceField(p.positions, p.radii, 1.0f, 1, nullptr);
    expectNear(carved, expected, "carved");
    carved.setDefaultValue(9);
    carved.setSubtractiveWeigthDistanceField(p.positions, p.radii, p.weights, 1.0f, 2.0f, 5.0f, 1, nullptr);
    EXPECT_EQ(carved.getArrScalars(), emptyField().getArrScalars()) << "no particle weighs more than 5";
}

TEST(ScalarField3Weighted, BadParticlesAddNothing)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const Array<Vector3F> positions(8, Vector3F{0, 0, 0});
    const Array<float> radii{0.5f, 0.5f, 0.5f, 0.5f, nan, 0.0f, -1.0f, inf};
    const Array<float> weights{nan, inf, 0.0f, -1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
    Array<Vector3F> normals(8, Vector3F{0, 0, 1});
    Field field = emptyField(), zero = field;
    zero.setZero();
    field.setWeigthDistanceField(positions, radii, weights, 1.0f, 2.0f, 2, nullptr);
    EXPECT_EQ(field.getArrScalars(), zero.getArrScalars());
    field.setWeigthNormalDistanceField(positions, radii, normals, weights, 1.0f, 2, nullptr);
    EXPECT_EQ(field.getArrScalars(), zero.getArrScalars());
    for (const float reach : {nan, 0.0f, -1.0f})
    {
        field.setWeigthDistanceField_v2(positions, radii, Array<float>(8, 1.0f), 1.0f, reach, 2, nullptr);
        EXPECT_EQ(field.getArrScalars(), zero.getArrScalars());
    }
    // A kernel that dwarfs the grid reaches every node.
    field.setWeigthDistanceField({positions[0]}, {1e18f}, {1.0f}, 3e18f, 2.0f, 2, nullptr);
    EXPECT_EQ(*std::min_element(field.getArrScalars().begin(), field.getArrScalars().end()), 1.0f);
    for (const Vector3F& normal : {Vector3F{nan, 0, 0}, {1e30f, 0, 0}, {inf, 0, 0}})
    {
        normals[0] = normal;
        field.setWeigthNormalDistanceField({positions[0]}, {0.5f}, normals, {1.0f}, 1.0f, 2, nullptr);
        EXPECT_EQ(field.getArrScalars(), zero.getArrScalars());
    }
}
