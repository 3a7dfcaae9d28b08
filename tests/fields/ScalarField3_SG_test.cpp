#include <tavrix/fields/ScalarField3_SG.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>
#include "ParticleSetters.h"

using namespace tavrix;

namespace
{

using Dense = ScalarField3<float, double>;
using Tiled = ScalarField3_SG<float, double>;

/// A storage of a host's own that has no more than it must.
template <class Value, class Coord>
class HostField : public ScalarField3_base<Value, Coord>
{
    using Base = ScalarField3_base<Value, Coord>;

public:
    using Base::get;
    using Base::set;

    HostField() : Base(ScalarFieldType::Sparse) {}
    void takeGrid(const Base& other)
    {
        this->_grid = other.getGrid();
        _samples.assign(other.size(), Value(0));
    }
    void reset_XYZ(uint32, uint32, uint32, Coord) override {}
    void reset_toZeroSize() override {}
    void initialize() override {}
    uint64 getMemoryUsage() const override { return 0; }
    Value get(const Index3& node) const override
    {
        return get(this->_grid.getMonoindex(node.a, node.b, node.c));
    }
    Value get(uint32 monoindex) const override { return _samples[monoindex]; }
    void set(const Index3& node, Value value) override
    {
        set(this->_grid.getMonoindex(node.a, node.b, node.c), value);
    }
    void set(uint32 monoindex, Value value) override { _samples[monoindex] = value; }
    Value getDefaultValue() const override { return 0; }
    void setDefaultValue(Value value) override { set(value); }

private:
    std::vector<Value> _samples;
};

/// The tiled field has the dense one's samples, and its tiles' values are those of the nodes that they stand
/// for, copies included; values outside the grid are the default.
template <class Value, class Coord>
void expectSameSamples(const ScalarField3_SG<Value, Coord>& tiled, const ScalarField3<Value, Coord>& dense)
{
    Array<Value> samples(tiled.size());
    tiled.copySamples(0, tiled.size(), samples.data());
    ASSERT_EQ(samples, dense.getArrScalars());
    const uint32 edge = tiled.getTileEdge();
    for (uint32 t = 0; t < tiled.getTileSize(); ++t)
    {
        const Array<Value>* values = tiled.getTile(t);
        if (!values) continue;
        const Index3 tile = tiled.getTileIndexes(t, INDEXES_TILE_SPACE);
        for (uint32 n = 0; n < values->size(); ++n)
        {
            const Index3 node{tile.a * (edge - 1) + n / edge / edge, tile.b * (edge - 1) + n / edge % edge,
                              tile.c * (edge - 1) + n % edge};
            const bool isInside = node.a < tiled.sizeX() && node.b < tiled.sizeY() && node.c < tiled.sizeZ();
            ASSERT_EQ((*values)[n], isInside ? tiled.get(node) : tiled.getDefaultValue())
                << "tile " << t << ", value " << n;
        }
    }
}

using Field = ScalarField3_base<float, double>;

/// Two small clouds at opposite corners of a box, and one large ball.
Particles clouds(uint32 count, const Vector3F& corner)
{
    Particles p = cloud(count, 1.0f, 7);
    for (uint32 n = 1; n < count; ++n) p.positions[n] += n % 2 ? corner : -corner;
    p.positions[0] = {0, 0, 0};
    p.radii[0] = 0.4f;
    return p;
}

template <class F>
class EveryTiledField : public testing::Test
{
};
template <class V, class C>
struct Types
{
    using Value = V;
    using Coord = C;
};
using Instantiations = testing::Types<Types<float, double>, Types<double, float>, Types<uint8, float>,
                                      Types<int32, double>, Types<uint64, float>>;
TYPED_TEST_SUITE(EveryTiledField, Instantiations);

}  // namespace

