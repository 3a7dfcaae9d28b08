#include <gtest/gtest.h>

#include <Bytes.h>
#include <tavrix/foundation/FileRam.h>
#include <tavrix/foundation/FileStreamEndian.h>
#include <tavrix/foundation/FileStreamRaw.h>
#include <tavrix/platform/OpenFile.h>
#include <TestFolder.h>

#include "TestMeshes.h"

using namespace tavrix;
using test::bytesOf;
using test::TestFolder;

namespace
{

/// One face with other contents in every array, and a box that its positions do not have.
Mesh makeSmallMesh()
{
    Mesh mesh = test::makeMesh({{1, 2, 3}, {4, 5, 6}, {7, 8, 9.5}}, {{2, 0, 1}});
    mesh.getBox();
    mesh.setName("tri");
    mesh.setId(77);
    mesh.refTrindexNor() = {{1, 0, 1}};
    mesh.refNor() = {{0, 0, 1}, {0, -1, 0}};
    mesh.refFaceNor() = {{0.5f, 0.25f, -1, 3}};
    mesh.refTrindexFacedge() = {{IndexFacedge::none(), IndexFacedge::of(2, 1), IndexFacedge::none()}};
    return mesh;
}

/// The record of that mesh, with its single numbers as `number` writes them.
template <class Number>
std::string smallRecord(const Number& number)
{
    const auto count = [&](uint32 n) { return number(n); };
    std::string box;
    for (const double d : {1.0, 2.0, 3.0, 7.0, 8.0, 9.5}) box += number(d);
    return count(1) + count(4) + std::string("tri\0", 4) + box + count(77) +  //
           count(1) + bytesOf<uint32>({2, 0, 1}) +                            //
           count(3) + bytesOf<double>({1, 2, 3, 4, 5, 6, 7, 8, 9.5}) +        //
           count(1) + bytesOf<uint32>({1, 0, 1}) +                            //
           count(2) + bytesOf<float>({0, 0, 1, 0, -1, 0}) +                   //
           count(1) + bytesOf<float>({0.5f, 0.25f, -1, 3}) +                  //
           count(1) + bytesOf<uint32>({0xFFFFFFFF, 2 * 4 + 1, 0xFFFFFFFF});
}

std::string bytesIn(const FileRam& ram) { return {reinterpret_cast<const char*>(ram.data()), ram.size()}; }

std::string recordOf(const Mesh& mesh)
{
    FileRam ram;
    mesh.saveBasic(ram);
    return bytesIn(ram);
}

/// Calls use(stream) with a stream of the kind over the file.
template <class Stream, class Use, class... Arguments>
void withFile(const TX_String& path, const char* mode, const Use& use, Arguments... arguments)
{
    std::FILE* file = openFile(path, mode);
    ASSERT_NE(file, nullptr);
    Stream stream(file, arguments...);
    use(stream);
    EXPECT_EQ(std::fclose(file), 0);
}

}  // namespace

// Two records in a row, as they stand in a larger file: byte by byte, and back into a mesh that held
// something else.
TEST(Mesh_record, HasItsLayoutOnEveryStream)
{
    const TestFolder folder;
    const Mesh mesh = makeSmallMesh();
    const std::string plain = smallRecord([](auto number) { return bytesOf(number); });
    const std::string bigEndian = smallRecord([](auto number) { return test::reversedBytesOf(number); });
    const auto saveTwice = [&](auto& stream)
    {
        mesh.saveBasic(stream);
        mesh.saveBasic(stream);
    };
    const auto loadTwice = [&](auto& stream)
    {
        Mesh back = test::makeTetrahedron();
        for (int i = 0; i < 2; ++i)
        {
            back.addArray<float>("extra");
            back.loadBasic(stream);
            EXPECT_EQ(recordOf(back), plain);
            EXPECT_TRUE(back.findArray("extra").isNone());
        }
    };
    withFile<FileStreamRaw>(folder.file("raw"), "wb", saveTwice);
    EXPECT_EQ(folder.read("raw"), plain + plain);
    withFile<FileStreamRaw>(folder.file("raw"), "rb", loadTwice);
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
    {
        withFile<FileStreamEndian>(folder.file("endian"), "wb", saveTwice, order);
        const std::string& expected = order == machineByteOrder ? plain : bigEndian;
        EXPECT_EQ(folder.read("endian"), expected + expected);
        withFile<FileStreamEndian>(folder.file("endian"), "rb", loadTwice, order);
    }
    FileRam ram;
    saveTwice(ram);
    EXPECT_EQ(bytesIn(ram), plain + plain);
    loadTwice(ram);
}

TEST(Mesh_record, OfAnEmptyMeshHas93Bytes)
{
    FileRam ram;
    Mesh().saveBasic(ram);
    EXPECT_EQ(ram.size(), 93u);
    Mesh back = makeSmallMesh();
    back.loadBasic(ram);
    EXPECT_EQ(recordOf(back), recordOf(Mesh()));
    EXPECT_EQ(back.pos().capacity(), 0u);
    FileStreamEndian nothing(nullptr);
    makeSmallMesh().saveBasic(nothing);
    back = makeSmallMesh();
    back.loadBasic(nothing);
    EXPECT_TRUE(back.isEmpty() && back.getName() == TX_String("Nameless"));
}

// The box-valid bit of the record makes its box count; without it the box is computed.
TEST(Mesh_record, TheStoredBoxCountsWhenItIsValid)
{
    Mesh mesh = makeSmallMesh();
    const Box3D before = mesh.getBox();
    mesh.refPos()[0] = {-100, 0, 0};
    FileRam ram;
    mesh.saveBasic(ram);
    mesh.invalidateBox();
    mesh.saveBasic(ram);
    Mesh back;
    back.loadBasic(ram);
    EXPECT_EQ(back.getBox(), before);
    back.loadBasic(ram);
    EXPECT_EQ(back.getBox().min, (Vector3D{-100, 0, 0}));
}

TEST(Mesh_record, TheNameEndsAtItsFirstZero)
{
    const std::pair<std::string, const char*> rows[] = {{std::string("abc\0", 4), "abc"},
                                                        {std::string("abc\0\0xy\0", 8), "abc"},
                                                        {"abc", "abc"},
                                                        {std::string("\0", 1), ""},
                                                        {"", ""}};
    const std::string whole = smallRecord([](auto number) { return bytesOf(number); });
    for (const auto& [stored, name] : rows)
    {
        const std::string record =
            whole.substr(0, 4) + bytesOf(static_cast<uint32>(stored.size())) + stored + whole.substr(12);
        FileRam ram(record.data(), record.size());
        Mesh back;
        back.loadBasic(ram);
        EXPECT_EQ(back.getName(), TX_String(name));
        EXPECT_EQ(back.pos(), makeSmallMesh().pos());
    }
}
