#include "formats/ParticleFile.h"

#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "Bytes.h"
#include "formats/Failure.h"
#include "TestFolder.h"

using namespace tavrix;
using namespace tavrix::formats;
using namespace std::string_literals;
using test::bytesOf;

namespace
{

const Array<Vector3F> positions{{1, 2, 3}, {4, 5, 6}, {-0.5f, 0.25f, 8}};
const Array<Vector3F> velocities{{0, 0, 1}, {0, 1, 0}, {2, 0, 0}};
const Array<float> densities{1000, 1001.5f, 999};

/// The same three particles in a format; `end` is where what is needed of them ends, so that files that are
/// cut before are damaged, or 0 for text, which may look whole.
struct Sample
{
    std::string name, bytes;
    std::size_t end;
    bool hasVelocities = true, hasDensities = true;
};

template <class T>
std::string big(std::initializer_list<T> values)
{
    std::string bytes;
    for (const T& value : values) bytes += test::reversedBytesOf(value);
    return bytes;
}

std::string vtkHead(const std::string& encoding, const std::string& dataset)
{
    return "# vtk DataFile Version 4.2\nby hand\n" + encoding + "\nDATASET " + dataset + "\n";
}

Sample legacyText()
{
    return {"text.vtk",
            vtkHead("ASCII", "UNSTRUCTURED_GRID") +
                "FIELD FieldData 2\nTIME 1 1 double\n0.5\nwho 1 1 string\nsome one\n"
                "POINTS 3 double\n1 2 3 4 5\n6 -5e-1 .25 8\nCELLS 3 6\n1 0\n1 1\n1 2\nCELL_TYPES 3\n1\n1\n1\n"
                "METADATA\nINFORMATION 0\n\nCELL_DATA 3\nSCALARS cell int\nLOOKUP_TABLE default\n7\n8\n9\n"
                "POINT_DATA 3\nSCALARS my%20density float 1\nLOOKUP_TABLE default\n1000 1001.5 999\n"
                "VECTORS V float\n0 0 1\n0 1 0\n2 0 0\n",
            0, true, false};
}

Sample legacyBinary()
{
    const std::string bytes =
        vtkHead("BINARY", "POLYDATA") + "POINTS 3 float\n" +
        big({1.f, 2.f, 3.f, 4.f, 5.f, 6.f, -0.5f, 0.25f, 8.f}) + "\nVERTICES 4 3\nOFFSETS vtktypeint64\n" +
        big<int64>({0, 1, 2, 3}) + "\nCONNECTIVITY vtktypeint64\n" + big<int64>({0, 1, 2}) +
        "\nPOINT_DATA 3\nFIELD FieldData 3\nname 1 3 string\n\xC1"
        "a\xC2"
        "bc\xC0"
        "density 1 3 double\n" +
        big({1000., 1001.5, 999.}) + "\nVelocity 3 3 short\n" + big<int16>({0, 0, 1, 0, 1, 0, 2, 0, 0});
    return {"binary.vtk", bytes, bytes.find("\nVERTICES")};
}

std::string vtkXml(const std::string& attributes, const std::string& points, const std::string& data)
{
    return "<?xml version=\"1.0\"?>\n<VTKFile type=\"PolyData\" " + attributes +
           ">\n<PolyData>\n<Piece NumberOfPoints=\"3\" NumberOfVerts=\"0\">\n<PointData>\n" + data +
           "</PointData>\n<Points>\n" + points + "</Points>\n</Piece>\n</PolyData>\n";
}

std::string dataArray(const std::string& attributes, const std::string& text)
{
    return "<DataArray " + attributes + ">\n  " + text + "\n</DataArray>\n";
}

const std::string float3 = "type=\"Float32\" NumberOfComponents=\"3\" ";

Sample xmlText()
{
    return {"text.vtp",
            vtkXml("byte_order=\"LittleEndian\"",
                   dataArray(float3 + "format=\"ascii\"", "1 2 3 4 5 6\n-0.5 0.25 8"),
                   dataArray("type=\"Int8\" Name=\"U\" NumberOfComponents=\"3\" format=\"ascii\"",
                             "0 0 1 0 1 0 2 0 0") +
                       dataArray("type=\"Float64\" Name=\"density\" format=\"ascii\"", "1000 1001.5 999")) +
                "</VTKFile>\n",
            0};
}

/// Header and data in one piece of base64, and in two, as writers do either.
Sample xmlInline()
{
    const std::string bytes =
        vtkXml("byte_order=\"BigEndian\" header_type=\"UInt64\"",
               dataArray(float3 + "format=\"binary\"",
                         "AAAAAAAAACQ/gAAAQAAAAEBAAABAgAAA\n QKAAAEDAAAC/AAAAPoAAAEEAAAA="),
               dataArray(float3 + "Name=\"vel\" format=\"binary\"",
                         "AAAAAAAAACQ=AAAAAAAAAAA/gAAAAAAAAD+AAAAAAAAAQAAAAAAAAAAAAAAA")) +
        "</VTKFile>";
    return {"inline.vtp", bytes, bytes.size(), true, false};
}

Sample xmlCompressed()
{
    const std::string positionBlocks =
        "AwAAABAAAAAEAAAAFQAAABcAAAAMAAAAeJxjYGiwZ2BgcAAiIG5wAAAQgwJAeJxjYFjgwMBwAIgZ9jMwNNgBABrJA154nGNgYHAE"
        "AABFAEI=";
    const std::string velocityBlocks =
        "AwAAABAAAAAEAAAADwAAABEAAAAMAAAAeJxjYICBBnsQCQAESwDAeJxjYGiwZ4AABxABAAuDAQB4nGNgYGAAAAAEAAE=";
    const std::string bytes =
        vtkXml("byte_order=\"LittleEndian\" compressor=\"vtkZLibDataCompressor\"",
               "<DataArray " + float3 + "format=\"appended\" offset=\"0\"/>",
               "<DataArray " + float3 + "Name=\"V\" format=\"appended\" offset=\"108\"/>") +
        "<AppendedData encoding=\"base64\">\n  _" + positionBlocks + velocityBlocks;
    return {"compressed.vtp", bytes, bytes.size(), true, false};
}

Sample xmlAppended()
{
    const std::string data = bytesOf<uint32>({36}) +
                             bytesOf({1.f, 2.f, 3.f, 4.f, 5.f, 6.f, -0.5f, 0.25f, 8.f}) +
                             bytesOf<uint32>({24}) + bytesOf({1000., 1001.5, 999.});
    const std::string bytes =
        vtkXml("byte_order=\"LittleEndian\" header_type=\"UInt32\"",
               "<DataArray " + float3 + "format=\"appended\" offset=\"0\"/>",
               "<DataArray type=\"Float64\" Name=\"density\" format=\"appended\" offset=\"40\"/>") +
        "<AppendedData encoding=\"raw\">_" + data;
    return {"appended.vtu", bytes, bytes.size(), false};
}

Sample bgeo()
{
    const std::string bytes = "BgeoV" + big<int32>({5, 3, 0, 0, 0, 3, 0, 0, 0}) + "\0\1v\0\3"s +
                              big<int32>({5, 0, 0, 0}) + "\0\4name\0\1"s + big<int32>({4, 1}) + "\0\2ab"s +
                              "\0\7density\0\1"s + big<int32>({0, 0}) +
                              big({1.f, 2.f, 3.f, 1.f, 0.f, 0.f, 1.f, 0.f, 1000.f}) +
                              big({4.f, 5.f, 6.f, 1.f, 0.f, 1.f, 0.f, 0.f, 1001.5f}) +
                              big({-0.5f, 0.25f, 8.f, 1.f, 2.f, 0.f, 0.f, 0.f, 999.f});
    return {"in.bgeo", bytes, bytes.size()};
}

std::string plyHead(const std::string& format)
{
    return "ply\nformat " + format +
           " 1.0\ncomment by hand\nelement other 1\nproperty list uchar short some\n"
           "element vertex 3\nproperty float x\nproperty float y\nproperty float z\nproperty char vx\n"
           "property char vy\nproperty char vz\nproperty double density\nelement face 0\n"
           "property list uchar int vertex_indices\nend_header\n";
}

Sample plyText()
{
    return {"text.ply",
            plyHead("ascii") + "2 7 8\n1 2 3 0 0 1 1000\n\n4 5 6 0 1 0 1001.5\n-0.5 0.25 8 2 0 0 999 77\n",
            0};
}

Sample plyBinary(bool isBig)
{
    std::string bytes = plyHead(isBig ? "binary_big_endian" : "binary_little_endian") + "\1ab";
    for (uint32 n = 0; n < 3; ++n)
    {
        const Vector3F &p = positions[n], &v = velocities[n];
        bytes += isBig ? big({p.x, p.y, p.z}) : bytesOf({p.x, p.y, p.z});
        for (uint32 axis = 0; axis < 3; ++axis) bytes += static_cast<char>(v[axis]);
        bytes += isBig ? big({double{densities[n]}}) : bytesOf({double{densities[n]}});
    }
    return {isBig ? "big.ply" : "little.ply", bytes, bytes.size()};
}

std::string npy(std::string header, const std::string& data)
{
    header += "\n";
    return "\x93NUMPY\1\0"s + bytesOf<uint16>({static_cast<uint16>(header.size())}) + header + data;
}

std::vector<Sample> npyFiles()
{
    const std::string records =
        npy("{'descr': [('pos', '<f8', (3,)), ('name', '<U1'), ('vel', '|i1', (3,)), ('density', '>f4')], "
            "'fortran_order': False, 'shape': (3,), }",
            bytesOf({1., 2., 3.}) + "abcd\0\0\1"s + big({1000.f}) + bytesOf({4., 5., 6.}) + "abcd\0\1\0"s +
                big({1001.5f}) + bytesOf({-0.5, 0.25, 8.}) + "abcd\2\0\0"s + big({999.f}));
    const std::string columns = npy("{'descr': '>f4', 'fortran_order': True, 'shape': (3, 3)}",
                                    big({1.f, 4.f, -0.5f, 2.f, 5.f, 0.25f, 3.f, 6.f, 8.f}));
    const std::string halves =
        npy("{'descr': '<f2', 'fortran_order': False, 'shape': (3, 3)}",
            bytesOf<uint16>({0x3C00, 0x4000, 0x4200, 0x4400, 0x4500, 0x4600, 0xB800, 0x3400, 0x4800}));
    return {{"records.npy", records, records.size()},
            {"columns.npy", columns, columns.size(), false, false},
            {"halves.npy", halves, halves.size(), false, false}};
}

const std::string rows = "1 2 3 0 0 1 1000\n4 5 6 0 1 0 1001.5\n-0.5 0.25 8 2 0 0 999\n";

std::string spaced(std::string text, const std::string& separator)
{
    for (std::size_t n = 0; (n = text.find(' ', n)) != std::string::npos; n += separator.size())
        text.replace(n, 1, separator);
    return text;
}

std::vector<Sample> textFiles()
{
    return {
        {"comma.csv",
         "\xEF\xBB\xBFX, y ,\"z [m]\",velocity_x,velocity_y,velocity_z,Density\r\n" + spaced(rows, ","), 0,
         true, false},
        {"semicolon.csv",
         "\"P:0\";\"P:1\";\"P:2\";vx;vy;vz;density\n1,0;2;3;0;0;1;1000\n4;5;6;0;1;0;1001,5\n-0,5;0,25;8;2;0;"
         "0;999\n",
         0},
        {"tab.tsv",
         "density\tx\ty\tz\tlabel\tU.x\tU.y\tU.z\n1000\t1\t2\t3\tno\t0\t0\t1\n1001."
         "5\t4\t5\t6\tone\t0\t1\t0\n999\t-.5\t+.25\t8\t\t2\t0\t0",
         0},
        {"quoted.csv",
         "x,y,z,\"what, or who\",density\n1,2,3,\"a\",\"1000\"\n\n4,5,6,\"b\",1001.5\n-0.5,0.25,8,,999\n", 0,
         false},
        {"commented.txt", "# of 2020\n# x y z vx vy vz density\n" + rows + "# the end\n", 0},
        {"plain.xyz", "1 2 3\n  4\t5 6  \n\n-0.5 0.25 8", 0, false, false},
        {"atoms.xyz",
         "3\nwater 1 2 3\nO 1 2 3\nH 4 5 6\nH -0.5 0.25 8\n3\nthe next frame\nO 9 9 9\nH 9 9 9\nH 9 9 9\n", 0,
         false, false},
        {"extended.xyz",
         "3\nLattice=\"1 0 0 0 1 0 0 0 1\" Properties=density:R:1:species:S:1:pos:R:3:fixed:L:1:velo:R:3 "
         "t=1\n"
         "1000 O 1 2 3 T 0 0 1\n1001.5 H 4 5 6 F 0 1 0\n999 H -0.5 0.25 8 T 2 0 0\n",
         0},
    };
}

std::vector<Sample> jsonFiles()
{
    const std::string objects =
        R"([{"x": 1, "y": 2, "z": 3, "vel": [0, 0, 1], "density": 1000, "name": "a", "more": {"x": 5}},
            {"density": 1001.5, "vel": [0, 1, 0], "z": 6, "y": 5, "x": 4, "late": 3},
            {"x": -0.5, "y": 0.25, "z": 8, "vel": [2, 0, 0, 7], "density": 999}])";
    return {
        {"points.json", " [[1, 2, 3], [4, 5, 6], [-0.5, 0.25, 8]]", 40, false, false},
        {"objects.json", objects, objects.size()},
        {"within.json", R"({"time": 1, "fluid": )" + objects + "}", objects.size()},
        {"arrays.json",
         R"({"meta": {"x": [9]}, "pos": [[1, 2, 3], [4, 5, 6], [-0.5, 0.25, 8]], "density": [1000, 1001.5, 999]})",
         100, false},
        {"flat.json", R"({"positions": [1, 2, 3, 4, 5, 6, -0.5, 0.25, 8], "density": [1000, 1001.5, 999]})",
         80, false},
        {"columns.json", R"({"x": [1, 4, -0.5], "y": [2, 5, 0.25], "z": [3, 6, 8]})", 50, false, false},
    };
}

