#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/particles/ParticleSystem_v2.h>
#include <tavrix/particles/ParticleSystem_v3.h>

using namespace tavrix;

namespace
{

using Type = ParticleChannel_v2::Type;
constexpr uint32 chunkCapacity = ParticleSystemChunk_v2::capacity;

/// Calls use(make), where make(x) is a channel value of the type that is made from a number.
template <class Use>
void withMaker(Type type, const Use& use)
{
    switch (type)
    {
        case Type::FLOAT:
            return use([](float x) { return x; });
        case Type::BOOL:
            return use([](float x) { return std::fmod(x, 2.0f) == 1; });
        case Type::Color4F:
            return use([](float x) { return Color4F{x, 0, 0, 1}; });
        default:
            return use([](float x) { return Vector3F{x, 2 * x, -x}; });
    }
}

/// A container and, beside it, what it should hold: of every id a number a channel, from which the channel's
/// value is made.
class Twin
{
public:
    explicit Twin(uint32 seed, uint64 idRange) : _random(seed), _idRange(idRange)
    {
        _channels = {{0, Type::Vector3F}, {1, Type::Vector3F}};
    }

    ParticleSystem_v2& system() { return _system; }
    std::mt19937& random() { return _random; }
    uint32 pick(uint32 below) { return static_cast<uint32>(_random() % below); }
    float pickNumber() { return static_cast<float>(pick(60000)); }
    uint64 pickId() { return 1 + _random() % _idRange; }
    uint64 pickHeld()
    {
        const auto at = _model.lower_bound(pickId());
        return at == _model.end() ? pickId() : at->first;
    }

    void add(uint64 id)
    {
        if (!_model.contains(id)) fillNew(_system.addParticle(id), id);
    }
    void addNext() { fillNew(_system.addParticle(), _greatest + 1); }
    void remove(uint64 id) { ASSERT_EQ(_system.remove(id), _model.erase(id) == 1) << id; }
    void find(uint64 id)
    {
        const Particle_v2 particle = _system.find(id);
        ASSERT_EQ(!particle.isDirty(), _model.contains(id)) << id;
        if (!particle.isDirty()) expectPosition(particle);
    }
    void change(uint64 id)
    {
        const auto at = _model.find(id);
        if (at == _model.end()) return;
        for (auto& [channel, value] : at->second) write(_system.find(id), channel, value = pickNumber());
    }
    void addChannel()
    {
        constexpr Type types[] = {Type::FLOAT, Type::BOOL, Type::Color4F};
        const Type type = types[pick(3)];
        const uint32 id = _system.addChannel("channel " + std::to_string(_channelCount++), type);
        ASSERT_NE(id, noIndex);
        _channels[id] = type;
        for (auto& [particle, values] : _model) values[id] = 0;
    }
    void removeChannel()
    {
        if (_channels.size() <= 2) return;
        const uint32 id =
            std::next(_channels.begin(), 2 + pick(static_cast<uint32>(_channels.size()) - 2))->first;
        ASSERT_TRUE(_system.removeChannel(id));
        _channels.erase(id);
        for (auto& [particle, values] : _model) values.erase(id);
    }
    void compact()
    {
        const ParticleSystemRawIterationInfo_v2 counts = _system.begin_rawIteration();
        const ParticleChannelData_v2 positions = _system.getChannelData("position");
        ASSERT_EQ(counts.size(), _system.getChunksCount());
        Array<Vector3F> expected;
        ASSERT_TRUE(_system.copyChannelValues(0, expected));
        uint32 next = 0;
        for (uint32 k = 0; k < counts.size(); ++k)
            for (uint32 i = 0; i < counts[k]; ++i)
                ASSERT_EQ(positions[k]->getData()->getData_Vector3F()[i], expected[next++]);
        ASSERT_EQ(next, expected.size());
    }
    void clear()
    {
        _system.clear();
        _model.clear();
        _greatest = 0;
    }

