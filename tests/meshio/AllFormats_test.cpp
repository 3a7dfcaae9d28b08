#include <random>

#include <gtest/gtest.h>

#include <Bytes.h>
#include <mesh/TestMeshes.h>
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

/// A mesh of more text, records and facets than any buffer, block or window holds. Its numbers are single
/// precision and need no more than six decimals.
Mesh makeLarge()
{
    Mesh mesh;
    Array<Vector3F>& uv = mesh.addArray<Vector3F>("UV_MAP_0");
    Array<Vector3F>& velocity = mesh.addArray<Vector3F>("Velocity");
    std::mt19937 random(5);
    for (uint32 i = 0; i < 30'000; ++i)
    {
        const float n = static_cast<float>(i), x = n / 64;
        mesh.refPos().push_back({x, -x, 1.5});
        uv.push_back({x, 0.25f, 0});
        velocity.push_back({0, n, 1});
        if (i >= 2) mesh.refTrindexPos().push_back({i, i - 2, static_cast<uint32>(random()) % i});
    }
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
    Mesh mesh = test::makeCube();
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

TEST(RoundTrip, LargeMeshesComeBackFromEveryFormat)
{
    const test::TestFolder folder;
    const TX_String path = folder.file("f");
    const Mesh mesh = makeLarge();
    for (std::size_t format = 0; format < std::size(writers); ++format)
    {
        SCOPED_TRACE(format);
        ArrayOfPtr<Mesh> back;
        const int written = writers[format](path, mesh, nullptr);
        EXPECT_EQ(format == 0   ? bin.read(path, back)
                  : format == 1 ? obj.read(path, back)
                                : stl.read(path, back),
                  written);
        ASSERT_EQ(back.size(), 1u);
        ASSERT_EQ(back[0]->getFacesSize(), mesh.getFacesSize());
        std::size_t channels = 0;
        for (const char* channel : {"UV_MAP_0", "Velocity"})
        {
            const auto *sent = mesh.findArray<Vector3F>(channel),
                       *got = back[0]->findArray<Vector3F>(channel);
            channels += got != nullptr;
            for (uint32 n = 0; n < 3 * mesh.getFacesSize(); ++n)
            {
                const uint32 i = mesh.trindexPos()[n / 3][n % 3], j = back[0]->trindexPos()[n / 3][n % 3];
                ASSERT_EQ(back[0]->pos()[j], mesh.pos()[i]);
                if (got) { ASSERT_EQ((*got)[j], (*sent)[i]); }
            }
        }
        EXPECT_EQ(channels, format == 0 ? 2u : format == 1 ? 1u : 0u);
    }
}

TEST(MissingFiles, EveryParserTells)
{
    const test::TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    for (const auto& write : writers)
        EXPECT_EQ(write(folder.file("absent/f"), test::makeCube(), nullptr), meshFileCannotOpen);
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
    for (const auto& write : writers) EXPECT_EQ(write(full, test::makeCube(), nullptr), meshFileCannotWrite);
    std::FILE* file = openFile(full, "wb");
    FileStreamRaw stream(file);
    test::makeCube().saveBasic(stream);
    EXPECT_NE(std::fclose(file), 0);
    FileStreamRawBuffered buffered;
    ASSERT_EQ(buffered.openToWrite(full), FileStatus::ok);
    buffered.write("bytes", 5);
    EXPECT_EQ(buffered.close(), FileStatus::cannotWrite);
}
#endif
