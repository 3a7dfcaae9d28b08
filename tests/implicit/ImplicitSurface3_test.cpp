#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <tavrix/tavrix.h>

using namespace tavrix;

namespace
{

template <class T>
using Regular = ImplicitSurface3Regular<T>;

constexpr double radius = 0.7;

/// A sphere with a band of 0.3, on a grid of three different sizes.
template <class T>
Regular<T> sphere()
{
    Regular<T> surface;
    surface.reset(22, 24, 30, 0.1);
    surface.moveTo({1, 2, 3});
    surface.getDefaultValue() = T(0.3);
    surface.getCutOffValue() = T(0.29);
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
    {
        const double d = length(surface.getField().getPoint(m) - Vector3D{1, 2, 3}) - radius;
        surface.set(m, static_cast<T>(std::clamp(d, -0.3, 0.3)));
    }
    return surface;
}

template <class T>
void expectSameQueries(const ImplicitSurface3StrategyInterface<T>& a,
                       const ImplicitSurface3StrategyInterface<T>& b)
{
    using Types = typename ImplicitSurface3StrategyInterface<T>::GradTypes;
    const Types types{TX_FIELD_GRAD_FORWARD, TX_FIELD_GRAD_CENTRAL, TX_FIELD_GRAD_SECOND_ORDER};
    std::mt19937 random(1);
    const auto between = [&](double low, double high)
    { return low + (high - low) * (static_cast<double>(random()) / 4294967296.0); };
    const Box3D& box = a.getBox();
    for (int n = 0; n < 500; ++n)
    {
        const Vector3D p{between(box.min.x - 0.1, box.max.x), between(box.min.y, box.max.y + 0.1),
                         between(box.min.z, box.max.z)};
        T va, vb;
        Vector3<T> ga, gb;
        const auto same = [&](bool foundA, bool foundB, const auto& resultA, const auto& resultB)
        {
            EXPECT_EQ(foundA, foundB);
            const bool isNumber = !(resultA != resultA);
            if (isNumber) { EXPECT_EQ(resultA, resultB); }
        };
        const bool inside = a.eval(p, va);
        same(inside, b.eval(p, vb), va, vb);
        EXPECT_EQ(inside, box.contains(p));
        const bool near = a.eval_useThreshold(p, va);
        same(near, b.eval_useThreshold(p, vb), va, vb);
        same(a.evalCurvature(p, va), b.evalCurvature(p, vb), va, vb);
        same(a.evalCurvatureSafe(p, va), b.evalCurvatureSafe(p, vb), va, vb);
        same(a.evalGrad(p, ga), b.evalGrad(p, gb), ga, gb);
        same(a.evalGrad_v2(p, ga), b.evalGrad_v2(p, gb), ga, gb);
        same(a.evalGradSafe_v2(p, types, ga), b.evalGradSafe_v2(p, types, gb), ga, gb);
        EXPECT_EQ(a.evalGradSafe_useThreshold(p, types, ga), near);
        same(near, b.evalGradSafe_useThreshold(p, types, gb), ga, gb);
    }
}

template <class T>
void expectSameMesh(const ImplicitSurface3StrategyInterface<T>& a,
                    const ImplicitSurface3StrategyInterface<T>& b)
{
    const Box3D half{a.getBox().min, a.getBox().center()};
    for (uint32 region = 0; region < 3; ++region)
    {
        const auto extract = [&](const ImplicitSurface3StrategyInterface<T>& surface, Mesh& mesh)
        {
            return region == 0   ? surface.extractExplicitSurface(mesh, 1, nullptr)
                   : region == 1 ? surface.extractExplicitSurface(mesh, half, 2, nullptr)
                                 : surface.extractExplicitSurface(mesh, 2, 9, 0, 1, 3, 3, 2, nullptr);
        };
        Mesh meshA, meshB;
        const unsigned long faces = extract(a, meshA);
        EXPECT_GT(faces, 100u);
        EXPECT_EQ(extract(b, meshB), faces);
        EXPECT_EQ(meshA.pos(), meshB.pos());
        EXPECT_EQ(meshA.trindexPos(), meshB.trindexPos());
    }
}

}  // namespace

