#include <functional>

#include <gtest/gtest.h>

#include <DamagedFiles.h>
#include <Polls.h>
#include <tavrix/tavrix.h>
#include <TestFolder.h>

namespace tavrix
{

using test::bytesOf;
using test::SmallFile;
using test::TestFolder;

namespace
{

template <class T>
std::size_t held(const Array<T>* array)
{
    return array ? std::size_t{array->capacity()} * sizeof(T) : 0;
}

/// The bytes that the arrays of a mesh take.
std::size_t memoryOf(const Mesh& mesh)
{
    return held(&mesh.pos()) + held(&mesh.nor()) + held(&mesh.faceNor()) + held(&mesh.trindexPos()) +
           held(&mesh.trindexNor()) + held(&mesh.trindexFacedge()) +
           held(mesh.findArray<Vector3F>("UV_MAP_0")) + held(mesh.findArray<float>("Weights")) +
           held(mesh.findArray<Vector3F>("Velocity"));
}

std::size_t memoryOf(const ArrayOfPtr<Mesh>& meshes)
{
    std::size_t sum = 0;
    for (Mesh* mesh : meshes)
    {
        sum += memoryOf(*mesh);
        mesh->confirmNormalsCalculated();
        EXPECT_TRUE(hasValidIndices(*mesh));
    }
    return sum;
}

template <class Stream>
std::size_t readRecord(const TX_String& path)
{
    std::FILE* file = openFile(path, "rb");
    Stream stream(file);
    Mesh mesh;
    mesh.loadBasic(stream);
    std::fclose(file);
    return memoryOf(mesh);
}

std::size_t readRecordFromMemory(const TX_String& path)
{
    FileBufferIn file;
    file.open(path);
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    file.readBuffer(bytes.data(), bytes.size());
    FileRam ram(bytes.data(), bytes.size());
    Mesh mesh;
    mesh.loadBasic(ram);
    return memoryOf(mesh);
}

template <class Parser>
std::size_t readMesh(const TX_String& path)
{
    ArrayOfPtr<Mesh> meshes;
    MeshFileParser<Parser>::instance().read(path, meshes);
    return memoryOf(meshes);
}

template <MeshSTLFileParser::Encoding encoding>
std::size_t readStl(const TX_String& path)
{
    ArrayOfPtr<Mesh> meshes;
    MeshFileParser<MeshSTLFileParser>::instance().read(path, meshes, encoding);
    return memoryOf(meshes);
}

std::size_t readParticles(const TX_String& path)
{
    ParticleSystem_v3 particles;
    particles.load_BIN(path);
    return held(&particles.getArrId()) + held(&particles.getArrPosition()) +
           held(&particles.getArrVelocity());
}

template <class Stream>
std::size_t readSurface(Stream& stream, bool sparse)
{
    ImplicitSurface3Regular<float> surface;
    surface.getDefaultValue() = 3;
    if (sparse)
        surface.load_useSparseFormat(stream);
    else
        surface.load_useRegularFormat(stream);
    EXPECT_LE(surface.getNumberOfSurfaceCells(), surface.getArraySize());
    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    EXPECT_TRUE(hasValidIndices(mesh));
    return surface.getMemoryUsage();
}

template <bool sparse>
std::size_t readSurfaceRaw(const TX_String& path)
{
    std::FILE* file = openFile(path, "rb");
    FileStreamRaw stream(file);
    const std::size_t memory = readSurface<FileStreamBase>(stream, sparse);
    std::fclose(file);
    return memory;
}

template <bool sparse>
std::size_t readSurfaceBuffered(const TX_String& path)
{
    FileStreamRawBuffered stream;
    EXPECT_EQ(stream.openToRead(path), FileStatus::ok);
    return readSurface<FileStreamBaseBuffered>(stream, sparse);
}

/// A level set of 5 x 4 x 3 nodes, of which two samples are below the default value.
SmallFile surfaceFile(bool sparse)
{
    ImplicitSurface3Regular<float> surface;
    surface.reset(5, 4, 3, 0.5);
    surface.getDefaultValue() = 3;
    surface.refField().set(3.0f);
    surface.set(22u, -1.0f);
    surface.set(23u, 1.0f);
    surface.setSurfaceTrue(33);
    FileRam ram;
    if (sparse)
        surface.save_useSparseFormat(ram);
    else
        surface.save_useRegularFormat(ram);
    const std::size_t second = sparse ? 124 + 4 + 2 * 8 : 124 + 4 + 60 * 4;
    return {{reinterpret_cast<const char*>(ram.data()), ram.size()}, 128, {0, 4, 8, 12, 16, 124, second}};
}

Mesh makeMesh()
{
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 2, 3}});
    mesh.createSafe_arrTrindexFacedge();
    mesh.addArray<Vector3F>("UV_MAP_0").assign(8, {0.5f, 0.25f, 0});
    mesh.addArray<Vector3F>("Velocity").assign(8, {1, 2, 3});
    return mesh;
}