TYPED_TEST(EveryTiledField, EveryOperationAgreesWithADenseField)
{
    using Value = typename TypeParam::Value;
    using Coord = typename TypeParam::Coord;
    using Base = ScalarField3_base<Value, Coord>;
    for (const uint32 edge : {2u, 3u, 8u, 40u})
    {
        std::mt19937 random(edge);
        ScalarField3_SG<Value, Coord> tiled, other, otherTiles;
        ScalarField3<Value, Coord> dense, otherDense;
        HostField<Value, Coord> host;
        tiled.reset(15, 8, 22, {1, 2, 0.5}, edge);
        otherTiles.reset(22, 15, 8, 1, edge + 3);  // as many samples
        dense.reset(15, 8, 22, {1, 2, 0.5});
        host.takeGrid(dense);
        dense.setZero();
        other = tiled;
        otherDense = dense;
        for (uint32 step = 0; step < 400; ++step)
        {
            const auto m = static_cast<uint32>(random() % tiled.size());
            const auto v = static_cast<Value>(random() % 7);
            const Index3 n = tiled.getIndexes(m);
            const auto tile = static_cast<uint32>(random() % tiled.getTileSize());
            const auto all = [&](auto change)
            {
                for (Base* field :
                     {static_cast<Base*>(&tiled), static_cast<Base*>(&dense), static_cast<Base*>(&host)})
                    change(*field);
            };
            const Base* const others[] = {&other, &otherDense, &otherTiles, &dense};
            const Base& any = *others[m % 4];
            switch (random() % 24)
            {
                case 0:
                    tiled.createTile(tile);
                    break;
                case 1:
                    tiled.refTile_alloc(tile);
                    break;
                case 2:
                    tiled.adjustCoarse_b3b();
                    break;
                case 3:
                    tiled.createNeighborTiles_ifValuesAtBoundaryLarger(v);
                    break;
                case 4:
                    all([&](Base& f) { f.add(v); });
                    break;
                case 5:
                    other = tiled, otherDense = dense;
                    break;
                case 6:
                    otherTiles.copyScalars(tiled);
                    break;
                case 7:
                    if (random() % 4 == 0) all([&](Base& f) { f.setDefaultValue(v); });
                    break;
                case 8:
                    tiled.copyScalars(dense);
                    break;
                case 9:
                    all(
                        [&](Base& f)
                        {
                            const Value now = f.inc(n.a, n.b, n.c);
                            EXPECT_EQ(f.get(m), now);
                        });
                    break;
                case 10:
                    all(
                        [&](Base& f)
                        {
                            const Value now = f.dec(n.a, n.b, n.c);
                            EXPECT_EQ(f.get(n.a, n.b, n.c), now);
                        });
                    break;
                case 11:
                    EXPECT_TRUE(tiled.add(any, Value(0.3)) && host.add(any, Value(0.3)));
                    EXPECT_TRUE(dense.add(any, Value(0.3)));
                    break;
                case 12:
                    EXPECT_TRUE(tiled.sub(any) && host.sub(any) && dense.sub(any));
                    break;
                case 13:
                    all([](Base& f) { f.multiply(Value(-0.7)); });
                    break;
                case 14:
                    all([](Base& f) { f.abs(); });
                    break;
                case 15:
                    all(
                        [&](Base& f) {
                            f.addValueToBoxContainingPoint(
                                f.getPoint(n) + Vector3<Coord>{Coord(0.3), 0, Coord(0.1)}, v);
                        });
                    break;
                case 16:
                    all([&](Base& f) { f.add(m, v); });
                    break;
                case 17:
                    EXPECT_TRUE(tiled.interpolate(any, tiled, 0.25) && host.interpolate(any, host, 0.25));
                    EXPECT_TRUE(dense.interpolate(any, dense, 0.25));
                    break;
                default:
                    for (uint32 near = m; near < std::min(m + 5, tiled.size()); ++near)
                        all([&](Base& f) { f.set(near, v); });
            }
            if (step % 8 != 0) continue;
            ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << "step " << step;
            ASSERT_EQ(host.computeSignature_v1(), dense.computeSignature_v1()) << "step " << step;
            ASSERT_EQ(tiled.computeSignature_v2(), dense.computeSignature_v2()) << "step " << step;
        }
        for (uint32 m = 0; m < tiled.size(); m += 11) EXPECT_EQ(tiled.get(m), dense.get(m));
        Value found[3][3];
        uint32 row = 0;
        for (const Base* field :
             {static_cast<Base*>(&dense), static_cast<Base*>(&tiled), static_cast<Base*>(&host)})
        {
            auto& [min, max, avg] = found[row++];
            field->findMinMaxAvg(min, max, avg);
            EXPECT_FALSE(field->doIHave_NaN());
        }
        for (const uint32 n : {0u, 1u, 2u})
        {
            EXPECT_EQ(found[1][n], found[0][n]);
            EXPECT_EQ(found[2][n], found[0][n]);
        }
        if constexpr (std::is_floating_point_v<Value>)
            for (Base* field : {static_cast<Base*>(&tiled), static_cast<Base*>(&host)})
            {
                field->set(3, 4, 5, std::numeric_limits<Value>::infinity());
                EXPECT_TRUE(field->doIHave_NaN());
            }
    }
}