    /// The container holds just what it should, whichever way it is asked, and its chunks are in order.
    void compare()
    {
        ASSERT_EQ(_system.getParticlesCount(), _model.size());
        ASSERT_EQ(_system.empty(), _model.empty());
        expectAll(_system);
        expectAll(_system.getParticlesArray());
        const Array<uint64> order = _system.getIds();
        ASSERT_TRUE(std::equal(_system.begin(), _system.end(), order.begin(),
                               [](const Particle_v2& p, uint64 id) { return p.getId() == id; }));
        for (const auto& [channel, type] : _channels)
            withMaker(type,
                      [&, id = channel](const auto& make)
                      {
                          Array<decltype(make(0))> values;
                          ASSERT_TRUE(_system.copyChannelValues(id, values));
                          for (uint32 i = 0; i < order.size(); ++i)
                              ASSERT_EQ(values[i], make(_model[order[i]].at(id))) << "channel " << id;
                      });
        for (const ParticleSystemChunk_v2& chunk : _system.getChunks()) expectInOrder(chunk);
    }

private:
    /// These are all particles, each once.
    template <class Particles>
    void expectAll(Particles& particles)
    {
        std::set<uint64> ids;
        uint32 count = 0;
        for (const Particle_v2 particle : particles)
        {
            ++count;
            ids.insert(particle.getId());
            expectPosition(particle);
        }
        ASSERT_EQ(count, _model.size());
        ASSERT_EQ(ids.size(), _model.size());
    }

    void fillNew(const Particle_v2& particle, uint64 id)
    {
        ASSERT_EQ(particle.getId(), id);
        _greatest = std::max(_greatest, id);
        auto& values = _model[id];
        for (const auto& [channel, type] : _channels) values[channel] = 0;
        expectPosition(particle);
        for (const uint32 channel : {0u, 1u}) write(particle, channel, values[channel] = pickNumber());
    }

    void write(const Particle_v2& particle, uint32 channel, float x)
    {
        withMaker(_channels.at(channel),
                  [&](const auto& make) { ASSERT_TRUE(particle.setChannelValue(channel, make(x))); });
    }

    void expectPosition(const Particle_v2& particle)
    {
        ASSERT_TRUE(_model.contains(particle.getId())) << particle.getId();
        const float x = _model[particle.getId()][0];
        ASSERT_EQ(particle.getPosition(), (Vector3F{x, 2 * x, -x})) << particle.getId();
    }

    static void expectInOrder(const ParticleSystemChunk_v2& chunk)
    {
        const Array<ParticleEntry>& entries = chunk.getEntries();
        ASSERT_LE(entries.size(), chunkCapacity);
        std::vector<bool> taken(chunkCapacity);
        uint32 live = 0;
        for (uint32 i = 0; i < entries.size(); ++i)
        {
            ASSERT_LT(entries[i].slot, entries.size());
            ASSERT_FALSE(taken[entries[i].slot]) << "slot " << entries[i].slot << " twice";
            taken[entries[i].slot] = true;
            live += !entries[i].released;
            const bool sorted = i == 0 || entries[i - 1].id <= entries[i].id;
            const bool inSlotOrder = entries[i].slot == i && entries[i].released == (i >= chunk.getSize());
            const bool inRange = chunk.getMinId() <= entries[i].id && entries[i].id <= chunk.getMaxId();
            ASSERT_TRUE(sorted || !chunk.isSortedById());
            ASSERT_TRUE(inSlotOrder || !chunk.isSlotOrdered());
            ASSERT_TRUE(inRange || entries[i].released);
        }
        ASSERT_EQ(live, chunk.getSize());
        ASSERT_GT(live, 0u);
        ASSERT_FALSE(chunk.isSortedById() && chunk.isSlotOrdered());
    }

    ParticleSystem_v2 _system;
    std::map<uint64, std::map<uint32, float>> _model;
    std::map<uint32, Type> _channels;
    std::mt19937 _random;
    uint64 _idRange;
    uint64 _greatest = 0;
    uint32 _channelCount = 0;
};

void doSomething(Twin& twin)
{
    void (*const steps[])(Twin&) = {[](Twin& t) { t.add(t.pickId()); },
                                    [](Twin& t) { t.addNext(); },
                                    [](Twin& t) { t.remove(t.pickHeld()); },
                                    [](Twin& t) { t.remove(t.pickId()); },
                                    [](Twin& t) { t.find(t.pickId()); },
                                    [](Twin& t) { t.change(t.pickHeld()); },
                                    [](Twin& t) { t.compact(); },
                                    [](Twin& t) { t.addChannel(); },
                                    [](Twin& t) { t.removeChannel(); },
                                    [](Twin& t) { t.clear(); }};
    std::discrete_distribution<std::size_t> choice{300, 100, 300, 50, 100, 80, 50, 8, 10, 2};
    steps[choice(twin.random())](twin);
}

}  // namespace

