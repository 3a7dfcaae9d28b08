#include <limits>

#include <gtest/gtest.h>

#include <Bytes.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <TestFolder.h>

using namespace tavrix;
using test::bytesOf;
using test::TestFolder;
using Parser = MeshSTLFileParser;
using Encoding = Parser::Encoding;

namespace
{

const Parser& parser() { return MeshFileParser<Parser>::instance(); }

/// The facets as text: normal and corners each, "; " between them; the name before, unless it is "Nameless".
std::string describe(const Mesh& mesh)
{
    TX_String text(mesh.getName() == TX_String("Nameless") ? TX_String() : mesh.getName());
    EXPECT_TRUE(hasValidIndices(mesh));
    EXPECT_EQ(mesh.getPosSize(), 3 * mesh.getFacesSize());
    EXPECT_EQ(mesh.nor().size(), mesh.getFacesSize());
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        EXPECT_EQ(mesh.trindexPos()[f], (Index3{3 * f, 3 * f + 1, 3 * f + 2}));
        EXPECT_EQ(mesh.trindexNor()[f], (Index3{f, f, f}));
        const Vector3F n = mesh.nor()[f];
        text.appendFormat("; %g %g %g:", double(n.x), double(n.y), double(n.z));
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D p = mesh.pos()[3 * f + c];
            text.appendFormat(" %g %g %g", p.x, p.y, p.z);
        }
    }
    return std::string(text.view());
}

template <class... Forced>
std::string readBytes(const std::string& bytes, Forced... encoding)
{
    const TestFolder folder;
    ArrayOfPtr<Mesh> meshes;
    const int result = parser().read(folder.write("f.stl", bytes), meshes, encoding...);
    return result == 1 && meshes.size() == 1 ? describe(*meshes[0]) : "result " + std::to_string(result);
}

std::string padded(std::string header)
{
    header.resize(80);
    return header;
}

std::string facet(float first)
{
    std::string bytes;
    for (int i = 0; i < 12; ++i) bytes += bytesOf(first + static_cast<float>(i));
    return bytes + "\xAB\xCD";
}

const std::string facetText1 = "; 1 2 3: 4 5 6 7 8 9 10 11 12";
const std::string facetText2 = "; 2 3 4: 5 6 7 8 9 10 11 12 13";

Mesh makeMesh(const char* name)
{
    Mesh mesh;
    mesh.setName(name);
    mesh.refPos() = {{0, 0, 0}, {2.5, 0, 0}, {0, 0.1, 0}, {0, 0, -1e10}};
    mesh.refTrindexPos() = {{0, 1, 2}, {0, 4, 2}, {3, 3, 1}};  // the second has a corner that is no position
    return mesh;
}

}  // namespace

TEST(MeshSTLFileParser, WritesEveryBinaryByteAsDefined)
{
    const TestFolder folder;
    const std::string facets =
        bytesOf(uint32{2}) + bytesOf<float>({0, 0, 0, 0, 0, 0, 2.5f, 0, 0, 0, 0.1f, 0}) +
        std::string(2, '\0') + bytesOf<float>({0, 0, 0, 0, 0, -1e10f, 0, 0, -1e10f, 2.5f, 0, 0}) +
        std::string(2, '\0');
    for (const std::size_t length : {0u, 79u, 80u, 300u})
    {
        const std::string name(length, 'n');
        ASSERT_EQ(parser().write(folder.file("f.stl"), makeMesh(name.c_str())), 1);
        EXPECT_EQ(folder.read("f.stl"), (length < 80 ? padded(name) : name) + facets);
    }
    ArrayOfPtr<Mesh> meshes;
    EXPECT_EQ(parser().write(folder.file("g.stl"), meshes), meshFileFailed);
    meshes.push_back(new Mesh(makeMesh("first")));
    meshes.push_back(new Mesh(makeMesh("not written")));
    ASSERT_EQ(parser().write(folder.file("f.stl"), meshes, 7), 1);
    EXPECT_EQ(folder.read("f.stl"), padded("first") + facets);
    ASSERT_EQ(parser().write(folder.file("f.stl"), Mesh()), 1);
    EXPECT_EQ(folder.read("f.stl"), padded("Nameless") + bytesOf(uint32{0}));
}

