#include <gtest/gtest.h>

#include <tavrix/foundation/FileRam.h>
#include <tavrix/foundation/FileStreamEndian.h>
#include <tavrix/foundation/FileStreamRaw.h>
#include <tavrix/foundation/FileStreamRawBuffered.h>
#include <tavrix/platform/OpenFile.h>
#include <TestFolder.h>

using namespace tavrix;

namespace
{

const std::string text = "the bytes of a stream";

void writeInParts(FileStreamBase& stream)
{
    EXPECT_EQ(stream.write(text.data(), 9).movedBytes(), 9u);
    EXPECT_EQ(stream.write(text.data(), 0).movedBytes(), 0u);
    EXPECT_EQ(stream.write(text.data() + 9, static_cast<uint32>(text.size()) - 9).movedBytes(), 12u);
}

/// Reads beyond the end: what is not there is not touched, and the stream says how much there was.
void expectText(FileStreamBase& stream)
{
    std::string got(30, '?');
    ASSERT_EQ(stream.remaining(), 21);
    EXPECT_EQ(stream.read(got.data(), 4).movedBytes(), 4u);
    ASSERT_EQ(stream.remaining(), 17);
    EXPECT_EQ(stream.read(got.data() + 4, 20).movedBytes(), 17u);
    EXPECT_EQ(got, text + "?????????");
    EXPECT_EQ(stream.remaining(), 0);
    EXPECT_EQ(stream.read(got.data(), 1).movedBytes(), 0u);
}

}  // namespace

TEST(FileStream, EveryKindMovesTheSameBytes)
{
    const test::TestFolder folder;
    for (const bool endian : {false, true})
        for (const bool writes : {true, false})
        {
            std::FILE* file = openFile(folder.file("f"), writes ? "wb" : "rb");
            FileStreamRaw raw(file);
            FileStreamEndian swapped(file, ByteOrder::big);
            (writes ? writeInParts : expectText)(endian ? static_cast<FileStreamBase&>(swapped) : raw);
            std::fclose(file);
            EXPECT_EQ(folder.read("f"), text);
        }

    FileStreamRawBuffered out, in;
    ASSERT_EQ(out.openToWrite(folder.file("b"), 8), FileStatus::ok);
    writeInParts(out);
    EXPECT_EQ(out.close(), FileStatus::ok);
    EXPECT_EQ(folder.read("b"), text);
    ASSERT_EQ(in.openToRead(folder.file("b"), 8), FileStatus::ok);
    expectText(in);
    EXPECT_EQ(in.close(), FileStatus::endsTooEarly);
}

TEST(FileRam, GrowsAndRewinds)
{
    FileRam ram;
    for (uint32 i = 0; i < 100'000; ++i) ram.write(&i, 4);
    uint32 number = 7;
    ram.read(&number, 4);
    ram.read(&number, 4);
    EXPECT_EQ(number, 1u);
    ram.write("tail", 4);  // appends wherever the next read begins
    EXPECT_EQ(ram.remaining(), 399'996);
    ram.rewind();
    ram.read(&number, 4);
    EXPECT_EQ(number, 0u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(ram.data()) + 400'000, 4), "tail");

    FileRam copy(text.data(), text.size());
    expectText(copy);
    copy.clear();
    EXPECT_EQ(copy.remaining(), 0);
}