TEST(ParticleSystem_v2, HoldsWhatAMapHoldsAfterEveryStep)
{
    for (uint32 seed = 0; seed < 40; ++seed)
    {
        Twin twin(seed, seed % 2 ? 40 : 400);
        for (uint32 step = 0; step < 700; ++step)
        {
            doSomething(twin);
            twin.compare();
            if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << step;
        }
    }
}

TEST(ParticleSystem_v2, HoldsWhatAMapHoldsInSeveralChunks)
{
    Twin twin(1, 3 * chunkCapacity);
    const auto remove = [&twin](uint32 begin, uint32 end, uint32 step)
    {
        for (uint64 id = begin; id < end; id += step) twin.remove(id);
    };
    for (uint64 id = 2 * chunkCapacity + 5; id >= 1; --id) twin.add(id);
    twin.compare();
    ASSERT_EQ(twin.system().getChunksCount(), 3u);
    remove(100, chunkCapacity, 1);  // the middle chunk, but for a few
    twin.compact();
    twin.compare();
    for (uint32 i = 0; i < 3000; ++i) doSomething(twin);
    twin.compare();
    remove(1, chunkCapacity, 2);
    for (uint64 id = chunkCapacity; id >= 1; --id) twin.add(id);
    twin.find(chunkCapacity / 2);
    twin.compare();
    remove(1, 4 * chunkCapacity, 1);
    twin.compare();
    for (uint32 i = 0; i < chunkCapacity + 1; ++i) twin.addNext();
    twin.compare();
}

TEST(ParticleSystem_v2, FillsChunksAndReusesReleasedEntries)
{
    ParticleSystem_v2 system;
    for (uint32 i = 0; i < chunkCapacity; ++i) system.addParticle();
    system.addParticle();
    EXPECT_EQ(system.getChunkSize(0), chunkCapacity);
    EXPECT_EQ(system.getChunkSize(2), 0u);
    testing::internal::CaptureStdout();
    system.print();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "------------------------------------------------------\nNumber of chunks: 2\n"
              "Number of chunks with free entries: 1\nNumber of particles: 16385\n"
              "------------------------------------------------------\n");

    EXPECT_FALSE(system.getChunks().tail()->value->isSortedById());
    EXPECT_EQ(system.find(7).getId(), 7u);
    EXPECT_FALSE(system.getChunks().tail()->value->isSortedById()) << "sorted for an id out of its range";
    EXPECT_TRUE(system.remove(7));
    EXPECT_EQ(system.addParticle().getSlot(), 6u) << "the released entry of the first chunk";
    for (const uint64 id : {9000u, 10u})
    {
        EXPECT_TRUE(system.remove(id));
        EXPECT_EQ(system.addParticle(id).getSlot(), id - 1)
            << "the only released entry, which comes before the last";
    }
}

TEST(ParticleSystem_v2, ChannelsKeepTheirIdsAndDefaults)
{
    ParticleSystem_v2 system;
    EXPECT_EQ(system.getChannelId("position"), 0u);
    EXPECT_EQ(system.getChannel(1)->getName(), "velocity");
    EXPECT_FALSE(ParticleSystem_v2::invalidChannel_.isValid());
    for (const uint32 none : {0u, 13u}) EXPECT_EQ(system.addChannel("none", Type{none}), noIndex);
    const Particle_v2 before = system.addParticle();
    EXPECT_EQ(system.addChannel("position", Type::FLOAT), noIndex);
    EXPECT_EQ(system.addChannel("tint", Type::Color4F), 3u) << "the refused name consumed 2";
    EXPECT_EQ(system.getChannels().size(), 4u) << "and its record stays";
    EXPECT_EQ(system.getChannel("none"), nullptr);

    EXPECT_EQ(before.getChannelValue_Color4F(3), (Color4F{0, 0, 0, 1}));
    EXPECT_EQ(before.getChannelType(3), Type::Color4F);
    EXPECT_FALSE(before.getChannelValue_FLOAT(3, TX_SAFE{})) << "another type";
    EXPECT_FALSE(before.getChannelValue_FLOAT(2, TX_SAFE{})) << "a channel without values";
    EXPECT_FALSE(Particle_v2::dirty().getChannelValue_Vector3F(0, TX_SAFE{}));
    EXPECT_TRUE(before.isValidChannel(2));
    EXPECT_FALSE(before.isValidChannel(4));
    EXPECT_FALSE(before.setChannelValue(3, 1.0f));

    const ParticleChannel_v2* record = system.getChannel("tint");
    ASSERT_TRUE(system.removeChannel("tint"));
    EXPECT_FALSE(system.removeChannel("tint"));
    EXPECT_FALSE(system.removeChannel(3));
    EXPECT_EQ(record->getName(), "tint") << "records outlive their removal";
    EXPECT_FALSE(before.getChannelValue_Color4F(3, TX_SAFE{}));
    EXPECT_EQ(system.getChannelData("tint")[0], nullptr);
    ASSERT_TRUE(system.removeChannel("position"));
    EXPECT_EQ(system.update_bbox(), Box3F::empty());
    EXPECT_FALSE(system.addParticle().setChannelValue(0, Vector3F{1, 2, 3}));
}

