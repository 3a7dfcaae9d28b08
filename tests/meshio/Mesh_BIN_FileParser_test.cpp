#include <memory>

#include <gtest/gtest.h>

#include <Bytes.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/Mesh_BIN_FileParser.h>
#include <TestFolder.h>

using namespace tavrix;
using test::bytesOf;
using test::TestFolder;
using Parser = Mesh_BIN_FileParser;

namespace
{

const Parser& parser() { return MeshFileParser<Parser>::instance(); }

/// A triangle; positions that single precision narrows.
Mesh* makeTriangle(double x, bool textures, bool velocities)
{
    auto* mesh = new Mesh;
    mesh->refPos() = {{x, 0.1, 2}, {x + 1, 0, 0}, {x, 1, 0}};
    mesh->refTrindexPos() = {{0, 1, 2}};
    if (textures) mesh->addArray<Vector3F>("UV_MAP_0") = {{0.5f, 0.25f, 9}, {1, 2, 9}, {3, 4, 9}};
    if (velocities) mesh->addArray<Vector3F>("Velocity") = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    return mesh;
}

std::string head(uint32 version, uint32 positions)
{
    return bytesOf({0xDADADADA, version, 0xCCCCCCCC, positions});
}

/// Two triangles over four positions, and then whatever a test adds.
std::string smallFile(uint32 version = 4)
{
    return head(version, 4) + bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0, 0.1f, 0, 1}) +
           bytesOf<uint32>({2, 1, 0, 2, 2, 3, 0});
}

std::unique_ptr<Mesh> readBytes(const std::string& bytes, int expected,
                                const Array<TX_String>* channels = nullptr)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    const TX_String path = folder.write("f.bin", bytes);
    EXPECT_EQ(channels ? parser().read(path, *channels, meshes) : parser().read(path, meshes), expected);
    return meshes.empty() ? nullptr : std::make_unique<Mesh>(std::move(*meshes[0]));
}

const Array<Vector3F>* uvOf(const Mesh& mesh) { return mesh.findArray<Vector3F>("UV_MAP_0"); }
const Array<Vector3F>* velocityOf(const Mesh& mesh) { return mesh.findArray<Vector3F>("Velocity"); }

}  // namespace

