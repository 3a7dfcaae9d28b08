#include <tavrix/fields/ScalarField3_SG.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <vector>

#include <Polls.h>
#include <tavrix/fields/detail/TileTable.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/platform/Hardware.h>
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
    void set(uint32 monoindex, Value value) override
    {
        _samples[monoindex] = value;
        this->_flags |= Base::flagChanged;
    }
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

/// A tiled and a dense field of one size, and both as what they have in common.
struct Pair
{
    Dense dense;
    Tiled tiled;
    Field* both[2] = {&dense, &tiled};

    Pair(const Pair&) = delete;
    explicit Pair(uint32 size)
    {
        for (Field* field : both) field->reset_XYZ(size, size, size, 0.125);
    }
};

template <class T>
class EveryTiledField : public testing::Test
{
};
using Instantiations =
    testing::Types<std::pair<float, double>, std::pair<double, float>, std::pair<uint8, float>,
                   std::pair<int32, double>, std::pair<uint64, float>>;
TYPED_TEST_SUITE(EveryTiledField, Instantiations);

}  // namespace

TYPED_TEST(EveryTiledField, EveryOperationAgreesWithADenseField)
{
    using Value = typename TypeParam::first_type;
    using Coord = typename TypeParam::second_type;
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
        Base* const fields[] = {&tiled, &dense, &host};
        const Base* const others[] = {&other, &otherDense, &otherTiles, &dense};
        uint32 m = 0, tile = 0;
        Value v = 0;
        Index3 n;
        const auto all = [&](auto change)
        {
            for (Base* field : fields)
            {
                field->refFlags() = 0;
                change(*field);
                EXPECT_EQ(field->getFlags(), Base::flagChanged);
            }
        };
        // with the dense field, which may be the other one, at last
        const auto with = [&](auto change)
        {
            for (Base* field : {fields[0], fields[2], fields[1]}) EXPECT_TRUE(change(*field, *others[m % 4]));
        };
        const auto expectHeld = [&](const Base& f, Value now) { EXPECT_EQ(f.get(m), now); };
        const std::function<void()> changes[] = {
            [&] { tiled.createTile(tile); },
            [&] { tiled.refTile_alloc(tile); },
            [&] { tiled.adjustCoarse_b3b(); },
            [&] { tiled.createNeighborTiles_ifValuesAtBoundaryLarger(v); },
            [&] { tiled.copyScalars(dense); },
            [&] { otherTiles.copyScalars(tiled); },
            [&] { other = tiled, otherDense = dense; },
            [&] { all([&](Base& f) { m % 4 ? f.set(m, v) : f.setDefaultValue(v); }); },
            [&] { all([&](Base& f) { f.add(v); }); },
            [&] { all([&](Base& f) { expectHeld(f, f.inc(n.a, n.b, n.c)); }); },
            [&] { all([&](Base& f) { expectHeld(f, f.dec(n.a, n.b, n.c)); }); },
            [&] { all([&](Base& f) { f.multiply(Value(-0.7)); }); },
            [&] { all([&](Base& f) { f.abs(); }); },
            [&] { all([&](Base& f) { f.add(m, v); }); },
            [&] { all([&](Base& f) { f.add(n.a, n.b, n.c, v); }); },
            [&]
            {
                const Vector3<Coord> point = dense.getPoint(n) * Coord(0.9);
                all([&](Base& f) { f.addValueToBoxContainingPoint(point, v); });
            },
            [&] { with([](Base& f, const Base& o) { return f.add(o, Value(0.3)); }); },
            [&] { with([](Base& f, const Base& o) { return f.sub(o); }); },
            [&] { with([](Base& f, const Base& o) { return f.interpolate(o, f, 0.25); }); },
            [&]
            {
                if constexpr (std::is_floating_point_v<Value>)
                {
                    const Value diffusion = Value(0.1) / static_cast<Value>(dense.size());
                    const auto diffuse = [&](auto& f, auto mode)
                    { f.diffuse_dissipate(1, diffusion, Value(0.01), 1 + m % 4, mode, -50, 50); };
                    diffuse(tiled, Base::TX_FIELD_DIFFUSE_IMPLICIT);  // changes nothing
                    diffuse(tiled, Base::TX_FIELD_DIFFUSE_EXPLICIT);
                    diffuse(dense, Base::TX_FIELD_DIFFUSE_EXPLICIT);
                    host.copyScalars(dense);
                }
            },
        };
        for (uint32 step = 0; step < 500; ++step)
        {
            m = static_cast<uint32>(random() % tiled.size());
            v = static_cast<Value>(random() % 7);
            n = tiled.getIndexes(m);
            tile = static_cast<uint32>(random() % tiled.getTileSize());
            if (random() % 4 != 0) changes[random() % std::size(changes)]();
            for (uint32 near = m; near < std::min(m + 5, tiled.size()); ++near)
                all([&](Base& f) { f.set(near, v); });
            if (step % 8 != 0) continue;
            ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << "step " << step;
            ASSERT_EQ(host.computeSignature_v1(), dense.computeSignature_v1()) << "step " << step;
            ASSERT_EQ(tiled.computeSignature_v2(), dense.computeSignature_v2()) << "step " << step;
        }
        for (m = 0; m < tiled.size(); m += 11) EXPECT_EQ(tiled.get(m), dense.get(m));
        std::array<Value, 3> expected, found;
        dense.findMinMaxAvg(expected[0], expected[1], expected[2]);
        for (Base* field : fields)
        {
            field->findMinMaxAvg(found[0], found[1], found[2]);
            EXPECT_EQ(found, expected);
            EXPECT_FALSE(field->doIHave_NaN());
            if constexpr (!std::is_floating_point_v<Value>) continue;
            field->set(3, 4, 5, std::numeric_limits<Value>::infinity());
            EXPECT_TRUE(field->doIHave_NaN());
        }
    }
}

