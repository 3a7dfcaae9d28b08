#include <array>
#include <limits>
#include <string>

#if defined(__linux__)
#include <sys/stat.h>
#include <thread>
#endif

#include <gtest/gtest.h>

#include <Bytes.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <TestFolder.h>

namespace tavrix
{

using test::bytesOf;
using test::TestFolder;

namespace
{

/// A header as the format has it, and the byte that fills what is ignored.
std::string header(int16 version, uint32 count, char ignored = '\xEE')
{
    return bytesOf(uint32{0x00FABADA}) + std::string(250, ignored) + bytesOf(version) +
           std::string(20, ignored) + bytesOf(count) + std::string(4 + 36, ignored) +
           std::string(version >= 7 ? 36 : 0, ignored);
}

std::size_t ignoredSize(int16 version)
{
    return 12u + (version >= 9 ? 12u : 0u) + (version >= 3 ? 12u : 0u) + (version >= 4 ? 4u : 0u) +
           (version >= 5 ? 14u : 0u) + 28u;
}

ParticleSystem_v3 makeParticles(uint32 count)
{
    Array<int64> ids(count);
    Array<Vector3F> positions(count), velocities(count);
    for (uint32 i = 0; i < count; ++i)
    {
        const auto x = static_cast<float>(i);
        ids[i] = i == 0 ? -1 : int64{i} * 7 + 1;
        positions[i] = {x, -1.5f, 0.25f * x};
        velocities[i] = {0.125f, x + 0.5f, -3.0f};
    }
    ParticleSystem_v3 particles;
    particles.setArrId(ids);
    particles.setArrPosition(positions);
    particles.setArrVelocity(velocities);
    return particles;
}

bool holdsFirst(const ParticleSystem_v3& particles, uint32 count)
{
    const ParticleSystem_v3 expected = makeParticles(count);
    return particles.getArrId() == expected.getArrId() &&
           particles.getArrPosition() == expected.getArrPosition() &&
           particles.getArrVelocity() == expected.getArrVelocity();
}

std::string records(int16 version, uint32 count, char ignored = '\xEE')
{
    const ParticleSystem_v3 particles = makeParticles(count);
    std::string bytes;
    for (uint32 i = 0; i < count; ++i)
        bytes += bytesOf(particles.getArrPosition()[i]) + bytesOf(particles.getArrVelocity()[i]) +
                 std::string(ignoredSize(version), ignored) +
                 bytesOf(static_cast<int32>(particles.getArrId()[i]));
    return bytes;
}

}  // namespace

// 20,000 particles fill more than two blocks of every record size.
TEST(ParticleSystem_v3, ReadsAndWritesEveryVersion)
{
    const TestFolder folder;
    constexpr uint32 count = 20'000;
    constexpr int16 versions[] = {-1, 2, 3, 4, 5, 6, 7, 8, 9, 32767};
    for (const int16 version : versions)
    {
        ParticleSystem_v3 particles;
        folder.write("in", header(version, count) + records(version, count));
        ASSERT_EQ(particles.load_BIN(folder.file("in")), static_cast<int>(count));
        ASSERT_TRUE(holdsFirst(particles, count)) << version;
        ASSERT_EQ(particles.save_BIN(folder.file("out"), version), 0);
        const std::string expected = header(version, count, '\0') + records(version, count, '\0');
        ASSERT_TRUE(folder.read("out") == expected) << version;
    }
}

TEST(ParticleSystem_v3, TruncatedFilesGiveTheirCompleteRecords)
{
    const TestFolder folder;
    for (const int16 version : {int16{4}, int16{9}})
    {
        const std::string start = header(version, 3);
        const std::string file = start + records(version, 3);
        const std::size_t stride = (file.size() - start.size()) / 3;
        for (std::size_t size = 0; size < file.size(); ++size)
        {
            ParticleSystem_v3 particles = makeParticles(2);
            const int result = particles.load_BIN(folder.write("f", file.substr(0, size)));
            if (size < 4)
            {
                ASSERT_EQ(result, -2);
                ASSERT_TRUE(holdsFirst(particles, 2));
                continue;
            }
            const auto complete =
                size < start.size() ? 0u : static_cast<uint32>((size - start.size()) / stride);
            ASSERT_EQ(result, static_cast<int>(complete)) << size;
            ASSERT_TRUE(holdsFirst(particles, complete));
        }
    }
}

TEST(ParticleSystem_v3, ReadsAnyRunOfTheRecords)
{
    const TestFolder folder;
    constexpr uint32 count = 9000;
    const ParticleSystem_v3 all = makeParticles(count);
    // the last record is cut
    folder.write("in", header(9, count + 1) + records(9, count) + "a bit of one");
    ParticleSystem_v3 particles;
    for (const auto& [first, wanted, read] : {std::array{0u, 0u, 0u},
                                              {0u, 1u, 1u},
                                              {1u, 8000u, 8000u},
                                              {8990u, 100u, 10u},
                                              {9001u, 5u, 0u},
                                              {~0u, ~0u, 0u}})
    {
        ASSERT_EQ(particles.load_BIN(folder.file("in"), first, wanted), static_cast<int>(read));
        for (uint32 n = 0; n < read; ++n)
        {
            ASSERT_EQ(particles.getArrPosition()[n], all.getArrPosition()[first + n]);
            ASSERT_EQ(particles.getArrVelocity()[n], all.getArrVelocity()[first + n]);
            ASSERT_EQ(particles.getArrId()[n], all.getArrId()[first + n]);
        }
    }
}

TEST(ParticleSystem_v3, WhatIsNoParticleFileLeavesTheParticles)
{
    const TestFolder folder;
    ParticleSystem_v3 particles = makeParticles(4);
    std::string wrong = header(6, 1) + records(6, 1);
    wrong[3] = '\1';
    EXPECT_EQ(particles.load_BIN(folder.write("wrong", wrong)), -2);
    EXPECT_EQ(particles.load_BIN(folder.file("absent")), -1);
    EXPECT_EQ(particles.load_BIN(folder.path()), -1);
    EXPECT_TRUE(holdsFirst(particles, 4));
    EXPECT_EQ(particles.load_BIN(folder.write("none", header(9, 0))), 0);
    EXPECT_TRUE(holdsFirst(particles, 0));
}

TEST(ParticleSystem_v3, SavesWhatItHas)
{
    const TestFolder folder;
    ParticleSystem_v3 particles;
    particles.setArrPosition(Array<Vector3F>(2, Vector3F{1, 2, 3}));
    particles.setArrVelocity({{4, 5, 6}});
    ASSERT_EQ(particles.save_BIN(folder.file("f"), 5), 0);
    ParticleSystem_v3 back;
    ASSERT_EQ(back.load_BIN(folder.file("f")), 2);
    EXPECT_EQ(back.getArrVelocity(), (Array<Vector3F>{{4, 5, 6}, {0, 0, 0}}));
    EXPECT_EQ(back.getArrId(), (Array<int64>{0, 1}));

    particles.setArrId({int64{std::numeric_limits<int32>::max()} + 1});
    EXPECT_EQ(particles.save_BIN(folder.file("g"), 5), -4);
    EXPECT_EQ(back.load_BIN(folder.file("g")), -1);
    EXPECT_EQ(back.save_BIN(folder.file("absent/f")), -1);
}

#if defined(__linux__)
TEST(ParticleSystem_v3, DevicesAreReadAndWrittenWithinReason)
{
    EXPECT_EQ(makeParticles(3).save_BIN("/dev/full"), -3);
    ParticleSystem_v3 particles;
    EXPECT_EQ(particles.load_BIN("/dev/zero"), -2);
}

// A pipe does not tell how much will come, and its header may lie.
TEST(ParticleSystem_v3, ReadsAPipeToItsEnd)
{
    const TestFolder folder;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    constexpr uint32 count = 20'000;
    std::thread writer([&] { folder.write("pipe", header(9, 0xFFFFFFFF) + records(9, count)); });
    ParticleSystem_v3 particles;
    EXPECT_EQ(particles.load_BIN(folder.file("pipe")), static_cast<int>(count));
    writer.join();
    EXPECT_TRUE(holdsFirst(particles, count));
    EXPECT_LT(particles.getArrId().capacity(), 2 * count);
}
#endif

TEST(ParticleSystem_v3, ReadsRealFiles)
{
    const std::string data = test::testData();
    if (data.empty()) GTEST_SKIP() << "TAVRIX_TEST_DATA names no folder";
    for (const auto& [name, count] : {std::pair("dam_break_24389_v9.bin", 24389),
                                      {"double_dam_break_4732_v6.bin", 4732},
                                      {"hilbert_46843_v4.bin", 46843}})
    {
        ParticleSystem_v3 particles;
        ASSERT_EQ(particles.load_BIN(data + "/particles/" + name), count);
        for (const Vector3F& p : particles.getArrPosition()) ASSERT_LT(length(p), 100.0f) << name;
    }
}

}  // namespace tavrix