SmallFile recordFile(const Mesh& mesh)
{
    FileRam ram;
    mesh.saveBasic(ram);
    const std::size_t faces = 4 + 4 + 9 + 48 + 4;
    const std::size_t pos = faces + 4 + 12 * 12;
    const std::size_t triples = pos + 4 + 8 * 24;
    const std::size_t nor = triples + 4 + 12 * 12;
    const std::size_t faceNor = nor + 4 + 8 * 12;
    return {{reinterpret_cast<const char*>(ram.data()), ram.size()},
            faces + 4,
            {4, faces, pos, triples, nor, faceNor, faceNor + 4 + 12 * 16}};
}

/// A file as one of the writers makes it, given by its path.
SmallFile written(std::size_t headerSize, std::vector<std::size_t> counts,
                  const std::function<int(const TX_String&)>& write)
{
    const TestFolder folder;
    EXPECT_GE(write(folder.file("f")), 0);
    return {folder.read("f"), headerSize, std::move(counts)};
}

int writeParticles(const TX_String& path)
{
    ParticleSystem_v3 particles;
    particles.setArrPosition(Array<Vector3F>(3, {1, 2, 3}));
    return particles.save_BIN(path);
}

}  // namespace

// No reader leaves its bounds (the sanitizers watch), makes a mesh with indices that it lacks, or takes more
// memory than a small multiple of what the file holds.
TEST(DamagedFiles, AreReadWithinReason)
{
    const Mesh mesh = makeMesh();
    const SmallFile record = recordFile(mesh);
    const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
    const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    const std::size_t binFaces = 16 + 8 * 12;
    const std::size_t binTextures = binFaces + 4 + 12 * 12;
    const SmallFile binFile = written(120, {4, 12, binFaces, binFaces + 4, binTextures + 4},
                                      [&](const TX_String& path) { return bin.write(path, mesh); });
    const SmallFile stlFile = written(90, {80}, [&](const TX_String& path) { return stl.write(path, mesh); });
    const SmallFile stlText = written(200, {},
                                      [&](const TX_String& path)
                                      { return stl.write(path, mesh, MeshSTLFileParser::Encoding::ascii); });
    const struct
    {
        const char* name;
        SmallFile file;
        std::size_t (*read)(const TX_String&);
        std::size_t least;  ///< memory that the whole file's contents take
    } readers[] = {{"record, raw", record, readRecord<FileStreamRaw>, 800},
                   {"record, endian", record, readRecord<FileStreamEndian>, 800},
                   {"record, memory", record, readRecordFromMemory, 800},
                   {"BIN", binFile, readMesh<Mesh_BIN_FileParser>, 800},
                   {"STL", stlFile, readMesh<MeshSTLFileParser>, 1296},
                   {"binary STL", stlFile, readStl<MeshSTLFileParser::Encoding::binary>, 1296},
                   {"text STL", stlText, readMesh<MeshSTLFileParser>, 1296},
                   {"text STL read as binary", stlText, readStl<MeshSTLFileParser::Encoding::binary>, 108},
                   {"binary STL read as text", stlFile, readStl<MeshSTLFileParser::Encoding::ascii>, 0},
                   {"OBJ", written(200, {}, [&](const TX_String& path) { return obj.write(path, mesh); }),
                    readMesh<Mesh_OBJ_FileParser>, 800},
                   {"level set, raw", surfaceFile(false), readSurfaceRaw<false>, 240},
                   {"level set, buffered", surfaceFile(false), readSurfaceBuffered<false>, 240},
                   {"sparse level set, raw", surfaceFile(true), readSurfaceRaw<true>, 240},
                   {"sparse level set, buffered", surfaceFile(true), readSurfaceBuffered<true>, 240},
                   {"particles", written(356, {276}, writeParticles), readParticles, 96}};
    const TestFolder folder;
    for (const auto& reader : readers)
    {
        const std::size_t whole = reader.read(folder.write("whole", reader.file.bytes));
        EXPECT_GE(whole, reader.least) << reader.name;
        test::forEachDamage(
            reader.file, [&](const std::string& bytes)
            { ASSERT_LE(reader.read(folder.write("f", bytes)), 8 * bytes.size() + 2048) << reader.name; });
    }
}

TEST(Polling, StopsEveryWriter)
{
    Mesh mesh = makeMesh();
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
    const Mesh mesh = makeMesh();
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