TEST(ScalarField3_SG, FieldsOfOtherSizesAreLeftAlone)
{
    Pair one(4), larger(40);
    HostField<float, double> host;
    host.takeGrid(one.dense);
    for (Field* field : {one.both[0], one.both[1], static_cast<Field*>(&host)})
        for (Field* other : larger.both)
            for (const auto& [to, from] : {std::pair(field, other), std::pair(other, field)})
            {
                from->set(7.0f);
                to->set(3.0f);
                to->refFlags() = 0;
                EXPECT_FALSE(to->add(*from, 2) || to->sub(*from) || to->copyScalars(*from));
                EXPECT_FALSE(to->interpolate(*from, *to, 0.5) || to->interpolate(*to, *from, 0.5));
                to->moveTo({1, 2, 3});
                float min, max;
                to->findMinMax(min, max);
                EXPECT_EQ(min + max, 6.0f);
                EXPECT_EQ(to->getFlags(), 0u);
            }
}

TEST(ScalarField3_SG, WritesMakeTheTilesThatHoldTheNode)
{
    for (const auto& [node, tiles] :
         {std::pair(Index3{0, 0, 0}, 1u), {{6, 6, 6}, 1}, {{7, 0, 0}, 2}, {{7, 7, 3}, 4}, {{7, 7, 7}, 8}})
        for (const bool adding : {false, true})
        {
            Pair pair(10);
            for (Field* field : pair.both)
            {
                field->setDefaultValue(2);
                adding ? field->add(node.a, node.b, node.c, 3) : field->set(node, 5);
            }
            EXPECT_EQ(pair.tiled.getTileSize(), 8u);
            EXPECT_EQ(pair.tiled.getStoredTileSize(), tiles);
            expectSameSamples(pair.tiled, pair.dense);
            const Index3 tile = pair.tiled.getTileIndexes(pair.tiled.getPoint(node));
            EXPECT_EQ(pair.tiled.getTileMonoindex(node.a, node.b, node.c, INDEXES_GLOBAL_SPACE),
                      pair.tiled.getTileMonoindex(tile, INDEXES_TILE_SPACE));
        }
}

