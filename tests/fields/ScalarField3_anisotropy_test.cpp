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

/// The text with a # for each word that is a number of six decimals.
std::string withoutNumbers(const std::string& text)
{
    std::string result, word;
    for (const char c : text)
    {
        word += c;
        if (c != ' ' && c != '\n') continue;
        const std::size_t point = word.find_first_not_of("0123456789");
        const bool isNumber = point > 0 && word.size() - point == 8 && word[point] == '.' &&
                              word.find_first_not_of("0123456789", point + 1) == word.size() - 1;
        result += isNumber ? std::string{'#', c} : word;
        word.clear();
    }
    return result + word;
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

bool build(Field& field, const Array<Vector3F>& positions, uint32 threads)
{
    return field.setAnisotropyDistanceField(positions, Array<float>(positions.size(), 0.625f), 1.5f, {},
                                            threads);
}

/// The height of the highest crossing of the level above each node of the middle of the grid.
std::vector<double> heights(const Field& field, float level)
{
    std::vector<double> found;
    for (uint32 i = field.sizeX() / 3; i < field.sizeX() * 2 / 3; ++i)
        for (uint32 j = field.sizeY() / 3; j < field.sizeY() * 2 / 3; ++j)
            for (uint32 k = field.sizeZ() - 1; k-- > 0;)
            {
                const float low = field.get(i, j, k), high = field.get(i, j, k + 1);
                if (low < level) continue;
                found.push_back(field.getPoint(Index3{i, j, k}).z +
                                0.125 * double{low - level} / (low - high));
                break;
            }
    return found;
}

/// The mean step from one height to the next.
double roughnessOf(const std::vector<double>& heights)
{
    double sum = 0;
    for (std::size_t n = 1; n < heights.size(); ++n) sum += std::fabs(heights[n] - heights[n - 1]);
    return sum / static_cast<double>(heights.size() - 1);
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
    const float level = 0.885f;  // a lone particle's surface lies half a spacing, 0.25, from it
    for (const uint32 layers : {6u, 1u})
    {
        const Array<Vector3F> positions = shakenLayers(16, layers);
        Field field = emptyField(90, 90, 70), metaballs = field;
        ASSERT_TRUE(build(field, positions, 2));
        metaballs.setMetaballField(positions, Array<float>(positions.size(), 0.25f), 1.0f, 60.0f, 2, nullptr);
        const auto smooth = heights(field, level), rough = heights(metaballs, 1.0f);
        ASSERT_EQ(smooth.size(), rough.size());
        EXPECT_LT(roughnessOf(smooth), roughnessOf(rough) / 2);
        double mean = 0;
        for (const double z : smooth) mean += z / static_cast<double>(smooth.size());
        EXPECT_NEAR(mean, 0.25, 0.08);

        Mesh mesh;
        IsosurfaceExtractor3::extractMesh(field, mesh, level, 0, 0, 0, 0, 0, 0, 2, nullptr, true);
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_TRUE(topology.isClosed());
        EXPECT_EQ(topology.eulerCharacteristic(), 2) << "no holes in " << layers << " layers";
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