TEST(MeshSTLFileParser, WritesText)
{
    const TestFolder folder;
    Mesh mesh = makeMesh("a\nname");
    mesh.refPos()[1].y = std::numeric_limits<double>::quiet_NaN();
    mesh.refTrindexPos().push_back({3, 2, 0});
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh(mesh));
    ASSERT_EQ(parser().write(folder.file("f.stl"), meshes, 1), 1);
    EXPECT_EQ(folder.read("f.stl"),
              "solid a name\n"
              "  facet normal 0 0 0\n    outer loop\n      vertex 0 0 0\n      vertex 2.5 nan 0\n"
              "      vertex 0 0.1 0\n    endloop\n  endfacet\n"
              "  facet normal 0 0 0\n    outer loop\n      vertex 0 0 -1e+10\n      vertex 0 0 -1e+10\n"
              "      vertex 2.5 nan 0\n    endloop\n  endfacet\n"
              "  facet normal 1 0 0\n    outer loop\n      vertex 0 0 -1e+10\n      vertex 0 0.1 0\n"
              "      vertex 0 0 0\n    endloop\n  endfacet\n"
              "endsolid a name\n");
    EXPECT_EQ(readBytes(folder.read("f.stl")),
              "a name; 0 0 0: 0 0 0 2.5 nan 0 0 0.1 0; 0 0 0: 0 0 -1e+10 0 0 -1e+10 2.5 nan 0; "
              "1 0 0: 0 0 -1e+10 0 0.1 0 0 0 0");
    ASSERT_EQ(parser().write(folder.file("f.stl"), Mesh(), Encoding::ascii), 1);
    EXPECT_EQ(folder.read("f.stl"), "solid Nameless\nendsolid Nameless\n");
}

TEST(MeshSTLFileParser, TellsTheEncodingAsDefined)
{
    const std::string body = bytesOf(uint32{1}) + facet(1);
    const std::string binary = facetText1;
    for (const std::string header :
         {"some header", "COLOR=abcd", "SolidModel", "Facet Normal", "facet  normal"})
        EXPECT_EQ(readBytes(padded(header) + body), header + binary);
    // every keyword makes it text, in which there is no facet
    for (const char* keyword : {"solid", "facet normal", "outer loop", "vertex", "color", "endloop",
                                "endfacet", "endsolid", "xsolidx"})
    {
        EXPECT_EQ(readBytes(padded(std::string("my ") + keyword) + body), "") << keyword;
        EXPECT_EQ(readBytes(padded(std::string("my ") + keyword) + body, Encoding::binary),
                  std::string("my ") + keyword + binary);
    }
    // in the eighth stretch that a carriage return ends, but not in the ninth; wherever the windows end
    EXPECT_EQ(readBytes(padded("\r\r\r\r\r\r\rsolid") + body), "");
    EXPECT_EQ(readBytes(padded("\r\r\r\r\r\r\r\rsolid") + body), "solid" + binary);
    for (std::size_t size = 0x80000 - 6; size <= 0x80000 + 1; ++size)
        EXPECT_EQ(
            readBytes(padded("x") + bytesOf(uint32{1}) + facet(1) + std::string(size - 134, 'x') + "solid"),
            "")
            << size;

    const TestFolder folder;
    const std::pair<std::string, Encoding> rows[] = {{padded("solid") + body, Encoding::binary},
                                                     {padded("solid") + body + "x", Encoding::ascii},
                                                     {padded("") + bytesOf(uint32{0}), Encoding::binary},
                                                     {"", Encoding::ascii}};
    for (const auto& [bytes, encoding] : rows)
    {
        Encoding told = encoding == Encoding::ascii ? Encoding::binary : Encoding::ascii;
        EXPECT_EQ(Parser::encodingBySize(folder.write("f", bytes), told), 1);
        EXPECT_EQ(told, encoding);
    }
}