TEST(ScalarField3_SG, SizesAreCheckedBeforeAnythingChanges)
{
    Tiled field;
    field.reset(10, 15, 7, 0.5, 8);
    EXPECT_EQ((Index3{field.getTileSizeX(), field.getTileSizeY(), field.getTileSizeZ()}), (Index3{2, 3, 1}));
    EXPECT_EQ(field.getTileGrid().tiles.box.max, (Vector3D{1.75, 3.5, 0}));
    field.moveTo({1, 2, 3});
    EXPECT_EQ(field.getTileGrid().tiles.box.center(), (Vector3D{1, 2, 3}));
    field.set(9, 14, 6, 4);
    const uint64 bytes = field.getMemoryUsage();
    EXPECT_GE(bytes, 512 * sizeof(float) + 6 * sizeof(uint32));
    EXPECT_THROW(field.reset(4, 4, 4, 1.0, 1626), std::length_error);
    EXPECT_THROW(field.reset(65536, 65536, 1, 1.0, 8), std::length_error);
    const double available = Hardware::getMemoryInfo().available;
    const bool isTooLarge = available > 0 && available < 15 * 1024;  // for a table of 16 GiB
    if (isTooLarge) { EXPECT_THROW(field.reset(65535, 65536, 1, 1.0, 2), std::length_error); }
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

TEST(ScalarField3_SG, ATableThatDoesNotFitIsRefusedInWords)
{
    for (const double enough : {4096.0, 0.0}) EXPECT_NO_THROW(detail::requireTableFits(1 << 30, enough));
    try
    {
        detail::requireTableFits(1 << 30, 1700);
        ADD_FAILURE();
    }
    catch (const std::length_error& error)
    {
        EXPECT_STREQ(error.what(),
                     "tavrix::ScalarField3_SG: the table of 1073741824 tiles takes 4.0 GiB, and "
                     "1.7 GiB of memory are available; a larger tile edge makes fewer tiles");
    }
}

TEST(ScalarField3_SG, NeighboursAreMadeWhereAFeatureMayGrow)
{
    for (const auto& [node, threshold, tiles] : {std::tuple(Index3{10, 10, 10}, 1.0f, 1u),
                                                 {{13, 10, 10}, 1, 2},
                                                 {{13, 13, 10}, 1, 3},
                                                 {{13, 10, 10}, 2, 1},
                                                 {{6, 3, 3}, 1, 2},
                                                 {{20, 20, 20}, 1, 1}})
    {
        Tiled field;
        field.reset(21, 21, 21, 1.0);
        field.set(node, 2);
        field.createNeighborTiles_ifValuesAtBoundaryLarger(threshold);
        EXPECT_EQ(field.getStoredTileSize(), tiles);
        EXPECT_EQ(field.adjustCoarse_b3b(), tiles - 1);
        EXPECT_EQ(field.get(node), 2.0f);
    }
}

TEST(ScalarField3_SG, DiffusionEqualsADenseFieldsAndMakesTheTilesThatItReaches)
{
    const auto diffuse = [](auto& field, uint32 threads)
    {
        const float diffusion = 0.1f / static_cast<float>(field.size());
        field.diffuse_dissipate(1, diffusion, 0.02f, threads, Field::TX_FIELD_DIFFUSE_EXPLICIT, -9, 6);
    };
    for (const uint32 edge : {8u, 2u, 5u})
        for (const uint32 threads : {1u, 3u})
        {
            Dense dense;
            Tiled tiled;
            dense.reset(61, 47, 38, 0.125);
            tiled.reset(61, 47, 38, 0.125, edge);
            for (Field* field : {static_cast<Field*>(&dense), static_cast<Field*>(&tiled)})
            {
                field->setDefaultValue(-1.7f);
                for (const Index3& node :
                     {Index3{0, 0, 0}, Index3{60, 46, 37}, Index3{60, 20, 0}, Index3{7, 7, 7},
                      Index3{13, 14, 20}, Index3{28, 31, 17}, Index3{29, 32, 17}})
                    field->set(node, 8.0f);
            }
            for (uint32 step = 0; step < 4; ++step)
            {
                diffuse(dense, threads);
                diffuse(tiled, threads);
                ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << edge << ", step " << step;
                ASSERT_EQ(tiled.computeSignature_v2(), dense.computeSignature_v2());
            }
            EXPECT_EQ(tiled.getDefaultValue(), dense.get(45, 5, 30));
            EXPECT_LT(tiled.getStoredTileSize(), tiled.getTileSize() / 4);
        }
    Tiled field;
    field.reset(61, 47, 38, 0.125);
    field.set(10, 10, 10, 1.0f);  // in the middle of its tile, three nodes from its border
    for (const uint32 tiles : {1u, 1u, 4u, 7u})
    {
        diffuse(field, 2);
        EXPECT_EQ(field.getStoredTileSize(), tiles);
    }
}

TEST(ScalarField3_SG, ParticleFieldsEqualDenseOnes)
{
    const Particles few = clouds(300, {6.0f, 2.0f, 1.5f}), many = clouds(40000, {6.0f, 2.0f, 1.5f});
    for (const uint32 edge : {8u, 2u, 33u})
        for (const uint32 threads : {1u, 3u})
        {
            Dense dense;
            Tiled tiled;
            HostField<float, double> host;
            dense.reset(131, 60, 37, 0.125);
            tiled.reset(131, 60, 37, 0.125, edge);
            tiled.set(77, 7, 7, 9);
            host.takeGrid(dense);
            for (const auto& setter : particleSetters<float, double>())
            {
                const auto expectEqual = [&](const Particles& p, float margin)
                {
                    ASSERT_TRUE(setter.call(dense, p, margin, threads, nullptr));
                    ASSERT_TRUE(setter.call(tiled, p, margin, threads, nullptr));
                    ASSERT_NO_FATAL_FAILURE(expectSameSamples(tiled, dense)) << setter.name;
                };
                if (setter.carves)
                {
                    for (uint32 m = 0; m < dense.size(); m += 211) dense.set(m, 0.5f), tiled.set(m, 0.5f);
                    dense.add(0.25f);
                    tiled.add(0.25f);
                }
                host.copyScalars(dense);
                ASSERT_NO_FATAL_FAILURE(expectEqual(few, 0.6f));
                if (!setter.carves) { EXPECT_EQ(Tiled(tiled).adjustCoarse_b3b(), 0u); }
                if (edge != 8) continue;
                ASSERT_TRUE(setter.call(host, few, 0.6f, threads, nullptr));
                ASSERT_EQ(host.computeSignature_v1(), dense.computeSignature_v1()) << setter.name;
                // with loads that all workers share
                const bool isOne =
                    std::string_view(setter.name) == "distance" || (setter.sums && setter.carves);
                if (isOne) { ASSERT_NO_FATAL_FAILURE(expectEqual(many, 0.3f)); }
            }
        }
}

TEST(ScalarField3_SG, AMarginBelowZeroLeavesNothingOfAKernel)
{
    const Particles p = clouds(20, {1, 1, 1});
    Pair pair(30);
    for (const float margin : {-0.3f, -0.32f, -2.0f, -1e30f, -INFINITY, NAN})
        for (Field* field : pair.both)
            for (const uint32 threads : {1u, 40u})
                for (const auto& setter : particleSetters<float, double>())
                {
                    field->set(1.0f);
                    EXPECT_TRUE(setter.call(*field, p, margin, threads, nullptr));
                    float min, max;
                    field->findMinMax(min, max);
                    if (setter.carves && margin <= -2) { EXPECT_EQ(min, 1.0f) << margin; }
                }
}

TEST(ScalarField3_SG, EveryPollCanCancelAsInDenseFields)
{
    const Particles small = clouds(200, {2, 2, 2});
    Particles large = small;  // each reaches all nodes, so that all workers splat a brick together
    large.radii = Array<float>(200, 5.0f);
    Pair start(60);
    for (Field* field : start.both)
    {
        field->setDefaultValue(1);
        field->set(4, 4, 4, 5);
    }
    for (const auto& setter : particleSetters<float, double>())
        for (const bool isLarge : {false, true})
        {
            const Particles& p = isLarge ? large : small;
            if (isLarge && !std::string_view(setter.name).ends_with("distance")) continue;
            for (const bool isTiled : {false, true})
            {
                Pair fields(60);
                Field& field = *fields.both[isTiled];
                const auto set = [&](CancelCallback callback)
                {
                    fields.tiled = start.tiled;
                    fields.dense = start.dense;
                    return setter.call(field, p, 1.0f, 2, callback);
                };
                const auto isLeft = [&]
                {
                    float min, max;
                    field.findMinMax(min, max);
                    EXPECT_EQ(min, setter.carves ? 1.0f : 0.0f) << setter.name;
                    EXPECT_EQ(max, setter.carves ? 5.0f : 0.0f) << setter.name;
                    EXPECT_EQ(fields.tiled.getStoredTileSize(), isTiled && !setter.carves ? 0u : 1u);
                };
                EXPECT_GE(test::stopAtPolls(6, set, isLeft), 2 + 3 * (isLarge && isTiled));
            }
        }
}

TEST(ScalarField3_SG, EvaluationAndDerivativesEqualDenseOnes)
{
    const Particles particles = clouds(100, {1, 1, 1});
    Pair pair(40);
    auto& [dense, tiled, both] = pair;
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
