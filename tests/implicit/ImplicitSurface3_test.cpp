#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include <Bytes.h>
#include <tavrix/tavrix.h>

using namespace tavrix;
using test::bytesOf;

namespace
{

template <class T>
using Regular = ImplicitSurface3Regular<T>;

/// A sphere with a band of 0.3, on a grid of three different sizes.
Regular<float> sphere()
{
    Regular<float> surface;
    surface.reset(22, 24, 30, 0.1);
    surface.moveTo({1, 2, 3});
    surface.getDefaultValue() = 0.3f;
    surface.getCutOffValue() = 0.29f;
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
    {
        const double d = length(surface.getField().getPoint(m) - Vector3D{1, 2, 3}) - 0.7;
        surface.set(m, static_cast<float>(std::clamp(d, -0.3, 0.3)));
    }
    return surface;
}

using Surface = ImplicitSurface3StrategyInterface<float>;

void expectSameQueries(const Surface& a, const Surface& b)
{
    const Surface::GradTypes types{TX_FIELD_GRAD_FORWARD, TX_FIELD_GRAD_CENTRAL, TX_FIELD_GRAD_SECOND_ORDER};
    std::mt19937 random(1);
    std::uniform_real_distribution<double> between(-0.1, 1.1);
    const Box3D& box = a.getBox();
    for (int n = 0; n < 500; ++n)
    {
        Vector3D p = box.min;
        for (uint32 axis = 0; axis < 3; ++axis) p[axis] += between(random) * (box.max - box.min)[axis];
        const auto same = [&](auto ofA, const auto& query)
        {
            auto ofB = ofA;
            const bool found = query(a, ofA);
            EXPECT_EQ(query(b, ofB), found);
            const bool isNumber = !(ofA != ofA);
            if (isNumber) { EXPECT_EQ(ofA, ofB); }
            return found;
        };
        const Vector3F vector{};
        EXPECT_EQ(same(0.0f, [&](auto& s, float& v) { return s.eval(p, v); }), box.contains(p));
        const bool near = same(0.0f, [&](auto& s, float& v) { return s.eval_useThreshold(p, v); });
        same(0.0f, [&](auto& s, float& v) { return s.evalCurvature(p, v); });
        same(0.0f, [&](auto& s, float& v) { return s.evalCurvatureSafe(p, v); });
        same(vector, [&](auto& s, auto& v) { return s.evalGrad(p, v); });
        same(vector, [&](auto& s, auto& v) { return s.evalGrad_v2(p, v); });
        same(vector, [&](auto& s, auto& v) { return s.evalGradSafe_v2(p, types, v); });
        const auto gradient = [&](auto& s, auto& v) { return s.evalGradSafe_useThreshold(p, types, v); };
        EXPECT_EQ(same(vector, gradient), near);
    }
}

}  // namespace

TEST(ImplicitSurface3Regular, WholeSurfaceOperations)
{
    Regular<float> surface;
    surface.reset(3, 4, 5, 1.0);
    surface.getDefaultValue() = 10;
    surface.refField().set(2.0f);
    surface.set(7u, -3.0f);
    surface.setThreshold(4);
    EXPECT_EQ(surface.getThreshold(), 0);
    surface.init(surface.getField(), 1, 2, 3);
    // the default and the cut-off value, and samples 7 and 8
    using Values = std::array<float, 4>;
    const auto values = [&]
    {
        return Values{surface.getDefaultValue(), surface.getCutOffValue(), surface.get(7u),
                      surface.get(0, 1, 3)};
    };
    surface.invert();
    EXPECT_EQ(values(), (Values{-10, -11, 3, -2}));
    surface.offsetSurface(0.5f);
    EXPECT_EQ(values(), (Values{-10, -11, 3.5f, -1.5f}));
    surface.abs();
    EXPECT_EQ(values(), (Values{10, 11, 3.5f, 1.5f}));
    EXPECT_EQ(surface.getArrayElement(7), (Tuple2<uint32, float>{7, 3.5f}));
    float min, max;
    surface.findMinMax(min, max);
    EXPECT_EQ(max - min, 2);
    EXPECT_EQ(surface.getMemoryUsage(), 60 * 4 + 3 * 2 * 4u);
    EXPECT_EQ(Regular<float>::getMemoryUsagePrediction(1, {{0, 0, 0}, {2, 3, 3.5}}),
              surface.getMemoryUsage());
    surface.init_toZeroSize();
    EXPECT_EQ(surface.getMemoryUsage(), 0u);
}