TEST(MeshSTLFileParser, ReadsBinaryFilesAsFarAsTheyGo)
{
    const std::string head = padded("h");
    const std::string two = facet(1) + facet(2);
    EXPECT_EQ(readBytes(head + bytesOf(uint32{2}) + two), "h" + facetText1 + facetText2);
    EXPECT_EQ(readBytes(head + bytesOf(uint32{1}) + two), "h" + facetText1);
    EXPECT_EQ(readBytes(head + bytesOf(uint32{0xFFFFFFFF}) + two), "h" + facetText1 + facetText2);
    // a facet needs its corners, not its attribute
    EXPECT_EQ(readBytes(head + bytesOf(uint32{2}) + two.substr(0, 98)), "h" + facetText1 + facetText2);
    EXPECT_EQ(readBytes(head + bytesOf(uint32{2}) + two.substr(0, 97)), "h" + facetText1);
    EXPECT_EQ(readBytes(head), "h");
    EXPECT_EQ(readBytes("h"), "h");
    EXPECT_EQ(readBytes(""), "");
}

TEST(MeshSTLFileParser, ReadsTextInManyHands)
{
    const std::string loop = "outer loop\nvertex 4 5 6\nvertex 7 8 9\nvertex 10 11 12\nendloop\nendfacet\n";
    const std::string plain = "facet normal 1 2 3\n" + loop;
    const std::string zero = "; 0 0 0: 4 5 6 7 8 9 10 11 12";
    const auto with = [](std::string text, char lineFeed, const char* instead)
    {
        for (std::size_t at = 0; (at = text.find(lineFeed, at)) != std::string::npos;
             at += std::strlen(instead))
            text.replace(at, 1, instead);
        return text;
    };
    const std::pair<std::string, std::string> rows[] = {
        {plain, facetText1},
        {"solid a b \r\n" + with(plain, '\n', "\r\n") + "endsolid a b\r\n", "a b" + facetText1},
        {"solid x\r" + with(plain, '\n', "\r") + "endsolid x", "x" + facetText1},
        {"\tSOLID Name\nFACET NORMAL 1 2 3\nVertex 4 5 6\nVERTEX\t7\t8 9\n vertex 10 11 12 \nENDSOLID",
         "Name" + facetText1},
        {"facet  \t normal +1 2e0 .3e1 outer loop vertex 4 5 6 vertex 7 8 9 vertex 10 11 12", facetText1},
        // several solids, one of them empty
        {"solid a\n" + plain + "endsolid a\nsolid empty\nendsolid\nsolid b\n" + plain + "endsolid b\n",
         "a" + facetText1 + facetText1},
        // colours, comments and unknown words
        {"solid\ncolor 1 0 0\n; vertex\n" + with(plain, '6', "6\ncolor 0.5 0.5 0.5\nvertices 1 2 3") +
             "endsolid\n",
         facetText1},
        // normals that are missing, incomplete or not behind "normal"
        {"facet\n" + loop, zero},
        {"facet normals 1 2 3\n" + loop, zero},
        {plain + "facet normal 1 2\n" + loop, facetText1 + zero},
        {loop, zero},
        // facets of two corners, of four, with a corner that is none
        {"facet normal 1 2 3\nouter loop\nvertex 1 1 1\nvertex 2 2 2\nendloop\nendfacet\n" + plain,
         facetText1},
        {with(plain, '4', "1 1 1\nvertex 4"), "; 1 2 3: 1 1 1 4 5 6 7 8 9"},
        {with(plain, '4', "1 1\nvertex 1,5 2 3\nvertex x\nvertex\nvertex 4"), facetText1},
        {"solid cut\n" + plain.substr(0, plain.find("12")), "cut"},
        {"vertex nan -inf 1e99 vertex 0 0 0 vertex 0 0 0", "; 0 0 0: nan -inf inf 0 0 0 0 0 0"},
    };
    for (const auto& [text, expected] : rows) EXPECT_EQ(readBytes(text), expected) << text;

    // long stretches of blanks, long names and long lines, around and beyond the reader's window
    for (const uint32 size : {1000u, 0x80000u, 3'000'000u})
    {
        EXPECT_EQ(readBytes("solid\n" + std::string(size, ' ') + plain + std::string(size, '\n') + plain),
                  facetText1 + facetText1);
        EXPECT_EQ(readBytes("solid\n" + std::string(size, 'x') + " vertex 1 1 1\n" + plain), facetText1);
        EXPECT_EQ(readBytes("solid " + std::string(size, 'n') + "\n" + plain),
                  std::string(std::min(size, 1024u - 6), 'n') + facetText1);
        EXPECT_EQ(readBytes("vertex" + std::string(size + 100, ' ') + "4 5 6\n" + plain), facetText1);
    }
}