TEST(ScalarField3_SG, FieldsOfOtherSizesAreLeftAlone)
{
    Dense dense, larger;
    Tiled tiled, largerTiled;
    HostField<float, double> host;
    dense.reset(4, 5, 6, 1.0);
    larger.reset(4, 5, 7, 1.0);
    tiled.reset(4, 5, 6, 1.0);
    largerTiled.reset(40, 5, 6, 1.0);
    host.takeGrid(dense);
    larger.set(7.0f);
    largerTiled.set(7.0f);
    for (Field* field :
         {static_cast<Field*>(&dense), static_cast<Field*>(&tiled), static_cast<Field*>(&host)})
        for (const Field* other : {static_cast<Field*>(&larger), static_cast<Field*>(&largerTiled)})
            for (const bool swapped : {false, true})
            {
                Field& to = swapped ? const_cast<Field&>(*other) : *field;
                const Field& from = swapped ? *field : *other;
                to.set(3.0f);
                to.refFlags() = 0;
                EXPECT_FALSE(to.add(from, 2));
                EXPECT_FALSE(to.sub(from));
                EXPECT_FALSE(to.copyScalars(from));
                EXPECT_FALSE(to.interpolate(from, to, 0.5));
                EXPECT_FALSE(to.interpolate(to, from, 0.5));
                float min, max;
                to.findMinMax(min, max);
                EXPECT_EQ(min + max, 6.0f);
                EXPECT_EQ(to.getFlags(), 0u);
            }
}

TEST(ScalarField3_SG, WritesSetTheChangedBitAsInDenseFields)
{
    Dense dense;
    Tiled tiled;
    dense.reset(9, 9, 9, 1.0);
    tiled.reset(9, 9, 9, 1.0);
    const std::function<void(Field&)> changes[] = {[](Field& f) { f.set(3u, 1); },
                                                   [](Field& f) { f.set(1, 2, 3, 1); },
                                                   [](Field& f) { f.add(3, 1); },
                                                   [](Field& f) { f.add(1, 2, 3, 1); },
                                                   [](Field& f) { f.inc(1, 2, 3); },
                                                   [](Field& f) {
                                                       f.addValueToBoxContainingPoint({0, 0, 0}, 1);
                                                   },
                                                   [](Field& f) { f.setDefaultValue(1); },
                                                   [](Field& f) { f.abs(); },
                                                   [](Field& f)
                                                   {
                                                       f.copyScalars(Dense());
                                                       f.moveTo({1, 2, 3});
                                                   }};
    for (Field* field : {static_cast<Field*>(&dense), static_cast<Field*>(&tiled)})
        for (const auto& change : changes)
        {
            field->refFlags() = 0;
            change(*field);
            EXPECT_EQ(field->getFlags(), &change == std::end(changes) - 1 ? 0u : Field::flagChanged);
        }
}