TEST(ImplicitSurface3Regular, WholeSurfaceOperations)
{
    Regular<float> surface;
    EXPECT_EQ(surface.getNumberOfSurfaceCells(), 0u);
    surface.reset(3, 4, 5, 1.0);
    surface.getDefaultValue() = 10;
    surface.refField().set(2.0f);
    surface.set(7u, -3.0f);
    surface.setThreshold(4);
    EXPECT_EQ(surface.getThreshold(), 0);
    surface.init(surface.getField(), 1, 2, 3);
    surface.invert();
    EXPECT_EQ(surface.getDefaultValue(), -10);
    EXPECT_EQ(surface.getCutOffValue(), -11);
    EXPECT_EQ(surface.get(7u), 3);
    surface.offsetSurface(0.5f);
    EXPECT_EQ(surface.getDefaultValue(), -10);
    EXPECT_EQ(surface.getCutOffValue(), -11);
    EXPECT_EQ(surface.get(8u), -1.5f);
    surface.abs();
    EXPECT_EQ(surface.getDefaultValue(), 10);
    EXPECT_EQ(surface.getCutOffValue(), 11);
    EXPECT_EQ(surface.get(0, 0, 1), 1.5f);
    EXPECT_EQ(surface.getArrayElement(7), (Tuple2<uint32, float>{7, 3.5f}));
    float min, max;
    surface.findMinMax(min, max);
    EXPECT_EQ(min, 1.5f);
    EXPECT_EQ(max, 3.5f);

    surface.setSurfaceTrue(33);
    EXPECT_EQ(surface.getNumberOfSurfaceCells(), 1u);
    EXPECT_TRUE(surface.isSurface(33));
    surface.setNeighborsPositiveTrue(33);
    EXPECT_FALSE(surface.isSurface(33));
    EXPECT_TRUE(surface.isNeighborsPositive(33));
    surface.setNeighborsNegativeTrue(33);
    EXPECT_FALSE(surface.isNeighborsPositive(33));
    surface.setSurfaceTrue(33);
    EXPECT_FALSE(surface.isNeighborsNegative(33));
    EXPECT_EQ(surface.getMemoryUsage(), 60 * 4 + 3 * 2 * 4u);
    EXPECT_EQ(Regular<float>::getMemoryUsagePrediction(1, {{0, 0, 0}, {2, 3, 3.5}}),
              surface.getMemoryUsage());
    surface.init_toZeroSize();
    EXPECT_EQ(surface.getMemoryUsage(), 0u);
    EXPECT_EQ(surface.getNumberOfSurfaceCells(), 0u);
}

TEST(ImplicitSurface3Regular, FlagsTheNodesAroundTheSurface)
{
    Regular<double> surface = sphere<double>();
    surface.createNeighborsCells();
    const auto& grid = surface.getField().getGrid();
    const auto isCrossed = [&](const Index3& n)
    {
        uint32 below = 0, nodes = 0;
        for (uint32 c = 0; c < 8; ++c)
        {
            const Index3 at{n.a + c % 2, n.b + c / 2 % 2, n.c + c / 4};
            if (at.a >= grid.sizeX || at.b >= grid.sizeY || at.c >= grid.sizeZ) return false;
            below += surface.get(at) < 0;
            ++nodes;
        }
        return below > 0 && below < nodes;
    };
    // The voxels up to `reach` lower corners away from a node.
    const auto anyAround = [&](const Index3& n, uint32 reach, auto test)
    {
        for (uint32 i = n.a < reach ? 0 : n.a - reach; i <= n.a + reach - 1; ++i)
            for (uint32 j = n.b < reach ? 0 : n.b - reach; j <= n.b + reach - 1; ++j)
                for (uint32 k = n.c < reach ? 0 : n.c - reach; k <= n.c + reach - 1; ++k)
                    if (test(Index3{i, j, k})) return true;
        return false;
    };
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const Index3 n = grid.getIndexes(m);
        EXPECT_EQ(surface.detectLeftDownNearSurfaceVoxel(n), isCrossed(n));
        const bool isSurface = anyAround(n, 1, isCrossed);
        const bool isNear = !isSurface && anyAround(n, 2, isCrossed);
        EXPECT_EQ(surface.isSurface(m), isSurface);
        EXPECT_EQ(surface.isNeighborsNegative(m), isNear && surface.get(m) < 0);
        EXPECT_EQ(surface.isNeighborsPositive(m), isNear && surface.get(m) >= 0);
    }
    surface.addBorderAroundNeighbors();
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const bool isFlagged =
            surface.isSurface(m) || surface.isNeighborsNegative(m) || surface.isNeighborsPositive(m);
        EXPECT_EQ(isFlagged, anyAround(grid.getIndexes(m), 3, isCrossed));
    }
    Regular<double> fresh = sphere<double>();
    fresh.markVoxelNodes({1, 1, 1});
    fresh.markVoxelSignedNodes({2, 1, 1});
    fresh.markVoxelUnsignedNodes({10, 11, 14});
    EXPECT_EQ(fresh.getNumberOfSurfaceCells(), 8u);
    EXPECT_TRUE(fresh.isNeighborsPositive(grid.getMonoindex(3, 2, 2)));
    EXPECT_TRUE(fresh.isSurface(grid.getMonoindex(2, 1, 1)));
    EXPECT_TRUE(fresh.isNeighborsPositive(grid.getMonoindex(10, 11, 14))) << "inside, but unsigned";
}

