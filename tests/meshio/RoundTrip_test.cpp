#include <random>

#include <gtest/gtest.h>

#include <tavrix/tavrix.h>
#include <TestFolder.h>

using namespace tavrix;

namespace
{

/// A mesh of more text, records and facets than any buffer, block or window holds. Its numbers are single
/// precision; `isDecimal`: and need no more than six decimals.
Mesh makeLarge(bool isDecimal)
{
    Mesh mesh;
    Array<Vector3F>& uv = mesh.addArray<Vector3F>("UV_MAP_0");
    Array<Vector3F>& velocity = mesh.addArray<Vector3F>("Velocity");
    std::mt19937 random(5);
    for (uint32 i = 0; i < 30'000; ++i)
    {
        const float n = static_cast<float>(i), x = isDecimal ? n / 64 : 1 / (n + 1);
        mesh.refPos().push_back(isDecimal ? Vector3D{x, -x, 1.5} : Vector3D{x, 1e-30f * x, 1e15f * n});
        uv.push_back({x, 0.25f, 0});
        velocity.push_back({0, n, 1});
        if (i >= 2) mesh.refTrindexPos().push_back({i, i - 2, static_cast<uint32>(random()) % i});
    }
    return mesh;
}

/// The corners of the faces are the same, and so are the channels that came back.
void expectSame(const Mesh& mesh, const ArrayOfPtr<Mesh>& back, std::size_t channels)
{
    ASSERT_EQ(back.size(), 1u);
    ASSERT_EQ(back[0]->getFacesSize(), mesh.getFacesSize());
    std::size_t found = 0;
    for (const char* channel : {"UV_MAP_0", "Velocity"})
    {
        const auto *sent = mesh.findArray<Vector3F>(channel), *got = back[0]->findArray<Vector3F>(channel);
        found += got != nullptr;
        for (uint32 n = 0; n < 3 * mesh.getFacesSize(); ++n)
        {
            const uint32 i = mesh.trindexPos()[n / 3][n % 3], j = back[0]->trindexPos()[n / 3][n % 3];
            ASSERT_EQ(back[0]->pos()[j], mesh.pos()[i]);
            if (got) { ASSERT_EQ((*got)[j], (*sent)[i]); }
        }
    }
    EXPECT_EQ(found, channels);
}

}  // namespace

TEST(RoundTrip, LargeMeshesComeBackFromEveryFormat)
{
    const test::TestFolder folder;
    const TX_String path = folder.file("f");
    const Mesh decimal = makeLarge(true), any = makeLarge(false);
    ArrayOfPtr<Mesh> fromObj, fromBin, fromStl[2];
    const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    ASSERT_EQ(obj.write(path, decimal), 0);
    ASSERT_EQ(obj.read(path, fromObj), 0);
    expectSame(decimal, fromObj, 1);
    const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
    ASSERT_EQ(bin.write(path, any), 0);
    ASSERT_EQ(bin.read(path, fromBin), 0);
    expectSame(any, fromBin, 2);
    const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    for (const bool isText : {false, true})
    {
        using Encoding = MeshSTLFileParser::Encoding;
        ASSERT_EQ(stl.write(path, any, isText ? Encoding::ascii : Encoding::binary), 1);
        ASSERT_EQ(stl.read(path, fromStl[isText]), 1);
        expectSame(any, fromStl[isText], 0);
    }
}