TEST(ScalarField3_SG, WritesMakeTheTilesThatHoldTheNode)
{
    struct Case
    {
        Index3 node;
        std::vector<Index3> tiles;
    };
    for (const Case& c :
         {Case{{0, 0, 0}, {{0, 0, 0}}}, Case{{6, 6, 6}, {{0, 0, 0}}}, Case{{7, 0, 0}, {{1, 0, 0}, {0, 0, 0}}},
          Case{{7, 7, 3}, {{1, 1, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 0}}},
          Case{{7, 7, 7},
               {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {1, 0, 0}, {1, 0, 1}, {1, 1, 0}, {1, 1, 1}}}})
        for (const bool adding : {false, true})
        {
            Tiled field;
            field.reset(10, 10, 10, 1.0, 8);
            field.setDefaultValue(2);
            EXPECT_EQ(field.getTileSize(), 8u);
            EXPECT_EQ(field.getTile(0), nullptr);
            EXPECT_EQ(field.getStoredTileSize(), 0u);
            field.refFlags() = 0;
            const auto [i, j, k] = c.node;
            adding ? field.add(i, j, k, 3) : field.set(i, j, k, 5);
            EXPECT_EQ(field.getFlags(), Tiled::flagChanged);
            EXPECT_EQ(field.getStoredTileSize(), c.tiles.size());
            for (const Index3& tile : c.tiles)
            {
                const auto* values = field.getTile(field.getTileMonoindex(tile, INDEXES_TILE_SPACE));
                ASSERT_TRUE(values);
                const uint32 place = ((i - 7 * tile.a) * 8 + j - 7 * tile.b) * 8 + k - 7 * tile.c;
                EXPECT_EQ((*values)[place], 5.0f);
            }
            EXPECT_EQ(
                field.getTileMonoindex(i, j, k, INDEXES_GLOBAL_SPACE),
                field.getTileMonoindex(field.getTileIndexes(field.getPoint(c.node)), INDEXES_TILE_SPACE));
        }
}

TEST(ScalarField3_SG, SizesAreCheckedBeforeAnythingChanges)
{
    Tiled field;
    EXPECT_EQ(field.size() + field.getTileSize(), 0u);
    EXPECT_FALSE(field.evalSafe({0, 0, 0}).a);
    field.reset(10, 15, 7, 0.5, 8);
    EXPECT_EQ((Index3{field.getTileSizeX(), field.getTileSizeY(), field.getTileSizeZ()}), (Index3{2, 3, 1}));
    EXPECT_EQ(field.getTileGrid().tiles.separation, (Vector3D{3.5, 3.5, 3.5}));
    EXPECT_EQ(field.getTileGrid().tiles.box.max, (Vector3D{1.75, 3.5, 0}));
    field.moveTo({1, 2, 3});
    EXPECT_EQ(field.getTileGrid().tiles.box.center(), (Vector3D{1, 2, 3}));
    field.set(9, 14, 6, 4);
    const uint64 bytes = field.getMemoryUsage();
    EXPECT_GE(bytes, 512 * sizeof(float) + 6 * sizeof(uint32));
    EXPECT_THROW(field.reset(4, 4, 4, 1.0, 1626), std::length_error);
    EXPECT_THROW(field.reset(65536, 65536, 1, 1.0, 8), std::length_error);
    EXPECT_EQ(field.get(9, 14, 6), 4.0f);
    EXPECT_EQ(field.getMemoryUsage(), bytes);
    EXPECT_FALSE(field.setTile(0, Array<float>(511)));
    field.reset(4, 4, 4, 1.0, 0);
    EXPECT_EQ(field.getTileEdge(), 2u);
    // A row of 2^32 - 1 nodes, whose last one lies in the last tile.
    field.reset(1, 1, 0xFFFFFFFF, 1.0, 150);
    field.set(0, 0, 0xFFFFFFFE, 1);
    EXPECT_EQ(field.getTileSize(), 28825284u);
    EXPECT_TRUE(field.getTile(28825283));
    EXPECT_EQ(field.get(0xFFFFFFFEu) + field.get(0u), 1.0f);
    field.reset_toZeroSize();
    EXPECT_EQ(field.getMemoryUsage(), 0u);
}

