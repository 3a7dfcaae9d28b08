#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/OpenFile.h>
#include <TestFolder.h>

using namespace tavrix;

TEST(ByteOrder, NumbersOnAStreamHaveTheStatedOrderAndComeBack)
{
    const test::TestFolder folder;
    // more than a block, and one that is not there and leaves its place as it was
    std::vector<double> numbers(1300);
    std::iota(numbers.begin(), numbers.end(), -2.0);
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
    {
        const uint32 word = 0x01020304;
        std::FILE* file = openFile(folder.file("f"), "wb");
        EXPECT_EQ(WriteUInt(&word, 1, file, order), 1u);
        EXPECT_EQ(WriteDouble(numbers.data(), 1300, file, order), 1300u);
        std::fputs("cut", file);
        std::fclose(file);
        const bool isLittle = order == ByteOrder::little;
        EXPECT_EQ(folder.read("f").substr(0, 4), isLittle ? "\4\3\2\1" : "\1\2\3\4");
        EXPECT_EQ(folder.read("f")[isLittle ? 11 : 4], '\xC0');

        uint32 wordBack = 0;
        std::vector<double> back(1301, 0.5), expected(numbers);
        expected.push_back(0.5);
        file = openFile(folder.file("f"), "rb");
        EXPECT_EQ(ReadUInt(&wordBack, 1, file, order), 1u);
        EXPECT_EQ(ReadDouble(back.data(), 1301, file, order), 1300u);
        std::fclose(file);
        EXPECT_EQ(wordBack, word);
        EXPECT_EQ(back, expected);
    }
}
