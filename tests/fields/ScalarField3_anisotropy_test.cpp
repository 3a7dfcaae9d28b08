#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <tavrix/fields/detail/SymmetricEigen.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/MeshTopology.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

Field emptyField(uint32 x, uint32 y, uint32 z)
{
    Field field;
    field.reset(x, y, z, 0.125);
    field.setDefaultValue(9);
    return field;
}

/// The text with a # for each number of six decimals.
std::string withoutNumbers(std::string text)
{
    for (auto point = text.find('.'); point != std::string::npos; point = text.find('.'))
    {
        const std::size_t begin = text.find_last_not_of("0123456789", point - 1) + 1;
        text.replace(begin, point + 7 - begin, "#");
    }
    return text;
}

/// Layers of particles 0.5 apart, shaken by up to a quarter of that, the top one around z = 0.
Array<Vector3F> shakenLayers(uint32 side, uint32 layers)
{
    std::mt19937 random(7);
    const auto jitter = [&] { return (static_cast<float>(random() % 1001) / 1000.0f - 0.5f) * 0.25f; };
    Array<Vector3F> positions;
    const float start = -0.25f * static_cast<float>(side - 1);
    for (uint32 k = 0; k < layers; ++k)
        for (uint32 i = 0; i < side; ++i)
            for (uint32 j = 0; j < side; ++j)
                positions.push_back({start + 0.5f * static_cast<float>(i) + jitter(),
                                     start + 0.5f * static_cast<float>(j) + jitter(),
                                     -0.5f * static_cast<float>(k) + jitter()});
    return positions;
}

/// The mean height and the mean slope of a surface's upper side, away from its rim.
std::pair<double, double> upperSide(const Mesh& mesh)
{
    double area = 0, height = 0, slope = 0;
    for (const Index3& t : mesh.trindexPos())
    {
        const Vector3D &a = mesh.pos()[t.a], &b = mesh.pos()[t.b], &c = mesh.pos()[t.c];
        if (std::fabs(a.x) > 2 || std::fabs(a.y) > 2 || a.z < 0) continue;
        const Vector3D normal = cross(b - a, c - a);
        area += std::fabs(normal.z);
        height += std::fabs(normal.z) * (a.z + b.z + c.z) / 3;
        slope += std::hypot(normal.x, normal.y);
    }
    return {height / area, slope / area};
}

}  // namespace

TEST(ScalarField3Anisotropy, ALoneParticleHasThePlainKernel)
{
    Field plain = emptyField(40, 40, 41), field = plain;
    const Array<Vector3F> positions{{0.03f, 0.1f, -0.2f}, {1.9f, 1.9f, 1.9f}};
    plain.setDistanceField(positions, {0.625f, 0.3f}, 2.0f, 1, nullptr);
    field.setAnisotropyDistanceField(positions, {0.625f, 0.3f}, 2.0f, {}, 1, nullptr);
    for (uint32 m = 0; m < field.size(); ++m) ASSERT_NEAR(field[m], plain[m], 2e-6);
}

TEST(ScalarField3Anisotropy, FlatSurfacesAreFlatAndWhereTheyBelong)
{
    for (const uint32 layers : {6u, 1u})
    {
        const Array<Vector3F> positions = shakenLayers(16, layers);
        const Array<float> reach(positions.size(), 0.625f), radii(positions.size(), 0.25f);
        Field field = emptyField(90, 90, 70), metaballs = field;
        ASSERT_TRUE(field.setAnisotropyDistanceField(positions, reach, 1.5f, {}, 2));
        metaballs.setMetaballField(positions, radii, 1.0f, 60.0f, 2, nullptr);
        Mesh smooth, rough;
        // a lone particle's surface lies half a spacing, 0.25, from it
        IsosurfaceExtractor3::extractMesh(field, smooth, 0.885f, 0, 0, 0, 0, 0, 0, 2, nullptr, true);
        IsosurfaceExtractor3::extractMesh(metaballs, rough, 1.0f, 0, 0, 0, 0, 0, 0, 2, nullptr, true);
        const auto [height, slope] = upperSide(smooth);
        EXPECT_NEAR(height, 0.25, 0.08);
        EXPECT_LT(slope, upperSide(rough).second / 2);
        EXPECT_TRUE(computeTopology(smooth).isClosed());
        EXPECT_EQ(computeTopology(smooth).eulerCharacteristic(), 2) << "no holes in " << layers << " layers";
    }
}

TEST(ScalarField3Anisotropy, BadSettingsAreTheDefaultsAndCoincidingParticlesAreOne)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const Array<Vector3F> positions = shakenLayers(6, 2);
    const Array<float> radii(positions.size(), 0.6f);
    Field expected = emptyField(40, 40, 40), field = expected;
    expected.setAnisotropyDistanceField(positions, radii, 2.0f, {});
    ASSERT_TRUE(field.setAnisotropyDistanceField(positions, radii, 2.0f, {nan, -1, 0, inf}));
    EXPECT_EQ(field.getArrScalars(), expected.getArrScalars());
    ASSERT_TRUE(field.setAnisotropyDistanceField(Array<Vector3F>(100, Vector3F{0, 0, 0}),
                                                 Array<float>(100, 0.6f), 2.0f, {}, 2));
    EXPECT_NEAR(*std::max_element(field.getArrScalars().begin(), field.getArrScalars().end()), 100, 5);
}

TEST(ScalarField3Anisotropy, PrintsItsPhases)
{
    Field field = emptyField(20, 20, 20);
    const Array<Vector3F> positions = shakenLayers(4, 2);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    field.setAnisotropyDistanceField(positions, Array<float>(positions.size(), 0.5f), 1.0f, 1, nullptr);
    EXPECT_EQ(withoutNumbers(testing::internal::GetCapturedStdout()),
              "Timing neighbo #\nTiming Gs #\nTiming elips bb #\nTiming field #\nTiming global #\n");
    EXPECT_EQ(withoutNumbers(testing::internal::GetCapturedStderr()),
              "mem info  1 # \nmem info  2 #\nmem info 3 #\nmem info 4 #\nmem info 5 #\n");
}

TEST(SymmetricEigen, RebuildsTheMatrix)
{
    std::mt19937 random(3);
    const auto number = [&] { return static_cast<float>(random() % 2001) / 1000.0f - 1.0f; };
    for (int n = 0; n < 200; ++n)
    {
        detail::SymmetricMatrix m = {number(), number(), number(), number(), number(), number()};
        if (n % 4 == 0) m[1] = m[2] = 0;
        if (n % 8 == 0) m[4] = 1e-20f;
        if (n % 16 == 0) m[0] = m[3] = m[5];
        const detail::SymmetricEigen eigen = detail::solveEigen(m);
        for (uint32 row = 0, k = 0; row < 3; ++row)
            for (uint32 column = row; column < 3; ++column, ++k)
            {
                double sum = 0, product = 0;
                for (uint32 v = 0; v < 3; ++v)
                {
                    sum += eigen.values[v] * eigen.vectors[v][row] * eigen.vectors[v][column];
                    product += eigen.vectors[row][v] * eigen.vectors[column][v];
                }
                EXPECT_NEAR(sum, m[k], 1e-9);
                EXPECT_NEAR(product, row == column ? 1 : 0, 1e-12);
            }
    }
}