TEST(ScalarField3_SG, NeighboursAreMadeWhereAFeatureMayGrow)
{
    struct Case
    {
        Index3 node;
        float threshold;
        uint32 tiles;
    };
    for (const Case& c : {Case{{10, 10, 10}, 1, 1}, Case{{13, 10, 10}, 1, 2}, Case{{13, 13, 10}, 1, 3},
                          Case{{13, 10, 10}, 2, 1}, Case{{6, 3, 3}, 1, 2}, Case{{20, 20, 20}, 1, 1}})
    {
        Tiled field;
        field.reset(21, 21, 21, 1.0);
        field.set(c.node, 2);
        field.createNeighborTiles_ifValuesAtBoundaryLarger(c.threshold);
        EXPECT_EQ(field.getStoredTileSize(), c.tiles);
        EXPECT_EQ(field.adjustCoarse_b3b(), c.tiles - 1);
        EXPECT_EQ(field.get(c.node), 2.0f);
    }
}

TEST(ScalarField3_SG, ParticleFieldsEqualDenseOnes)
{
    const Particles few = clouds(300, {6.0f, 2.0f, 1.5f}), many = clouds(40000, {6.0f, 2.0f, 1.5f});
    for (const uint32 edge : {8u, 2u, 33u})
        for (const uint32 threads : {1u, 3u})
        {
            Dense dense;
            Tiled tiled, once;
            dense.reset(131, 60, 37, 0.125);
            tiled.reset(131, 60, 37, 0.125, edge);
            tiled.set(77, 7, 7, 9);
            for (const auto& setter : particleSetters<float, double>())
            {
                if (setter.carves)
                {
                    for (uint32 m = 0; m < dense.size(); m += 211) dense.set(m, 0.5f), tiled.set(m, 0.5f);
                    dense.add(0.25f);
                    tiled.add(0.25f);
                }
                ASSERT_TRUE(setter.call(dense, few, 0.6f, threads, nullptr));
                ASSERT_TRUE(setter.call(tiled, few, 0.6f, threads, nullptr));
                ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << setter.name;
                once = tiled;
                if (!setter.carves) { EXPECT_EQ(once.adjustCoarse_b3b(), 0u); }
                if (edge != 8) continue;
                HostField<float, double> host;
                host.takeGrid(dense);
                host.copyScalars(dense);
                ASSERT_TRUE(setter.call(host, few, 0.6f, threads, nullptr));
                ASSERT_TRUE(setter.call(dense, few, 0.6f, threads, nullptr));
                ASSERT_TRUE(setter.call(tiled, few, 0.6f, threads, nullptr));
                ASSERT_EQ(host.computeSignature_v1(), dense.computeSignature_v1()) << setter.name;
                if (std::string_view(setter.name) != "distance" && !(setter.sums && setter.carves)) continue;
                // with loads that all workers share
                ASSERT_TRUE(setter.call(dense, many, 0.3f, threads, nullptr));
                ASSERT_TRUE(setter.call(tiled, many, 0.3f, threads, nullptr));
                ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << setter.name;
            }
        }
}

TEST(ScalarField3_SG, AMarginBelowZeroLeavesNothingOfAKernel)
{
    const Particles p = clouds(20, {1, 1, 1});
    Dense dense;
    Tiled tiled;
    dense.reset(30, 30, 30, 0.125);
    tiled.reset(30, 30, 30, 0.125);
    for (const float margin : {-0.3f, -0.32f, -0.4f, -2.0f, -1e30f, -INFINITY, NAN})
        for (Field* field : {static_cast<Field*>(&dense), static_cast<Field*>(&tiled)})
            for (const uint32 threads : {1u, 40u})
            {
                field->set(1.0f);
                EXPECT_TRUE(field->setSubtractiveDistanceField(p.positions, p.radii, margin, threads));
                EXPECT_TRUE(field->setSubtractiveMetaballField(p.positions, p.radii, margin, 30, threads));
                EXPECT_TRUE(field->setSubtractiveWeigthDistanceField(p.positions, p.radii, p.weights, margin,
                                                                     2.0f, threads));
                float min, max;
                field->findMinMax(min, max);
                if (margin <= -2) { EXPECT_EQ(min, 1.0f) << margin; }
                EXPECT_TRUE(field->setDistanceField(p.positions, p.radii, margin, threads));
            }
}

