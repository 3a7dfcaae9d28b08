#include "formats/MeshFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "Bytes.h"
#include "formats/Collection.h"
#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "TestFolder.h"

using namespace tavrix;
using namespace tavrix::formats;
using test::bytesOf;
using test::TestFolder;

namespace
{

/// Meshes in one line: the name before each, the corners of its triangles, "|" and its normals, and the
/// attributes by their names; behind all what the report counts.
std::string describe(const MeshFile& file)
{
    std::ostringstream text;
    const auto print = [&](const auto& v) { text << ' ' << v.x + 0 << ',' << v.y + 0 << ',' << v.z + 0; };
    for (const Mesh* mesh : file.meshes)
    {
        text << '[' << mesh->getName().view() << "]";
        for (const Index3& face : mesh->trindexPos())
            for (uint32 n = 0; n < 3; ++n) print(mesh->pos()[face[n]]);
        if (!mesh->nor().empty()) text << " |";
        for (const Vector3F& normal : mesh->nor()) print(normal);
        for (const char* name : {"Velocity", "UV_MAP_0", "color", "heat"})
        {
            const auto* vectors = mesh->findArray<Vector3F>(name);
            const auto* numbers = mesh->findArray<float>(name);
            if (vectors || numbers) text << " " << name;
            if (vectors)
                for (const Vector3F& v : *vectors) print(v);
            if (numbers)
                for (const float v : *numbers) text << ' ' << v;
        }
    }
    const MeshReadingReport& r = file.report;
    if (!r.isWhole())
        text << " lacks " << r.faces << ' ' << r.corners << ' ' << r.numbers << (r.isCut ? " cut" : "");
    return text.str();
}

/// What is read, or the message behind the file's name.
std::string readFile(const TestFolder& folder, const std::string& name)
{
    const std::string path(folder.file(name).view());
    try
    {
        return describe(readMeshes(path));
    }
    catch (const Failure& failure)
    {
        const std::string message = failure.what();
        EXPECT_EQ(message.find(path), 0u) << message;
        return message.substr(path.size());
    }
}

std::string readText(const std::string& name, const std::string& bytes)
{
    const TestFolder folder;
    folder.write(name, bytes);
    return readFile(folder, name);
}

uint32 checksumOf(const std::string& bytes)
{
    uint32 sum = 0xFFFFFFFF;
    for (const char c : bytes)
    {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

/// A ZIP file of parts as they are, or as deflate streams of one block that is not compressed.
std::string zip(const std::vector<std::pair<std::string, std::string>>& parts, bool isDeflated)
{
    std::string file, list;
    for (const auto& [name, content] : parts)
    {
        const auto length = static_cast<uint16>(content.size());
        const std::string packed =
            isDeflated ? "\1" + bytesOf<uint16>({length, uint16(~length)}) + content : content;
        const uint32 checksum = checksumOf(content);
        const std::string sizes = bytesOf<uint32>({checksum, uint32(packed.size()), uint32(content.size())}) +
                                  bytesOf<uint16>({uint16(name.size()), 0});
        const std::string method = bytesOf<uint16>({20, 0, uint16(isDeflated ? 8 : 0), 0, 0});
        list += "PK\1\2" + bytesOf(uint16{20}) + method + sizes + bytesOf<uint16>({0, 0, 0}) +
                bytesOf<uint32>({0, uint32(file.size())}) + name;
        file += "PK\3\4" + method + sizes + name + packed;
    }
    const auto count = static_cast<uint16>(parts.size());
    return file + list + "PK\5\6" + bytesOf<uint16>({0, 0, count, count}) +
           bytesOf<uint32>({uint32(list.size()), uint32(file.size())}) + bytesOf(uint16{0});
}

std::string model(const std::string& objects, const std::string& items)
{
    return "<?xml version=\"1.0\"?><m:model xmlns:m=\"x\"><m:resources>" + objects +
           "</m:resources><m:build>" + items + "</m:build></m:model>";
}

const std::string triangle =
    "<m:mesh><m:vertices><m:vertex x=\"0\" y=\"0\" z=\"0\"/><m:vertex x=\"1\" y=\"0\" z=\"0\"/>"
    "<m:vertex x=\"0\" y=\"1e0\" z=\"0\"/></m:vertices><m:triangles><m:triangle v1=\"0\" v2=\"1\" v3=\"2\"/>"
    "</m:triangles></m:mesh>";

std::string threeMf(const std::string& objects, const std::string& items)
{
    return zip({{"_rels/.rels", "<R><r Target=\"/3d/it.model\" Type=\"a/3dmodel\"/></R>"},
                {"3D/it.model", model(objects, items)}},
               true);
}

/// A binary glTF file of a triangle: three floats a corner, then bytes; the members are those of its JSON.
std::string glb(const std::string& members, const std::string& more = "")
{
    std::string json = "{\"asset\":{\"version\":\"2.0\"}," + members + "}";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const std::string binary = bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + more;
    const auto size = static_cast<uint32>(28 + json.size() + binary.size());
    return "glTF" + bytesOf<uint32>({2, size, uint32(json.size())}) + "JSON" + json +
           bytesOf(uint32(binary.size())) + std::string("BIN\0", 4) + binary;
}

std::string accessor(int view, int type, int count, const std::string& shape, const std::string& rest = "")
{
    return "{\"bufferView\":" + std::to_string(view) + ",\"componentType\":" + std::to_string(type) +
           ",\"count\":" + std::to_string(count) + ",\"type\":\"" + shape + "\"" + rest + "}";
}

/// The members of one mesh with these attributes, modes and views behind the positions.
std::string mesh(const std::string& primitive, const std::string& accessors, int moreBytes,
                 const std::string& nodes = "\"nodes\":[{\"mesh\":0}]")
{
    return "\"buffers\":[{\"byteLength\":" + std::to_string(36 + moreBytes) +
           "}],\"bufferViews\":[{\"buffer\":0,\"byteLength\":36},{\"buffer\":0,\"byteOffset\":36,"
           "\"byteLength\":" +
           std::to_string(moreBytes) + "}],\"accessors\":[" + accessor(0, 5126, 3, "VEC3") + accessors +
           "],\"meshes\":[{\"name\":\"m\",\"primitives\":[{\"attributes\":{\"POSITION\":0" + primitive +
           "}]}]," + nodes;
}

const std::string flatTriangle = " 0,0,0 1,0,0 0,1,0";

Mesh* twoTriangles(bool withNormals, bool withAttributes)
{
    auto* result = new Mesh;
    result->setName("two");
    result->refPos() = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0.5}, {0, 1, 0}};
    result->refTrindexPos() = {{0, 1, 2}, {0, 2, 3}};
    if (withNormals)
    {
        result->refNor() = {{0, 0, 1}, {0, 1, 0}};
        result->refTrindexNor() = {{0, 0, 0}, {1, 1, 1}};
    }
    if (withAttributes)
    {
        result->addArray<Vector3F>("Velocity") = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {-1, 0, 1}};
        result->addArray<float>("heat") = {0.5f, 1.5f, 2.5f, 3.5f};
        result->addArray<Vector3F>("UV_MAP_0") = {{0, 0.25f, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        result->addArray<Vector3F>("color") = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.2f, 0.4f, 0.6f}};
    }
    return result;
}

}  // namespace