TEST(ImplicitSurface3Regular, FlagsFollowAFieldThatIsResized)
{
    Regular<float> surface;
    surface.refField().reset(5, 6, 7, {1.0, 2.0, 3.0});
    EXPECT_FALSE(surface.isSurface(209));
    surface.setSurfaceTrue(209);
    EXPECT_TRUE(surface.isSurface(209));
    surface.refField().reset(20, 20, 20, 1.0);
    EXPECT_EQ(surface.getNumberOfSurfaceCells(), 0u);
    EXPECT_FALSE(surface.isSurface(209) || surface.isNeighborsNegative(7999));
    surface.refField().set(1.0f);
    surface.markVoxelSignedNodes({18, 18, 18});
    EXPECT_TRUE(surface.isNeighborsPositive(7999));
    surface.refField().reset(2, 2, 2, 1.0);
    surface.addBorderAroundNeighbors();
    surface.abs();
    surface.setNeighborsNegativeTrue(7);
    EXPECT_TRUE(surface.isNeighborsNegative(7));

    surface.reset(5, 6, 7, {1, 2, 3});
    EXPECT_EQ(surface.getBox().max, (Vector3D{2, 5, 9}));
    ImplicitSurface3Sparse<float> sparse;
    sparse.reset(5, 6, 7, {1, 2, 3});
    EXPECT_EQ(sparse.getBox(), surface.getBox());
    sparse.reset(5, 6, 7, 2);
    EXPECT_EQ(sparse.getBox().max, (Vector3D{4, 5, 6}));
}

TEST(ImplicitSurface3Sparse, AnswersAsTheRegularSurface)
{
    const Regular<float> regular = sphere<float>();
    ImplicitSurface3Sparse<float> sparse;
    sparse.init(regular);
    expectSameQueries<float>(regular, sparse);
    expectSameMesh<float>(regular, sparse);

    uint32 held = 0;
    for (uint32 m = 0; m < regular.getArraySize(); ++m)
    {
        EXPECT_EQ(sparse.get(m), regular.get(m));
        if (regular.get(m) < regular.getDefaultValue())
        {
            EXPECT_EQ(sparse.getArrayElement(held++), (Tuple2<uint32, float>{m, regular.get(m)}));
        }
    }
    EXPECT_EQ(sparse.getArraySize(), held);
    EXPECT_LT(sparse.getMemoryUsage(), regular.getMemoryUsage());
    float min, max, sparseMin, sparseMax;
    regular.findMinMax(min, max);
    sparse.findMinMax(sparseMin, sparseMax);
    EXPECT_EQ(min, sparseMin);
    EXPECT_EQ(max, sparseMax);

    const ImplicitSurface3Sparse<float> copy(sparse);
    sparse.invert();
    EXPECT_EQ(sparse.getCutOffValue(), sparse.getDefaultValue() - 1);
    EXPECT_EQ(sparse.get(0u), -regular.getDefaultValue());
    sparse.init_toZeroSize();
    EXPECT_EQ(sparse.getMemoryUsage(), 0u);
    expectSameQueries<float>(regular, copy);
}