TEST(ScalarField3_SG, EveryPollCanCancelAsInDenseFields)
{
    const Particles small = clouds(200, {2, 2, 2});
    Particles large = small;  // each reaches all nodes, so that all workers splat a brick together
    large.radii = Array<float>(200, 5.0f);
    Dense dense;
    Tiled start;
    start.reset(60, 60, 60, 0.125);
    dense.reset(60, 60, 60, 0.125);
    for (Field* field : {static_cast<Field*>(&dense), static_cast<Field*>(&start)})
    {
        field->setDefaultValue(1);
        field->set(4, 4, 4, 5);
    }
    const Tiled startTiled = start;
    const Dense startDense = dense;
    for (const auto& setter : particleSetters<float, double>())
        for (const bool isLarge : {false, true})
        {
            if (isLarge && !std::string_view(setter.name).ends_with("distance")) continue;
            const Particles& p = isLarge ? large : small;
            for (const bool isTiled : {false, true})
            {
                Field& field = isTiled ? static_cast<Field&>(start) : dense;
                const auto restart = [&] { isTiled ? void(start = startTiled) : void(dense = startDense); };
                restart();
                polls = 0;
                ASSERT_TRUE(setter.call(field, p, 1.0f, 2, countUp));
                const int most = polls;
                ASSERT_GE(most, 2 + 3 * (isLarge && isTiled));
                for (int n = 0; n < most; n += 1 + most / 6)
                {
                    restart();
                    polls = n;
                    EXPECT_FALSE(setter.call(field, p, 1.0f, 2, countDown)) << setter.name;
                    float min, max;
                    field.findMinMax(min, max);
                    EXPECT_EQ(min, setter.carves ? 1.0f : 0.0f);
                    EXPECT_EQ(max, setter.carves ? 5.0f : 0.0f);
                    EXPECT_EQ(start.getStoredTileSize() * isTiled, isTiled && setter.carves ? 1u : 0u);
                }
            }
        }
}

TEST(ScalarField3_SG, EvaluationAndDerivativesEqualDenseOnes)
{
    const Particles particles = clouds(100, {1, 1, 1});
    Dense dense;
    Tiled tiled;
    dense.reset(40, 40, 40, 0.125);
    tiled.reset(40, 40, 40, 0.125);
    dense.setMetaballField(particles.positions, particles.radii, 0.6f, 30);
    tiled.copyScalars(dense);
    EXPECT_LT(tiled.getMemoryUsage(), dense.getMemoryUsage());
    std::mt19937 random(3);
    for (uint32 n = 0; n < 500; ++n)
    {
        const auto c = [&] { return (static_cast<double>(random() % 1001) / 1000 - 0.5) * 5; };
        const Vector3D point{c(), c(), c()};
        EXPECT_EQ(tiled.evalSafe(point), dense.evalSafe(point));
        if (dense.getBox().contains(point)) { EXPECT_EQ(tiled.get(point), dense.get(point)); }
        EXPECT_EQ(tiled.evalGradSafe(point, TX_FIELD_EVAL_SYMMETRIC),
                  dense.evalGradSafe(point, TX_FIELD_EVAL_SYMMETRIC));
    }
    Vector3Field3<float, double> ofDense, ofTiled;
    dense.gradient(ofDense);
    tiled.gradient(ofTiled, 2);
    EXPECT_EQ(ofTiled.refArrVectors(), ofDense.refArrVectors());
}