TEST(ImplicitSurface3Regular, FlagsTheNodesAroundTheSurface)
{
    Regular<float> surface = sphere();
    surface.createNeighborsCells();
    const auto& grid = surface.getField().getGrid();
    const auto isCrossed = [&](const Index3& n)
    {
        uint32 below = 0;
        for (uint32 c = 0; c < 8; ++c)
        {
            const Index3 at{n.a + c % 2, n.b + c / 2 % 2, n.c + c / 4};
            if (at.a >= grid.sizeX || at.b >= grid.sizeY || at.c >= grid.sizeZ) return false;
            below += surface.get(at) < 0;
        }
        return below > 0 && below < 8;
    };
    // by how many nodes the nearest crossed voxel is away: 1 for its own corners
    std::vector<uint32> away(grid.size, 9);
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const Index3 n = grid.getIndexes(m);
        EXPECT_EQ(surface.detectLeftDownNearSurfaceVoxel(n), isCrossed(n));
        if (!isCrossed(n)) continue;
        for (uint32 other = 0; other < grid.size; ++other)
        {
            const Index3 to = grid.getIndexes(other);
            uint32 furthest = 1;
            for (uint32 axis = 0; axis < 3; ++axis)
                furthest =
                    std::max(furthest, to[axis] > n[axis] ? to[axis] - n[axis] : n[axis] + 1 - to[axis]);
            away[other] = std::min(away[other], furthest);
        }
    }
    for (uint32 m = 0; m < grid.size; ++m)
    {
        EXPECT_EQ(surface.isSurface(m), away[m] == 1);
        EXPECT_EQ(surface.isNeighborsNegative(m), away[m] == 2 && surface.get(m) < 0);
        EXPECT_EQ(surface.isNeighborsPositive(m), away[m] == 2 && surface.get(m) >= 0);
    }
    surface.addBorderAroundNeighbors();
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const bool isSigned = surface.isNeighborsNegative(m) || surface.isNeighborsPositive(m);
        EXPECT_EQ(surface.isSurface(m) || isSigned, away[m] <= 3);
    }
    Regular<float> fresh = sphere();
    fresh.markVoxelNodes({1, 1, 1});
    fresh.markVoxelSignedNodes({2, 1, 1});
    fresh.markVoxelUnsignedNodes({10, 11, 14});
    EXPECT_EQ(fresh.getNumberOfSurfaceCells(), 8u);
    EXPECT_TRUE(fresh.isNeighborsPositive(grid.getMonoindex(3, 2, 2)));
    EXPECT_TRUE(fresh.isSurface(grid.getMonoindex(2, 1, 1)));
    EXPECT_TRUE(fresh.isNeighborsPositive(grid.getMonoindex(10, 11, 14))) << "inside, but unsigned";
}

TEST(ImplicitSurface3Regular, FlagsExcludeEachOtherAndFollowAFieldThatIsResized)
{
    Regular<float> surface;
    surface.refField().reset(5, 6, 7, {1.0, 2.0, 3.0});
    EXPECT_FALSE(surface.isSurface(209));
    surface.setNeighborsPositiveTrue(209);
    EXPECT_TRUE(surface.isNeighborsPositive(209) && !surface.isSurface(209));
    surface.setNeighborsNegativeTrue(209);
    EXPECT_TRUE(surface.isNeighborsNegative(209) && !surface.isNeighborsPositive(209));
    surface.setSurfaceTrue(209);
    EXPECT_TRUE(surface.isSurface(209) && !surface.isNeighborsNegative(209));
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
}