TEST(ImplicitSurface3Sparse, HoldsWhatIsBelowTheDefaultValue)
{
    ImplicitSurface3Sparse<double> sparse;
    Regular<double> model;
    sparse.reset(4, 5, 6, 1.0);
    model.reset(4, 5, 6, 1.0);
    sparse.getDefaultValue() = model.getDefaultValue() = 2;
    model.refField().set(2.0);
    std::mt19937 random(3);
    for (int n = 0; n < 500; ++n)
    {
        const auto m = static_cast<uint32>(random() % 120);
        const double v = static_cast<double>(random() % 40) / 10;
        const bool isHeld = model.get(m) != 2;
        sparse.set(m, v);
        if (isHeld || v < 2) model.set(m, v == 2 ? 2.0001 : v);
        if (isHeld && v == 2) sparse.set(m, 2.0001);
        for (uint32 at = 0; at < 120; ++at) ASSERT_EQ(sparse.get(at), model.get(at)) << n;
    }
}

namespace
{

/// Files are written and read through every kind of stream that can do both.
template <class T, class Save, class Load>
std::string saveAndLoad(const Regular<T>& surface, Regular<T>& loaded, Save save, Load load)
{
    FileRam ram;
    save(surface, static_cast<FileStreamBase&>(ram));
    load(loaded, static_cast<FileStreamBase&>(ram));
    return {reinterpret_cast<const char*>(ram.data()), ram.size()};
}

template <class Value>
void append(std::string& bytes, const Value& value)
{
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string gridRecord(const GridDescription3<double>& grid)
{
    std::string bytes;
    for (const uint32 v : {grid.sizeX, grid.sizeY, grid.sizeZ, grid.sizeY * grid.sizeZ, grid.size})
        append(bytes, v);
    for (const Vector3D& v :
         {grid.box.min, grid.box.max, grid.separation, Vector3D{1, 1, 1} / grid.separation.x})
        for (uint32 axis = 0; axis < 3; ++axis) append(bytes, v[axis]);
    append(bytes, grid.separation.x);
    EXPECT_EQ(bytes.size(), 124u);
    return bytes;
}

template <class T>
Regular<T> smallSurface()
{
    Regular<T> surface;
    surface.reset(3, 4, 5, 0.25);
    surface.moveTo({7, -2, 1});
    surface.getDefaultValue() = T(1.5);
    for (uint32 m = 0; m < 60; ++m) surface.set(m, static_cast<T>(m % 7) / 4);
    surface.setSurfaceTrue(2);
    surface.setSurfaceTrue(33);
    surface.setNeighborsNegativeTrue(34);
    return surface;
}

}  // namespace

template <class T>
class ImplicitSurface3Files : public testing::Test
{
};
using Values = testing::Types<float, double>;
TYPED_TEST_SUITE(ImplicitSurface3Files, Values);

TYPED_TEST(ImplicitSurface3Files, RegularFormat)
{
    const auto surface = smallSurface<TypeParam>();
    std::string expected = gridRecord(surface.getField().getGrid());
    append(expected, 60u);
    for (uint32 m = 0; m < 60; ++m) append(expected, surface.get(m));
    for (const uint32 v : {2u, 1u << 2, 1u << 1, 60u}) append(expected, v);
    Regular<TypeParam> loaded;
    const std::string bytes = saveAndLoad(
        surface, loaded, [](const auto& s, FileStreamBase& to) { s.save_useRegularFormat(to); },
        [](auto& s, FileStreamBase& from) { s.load_useRegularFormat(from); });
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(loaded.getField().getArrScalars(), surface.getField().getArrScalars());
    EXPECT_EQ(loaded.getBox(), surface.getBox());
    EXPECT_TRUE(loaded.getField().getFlags() & Regular<TypeParam>::flagInitialised);
    EXPECT_TRUE(loaded.isSurface(33) && loaded.isSurface(2));
    EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 2u);
    EXPECT_FALSE(loaded.isNeighborsNegative(34)) << "not stored";
}