TEST(Mesh_BIN_FileParser, WritesEveryByteAsDefined)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(makeTriangle(1, true, false));
    meshes.push_back(nullptr);
    meshes.push_back(makeTriangle(-2, false, true));
    meshes[2]->refTrindexPos() = {{0, 3, 1}, {2, 1, 0}};  // the first has a corner that is no position

    const std::string geometry =
        head(4, 6) + bytesOf<float>({1, 0.1f, 2, 2, 0, 0, 1, 1, 0, -2, 0.1f, 2, -1, 0, 0, -2, 1, 0}) +
        bytesOf<uint32>({2, 1, 0, 2, 4, 5, 3});
    const std::string textures =
        bytesOf<uint32>({0xCCCCCC00, 1}) +
        bytesOf<float>({0.5f, 1, 0.25f, 1, 1, 2, 3, 1, 4, 0, 1, 0, 0, 1, 0, 0, 1, 0});
    const std::string velocities = bytesOf<uint32>({0xCCCCCC11}) +
                                   bytesOf<float>({0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    const std::pair<Array<TX_String>, std::string> rows[] = {
        {{TX_String("uv"), TX_String("velocity")}, geometry + textures + velocities},
        {{TX_String("uv")}, geometry + textures},
        {{}, geometry}};
    for (const auto& [channels, expected] : rows)
    {
        ASSERT_EQ(parser().write(folder.file("f.bin"), channels, meshes), 0);
        EXPECT_EQ(folder.read("f.bin"), expected);
    }
    ASSERT_EQ(parser().write(folder.file("f.bin"), meshes, 2.0f), 0);
    EXPECT_EQ(folder.read("f.bin").substr(16, 12), bytesOf<float>({2, 0.2f, 4}));
    EXPECT_EQ(folder.read("f.bin").substr(folder.read("f.bin").size() - 12), bytesOf<float>({14, 16, 18}));

    // what no mesh has is not written, and no mesh is a file too
    ASSERT_EQ(parser().write(folder.file("f.bin"), *meshes[0]), 0);
    EXPECT_EQ(folder.read("f.bin").find(bytesOf<uint32>({0xCCCCCC11})), std::string::npos);
    ASSERT_EQ(parser().write(folder.file("f.bin"), ArrayOfPtr<Mesh>()), 0);
    EXPECT_EQ(folder.read("f.bin"), head(4, 0) + bytesOf(uint32{0}));
}

TEST(Mesh_BIN_FileParser, ReadsChannelsAndWeights)
{
    const std::string velocities = bytesOf(0xCCCCCC11) + bytesOf<float>({1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0});
    const auto records = [](uint32 weights)
    {
        std::string bytes;
        for (uint32 i = 0; i < 4; ++i)
        {
            for (uint32 w = 0; w < weights; ++w) bytes += bytesOf(static_cast<float>(10 * i + w));
            bytes += bytesOf<float>({static_cast<float>(i), -7, 0.5f});
        }
        return bytes;
    };
    const struct
    {
        uint32 version, field, weights;
    } rows[] = {{4, 1, 0}, {4, 0, 0},          {3, 3, 2},         {2, 0, 0},
                {0, 1, 1}, {4, 0x80000000, 0}, {0xFFFFFFFF, 2, 1}};
    for (const auto& row : rows)
    {
        const std::string file = smallFile(row.version) + bytesOf({0xCCCCCC00, row.field}) +
                                 records(row.weights) + velocities + "behind";
        auto mesh = readBytes(file, 0);
        EXPECT_EQ(velocityOf(*mesh)->back(), (Vector3F{4, 0, 0}));
        EXPECT_EQ(uvOf(*mesh)->back(), (Vector3F{3, 0.5f, 0}));
        const Array<float>* weights = mesh->findArray<float>("Weights");
        ASSERT_EQ(weights != nullptr, row.weights > 0) << row.version;
        if (weights)
        {
            EXPECT_EQ(*mesh->findArray<uint32>("nWeights"), Array<uint32>{row.weights});
            ASSERT_EQ(weights->size(), 4 * row.weights);
            EXPECT_EQ(weights->back(), 30.0f + static_cast<float>(row.weights - 1));
        }
        const Array<TX_String> others{TX_String("velocity")};
        mesh = readBytes(file, 0, &others);
        EXPECT_EQ(velocityOf(*mesh)->back(), (Vector3F{4, 0, 0}));
        EXPECT_TRUE(!uvOf(*mesh) && !mesh->findArray<float>("Weights"));
    }
}

TEST(Mesh_BIN_FileParser, SaysWhatWentWrongAndKeepsWhatItRead)
{
    const std::string textures = bytesOf<uint32>({0xCCCCCC00, 1});
    const struct
    {
        std::string bytes;
        int result;
        uint32 positions, faces, textures;
    } rows[] = {
        // a file may end behind the faces, or go on with what is no channel
        {smallFile(), 0, 4, 2, 0},
        {smallFile() + std::string("\0\xCC", 2), 0, 4, 2, 0},
        {smallFile() + bytesOf<uint32>({0xCCCCCC11, 0}), 0, 4, 2, 0},
        {"", meshFileEndsTooEarly, 0, 0, 0},
        {bytesOf(0xDADADADB) + smallFile().substr(4), meshFileFailed, 0, 0, 0},
        {smallFile().substr(0, 8), meshFileEndsTooEarly, 0, 0, 0},
        {head(4, 0).substr(0, 8) + bytesOf(0xCCCCCC00), meshFileFailed, 0, 0, 0},
        {head(4, 0xFFFFFFFF), meshFileFailed, 0, 0, 0},
        {smallFile().substr(0, 16 + 30), meshFileEndsTooEarly, 2, 0, 0},
        {smallFile().substr(0, 16 + 48 + 4 + 20), meshFileEndsTooEarly, 4, 1, 0},
        {smallFile().substr(0, 64) + bytesOf(0x80000000), meshFileFailed, 4, 0, 0},
        {smallFile() + textures + bytesOf<float>({1, 1, 2, 1}), meshFileEndsTooEarly, 4, 2, 4},
        // two of three faces name a position that is not there
        {smallFile().substr(0, 64) + bytesOf<uint32>({3, 1, 0, 4, 0, 0xFFFFFFFF, 1, 3, 2, 1}), 0, 4, 1, 0},
        // weights that are not there
        {smallFile() + bytesOf<uint32>({0xCCCCCC00, 0x7FFFFFFF}) + std::string(64, '\0'),
         meshFileEndsTooEarly, 4, 2, 4}};
    for (const auto& row : rows)
    {
        const auto mesh = readBytes(row.bytes, row.result);
        EXPECT_EQ(mesh->getPosSize(), row.positions);
        EXPECT_EQ(mesh->getFacesSize(), row.faces);
        EXPECT_EQ(uvOf(*mesh) ? uvOf(*mesh)->size() : 0u, row.textures);
        EXPECT_EQ(mesh->findArray<float>("Weights"), nullptr);
        EXPECT_EQ(velocityOf(*mesh), nullptr);
    }
    const auto plain = readBytes(rows[0].bytes, 0);
    EXPECT_EQ(plain->pos(), (Array<Vector3D>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {double{0.1f}, 0, 1}}));
    EXPECT_EQ(plain->nor()[1], (Vector3F{0, 0, 1}));
    const auto cut = readBytes(rows[11].bytes, meshFileEndsTooEarly);
    EXPECT_EQ(*uvOf(*cut), (Array<Vector3F>{{1, 2, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));

    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    meshes[0]->setName("old");
    meshes[0]->addArray<float>("old");
    EXPECT_EQ(parser().read(folder.write("f", smallFile()), meshes), 0);
    EXPECT_TRUE(meshes.size() == 1 && meshes[0]->findArray("old").isNone());
    EXPECT_EQ(meshes[0]->getName(), TX_String("Nameless"));
    meshes.clear();
    meshes.push_back(nullptr);
    EXPECT_EQ(parser().read(folder.file("f"), meshes), meshFileFailed);
}