std::vector<Sample> samples()
{
    std::vector<Sample> all{legacyText(),  legacyBinary(), xmlText(), xmlInline(),      xmlCompressed(),
                            xmlAppended(), bgeo(),         plyText(), plyBinary(false), plyBinary(true)};
    for (const auto& more : {npyFiles(), textFiles(), jsonFiles()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

class ParticleFileTest : public testing::Test
{
protected:
    ParticleFile read(const std::string& name, const std::string& bytes)
    {
        return readParticleFile(_folder.write(name, bytes).c_str());
    }

    /// The message with which a file is refused; empty when it is read.
    std::string refusal(const std::string& name, const std::string& bytes)
    {
        try
        {
            read(name, bytes);
        }
        catch (const Failure& failure)
        {
            return failure.what();
        }
        return "";
    }

private:
    test::TestFolder _folder;
};

/// The attributes by their names; vectors as their lengths.
std::map<std::string, std::vector<float>> attributesOf(const ParticleFile& file)
{
    std::map<std::string, std::vector<float>> all;
    for (const PointAttribute& attribute : file.attributes)
        if (const auto* numbers = std::get_if<Array<float>>(&attribute.values))
            all[attribute.name].assign(numbers->begin(), numbers->end());
        else
            for (const Vector3F& v : std::get<Array<Vector3F>>(attribute.values))
                all[attribute.name + "|v"].push_back(length(v));
    return all;
}

}  // namespace

TEST_F(ParticleFileTest, EveryFormatGivesTheSameParticles)
{
    for (const Sample& sample : samples())
    {
        SCOPED_TRACE(sample.name);
        ParticleFile file{};
        ASSERT_NO_THROW(file = read(sample.name, sample.bytes)) << refusal(sample.name, sample.bytes);
        EXPECT_EQ(file.positions, positions);
        EXPECT_EQ(file.velocities, sample.hasVelocities ? velocities : Array<Vector3F>());
        EXPECT_EQ(file.leftOut, 0u);
        const auto attributes = attributesOf(file);
        if (sample.hasDensities)
        {
            ASSERT_TRUE(attributes.contains("density"));
            EXPECT_EQ(attributes.at("density"), std::vector<float>(densities.begin(), densities.end()));
        }
    }
    EXPECT_TRUE(attributesOf(read("text.vtk", legacyText().bytes)).contains("my density"));
}

TEST_F(ParticleFileTest, CutFilesAreRefusedOrHoldFewerParticles)
{
    for (const Sample& sample : samples())
        for (std::size_t size = 0; size < sample.bytes.size(); ++size)
        {
            const std::string message = refusal(sample.name, sample.bytes.substr(0, size));
            EXPECT_TRUE(!message.empty() || size >= sample.end) << sample.name << " of " << size << " bytes";
            EXPECT_TRUE(message.empty() || message.find(sample.name) != std::string::npos) << message;
        }
}

TEST_F(ParticleFileTest, CountsThatCannotBeTrueAreNotBelieved)
{
    struct Lie
    {
        Sample sample;
        std::string truth, lie;
    };
    const std::string mask = "4294967295", wide = "9999999999999999999";
    const Lie lies[] = {
        {legacyText(), "POINTS 3", "POINTS " + mask},
        {legacyText(), "CELLS 3 6", "CELLS 3 " + wide},
        {legacyText(), "TIME 1 1", "TIME " + mask + " " + mask},
        {legacyBinary(), "POINTS 3", "POINTS " + mask},
        {legacyBinary(), "density 1 3", "density 99999999 3"},
        {xmlText(), "NumberOfPoints=\"3\"", "NumberOfPoints=\"" + mask + "\""},
        {xmlInline(), "AAAAAAAAACQ/", "fwAAAAAAACQ/"},
        {xmlCompressed(), "_AwAAABAAAAAE", "_AwAA/BAAAAAE"},
        {xmlCompressed(), "_AwAAABAAAAAE", "_AwAAABAA8P8E"},
        {xmlAppended(), "_" + bytesOf<uint32>({36}), "_\xFF\xFF\xFF\xFF"},
        {bgeo(), big<int32>({5, 3}), big<int32>({5, -1})},
        {bgeo(), "\0\7density\0\1"s, "\0\7density\xFF\xFF"s},
        {plyText(), "vertex 3", "vertex " + mask},
        {plyBinary(false), "vertex 3", "vertex " + wide},
        {npyFiles()[0], "'shape': (3,)", "'shape': (" + wide + ",)"},
        {npyFiles()[1], "(3, 3)", "(" + mask + ", " + mask + ")"},
        {textFiles()[6], "3\nwater", mask + "\nwater"},
        {textFiles()[7], "velo:R:3", "velo:R:" + mask},
    };
    for (const Lie& lie : lies)
    {
        std::string bytes = lie.sample.bytes;
        const std::size_t place = bytes.find(lie.truth);
        ASSERT_NE(place, std::string::npos) << lie.sample.name;
        EXPECT_NE(refusal(lie.sample.name, bytes.replace(place, lie.truth.size(), lie.lie)), "") << lie.lie;
    }
}

TEST_F(ParticleFileTest, WhatIsNotFiniteIsLeftOutOrZero)
{
    const ParticleFile file =
        read("in.csv",
             "x,y,z,vx,vy,vz,a,b\n1,2,3,nan,1,2,inf,1\nnan,2,3,1,1,1,5,2\n4,5,,1,1,1,6,3\n7,8,9,0,0,0,x,4\n");
    EXPECT_EQ(file.positions, (Array<Vector3F>{{1, 2, 3}, {7, 8, 9}}));
    EXPECT_EQ(file.velocities, (Array<Vector3F>{{0, 1, 2}, {0, 0, 0}}));
    EXPECT_EQ(file.leftOut, 2u);
    EXPECT_EQ(attributesOf(file)["a"], (std::vector<float>{0, 0}));
    EXPECT_EQ(attributesOf(file)["b"], (std::vector<float>{1, 4}));
}

TEST_F(ParticleFileTest, NamesSayWhatColumnsAre)
{
    // the header of a CSV file with one row 1, 2, 3 ..., and the attributes with their numbers or lengths
    using Attributes = std::map<std::string, std::vector<float>>;
    struct Case
    {
        std::string header;
        Attributes attributes;
        Array<Vector3F> velocities;
    };
    const Case cases[] = {
        {"x,y,z,nx,ny,nz,id", {{"normal|v", {std::sqrt(77.f)}}, {"id", {7}}}, {}},
        {"posX,posY,posZ,VX,VY,VZ", {}, {{4, 5, 6}}},
        {"Points_0,Points_1,Points_2,t_0,t_1,t_2,t_3",
         {{"t_0", {4}}, {"t_1", {5}}, {"t_2", {6}}, {"t_3", {7}}},
         {}},
        {"x,y,z,r,g,b,max", {{"color|v", {std::sqrt(77.f)}}, {"max", {7}}}, {}},
        {"x,y,z,ax,tax,index", {{"ax", {4}}, {"tax", {5}}, {"index", {6}}}, {}},
        {"x (m),y (m),z (m),F[0],F[1],F[2]", {{"F|v", {std::sqrt(77.f)}}}, {}},
    };
    for (const Case& expected : cases)
    {
        const auto count =
            static_cast<std::size_t>(std::count(expected.header.begin(), expected.header.end(), ','));
        const ParticleFile file =
            read("in.csv", expected.header + "\n" + "1,2,3,4,5,6,7"s.substr(0, 2 * count + 1) + "\n");
        EXPECT_EQ(file.positions, (Array<Vector3F>{{1, 2, 3}})) << expected.header;
        EXPECT_EQ(attributesOf(file), expected.attributes) << expected.header;
        EXPECT_EQ(file.velocities, expected.velocities) << expected.header;
    }
    EXPECT_NE(refusal("in.csv", "a,b,c\n1,2,3\n").find("x, y and z"), std::string::npos);
    EXPECT_EQ(read("in.csv", "x,y\n1,2\n").positions, (Array<Vector3F>{{1, 2, 0}}));
    const ParticleFile nameless = read("in.txt", "a 1 2 3 4\nb 5 6 7 8\n");
    EXPECT_EQ(attributesOf(nameless), (Attributes{{"column_5", {4, 8}}}));
}

TEST_F(ParticleFileTest, ColorsOfBytesGoToOne)
{
    const std::string head =
        "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n";
    const std::string colors = "property uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
    const ParticleFile file = read("in.ply", head + colors + "1 2 3 255 0 51\n");
    ASSERT_EQ(file.attributes.size(), 1u);
    EXPECT_EQ(std::get<Array<Vector3F>>(file.attributes[0].values), (Array<Vector3F>{{1, 0, 0.2f}}));
}

TEST_F(ParticleFileTest, GzipIsReadThroughAndDamageSeen)
{
    const std::string hex =
        "1f8b08000000000002031d8a310e802010c0f67b4b2577e819f98f0e2c2e1a02bc5e309ddab4d2e8944a6994ce79dd4f7e9b"
        "1891151d18"
        "a6aab2e1ecbfea0c165c160d8e86e81ce39e6f4a493eabc9ef5c51000000";
    std::string bytes;
    for (std::size_t n = 0; n < hex.size(); n += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(n, 2), nullptr, 16));
    EXPECT_EQ(read("in.csv.gz", bytes).positions, positions);
    EXPECT_EQ(read("in.csv.gz", bytes).velocities, velocities);
    for (std::size_t size = 2; size < bytes.size(); ++size)
        EXPECT_NE(refusal("in.csv.gz", bytes.substr(0, size)), "") << size;
    bytes[40] ^= 1;
    EXPECT_NE(refusal("in.csv.gz", bytes).find("gzip"), std::string::npos);
}

TEST_F(ParticleFileTest, OtherKindsAreRefusedWithTheWayOut)
{
    const struct
    {
        std::string name, bytes, words;
    } cases[] = {
        {"in.obj", "v 0 0 0\n", "is a mesh"},
        {"in.vti", "<VTKFile type=\"ImageData\"></VTKFile>", "ImageData"},
        {"in.pvtu", "<VTKFile type=\"PUnstructuredGrid\"></VTKFile>", "one of them"},
        {"in.vtu", "<VTKFile type=\"UnstructuredGrid\" compressor=\"vtkLZMADataCompressor\"></VTKFile>",
         "LZMA"},
        {"in.vtk", vtkHead("ASCII", "STRUCTURED_POINTS"), "STRUCTURED_POINTS"},
        {"in.bgeo", "\x7FNSJb1234", "classic"},
        {"in.npy", npy("{'descr': '<f4', 'fortran_order': False, 'shape': (3,)}", bytesOf({1.f, 2.f, 3.f})),
         "(count, 3)"},
        {"in.json", "{\"a\": [1, 2]}", "x, y and z"},
        {"in.csv", "x,y,z\n", "no particles"},
        {"in.doc", "hello", "no known kind"},
    };
    for (const auto& [name, bytes, words] : cases)
        EXPECT_NE(refusal(name, bytes).find(words), std::string::npos) << refusal(name, bytes);
}

TEST_F(ParticleFileTest, RealFilesHoldWhatTheirNamesSay)
{
    if (test::testData().empty()) GTEST_SKIP() << "TAVRIX_TEST_DATA is not set";
    const std::map<std::string, uint32> counts{{"cube_2366_particles.vtk", 2366},
                                               {"cube_8_particles.vtu", 8},
                                               {"dam_break_frame_23_24389_particles.bgeo", 24389},
                                               {"double_dam_break_frame_26_4732_particles.vtk", 4732},
                                               {"free_particles_125_particles.vtk", 125},
                                               {"pentagonal_hexecontahedron_32286_particles.bgeo", 32286},
                                               {"ply_points_ascii.ply", 8},
                                               {"ply_points_bin.ply", 8}};
    for (const auto& [name, count] : counts)
    {
        const ParticleFile file = readParticleFile(test::testData() + "/foreign/" + name);
        EXPECT_EQ(file.positions.size(), count) << name;
        EXPECT_EQ(file.leftOut, 0u) << name;
    }
    const ParticleFile vtk =
        readParticleFile(test::testData() + "/foreign/double_dam_break_frame_26_4732_particles.vtk");
    const ParticleFile bin = readParticleFile(test::testData() + "/particles/double_dam_break_4732_v6.bin");
    EXPECT_EQ(vtk.positions, bin.positions);
    EXPECT_EQ(vtk.velocities, bin.velocities);
}