TEST(ImplicitSurface3Sparse, AnswersAsTheRegularSurface)
{
    const Regular<float> regular = sphere();
    ImplicitSurface3Sparse<float> sparse;
    sparse.init(regular);
    expectSameQueries(regular, sparse);
    const Box3D half{regular.getBox().min, regular.getBox().center()};
    const auto expectSame = [&](const auto& extract)
    {
        Mesh ofRegular, ofSparse;
        EXPECT_GT(extract(regular, ofRegular), 100u);
        extract(sparse, ofSparse);
        EXPECT_EQ(ofRegular.pos(), ofSparse.pos());
        EXPECT_EQ(ofRegular.trindexPos(), ofSparse.trindexPos());
    };
    expectSame([](const Surface& s, Mesh& m) { return s.extractExplicitSurface(m, 1, nullptr); });
    expectSame([&](const Surface& s, Mesh& m) { return s.extractExplicitSurface(m, half, 2, nullptr); });
    expectSame([](const Surface& s, Mesh& m)
               { return s.extractExplicitSurface(m, 2, 9, 0, 1, 3, 3, 2, nullptr); });

    uint32 held = 0;
    for (uint32 m = 0; m < regular.getArraySize(); ++m)
    {
        EXPECT_EQ(sparse.get(m), regular.get(m));
        if (regular.get(m) >= regular.getDefaultValue()) continue;
        EXPECT_EQ(sparse.getArrayElement(held++), (Tuple2<uint32, float>{m, regular.get(m)}));
    }
    EXPECT_EQ(sparse.getArraySize(), held);
    EXPECT_LT(sparse.getMemoryUsage(), regular.getMemoryUsage());
    const ImplicitSurface3Sparse<float> copy(sparse);
    sparse.invert();
    EXPECT_EQ(sparse.getCutOffValue(), sparse.getDefaultValue() - 1);
    EXPECT_EQ(sparse.get(0u), -regular.getDefaultValue());
    sparse.init_toZeroSize();
    EXPECT_EQ(sparse.getMemoryUsage(), 0u);
    expectSameQueries(regular, copy);
}

TEST(ImplicitSurface3Sparse, ExtractionLooksAtHeldRowsAloneAndFindsWhatTheRegularSurfaceHas)
{
    constexpr Index3 size{9, 12, 150};
    std::mt19937 random(5);
    ImplicitSurface3Sparse<float> sparse;
    sparse.reset(size.a, size.b, size.c, 1.0);
    sparse.getDefaultValue() = 10;
    for (const Index3& at : {Index3{0, 0, 0}, {6, 9, 147}, {3, 5, 61}, {4, 2, 126}, {8, 11, 0}})
        for (uint32 n = 0; n < 27; ++n)
        {
            const Index3 node{at.a + n / 9, at.b + n / 3 % 3, at.c + n % 3};
            const bool isInside = node.a < size.a && node.b < size.b && node.c < size.c;
            if (isInside && random() % 4 != 0)
                sparse.set(sparse.getField().getGrid().getMonoindex(node.a, node.b, node.c),
                           static_cast<float>(random() % 9));
        }
    for (const float farValue : {10.0f, 4.0f, 2.0f})  // on either side of the threshold, and on it
    {
        sparse.getDefaultValue() = farValue;
        sparse.getThreshold() = 4;
        Regular<float> regular;
        regular.reset(size.a, size.b, size.c, 1.0);
        regular.getThreshold() = 4;
        for (uint32 m = 0; m < regular.getArraySize(); ++m) regular.set(m, sparse.get(m));
        for (const uint32 threads : {1u, 2u, 3u, 50u})
            for (const uint32 margin : {0u, 1u, 3u})
            {
                Mesh meshes[2];
                Array<GridEdgeKey> edges[2];
                const auto extract = [&](const auto& surface, uint32 n)
                {
                    return IsosurfaceExtractor3::extractMesh(surface, meshes[n], margin, 0, 0, margin, margin,
                                                             1, edges[n], threads, nullptr, false);
                };
                EXPECT_GT(extract(regular, 0), 30u);
                extract(sparse, 1);
                EXPECT_EQ(edges[0], edges[1]) << farValue << ", threads " << threads;
                EXPECT_EQ(meshes[0].pos(), meshes[1].pos());
                EXPECT_EQ(meshes[0].trindexPos(), meshes[1].trindexPos());
            }
    }
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
    EXPECT_THROW(sparse.reset(65535, 65537, 1, 1.0), std::length_error) << "more rows than it can count";
    EXPECT_EQ(sparse.getField().size(), 120u) << "as it was";
}

