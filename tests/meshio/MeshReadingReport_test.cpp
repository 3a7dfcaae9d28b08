#include <tavrix/meshio/MeshReadingReport.h>

#include <gtest/gtest.h>

#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <TestFolder.h>

using namespace tavrix;
using test::TestFolder;

namespace
{

/// The triangles of all meshes, and behind them what the report says unless nothing is missing.
std::string describe(const ArrayOfPtr<Mesh>& meshes, const MeshReadingReport& report)
{
    TX_String text;
    for (const Mesh* mesh : meshes)
    {
        if (meshes.size() > 1) text.appendFormat("%s:", mesh->getName().c_str());
        for (const Index3& face : mesh->trindexPos())
            for (uint32 n = 0; n < 3; ++n) text.appendFormat("%c%g", n ? ',' : ' ', mesh->pos()[face[n]].x);
    }
    if (!report.isWhole())
        text.appendFormat(" | %llu faces %llu corners %llu numbers%s",
                          static_cast<unsigned long long>(report.faces),
                          static_cast<unsigned long long>(report.corners),
                          static_cast<unsigned long long>(report.numbers), report.isCut ? " cut" : "");
    return std::string(text.view());
}

/// However many threads read it.
std::string readObj(const std::string& text)
{
    const TestFolder folder;
    const TX_String path = folder.write("f.obj", text);
    const auto readBy = [&](uint32 threads)
    {
        ArrayOfPtr<Mesh> meshes;
        MeshReadingReport report;
        const int result = MeshFileParser<Mesh_OBJ_FileParser>::instance().readLeniently(
            path, meshes, ObjReadingMode::groupByName, report, threads);
        return result == 0 ? describe(meshes, report) : "error " + std::to_string(result);
    };
    const std::string all = readBy(1);
    for (const uint32 threads : {2u, 5u}) EXPECT_EQ(readBy(threads), all) << threads << " threads";
    return all;
}

std::string readStl(const std::string& bytes, MeshSTLFileParser::Encoding encoding)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    MeshReadingReport report;
    const int result = MeshFileParser<MeshSTLFileParser>::instance().read(folder.write("f.stl", bytes),
                                                                          meshes, encoding, report);
    return result == 1 ? describe(meshes, report) : "error " + std::to_string(result);
}

}  // namespace

TEST(MeshReadingReport, ObjFilesAreReadAsTheyAreMeant)
{
    // x tells the corners apart
    const std::string points = "v 0 0 0\nv 1 0 0\nv 2 3 0\nv 3 1 0\nv 4 3 0\nv 5 0 0\nvt 0 0\nvn 0 0 1\n";
    const std::pair<std::string, const char*> faces[] = {
        {"f 1 2 3", " 0,1,2"},
        {"f 1 2 3 # a face", " 0,1,2"},
        {"f 1 2 3#4", " 0,1,2"},
        {"f 1 2 \\\n3", " 0,1,2"},
        {"f 1 2 \\\r\n  3\r\n", " 0,1,2"},
        {"# a path\\\nf 1 2 3 # and \\\nf 3 2 1", " 0,1,2 2,1,0"},
        {"f 1 2 3\rf 3 2 1\r", " 0,1,2 2,1,0"},
        {"f 1 2 3\n\rf 3 2 1\n\r", " 0,1,2 2,1,0"},
        {"g a#1\\\n b\nf 1 2 3\ng c\nf 3 2 1", "a#1\\: 0,1,2c: 2,1,0"},
        {"f" + std::string(300'000, ' ') + "1 2" + std::string(300'000, ' ') + "3\nf 3 2 1", " 0,1,2 2,1,0"},
        // a quad that is convex, and one that is not
        {"f 1 6 5 3", " 0,5,4 0,4,2"},
        {"f 3 4 5 2", " 1,2,3 3,4,1"},
        // five corners around a notch; the quad behind it stays its own face
        {"f 1 6 5 4 3\nf 1 6 5 3", " 5,4,3 3,2,0 0,5,3 0,5,4 0,4,2"},
        {"f 6 5 4 3 1", " 5,4,3 3,2,0 0,5,3"},
        // corners keep what they name besides positions
        {"f 6/1/1 5//1 4/1 3 1", " 5,4,3 3,2,0 0,5,3"},
        // what cannot be used is counted once a face and corner
        {"f 1 2 9\nf 1 2 3", " 0,1,2 | 1 faces 1 corners 0 numbers"},
        {"f 1 2 3 8 9\nf 0 2 3 1\nf 1 2 3", " 0,1,2 | 2 faces 3 corners 0 numbers"},
        {"f 1 2\nf\nf 1 x 3\nf 1 2 3", " 0,1,2 | 3 faces 0 corners 0 numbers"},
        {"f 1/2/1 2/1/3 3/1/1\nf 1/7 6/7 5/7 3/7", " 0,1,2 0,5,4 0,4,2 | 0 faces 6 corners 0 numbers"},
        {"v 1\nv x 0 1\nv 0 1 2e\nv nan inf 0\nvt\nvt 1 x\nf 1 2 3", " 0,1,2 | 0 faces 0 corners 8 numbers"},
        // only what lacks something tells that a file is cut
        {"f 1 2 3\nf 1 2", " 0,1,2 | 1 faces 0 corners 0 numbers cut"},
        {"f 1 2 3\nf 1 2\n", " 0,1,2 | 1 faces 0 corners 0 numbers"},
        {"f 1 2 3\nv 1 2", " 0,1,2 | 0 faces 0 corners 1 numbers cut"},
    };
    for (const auto& [text, expected] : faces)
    {
        EXPECT_EQ(readObj(points + text), expected) << text.substr(0, 100);
        EXPECT_EQ(readObj("\xEF\xBB\xBF" + points + text), expected) << text.substr(0, 100);
    }
    EXPECT_EQ(readObj("v 0 0 0\nv 1 0 0\nv 2 1 0\nf 1 2 3 \\"), " 0,1,2");
    EXPECT_EQ(readObj("v 0 0 0\nv 1 0 0\nv 2 1 0\nf 1 2 \\"), " | 1 faces 0 corners 0 numbers cut");
    EXPECT_EQ(readObj(""), "");
    EXPECT_EQ(readObj("\xEF\xBB"), "");
}

