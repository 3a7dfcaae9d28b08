#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/OpenFile.h>
#include <TestFolder.h>

namespace tavrix
{

using test::TestFolder;

TEST(ByteOrder, NumbersOnAStreamHaveTheStatedOrder)
{
    const TestFolder folder;
    std::FILE* file = openFile(folder.file("f"), "wb");
    const uint32 number = 0x01020304;
    const double real = -2.0;
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
    {
        EXPECT_EQ(WriteUInt(&number, 1, file, order), 1u);
        EXPECT_EQ(WriteDouble(&real, 1, file, order), 1u);
    }
    std::fclose(file);
    EXPECT_EQ(folder.read("f"), std::string("\4\3\2\1\0\0\0\0\0\0\0\xC0\1\2\3\4\xC0\0\0\0\0\0\0\0", 24));
}

TEST(ByteOrder, LongRunsComeBackAndTheRestStaysUntouched)
{
    const TestFolder folder;
    constexpr uint32 count = 1300;
    std::vector<uint32> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0xFFFFFF00u);
    std::vector<double> reals(numbers.begin(), numbers.end());
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
    {
        std::FILE* file = openFile(folder.file("f"), "wb");
        EXPECT_EQ(WriteUInt(numbers.data(), count, file, order), count);
        EXPECT_EQ(WriteDouble(reals.data(), count, file, order), count);
        std::fputs("cut", file);
        std::fclose(file);

        file = openFile(folder.file("f"), "rb");
        std::vector<uint32> numbersBack(count);
        std::vector<double> realsBack(count + 1, 0.5);
        EXPECT_EQ(ReadUInt(numbersBack.data(), count, file, order), count);
        EXPECT_EQ(ReadDouble(realsBack.data(), count + 1, file, order), count);
        std::fclose(file);
        EXPECT_EQ(numbersBack, numbers);
        EXPECT_EQ(realsBack.back(), 0.5);
        realsBack.pop_back();
        EXPECT_EQ(realsBack, reals);
    }
}

}  // namespace tavrix