namespace
{

template <class T>
void save(const ImplicitSurface3StrategyInterface<T>& surface, bool isSparse, FileStreamBase& stream)
{
    isSparse ? surface.save_useSparseFormat(stream) : surface.save_useRegularFormat(stream);
}

template <class T>
bool load(ImplicitSurface3StrategyInterface<T>& surface, bool isSparse, FileStreamBase& stream)
{
    return isSparse ? surface.load_useSparseFormat(stream) : surface.load_useRegularFormat(stream);
}

/// A stream as a host writes it: nothing but read and write.
class PlainStream : public FileStreamBase
{
public:
    explicit PlainStream(std::string bytes = "") : _bytes(std::move(bytes)) {}
    PlainStream& read(void* destination, uint32 byteCount) override
    {
        _next += _bytes.copy(static_cast<char*>(destination), byteCount, _next);
        return *this;
    }
    PlainStream& write(const void* source, uint32 byteCount) override
    {
        _bytes.append(static_cast<const char*>(source), byteCount);
        return *this;
    }
    const std::string& bytes() const { return _bytes; }
    bool isAtEnd() const { return _next == _bytes.size(); }

private:
    std::string _bytes;
    std::size_t _next = 0;
};

template <class T>
std::string saved(const Regular<T>& surface, bool isSparse)
{
    PlainStream stream;
    save(surface, isSparse, stream);
    return stream.bytes();
}

/// Loads from a stream that tells how much it holds.
template <class T>
bool loadBytes(const std::string& bytes, bool isSparse, Regular<T>& surface)
{
    FileRam ram(bytes.data(), bytes.size());
    const bool isWhole = load(surface, isSparse, ram);
    EXPECT_TRUE(!isWhole || ram.remaining() == 0) << "the stream is behind the surface";
    return isWhole;
}

std::string gridRecord(const GridDescription3<double>& grid)
{
    const double h = grid.separation.x;
    return bytesOf({grid.sizeX, grid.sizeY, grid.sizeZ, grid.sizeY * grid.sizeZ, grid.size}) +
           bytesOf({grid.box.min, grid.box.max, grid.separation, Vector3D{1, 1, 1} / h}) + bytesOf(h);
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

TYPED_TEST(ImplicitSurface3Files, HoldWhatTheLayoutsSay)
{
    const auto surface = smallSurface<TypeParam>();
    const std::string grid = gridRecord(surface.getField().getGrid());
    std::string regular = grid + bytesOf(60u), records;
    uint32 count = 0;
    for (uint32 m = 0; m < 60; ++m)
    {
        regular += bytesOf(surface.get(m));
        if (!(surface.get(m) < TypeParam(1.5))) continue;
        records += bytesOf(m) + bytesOf(surface.get(m));
        ++count;
    }
    regular += bytesOf({2u, 1u << 2, 1u << 1, 60u});
    std::string sparse = grid + bytesOf(count) + records + bytesOf({2u, 2u, 33u});
    for (const bool isSparse : {false, true})
        for (const bool isPlain : {false, true})
        {
            const std::string bytes = saved(surface, isSparse);
            EXPECT_EQ(bytes, isSparse ? sparse : regular);
            Regular<TypeParam> loaded;
            loaded.getDefaultValue() = 1.5;  // as of the nodes that a sparse record lacks
            PlainStream stream(bytes);
            ASSERT_TRUE(isPlain ? load(loaded, isSparse, stream) : loadBytes(bytes, isSparse, loaded));
            EXPECT_EQ(loaded.getField().getArrScalars(), surface.getField().getArrScalars());
            EXPECT_EQ(loaded.getBox(), surface.getBox());
            EXPECT_TRUE(loaded.getField().getFlags() & Regular<TypeParam>::flagInitialised);
            EXPECT_TRUE(loaded.isSurface(33) && loaded.isSurface(2));
            EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 2u);
            EXPECT_FALSE(loaded.isNeighborsNegative(34)) << "not stored";
            EXPECT_EQ(stream.isAtEnd(), isPlain);
        }

    // indices out of range are skipped
    sparse.replace(128, 4, "\xFF\xFF\xFF\x7F").replace(sparse.size() - 4, 4, "\x3C\0\0\0", 4);
    Regular<TypeParam> loaded;
    loaded.getDefaultValue() = 9;
    ASSERT_TRUE(loadBytes(sparse, true, loaded));
    EXPECT_EQ(loaded.get(0u), 9);
    EXPECT_EQ(loaded.get(1u), surface.get(1u));
    EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 1u);
}