TYPED_TEST(ImplicitSurface3Files, SparseFormat)
{
    const auto surface = smallSurface<TypeParam>();
    std::string records;
    uint32 count = 0;
    for (uint32 m = 0; m < 60; ++m)
        if (surface.get(m) < TypeParam(1.5))
        {
            append(records, m);
            append(records, surface.get(m));
            ++count;
        }
    std::string expected = gridRecord(surface.getField().getGrid());
    append(expected, count);
    expected += records;
    for (const uint32 v : {2u, 2u, 33u}) append(expected, v);
    Regular<TypeParam> loaded;
    loaded.getDefaultValue() = 9;
    const std::string bytes = saveAndLoad(
        surface, loaded, [](const auto& s, FileStreamBase& to) { s.save_useSparseFormat(to); },
        [](auto& s, FileStreamBase& from) { s.load_useSparseFormat(from); });
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(loaded.getBox(), surface.getBox());
    for (uint32 m = 0; m < 60; ++m)
        EXPECT_EQ(loaded.get(m), surface.get(m) < TypeParam(1.5) ? surface.get(m) : TypeParam(9));
    EXPECT_TRUE(loaded.isSurface(33) && loaded.isSurface(2));
    EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 2u);

    // Indices out of range are skipped.
    std::string damaged = bytes;
    damaged.replace(128, 4, "\xFF\xFF\xFF\x7F").replace(damaged.size() - 4, 4, "\x3C\0\0\0", 4);
    FileRam ram(damaged.data(), damaged.size());
    loaded.load_useSparseFormat(static_cast<FileStreamBase&>(ram));
    EXPECT_EQ(loaded.get(0u), 9);
    EXPECT_EQ(loaded.get(1u), surface.get(1u));
    EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 1u);
}

TYPED_TEST(ImplicitSurface3Files, ASurfaceOfNoNodesIsReadWhole)
{
    const Regular<TypeParam> empty;
    FileRam ram;
    FileStreamBase& stream = ram;
    empty.save_useRegularFormat(stream);
    EXPECT_EQ(ram.size(), 136u);
    empty.save_useSparseFormat(stream);
    EXPECT_EQ(ram.size(), 136u + 132u);
    smallSurface<TypeParam>().save_useSparseFormat(stream);
    Regular<TypeParam> loaded = smallSurface<TypeParam>();
    loaded.load_useRegularFormat(stream);
    EXPECT_EQ(loaded.getArraySize(), 0u);
    EXPECT_TRUE(loaded.getField().getFlags() & Regular<TypeParam>::flagInitialised);
    loaded.load_useSparseFormat(stream);
    EXPECT_EQ(loaded.getArraySize(), 0u);
    loaded.load_useSparseFormat(stream);
    EXPECT_EQ(loaded.getArraySize(), 60u) << "the next one in the file";
}

TYPED_TEST(ImplicitSurface3Files, AStreamThatEndsEarlyLeavesWhatItGave)
{
    const auto surface = smallSurface<TypeParam>();
    FileRam whole;
    surface.save_useRegularFormat(static_cast<FileStreamBase&>(whole));
    FileRam cut(whole.data(), 128 + 40 * sizeof(TypeParam));
    Regular<TypeParam> loaded;
    loaded.getDefaultValue() = 9;
    loaded.load_useRegularFormat(static_cast<FileStreamBase&>(cut));
    ASSERT_EQ(loaded.getArraySize(), 60u);
    EXPECT_EQ(loaded.get(39u), surface.get(39u));
    EXPECT_EQ(loaded.get(40u), 9);

    ImplicitSurface3Sparse<TypeParam> sparse;
    sparse.init(surface);
    FileRam nothing;
    sparse.save_useRegularFormat(static_cast<FileStreamBase&>(nothing));
    sparse.save_useSparseFormat(static_cast<FileStreamBase&>(nothing));
    EXPECT_EQ(nothing.size(), 0u);
    whole.rewind();
    sparse.load_useRegularFormat(static_cast<FileStreamBase&>(whole));
    EXPECT_EQ(whole.remaining(), static_cast<int64>(whole.size()));
}

