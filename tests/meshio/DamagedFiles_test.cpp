#include <functional>

#include <gtest/gtest.h>

#include <Bytes.h>
#include <Polls.h>
#include <tavrix/tavrix.h>
#include <TestFolder.h>

namespace tavrix
{

using test::bytesOf;
using test::TestFolder;

namespace
{

/// Reads a level set, does with it what a host does, and returns the memory that it takes.
template <bool sparse>
std::size_t readSurface(const std::string& bytes)
{
    ImplicitSurface3Regular<float> surface;
    surface.getDefaultValue() = 3;
    FileRam ram(bytes.data(), bytes.size());
    FileStreamBase& stream = ram;
    sparse ? surface.load_useSparseFormat(stream) : surface.load_useRegularFormat(stream);
    surface.redistance(3, 0.1f, 1);
    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    EXPECT_TRUE(hasValidIndices(mesh));
    return surface.getMemoryUsage();
}

}  // namespace

// What fuzzers found, each in a file's first bytes, with zeros behind.
TEST(DamagedFiles, FoundByFuzzers)
{
    const struct
    {
        const char* fault;
        std::size_t (*read)(const std::string&);
        std::string start;
        std::size_t size;
    } finds[] = {{"a grid of no nodes, of 3 billion planes", readSurface<false>, bytesOf(0xBF000005u), 136}};
    for (const auto& find : finds)
    {
        std::string bytes = find.start;
        bytes.resize(find.size);
        EXPECT_LE(find.read(bytes), 8 * find.size) << find.fault;
    }
}

TEST(Polling, StopsEveryWriter)
{
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    mesh.addArray<Vector3F>("UV_MAP_0").assign(8, {0.5f, 0.25f, 0});
    mesh.addArray<Vector3F>("Velocity").assign(8, {1, 2, 3});
    for (uint32 n = 0; n < 16; ++n) mesh.addMesh(mesh);
    const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
    const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    const TestFolder folder;
    const TX_String path = folder.file("f");
    int result = 0;
    const std::function<int(CancelCallback)> writers[] = {
        [&](CancelCallback c) { return bin.write(path, mesh, c); },
        [&](CancelCallback c) { return obj.write(path, mesh, c); },
        [&](CancelCallback c) { return stl.write(path, mesh, MeshSTLFileParser::Encoding::binary, c); },
        [&](CancelCallback c) { return stl.write(path, mesh, MeshSTLFileParser::Encoding::ascii, c); }};
    for (const auto& write : writers)
        EXPECT_GT(test::stopAtPolls(
                      4, [&](CancelCallback c) { return (result = write(c)) >= 0; },
                      [&] { EXPECT_EQ(result, meshFileStopped); }),
                  20);
}

#if defined(__linux__)
TEST(FullDisk, EveryWriterTells)
{
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    const TX_String full("/dev/full");
    const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    EXPECT_EQ(MeshFileParser<Mesh_BIN_FileParser>::instance().write(full, mesh), meshFileCannotWrite);
    EXPECT_EQ(MeshFileParser<Mesh_OBJ_FileParser>::instance().write(full, mesh), meshFileCannotWrite);
    EXPECT_EQ(stl.write(full, mesh), meshFileCannotWrite);
    EXPECT_EQ(stl.write(full, mesh, MeshSTLFileParser::Encoding::ascii), meshFileCannotWrite);

    std::FILE* file = openFile(full, "wb");
    FileStreamRaw stream(file);
    mesh.saveBasic(stream);
    EXPECT_NE(std::fclose(file), 0);
    FileStreamRawBuffered buffered;
    ASSERT_EQ(buffered.openToWrite(full), FileStatus::ok);
    buffered.write("bytes", 5);
    EXPECT_EQ(buffered.close(), FileStatus::cannotWrite);
}
#endif

}  // namespace tavrix