TYPED_TEST(ImplicitSurface3Files, ASurfaceOfNoNodesIsReadWhole)
{
    const Regular<TypeParam> empty;
    FileRam ram;
    save(empty, false, ram);
    save(empty, true, ram);
    EXPECT_EQ(ram.size(), 136u + 132u);
    save(smallSurface<TypeParam>(), true, ram);
    Regular<TypeParam> loaded = smallSurface<TypeParam>();
    for (const bool isSparse : {false, true})
    {
        EXPECT_TRUE(load(loaded, isSparse, ram));
        EXPECT_EQ(loaded.getArraySize(), 0u);
        EXPECT_TRUE(loaded.getField().getFlags() & Regular<TypeParam>::flagInitialised);
    }
    EXPECT_TRUE(load(loaded, true, ram) && loaded.getArraySize() == 60) << "the next one in the file";
    EXPECT_FALSE(load(loaded, true, ram)) << "there is none";

    ImplicitSurface3Sparse<TypeParam> sparse;
    sparse.init(smallSurface<TypeParam>());
    for (const bool isSparse : {false, true})
    {
        FileRam nothing;
        save(sparse, isSparse, nothing);
        EXPECT_EQ(nothing.size(), 0u);
        ram.rewind();
        EXPECT_FALSE(load(sparse, isSparse, ram));
        EXPECT_EQ(ram.remaining(), static_cast<int64>(ram.size()));
    }
}

TYPED_TEST(ImplicitSurface3Files, AStreamThatEndsEarlyLeavesWhatItGave)
{
    const auto surface = smallSurface<TypeParam>();
    Regular<TypeParam> loaded;
    loaded.getDefaultValue() = 9;
    for (const bool isSparse : {false, true})
    {
        const std::string bytes = saved(surface, isSparse);
        const std::size_t samples = isSparse ? 124 : 128, flags = samples + 60 * sizeof(TypeParam);
        for (std::size_t size = 0; size < bytes.size(); ++size)
        {
            const std::string part = bytes.substr(0, size);
            const std::size_t given = size < samples ? 0 : (size - samples) / sizeof(TypeParam);
            EXPECT_FALSE(loadBytes(part, isSparse, loaded));
            ASSERT_EQ(loaded.getArraySize(), size < samples ? 0u : 60u);
            for (uint32 m = 0; !isSparse && m < loaded.getArraySize(); ++m)
                ASSERT_EQ(loaded.get(m), m < given ? surface.get(m) : TypeParam(9)) << size;
            if (!isSparse)
            {
                EXPECT_EQ(loaded.getNumberOfSurfaceCells(), (size >= flags + 8) + (size >= flags + 12));
            }

            PlainStream cut(part);
            load(loaded, isSparse, cut);
            ASSERT_EQ(loaded.getArraySize(), size < (isSparse ? 117 : 128) ? 0u : 60u) << size;
            for (uint32 m = 0; !isSparse && m < std::min<std::size_t>(given, 60); ++m)
                ASSERT_EQ(loaded.get(m), surface.get(m));
        }
        // a count without end ends with the stream
        PlainStream endless(std::string(bytes).replace(isSparse ? 124 : flags, 4, "\xFF\xFF\xFF\x7F"));
        EXPECT_FALSE(load(loaded, isSparse, endless));
        EXPECT_EQ(loaded.getArraySize(), 60u);
    }
    // next to no sample of a large grid
    const std::string large = gridRecord(GridDescription3<double>::centered(300, 300, 300, {1, 1, 1}));
    EXPECT_FALSE(loadBytes(large + bytesOf(27'000'000u) + std::string(1000, '\0'), false, loaded));
    EXPECT_EQ(loaded.getMemoryUsage(), 0u);
}

