#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileBufferOut.h>
#include <TestFolder.h>

using namespace tavrix;

static std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

/// Reads and seeks at random; a plain string and a position say what must come.
TEST(FileBufferIn, ReadsAndSeeksAsInAPlainFile)
{
    const test::TestFolder folder;
    const std::string bytes = pattern(300);
    const TX_String path = folder.write("f", bytes);
    std::mt19937 random(1);
    const auto below = [&](uint32 n) { return static_cast<int64>(random() % n); };
    for (const uint32 bufferSize : {1u, 4u, 64u, 300u, 512u})
    {
        FileBufferIn in;
        ASSERT_EQ(in.open(path, "rb", bufferSize), FileStatus::ok);
        ASSERT_EQ(in.size(), 300);
        int64 position = 0;
        FileStatus status = FileStatus::ok;
        for (int n = 0; n < 3000; ++n)
        {
            if (below(2) == 0)
            {
                const std::size_t asked = random() % 90;
                const std::string expected =
                    bytes.substr(static_cast<std::size_t>(std::min<int64>(position, 300)), asked);
                std::string got(90, '?');
                ASSERT_EQ(in.readBuffer(got.data(), asked), expected.size());
                ASSERT_EQ(got, expected + std::string(90 - expected.size(), '?')) << bufferSize << ' ' << n;
                position += static_cast<int64>(expected.size());
                if (expected.size() < asked && status == FileStatus::ok) status = FileStatus::endsTooEarly;
            }
            else
            {
                const int64 to = below(320) - (below(200) == 0 ? 400 : 0);
                const int origin = static_cast<int>(below(3));
                ASSERT_EQ(in.seek(to - (origin == 0 ? 0 : origin == 1 ? position : 300), origin), to >= 0);
                if (to >= 0) position = to;
                if (to < 0 && status == FileStatus::ok) status = FileStatus::failed;
            }
            ASSERT_EQ(in.tell(), position);
            ASSERT_EQ(in.remaining(), std::max<int64>(300 - position, 0));
            ASSERT_EQ(in.status(), status);
        }
    }
}

/// Writes and seeks at random, into a new file, one that is there, and behind the end of one.
TEST(FileBufferOut, WritesAndSeeksAsInAPlainFile)
{
    const test::TestFolder folder;
    std::mt19937 random(1);
    const auto below = [&](std::size_t n) { return random() % n; };
    for (const std::string mode : {"wb", "r+b", "ab"})
        for (const uint32 bufferSize : {1u, 16u, 256u})
        {
            std::string expected = mode == "wb" ? "" : "what was there";
            std::size_t position = mode == "ab" ? expected.size() : 0;
            FileBufferOut out;
            ASSERT_EQ(out.open(folder.write("f", "what was there"), mode.c_str(), bufferSize),
                      FileStatus::ok);
            for (int n = 0; n < 300; ++n)
            {
                ASSERT_EQ(out.tell(), static_cast<int64>(position)) << mode << ' ' << bufferSize << ' ' << n;
                if (below(3) > 0)
                {
                    const std::string bytes = pattern(below(40));
                    if (mode == "ab" && !bytes.empty()) position = expected.size();
                    if (position + bytes.size() > expected.size() && !bytes.empty())
                        expected.resize(position + bytes.size());
                    expected.replace(position, bytes.size(), bytes);
                    ASSERT_EQ(out.writeBuffer(bytes.data(), bytes.size()), bytes.size());
                    position += bytes.size();
                }
                else
                {
                    const std::size_t to = below(expected.size() + 5);
                    const int origin = static_cast<int>(below(3));
                    const std::size_t from = origin == 0 ? 0 : origin == 1 ? position : expected.size();
                    ASSERT_TRUE(out.seek(static_cast<int64>(to) - static_cast<int64>(from), origin));
                    position = to;
                }
            }
            ASSERT_EQ(out.close(), FileStatus::ok);
            ASSERT_EQ(folder.read("f"), expected) << mode << ' ' << bufferSize;
        }
}
