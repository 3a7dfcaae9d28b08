#include <gtest/gtest.h>

#include <Bytes.h>
#include <Polls.h>
#include <tavrix/tavrix.h>
#include <TestFolder.h>

using namespace tavrix;
using Encoding = MeshSTLFileParser::Encoding;

namespace
{

const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();

int (*const writers[])(const TX_String&, const Mesh&, CancelCallback) = {
    [](const TX_String& path, const Mesh& mesh, CancelCallback c) { return bin.write(path, mesh, c); },
    [](const TX_String& path, const Mesh& mesh, CancelCallback c) { return obj.write(path, mesh, c); },
    [](const TX_String& path, const Mesh& mesh, CancelCallback c)
    { return stl.write(path, mesh, Encoding::binary, c); },
    [](const TX_String& path, const Mesh& mesh, CancelCallback c)
    { return stl.write(path, mesh, Encoding::ascii, c); }};

Mesh makeCube()
{
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    return mesh;
}

}  // namespace

// What a fuzzer found: a grid of no nodes, of 3 billion planes.
TEST(DamagedFiles, AGridWithoutNodesTakesNoMemory)
{
    std::string bytes = test::bytesOf(0xBF000005u);
    bytes.resize(136);
    ImplicitSurface3Regular<float> surface;
    surface.getDefaultValue() = 3;
    FileRam ram(bytes.data(), bytes.size());
    surface.load_useRegularFormat(static_cast<FileStreamBase&>(ram));
    surface.redistance(3, 0.1f, 1);
    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    EXPECT_TRUE(hasValidIndices(mesh));
    EXPECT_LE(surface.getMemoryUsage(), 8 * bytes.size());
}

TEST(Polling, StopsEveryWriter)
{
    Mesh mesh = makeCube();
    mesh.addArray<Vector3F>("UV_MAP_0").assign(8, {0.5f, 0.25f, 0});
    mesh.addArray<Vector3F>("Velocity").assign(8, {1, 2, 3});
    for (uint32 n = 0; n < 16; ++n) mesh.addMesh(mesh);
    const test::TestFolder folder;
    int result = 0;
    for (const auto& write : writers)
        EXPECT_GT(test::stopAtPolls(
                      4, [&](CancelCallback c) { return (result = write(folder.file("f"), mesh, c)) >= 0; },
                      [&] { EXPECT_EQ(result, meshFileStopped); }),
                  20);
}

TEST(MissingFiles, EveryParserTells)
{
    const test::TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    for (const auto& write : writers)
        EXPECT_EQ(write(folder.file("absent/f"), makeCube(), nullptr), meshFileCannotOpen);
    EXPECT_EQ(bin.read(folder.file("absent"), meshes), meshFileCannotOpen);
    EXPECT_EQ(obj.read(folder.file("absent"), meshes), meshFileCannotOpen);
    EXPECT_EQ(MeshFileParser<MeshImporter>::instance().read_ASE(folder.file("absent"), meshes),
              meshFileCannotOpen);
    Encoding untouched{};
    EXPECT_EQ(MeshSTLFileParser::encodingBySize(folder.file("absent"), untouched), meshFileCannotOpen);
    testing::internal::CaptureStdout();
    EXPECT_EQ(stl.read(folder.file("absent"), meshes), meshFileCannotOpen);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Can\xB4t open: " + std::string(folder.file("absent").view()) + ". Exiting... \n");
    EXPECT_TRUE(meshes.empty());
}

#if defined(__linux__)
TEST(FullDisk, EveryWriterTells)
{
    const TX_String full("/dev/full");
    for (const auto& write : writers) EXPECT_EQ(write(full, makeCube(), nullptr), meshFileCannotWrite);
    std::FILE* file = openFile(full, "wb");
    FileStreamRaw stream(file);
    makeCube().saveBasic(stream);
    EXPECT_NE(std::fclose(file), 0);
    FileStreamRawBuffered buffered;
    ASSERT_EQ(buffered.openToWrite(full), FileStatus::ok);
    buffered.write("bytes", 5);
    EXPECT_EQ(buffered.close(), FileStatus::cannotWrite);
}
#endif