TEST(MeshFile, OffFilesAreRead)
{
    const std::string points = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";
    const std::string quad = "[Nameless] 0,0,0 1,0,0 1,1,0 0,0,0 1,1,0 0,1,0";
    const std::pair<std::string, std::string> cases[] = {
        {"OFF\n4 1 0\n" + points + "4 0 1 2 3\n", quad},
        {"# made by hand\r\nOFF # this\r\n\r\n4 1 0\r\n0 0 0\r\n1 0 0\r\n#\r\n1 1 0\r\n0 1 0\r\n4 0 1 2 3 "
         "255 0 0\r\n",
         quad},
        {"OFF 4 1 0\n" + points + "4  0 1 2 3", quad},
        {"COFF\n3 1 0\n0 0 0 255 0 0 255\n1 0 0 0 51 0\n0 1 0 0 0 0 9\n3 0 1 2\n",
         "[Nameless]" + flatTriangle + " color 1,0,0 0,0.2,0 0,0,0"},
        {"NOFF\n3 1 0\n0 0 0 0 0 1\n1 0 0 0 0 1\n0 1 0 0 0 1\n3 0 1 2\n",
         "[Nameless]" + flatTriangle + " | 0,0,1 0,0,1 0,0,1"},
        // what cannot be used is counted
        {"OFF\n4 4 0\n" + points + "4 0 1 2 3\n3 0 1 4\n2 0 1\n3 0 1\n", quad + " lacks 3 1 0"},
        {"OFF\n3 1 0\n0 0 x\n1 0\n0 1 0\n3 0 1 2\n", "[Nameless]" + flatTriangle + " lacks 0 0 2"},
        {"OFF\n4 2 0\n" + points + "4 0 1 2 3\n", ": is cut off; write or copy it again"},
        {"OFF\n4294967295 99999999999 0\n" + points, ": is cut off; write or copy it again"},
        {"OFF\n4 x 0\n" + points, ": is a damaged OFF file: a count is missing; export it again"},
        {"4OFF\n1 0 0\n", ": has other than three dimensions; export it with three"},
        {"OFF BINARY\n1", ": is a binary OFF file; export it as text"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(readText("mesh.off", text), expected) << text;
}

TEST(MeshFile, ThreeMfFilesAreRead)
{
    const std::string object = "<m:object id=\"1\" name=\"part\">" + triangle + "</m:object>";
    const std::string pair =
        "<m:object id=\"2\"><m:components><m:component objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 5 0 0\"/>"
        "<m:component objectid=\"1\" transform=\"-1 0 0 0 1 0 0 0 1 0 0 0\"/></m:components></m:object>";
    const std::pair<std::string, std::string> cases[] = {
        {threeMf(object, "<m:item objectid=\"1\"/>"), "[part]" + flatTriangle},
        {zip({{"3D/3dmodel.model", model(object, "<m:item objectid=\"1\"/>")}}, false),
         "[part]" + flatTriangle},
        {threeMf(object, ""), "[part]" + flatTriangle},
        // twice, moved and turned around by what mirrors it
        {threeMf(object + pair, "<m:item objectid=\"2\" transform=\"1 0 0 0 1 0 0 0 1 0 0 7\"/>"),
         "[part] 5,0,7 6,0,7 5,1,7[part] 0,0,7 0,1,7 -1,0,7"},
        {threeMf(object, "<m:item objectid=\"3\"/>"),
         ": is damaged: it names an object that it does not have; export the mesh again"},
        {threeMf("<m:object id=\"1\"><m:components><m:component objectid=\"1\"/><m:component objectid=\"1\"/>"
                 "</m:components></m:object>",
                 "<m:item objectid=\"1\"/>"),
         ": is damaged: its objects contain themselves; export the mesh again"},
        {zip({{"other", "x"}}, true), ": has no part 3D/3dmodel.model; export the mesh again"},
        {threeMf(object, "<m:item objectid=\"1\"/>").substr(0, 300),
         ": is no ZIP file, or one that is cut off; write or copy it again"},
    };
    for (const auto& [bytes, expected] : cases) EXPECT_EQ(readText("mesh.3mf", bytes), expected);
    std::string damaged = threeMf(object, "<m:item objectid=\"1\"/>");
    damaged[damaged.find("it.model") + 30] ^= 1;
    EXPECT_EQ(readText("mesh.3mf", damaged), ": is damaged; write or copy it again");
    // a part a thousand times over is refused before it fills the memory
    std::string many = "<m:object id=\"2\"><m:components>", items;
    for (int n = 0; n < 500; ++n) many += "<m:component objectid=\"1\"/>";
    for (int n = 0; n < 500; ++n) items += "<m:item objectid=\"2\"/>";
    EXPECT_EQ(readText("mesh.3mf", threeMf(object + many + "</m:components></m:object>", items)),
              ": repeats its parts until they fill the memory; export fewer copies");
}

TEST(MeshFile, GltfFilesAreRead)
{
    const std::string bytes012("\0\1\2\0", 4);
    const auto shorts = [](std::initializer_list<uint16> values) { return bytesOf<uint16>(values); };
    const std::string flat = "[m]" + flatTriangle;
    const std::pair<std::string, std::string> cases[] = {
        {glb(mesh("}", "", 0)), flat},
        {glb(mesh("},\"indices\":1", "," + accessor(1, 5121, 3, "SCALAR"), 4), std::string("\2\0\1\0", 4)),
         "[m] 0,1,0 0,0,0 1,0,0"},
        {glb(mesh("},\"indices\":1", "," + accessor(1, 5123, 6, "SCALAR"), 12), shorts({0, 1, 2, 0, 2, 3})),
         flat + " lacks 1 1 0"},
        {glb(mesh("},\"mode\":5,\"indices\":1", "," + accessor(1, 5123, 4, "SCALAR"), 8),
             shorts({0, 1, 2, 0})),
         flat + " 1,0,0 0,0,0 0,1,0"},
        {glb(mesh("},\"mode\":6,\"indices\":1", "," + accessor(1, 5125, 4, "SCALAR"), 16),
             bytesOf<uint32>({0, 1, 2, 1})),
         flat + " 0,0,0 0,1,0 1,0,0"},
        {glb(mesh(",\"_HEAT\":1,\"_heat\":1,\"NORMAL\":2,\"COLOR_0\":3,\"TEXCOORD_0\":4,\"_VELOCITY\":2}",
                  "," + accessor(1, 5121, 3, "SCALAR", ",\"normalized\":true") +
                      ",{\"componentType\":5126,\"count\":3,\"type\":\"VEC3\",\"sparse\":{\"count\":3,"
                      "\"indices\":{"
                      "\"bufferView\":1,\"componentType\":5121},\"values\":{\"bufferView\":1,\"byteOffset\":"
                      "4}}}," +
                      accessor(1, 5121, 3, "VEC4", ",\"normalized\":true,\"byteOffset\":40") + "," +
                      accessor(1, 5126, 3, "VEC2", ",\"byteOffset\":52"),
                  76),
             bytes012 + bytesOf<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}) + std::string(4, '\xFF') +
                 std::string(8, '\0') + bytesOf<float>({0, 0, 1, 0.25f, 0.5f, 1})),
         flat + " | 0,0,1 0,0,1 0,0,1 Velocity 0,0,1 0,0,1 0,0,1 UV_MAP_0 0,1,0 1,0.75,0 0.5,0,0 "
                "color 1,1,1 0,0,0 0,0,0 heat 0 0.00392157 0.00784314"},
        // nodes below nodes, in their order; a node that contains itself is visited once
        {glb(mesh("}", "", 0,
                  "\"scene\":0,\"scenes\":[{\"nodes\":[1]}],\"nodes\":[{\"mesh\":0,\"name\":\"n\","
                  "\"children\":[1],"
                  "\"scale\":[1,-1,1]},{\"children\":[2,0],\"translation\":[5,0,0]},{\"mesh\":0,"
                  "\"rotation\":[0,0,1,0],\"matrix\":[]}]")),
         "[m] 5,0,0 4,0,0 5,-1,0[n] 5,0,0 5,-1,0 6,0,0"},
        {glb(mesh("}", "", 0, "\"nodes\":[{\"mesh\":0,\"matrix\":[2,0,0,0,0,2,0,0,0,0,2,0,1,2,3,1]}]")),
         "[m] 1,2,3 3,2,3 1,4,3"},
        {glb(mesh("}", "", 0, "\"nodes\":[]")), flat},
        {glb(mesh("}", "", 0)).substr(0, 200), ": is cut off; write or copy it again"},
        {glb(mesh("},\"indices\":1", "," + accessor(1, 5121, 9, "SCALAR"), 4), bytes012),
         ": is damaged: it names elements that it does not have; export it again"},
        {glb(mesh("},\"indices\":1", ",{\"componentType\":5125,\"count\":4000000000,\"type\":\"SCALAR\"}",
                  0)),
         ": repeats its parts until they fill the memory; export fewer copies"},
        {glb("\"buffers\":[{\"byteLength\":9,\"uri\":\"../x.bin\"}]"),
         ": refers to ../x.bin, which is not in its folder; put it there"},
        {glb("\"extensionsRequired\":[\"KHR_draco_mesh_compression\"]"),
         ": is compressed by KHR_draco_mesh_compression; export it without compression"},
        {glb("\"scene\":-1,\"nodes\":[{}]"), ": is damaged: its scene is no count; export it again"},
        {glb("\"meshes\":[1,{\"primitives\":{\"a\":[]}}]"), ": holds no faces; give a file that does"},
    };
    for (const auto& [bytes, expected] : cases)
        EXPECT_EQ(readText("mesh.glb", bytes), expected) << bytes.substr(0, 900);

    // text, with its bytes beside it or in it
    const TestFolder folder;
    const auto gltf = [&](const std::string& uri)
    {
        std::string json = "{\"asset\":{\"version\":\"2.0\"}," + mesh("}", "", 0) + "}";
        json.replace(json.find("\"byteLength\":36"), 15, "\"byteLength\":36,\"uri\":\"" + uri + "\"");
        folder.write("mesh.gltf", json);
        return readFile(folder, "mesh.gltf");
    };
    folder.write("my mesh.bin", bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(gltf("my%20mesh.bin"), flat);
    EXPECT_EQ(gltf("data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"),
              flat);
    EXPECT_EQ(gltf("data:x;base64,AAAA"),
              ": is cut off: a buffer has fewer bytes than it should; export it again");
    EXPECT_EQ(gltf("/etc/hosts"), ": refers to /etc/hosts, which is not in its folder; put it there");
}

TEST(MeshFile, WritersKeepWhatTheirFormatsHold)
{
    const std::string faces = " 0,0,0 1,0,0 1,1,0.5 0,0,0 1,1,0.5 0,1,0";
    // positions 0 and 2 have two normals: they are vertices 4 and 5 as well
    const std::string normals = " | 0,0,1 0,0,1 0,0,1 0,1,0 0,1,0 0,1,0";
    const std::string values =
        " Velocity 1,2,3 4,5,6 7,8,9 -1,0,1 UV_MAP_0 0,0.25,0 1,0,0 1,1,0 0,1,0 color 1,0,0 0,1,0 0,0,1 "
        "0.2,0.4,0.6 "
        "heat 0.5 1.5 2.5 3.5";
    const std::string splitValues =
        " Velocity 1,2,3 4,5,6 7,8,9 -1,0,1 1,2,3 7,8,9 UV_MAP_0 0,0.25,0 1,0,0 1,1,0 0,1,0 0,0.25,0 1,1,0 "
        "color 1,0,0 0,1,0 0,0,1 0.2,0.4,0.6 1,0,0 0,0,1 heat 0.5 1.5 2.5 3.5 0.5 2.5";
    for (const char* extension : {"ply", "vtp", "glb"})
    {
        const TestFolder folder;
        const std::string name = std::string("mesh.") + extension;
        const std::string label = std::string(extension) == "glb" ? "[two]" : "[Nameless]";
        const auto written = [&](bool withNormals, bool withAttributes)
        {
            ArrayOfPtr<Mesh> meshes;
            meshes.push_back(twoTriangles(withNormals, withAttributes));
            writeMeshes(std::string(folder.file(name).view()), meshes, {});
            return readFile(folder, name);
        };
        EXPECT_EQ(written(false, false), label + faces) << extension;
        EXPECT_EQ(written(false, true), label + faces + values) << extension;
        EXPECT_EQ(written(true, false), label + faces + normals) << extension;
        EXPECT_EQ(written(true, true), label + faces + normals + splitValues) << extension;
    }
    // one mesh of two: an attribute that one of them lacks is zero there
    for (const char* name : {"mesh.ply", "mesh.vtp"})
    {
        const TestFolder folder;
        ArrayOfPtr<Mesh> meshes;
        meshes.push_back(twoTriangles(true, false));
        meshes.push_back(twoTriangles(false, false));
        meshes[1]->addArray<float>("heat") = {1, 2, 3, 4};
        writeMeshes(std::string(folder.file(name).view()), meshes, {});
        EXPECT_EQ(readFile(folder, name), "[Nameless]" + faces + faces + " heat 0 0 0 0 0 0 1 2 3 4") << name;
    }
}

TEST(MeshFile, PlyAndCollectionsAreWrittenToTheByte)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    meshes[0]->refPos() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    meshes[0]->refTrindexPos() = {{0, 1, 2}, {0, 1, 3}};  // the second is left out
    meshes[0]->addArray<float>("my heat") = {1, 2, 3};
    writeMeshes(std::string(folder.file("mesh.ply").view()), meshes, {});
    EXPECT_EQ(folder.read("mesh.ply"),
              "ply\nformat binary_little_endian 1.0\ncomment written by tavrix\nelement vertex 3\n"
              "property float x\nproperty float y\nproperty float z\nproperty float my_heat\nelement face 1\n"
              "property list uchar int vertex_indices\nend_header\n" +
                  bytesOf<float>({0, 0, 0, 1, 1, 0, 0, 2, 0, 1, 0, 3}) + "\3" + bytesOf<int32>({0, 1, 2}));

    const std::string path(folder.file("all.pvd").view());
    writeCollection(path, {{std::string(folder.file("a&b 1.vtp").view()), 0.1}, {"/other/b.vtp", 2}});
    EXPECT_EQ(
        folder.read("all.pvd"),
        "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"0.1\" byte_order=\"LittleEndian\">\n"
        "<Collection>\n<DataSet timestep=\"0.1\" part=\"0\" file=\"a&amp;b 1.vtp\"/>\n"
        "<DataSet timestep=\"2\" part=\"0\" file=\"/other/b.vtp\"/>\n</Collection>\n</VTKFile>\n");
}