TEST(ParticleSystem_v2, EveryTypeHasItsAccessorsAndTag)
{
    ParticleSystem_v2 system;
    const Particle_v2 particle = system.addParticle();
#define TX_CHECK(T, suffix, tag, ...)                                                    \
    {                                                                                    \
        const T value __VA_ARGS__;                                                       \
        const uint32 id = system.addChannel(#suffix, Type::suffix);                      \
        EXPECT_EQ(ParticleChannel_v2::getType(metaClass_##tag), Type::suffix);           \
        EXPECT_EQ(system.getChannelData(id)[0]->getData()->getType(), Type::suffix);     \
        EXPECT_TRUE(particle.setChannelValue(id, value)) << #suffix;                     \
        EXPECT_EQ(particle.getChannelValue_##suffix(id), value);                         \
        EXPECT_EQ(particle.getChannelValue_##suffix(id, TX_SAFE{}), Optional<T>(value)); \
    }
    TX_CHECK(Vector3F, Vector3F, Vector3F, {1, 2, 3});
    TX_CHECK(Vector3D, Vector3D, Vector3D, {1, 2, 3});
    TX_CHECK(Vector2F, Vector2F, Vector2F, {1, 2});
    TX_CHECK(uint64, UINT64, TX_UINT64, {~uint64{0}});
    TX_CHECK(uint16, UINT16, TX_UINT16, {65535});
    TX_CHECK(uint8, UINT8, TX_UINT8, {255});
    TX_CHECK(int32, INT32, TX_INT32, {-5});
    TX_CHECK(bool, BOOL, TX_BOOL, {true});
    TX_CHECK(float, FLOAT, TX_FLOAT, {0.5f});
    TX_CHECK(double, DOUBLE, TX_DOUBLE, {0.1});
    TX_CHECK(Color4F, Color4F, Color4F, {1, 2, 3, 4});
    TX_CHECK(uint32, UINT32, TX_UINT32, {~0u});
#undef TX_CHECK
    EXPECT_EQ(ParticleChannel_v2::getType(metaClass_BlockDesc), Type{});
}

TEST(ParticleSystem_v2, FindsTheLiveOneOfEqualIds)
{
    ParticleSystem_v2 system;
    for (const uint64 id : {3u, 5u, 5u, 9u}) system.addParticle(id);
    EXPECT_TRUE(system.remove(3));
    EXPECT_TRUE(system.remove(5));
    EXPECT_TRUE(system.remove(9));
    EXPECT_EQ(system.find(5).getId(), 5u) << "the second one, beside a released entry of that id";
    system.addParticle(9);
    EXPECT_EQ(system.find(9).getId(), 9u) << "beside its own released entry";
    EXPECT_TRUE(system.remove(9));
    EXPECT_FALSE(system.remove(9));
    EXPECT_EQ(system.getParticlesCount(), 1u);
    EXPECT_EQ(system.addParticle().getId(), 10u) << "removal does not lower the greatest id";

    system.addParticle(~uint64{0});
    for (const uint64 id : {0u, 1u, 2u}) EXPECT_EQ(system.addParticle().getId(), id) << "after the last id";
}

TEST(ParticleSystem_v2, IterationEndsAtAChunkOfOneEntry)
{
    ParticleSystem_v2 system, other;
    system.clear();
    for (uint32 i = 0; i < chunkCapacity; ++i) system.addParticle();
    other.clear();
    system.addParticle();  // into a second chunk of id 0
    for (uint64 id = 1; id <= chunkCapacity; ++id) system.remove(id);
    system.addParticle();  // the first chunk took the entry of that id with it, so this opens another one
    ASSERT_EQ(system.getChunksCount(), 2u);
    EXPECT_EQ(std::distance(system.begin(), system.end()), 1);
    EXPECT_EQ(system.getParticlesArray().size(), 2u) << "all are handed out nevertheless";
    EXPECT_EQ(system.find(chunkCapacity + 2).getId(), chunkCapacity + 2);
}

TEST(ParticleSystem_v2, StaleHandlesAndIteratorsStaySafe)
{
    ParticleSystem_v2 system;
    for (uint32 i = 0; i < 3; ++i) system.addParticle();
    const Particle_v2 handle = system.find(1);
    ParticleSystemIterator_v2 iterator = system.begin();
    for (uint64 id = 1; id <= 3; ++id) system.remove(id);
    ASSERT_EQ(system.getChunksCount(), 0u);
    EXPECT_FALSE(handle.getChannelValue_Vector3F(0, TX_SAFE{}));
    handle.setAllChannels_toDefaultValues();
    EXPECT_TRUE((*iterator).isDirty());
    EXPECT_TRUE(++iterator == system.end());
    EXPECT_TRUE(system.begin() == system.end());

    for (uint32 i = 0; i < 4; ++i) system.addParticle(i);
    const Array<Particle_v2>& handles = system.getParticlesArray();
    system.remove(0);
    system.begin_rawIteration();
    system.find(3).setPosition({3, 0, 0});
    ASSERT_EQ(system.getParticlesArray().size(), 3u);
    for (const Particle_v2& particle : handles)
        EXPECT_EQ(particle.getPosition().x, particle.getId() == 3 ? 3.0f : 0.0f) << "outdated by compaction";
}

TEST(ParticleSystem_v2, CopiesAreTheSameParticlesWhicheverGoesFirst)
{
    auto first = std::make_unique<ParticleSystem_v2>();
    for (uint32 i = 0; i < 10; ++i) first->addParticle();
    ASSERT_EQ(first->getParticlesArray().size(), 10u);
    ParticleSystem_v2 second(*first), third;
    second.find(3).setPosition({1, 2, 3});
    for (uint64 id = 4; id <= 10; ++id) first->remove(id);
    EXPECT_EQ(second.getParticlesArray().size(), 3u);
    EXPECT_EQ(second.addChannel("heat", Type::FLOAT), 2u);
    EXPECT_EQ(first->find(3).getPosition(), (Vector3F{1, 2, 3}));
    EXPECT_EQ(first->find(3).getChannelValue_FLOAT(2), 0.0f);
    third.addParticle(77);
    third = *first;
    third = *&third;
    first.reset();
    EXPECT_EQ(third.find(3).getPosition(), (Vector3F{1, 2, 3}));
    EXPECT_TRUE(third.find(77).isDirty());
    second.clear();
    EXPECT_TRUE(third.empty());
    EXPECT_EQ(third.getParticlesArray().size(), 0u);
}

TEST(ParticleSystem_v2, Measures)
{
    ParticleSystem_v2 system;
    float min = 0, max = 0;
    EXPECT_EQ(system.update_bbox(), Box3F::empty());
    system.compute_min_max_speed(min, max);
    EXPECT_EQ(min, farValue);
    EXPECT_EQ(max, -farValue);
    EXPECT_EQ(system.computeSignature_v1(), 0);

    system.addParticle().setPosition({3, 4, 0});
    system.find(1).setVelocity({0, 0.25f, 0});
    system.addParticle(4).setPosition({-1, 0, 0});
    EXPECT_EQ(system.update_bbox(), (Box3F{{-1, 0, 0}, {3, 4, 0}}));
    system.compute_min_max_positionModule(min, max);
    EXPECT_EQ(min, 1.0f);
    EXPECT_EQ(max, 5.0f);
    EXPECT_EQ(system.computeSignature_v1(), std::bit_cast<uint32>(7.25f / 2 - 1.0f / 5));
    system.scaleParticlePositionsAndVelocities(2);
    system.scaleParticleVelocities(2);
    EXPECT_EQ(system.find(1).getPosition(), (Vector3F{6, 8, 0}));
    EXPECT_EQ(system.find(1).getVelocity(), (Vector3F{0, 1, 0}));
    EXPECT_EQ(system.getBbox(), (Box3F{{-1, 0, 0}, {3, 4, 0}})) << "as it was";

    system.getParticlesArray();
    system.addChannel("flag", Type::BOOL);
    EXPECT_EQ(system.getMemoryUsage(), chunkCapacity * (sizeof(ParticleEntry) + 2 * sizeof(Vector3F) + 1) +
                                           12 + 2 * sizeof(Particle_v2));
}

TEST(ParticleSystem_v2, SignatureSeesEveryNumberAndNoOrder)
{
    constexpr uint32 count = chunkCapacity + 100;
    ParticleSystem_v2 forwards, backwards;
    const auto fill = [](const Particle_v2& particle)
    {
        const float x = static_cast<float>(particle.getId());
        particle.setPosition({x, 1, 0});
        particle.setVelocity({0, x, 2});
    };
    for (uint32 i = 0; i < count; ++i) fill(forwards.addParticle(i));
    backwards.addParticle(count);
    for (uint32 i = count; i-- > 0;) fill(backwards.addParticle(i));
    EXPECT_NE(forwards.computeSignature_v3(), backwards.computeSignature_v3()) << "one particle more";
    backwards.remove(count);
    backwards.begin_rawIteration();
    EXPECT_EQ(forwards.computeSignature_v3(), backwards.computeSignature_v3());

    std::set<int64> signatures{backwards.computeSignature_v3()};
    for (const uint32 channel : {0u, 1u})
        for (const uint32 axis : {0u, 1u, 2u})
        {
            Vector3F v = backwards.find(5000).getChannelValue_Vector3F(channel);
            v[axis] = std::bit_cast<float>(std::bit_cast<uint32>(v[axis]) ^ 1);
            backwards.find(5000).setChannelValue(channel, v);
            EXPECT_TRUE(signatures.insert(backwards.computeSignature_v3()).second) << channel << axis;
        }
    backwards.remove(5000);
    fill(backwards.addParticle(uint64{5000} << 32));
    EXPECT_TRUE(signatures.insert(backwards.computeSignature_v3()).second) << "another id";
}

TEST(ParticleSystem_v2, ExchangesParticlesWithTheFileSystemOfArrays)
{
    ParticleSystem_v3 source, result;
    source.setArrId({7, -2, 5});
    source.setArrPosition({{1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
    source.setArrVelocity({{0, 1, 0}, {0, 2, 0}});
    ParticleSystem_v2 system;
    system.addParticles(source);
    EXPECT_EQ(system.find(static_cast<uint64>(int64{-2})).getPosition().x, 2.0f);
    system.copyTo(result);
    EXPECT_EQ(result.getArrId(), (Array<int64>{5, 7, -2})) << "sorted by the lookup";
    EXPECT_EQ(result.getArrPosition()[2], (Vector3F{2, 0, 0}));
    EXPECT_EQ(result.getArrVelocity()[0], (Vector3F{0, 0, 0}));

    Array<float> heat;
    EXPECT_FALSE(system.copyChannelValues(0, heat));
    const uint32 channel = system.addChannel("heat", Type::FLOAT);
    EXPECT_FALSE(system.setChannelValues(channel, Array<float>{1, 2}));
    ASSERT_TRUE(system.setChannelValues(channel, Array<float>{1, 2, 3}));
    EXPECT_EQ(system.find(7).getChannelValue_FLOAT(channel), 2.0f);
    ASSERT_TRUE(system.copyChannelValues(channel, heat));
    EXPECT_EQ(heat, (Array<float>{1, 2, 3}));
}

TEST(ParticleSystem_v2, ReordersValuesByAnyRemap)
{
    ParticleChannelChunkDataModel_v2<float> values(6, 0.0f);
    const auto expect = [&values](std::vector<uint16> remap, std::vector<float> expected)
    {
        for (uint32 i = 0; i < 6; ++i) values.getData_FLOAT()[i] = static_cast<float>(i);
        values.reorder(remap);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), values.getData_FLOAT()));
    };
    expect({0, 5, 2, 4}, {0, 5, 2, 4, 4, 5});
    expect({1, 2, 0, 0, 3}, {1, 2, 0, 0, 3, 5});
    expect({}, {0, 1, 2, 3, 4, 5});
}
