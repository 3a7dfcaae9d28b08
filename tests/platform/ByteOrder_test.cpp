#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/OpenFile.h>
#include <TestFolder.h>

namespace tavrix
{

using test::TestFolder;

TEST(ByteOrder, NumbersOnAStreamHaveTheStatedOrderAndComeBack)
{
    const TestFolder folder;
    constexpr uint32 count = 1300;
    std::vector<uint32> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0xFFFFFF00u);
    numbers[0] = 0x01020304;
    std::vector<double> reals(numbers.begin(), numbers.end());
    reals[0] = -2.0;
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
    {
        std::FILE* file = openFile(folder.file("f"), "wb");
        EXPECT_EQ(WriteUInt(numbers.data(), count, file, order), count);
        EXPECT_EQ(WriteDouble(reals.data(), count, file, order), count);
        std::fputs("cut", file);
        std::fclose(file);
        const bool isLittle = order == ByteOrder::little;
        EXPECT_EQ(folder.read("f").substr(0, 4), isLittle ? "\4\3\2\1" : "\1\2\3\4");
        EXPECT_EQ(folder.read("f")[4 * count + (isLittle ? 7 : 0)], '\xC0');

        file = openFile(folder.file("f"), "rb");
        std::vector<uint32> numbersBack(count);
        std::vector<double> realsBack(count + 1, 0.5);
        EXPECT_EQ(ReadUInt(numbersBack.data(), count, file, order), count);
        EXPECT_EQ(ReadDouble(realsBack.data(), count + 1, file, order), count);
        std::fclose(file);
        EXPECT_EQ(numbersBack, numbers);
        EXPECT_EQ(realsBack.back(), 0.5) << "what is not there leaves its place as it was";
        realsBack.pop_back();
        EXPECT_EQ(realsBack, reals);
    }
}

}  // namespace tavrix