TEST(ImplicitSurface3Sparse, RefusesMoreRowsThanItCanCount)
{
    ImplicitSurface3Sparse<float> sparse;
    EXPECT_THROW(sparse.reset(65535, 65537, 1, 1.0), std::length_error);
    EXPECT_EQ(sparse.getField().size(), 0u);
}

TEST(ImplicitSurface3Init, ParticlesMakeTheUnionOfTheirSpheres)
{
    const Array<Vector3F> positions{{0, 0, 0}, {0.5f, 0, 0}, {3, 0, 0}, {1, 1, NAN}};
    const Array<float> radii{0.5f, 0.4f, -1, 1};
    Regular<float> surface;
    EXPECT_TRUE(surface.init_v2(positions, radii, 0.05, 2));
    EXPECT_FLOAT_EQ(surface.getDefaultValue(), 0.15f);
    const auto& field = surface.getField();
    EXPECT_GE(-0.5 - surface.getBox().min.x, 0.15);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Vector3D p = field.getPoint(m);
        const double outside = std::min(length(p) - 0.5, length(p - Vector3D{0.5, 0, 0}) - 0.4);
        if (outside > 0) { EXPECT_NEAR(field[m], std::min(outside, 0.15), 0.05 * 0.05); }
        else { EXPECT_LE(field[m], 0) << m; }
    }
    EXPECT_FLOAT_EQ(surface.get(field.getGrid().getCell({0.2, 0, 0})), -0.15f) << "deep inside";
    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    EXPECT_TRUE(computeTopology(mesh).isClosed());
    EXPECT_EQ(computeTopology(mesh).eulerCharacteristic(), 2);
    EXPECT_GT(signedVolume(mesh), 0) << "faces outwards";

    Regular<float> other;
    EXPECT_TRUE(other.init_v2({}, {}, 0.05));
    EXPECT_EQ(other.getArraySize(), 0u);
    EXPECT_FALSE(other.init(positions, radii, 0.05, surface.getBox(), 1, [] { return 1; }));
    EXPECT_EQ(other.getArraySize(), 0u);
    EXPECT_FALSE(other.init(positions, radii, 0, surface.getBox()));
    EXPECT_THROW(other.init(positions, radii, 1e-9, surface.getBox()), std::length_error);
    EXPECT_FALSE(other.init(positions, radii, 1, {{0, 0, 0}, {INFINITY, 1, 1}}));
    EXPECT_EQ(other.getField().size(), 0u);
    EXPECT_EQ(other.getMemoryUsagePrediction(-1, surface.getBox()), 0u);
}

TEST(ImplicitSurface3Init, MeshesComeBackAsTheyWere)
{
    Mesh cube;
    cube.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    Regular<float> surface;
    EXPECT_TRUE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_SIGNED, 2));
    EXPECT_FLOAT_EQ(surface.getDefaultValue(), 0.15f);
    EXPECT_GT(surface.getNumberOfSurfaceCells(), 1000u);
    Mesh back;
    surface.extractExplicitSurface(back, 1, nullptr);
    EXPECT_TRUE(computeTopology(back).isClosed());
    EXPECT_NEAR(signedVolume(back), 6, 0.02);
    float value;
    EXPECT_TRUE(surface.eval({0.5, 1, 0.07}, value));
    EXPECT_NEAR(value, -0.07, 1e-3);

    EXPECT_TRUE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_UNSIGNED));
    EXPECT_TRUE(surface.eval({0.5, 1, 0.07}, value));
    EXPECT_NEAR(value, 0.07, 1e-3);
    EXPECT_FALSE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_SIGNED, 1, [] { return 1; }));
    EXPECT_EQ(surface.getArraySize(), 0u);
    EXPECT_TRUE(surface.init(Mesh(), 60, TX_IMPLICIT_SURFACE_SIGNED));
    EXPECT_EQ(surface.getArraySize(), 0u);
}