TEST(MeshReadingReport, StlFilesTellWhatTheyLack)
{
    const std::string facet =
        "facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 2 1 0\nendloop\nendfacet\n";
    const auto without = [&](const std::string& line)
    {
        std::string text = facet;
        return text.erase(text.find(line), line.size());
    };
    const std::pair<std::string, const char*> texts[] = {
        {"solid\n" + facet + facet + "endsolid", " 0,1,2 0,1,2"},
        {"solid\n" + facet, " 0,1,2 | 0 faces 0 corners 0 numbers cut"},
        {"solid\n" + without("vertex 1 0 0\n") + facet + "endsolid\n",
         " 0,1,2 | 1 faces 0 corners 0 numbers"},
        {"solid\n" + without(" 0\nendloop") + facet + "endsolid\n", " 0,1,2 | 1 faces 0 corners 1 numbers"},
        {"solid\n" + facet + "facet normal 0 0 1\nouter loop\nvertex 0 1",
         " 0,1,2 | 1 faces 0 corners 1 numbers cut"},
        {"solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 2 1 0\nvertex 3 1 0\n"
         "endloop\nendfacet\nendsolid",
         " 0,1,2 | 0 faces 1 corners 0 numbers"},
    };
    for (const auto& [text, expected] : texts)
        EXPECT_EQ(readStl(text, MeshSTLFileParser::Encoding::ascii), expected) << text;

    std::string binary(84 + 2 * 50, '\0');
    binary[80] = 2;
    EXPECT_EQ(readStl(binary, MeshSTLFileParser::Encoding::binary), " 0,0,0 0,0,0");
    binary[80] = 5;
    EXPECT_EQ(readStl(binary, MeshSTLFileParser::Encoding::binary),
              " 0,0,0 0,0,0 | 3 faces 0 corners 0 numbers cut");
}

TEST(MeshReadingReport, ObjNumbersAreWrittenAsChosen)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    mesh.refPos() = {{0.1, -2.5e-7, 1234567.125}, {0.1 + 1e-8, 2e-7, 1234567.125}, {0.3, 0, 1e300}};
    mesh.refTrindexPos() = {{0, 1, 2}};
    mesh.refNor() = {{0.1f, 0, -1}};
    mesh.refTrindexNor() = {{0, 0, 0}};
    const struct
    {
        ObjNumbers numbers;
        const char* first;
        const char* normal;
        uint32 merged;
    } cases[] = {
        {{}, "v 0.100000 -0.000000 1234567.125000", "vn 0.100000 0.000000 -1.000000", 1},
        {{2}, "v 0.10 -0.00 1234567.12", "vn 0.10 0.00 -1.00", 1},
        {{0}, "v 0 -0 1234567", "vn 0 0 -1", 1},
        {{-1}, "v 0 -0 1234567", "vn 0 0 -1", 1},
        {{8}, "v 0.10000000 -0.00000025 1234567.12500000", "vn 0.10000000 0.00000000 -1.00000000", 0},
        {{6, true}, "v 0.1 -2.5e-07 1234567.125", "vn 0.1 0 -1", 0}};
    for (const auto& [numbers, first, normal, merged] : cases)
    {
        ASSERT_EQ(
            MeshFileParser<Mesh_OBJ_FileParser>::instance().write(folder.file("f.obj"), meshes, numbers), 0);
        const std::string text = folder.read("f.obj");
        EXPECT_NE(text.find(std::string("\n") + first + '\n'), std::string::npos) << text;
        EXPECT_NE(text.find(std::string("\n") + normal + '\n'), std::string::npos) << text;
        EXPECT_EQ(countPositionsMerged(mesh, numbers), merged) << first;
    }
    mesh.refPos() = {{1, 2, 3}, {1, 2, 3}, {1 + 2e-7, 2, 3}, {1, 2, 3 - 2e-7}, {1, 2, 4}};
    EXPECT_EQ(countPositionsMerged(mesh, {}), 2u);
}