TYPED_TEST(ImplicitSurface3Files, CountsBesideTheSizesAreNotTrusted)
{
    const auto surface = smallSurface<TypeParam>();
    const std::string regular = saved(surface, false), sparse = saved(surface, true);
    Regular<TypeParam> loaded;
    for (const std::size_t at : {12u, 16u})
        for (const char* count : {"\0\0\0\0", "\1\0\0\0", "\xFF\xFF\xFF\xFF"})
        {
            ASSERT_TRUE(loadBytes(std::string(sparse).replace(at, 4, count, 4), true, loaded));
            EXPECT_EQ(loaded.getField().getGrid().sizeYZ, 20u);
            EXPECT_EQ(loaded.get(33u), surface.get(33u));
            EXPECT_EQ(loaded.getNumberOfSurfaceCells(), 2u);
        }
    // sizes without their counts ask for no memory out of the way
    for (const char* size : {"\0\0\xFF\0", "\xFF\xFF\xFF\xFF"})
        for (const std::size_t at : {0u, 4u, 8u})
            for (const bool isSparse : {false, true})
            {
                EXPECT_FALSE(loadBytes(std::string(isSparse ? sparse : regular).replace(at, 4, size, 4),
                                       isSparse, loaded));
                EXPECT_EQ(loaded.getMemoryUsage(), 0u);
            }

    const struct
    {
        std::vector<uint32> record;  ///< of the flags: word count, words, bit count
        uint32 flagged;
    } rows[] = {{{2, 1u << 2, 0xF0000001, 61}, 2},
                {{4, 1u << 2, 1u << 1, 7, 7, 128}, 2},
                {{1, 1u << 2, 32}, 1},
                {{2, 0xFFFFFFFF, 0xFFFFFFFF, 64}, 60}};
    for (const auto& row : rows)
    {
        std::string bytes = regular.substr(0, regular.size() - 16);
        for (const uint32 word : row.record) bytes += bytesOf(word);
        ASSERT_TRUE(loadBytes(bytes, false, loaded));
        EXPECT_EQ(loaded.getNumberOfSurfaceCells(), row.flagged);
        EXPECT_EQ(loaded.get(33u), surface.get(33u));
    }
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
    EXPECT_GT(signedVolume(mesh), 0) << "faces outwards";

    Regular<float> other;
    EXPECT_FALSE(other.init(positions, radii, 0.05, surface.getBox(), 1, [] { return 1; }));
    EXPECT_FALSE(other.init(positions, radii, 0, surface.getBox()));
    EXPECT_THROW(other.init(positions, radii, 1e-9, surface.getBox()), std::length_error);
    EXPECT_FALSE(other.init(positions, radii, 1, {{0, 0, 0}, {INFINITY, 1, 1}}));
    EXPECT_EQ(other.getField().size(), 0u);
}

TEST(ImplicitSurface3Init, MeshesGiveTheirDistance)
{
    Mesh cube;
    cube.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    Regular<float> surface;
    EXPECT_TRUE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_SIGNED, 2));
    EXPECT_GT(surface.getNumberOfSurfaceCells(), 1000u);
    float value;
    EXPECT_TRUE(surface.eval({0.5, 1, 0.07}, value));
    EXPECT_NEAR(value, -0.07, 1e-3);

    EXPECT_TRUE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_UNSIGNED));
    EXPECT_TRUE(surface.eval({0.5, 1, 0.07}, value));
    EXPECT_NEAR(value, 0.07, 1e-3);
    EXPECT_FALSE(surface.init(cube, 60, TX_IMPLICIT_SURFACE_SIGNED, 1, [] { return 1; }));
    EXPECT_EQ(surface.getArraySize(), 0u);
}
