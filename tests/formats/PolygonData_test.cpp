#include "formats/PolygonData.h"

#include <gtest/gtest.h>

#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "TestFolder.h"

using namespace tavrix;
using namespace tavrix::formats;

namespace
{

/// A file, and the polygons that are in it.
struct Case
{
    std::string name, text;
    Array<uint32> corners, ends;
    uint32 leftOut = 0;
};

const std::string points = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n0 0 1\n";
const std::string vtk = "# vtk DataFile Version 5.1\nx\nASCII\nDATASET ";
const std::string ply =
    "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\nproperty float y\nproperty float z\n";
const std::string faces = "property uchar flags\nproperty list uchar int vertex_indices\nend_header\n";

std::string array(const std::string& name, const std::string& type, const std::string& text)
{
    return "<DataArray Name=\"" + name + "\" type=\"" + type + "\" format=\"ascii\" NumberOfComponents=\"" +
           (name == "p" || name == "Normals" ? "3" : "1") + "\">" + text + "</DataArray>";
}

std::string cells(const std::string& name, const std::string& corners, const std::string& ends,
                  const std::string& types = "")
{
    return "<" + name + ">" + array("connectivity", "Int32", corners) + array("offsets", "Int64", ends) +
           (types.empty() ? "" : array("types", "UInt8", types)) + "</" + name + ">";
}

std::string piece(const std::string& content)
{
    return "<Piece NumberOfPoints=\"5\"><PointData>" + array("Normals", "Float32", points) +
           "</PointData><Points>" + array("p", "Float32", points) + "</Points>" + content + "</Piece>";
}

std::string vtkXml(const std::string& type, const std::string& pieces)
{
    return "<VTKFile type=\"" + type + "\"><" + type + ">" + pieces + "</" + type + "></VTKFile>";
}

const Case cases[] = {
    {"quad.ply",
     ply + "element face 3\n" + faces + points + "0 4 0 1 2 3\n7 3 0 1 4\n0 2 0 1\n",
     {0, 1, 2, 3, 0, 1, 4},
     {4, 7}},
    {"wrong.ply",
     ply + "element face 3\n" + faces + points + "0 3 0 1 5\n0 3 0 1 2\n0 3 0 1 -1\n",
     {0, 1, 2},
     {3},
     2},
    {"strips.ply",
     ply + "element tristrips 1\nproperty list int int vertex_indices\nend_header\n" + points +
         "8 0 1 2 3 -1 2 3 4\n",
     {0, 1, 2, 1, 3, 2, 2, 3, 4},
     {3, 6, 9}},
    {"old.vtk",
     vtk + "POLYDATA\nPOINTS 5 float\n" + points + "LINES 1 3\n2 0 1\nPOLYGONS 2 9\n4 0 1 2 3\n3 0 1 4\n",
     {0, 1, 2, 3, 0, 1, 4},
     {4, 7}},
    {"new.vtk",
     vtk + "POLYDATA\nPOINTS 5 float\n" + points +
         "POLYGONS 3 7\nOFFSETS vtktypeint64\n0 4 7\nCONNECTIVITY vtktypeint64\n0 1 2 3 0 1 4\n"
         "TRIANGLE_STRIPS 1 5\n4 0 1 2 3\n",
     {0, 1, 2, 3, 0, 1, 4, 0, 1, 2, 1, 3, 2},
     {4, 7, 10, 13}},
    {"grid.vtk",
     vtk + "UNSTRUCTURED_GRID\nPOINTS 5 float\n" + points +
         "CELLS 4 17\n4 0 1 2 4\n3 0 1 4\n4 0 1 3 2\n2 0 9\nCELL_TYPES 4\n10\n5\n8\n3\n",
     {0, 1, 4, 0, 1, 2, 3},
     {3, 7}},
    {"two.vtp",
     vtkXml("PolyData",
            piece(cells("Polys", "0 1 2 3 0 1 4", "4 7")) + piece(cells("Strips", "0 1 4 5", "4"))),
     {0, 1, 2, 3, 0, 1, 4, 5, 6, 9},
     {4, 7, 10},
     1},
    {"grid.vtu",
     vtkXml("UnstructuredGrid", piece(cells("Cells", "0 1 2 4 0 1 4", "4 7", "10 5"))),
     {0, 1, 4},
     {3}},
};

}  // namespace

TEST(PolygonData, IsReadFromEveryFormat)
{
    const test::TestFolder folder;
    for (const Case& expected : cases)
    {
        SCOPED_TRACE(expected.name);
        const std::string path = folder.write(expected.name, expected.text).c_str();
        EXPECT_TRUE(holdsPolygons(path));
        EXPECT_TRUE(holdsMesh(path));
        const PolygonData data = readPolygonData(path);
        EXPECT_EQ(data.corners, expected.corners);
        EXPECT_EQ(data.ends, expected.ends);
        EXPECT_EQ(data.leftOut, expected.leftOut);
        EXPECT_EQ(data.positions[4], (Vector3F{0, 0, 1}));
        const bool hasNormals =
            expected.name.find(".vt") != std::string::npos && expected.name.ends_with("k") == false;
        EXPECT_EQ(data.normals.size(), hasNormals ? data.positions.size() : 0);
    }
}

TEST(PolygonData, FilesWithoutPolygonsHoldParticles)
{
    const test::TestFolder folder;
    const std::pair<std::string, std::string> files[] = {
        {"a.ply", ply + "element face 0\n" + faces + points},
        {"b.vtk", vtk + "POLYDATA\nPOINTS 5 float\n" + points + "VERTICES 1 6\n5 0 1 2 3 4\n"},
        {"c.vtk",
         vtk + "UNSTRUCTURED_GRID\nPOINTS 5 float\n" + points + "CELLS 1 5\n4 0 1 2 4\nCELL_TYPES 1\n10\n"},
        {"d.vtp", vtkXml("PolyData", piece(cells("Verts", "0 1", "1 2") + cells("Polys", "", "")))},
        {"e.vtu", vtkXml("UnstructuredGrid", piece(cells("Cells", "0 1 2 4", "4", "10")))},
    };
    for (const auto& [name, text] : files) EXPECT_FALSE(holdsMesh(folder.write(name, text).c_str())) << name;
}

TEST(PolygonData, DamagedCellsAreRefused)
{
    const test::TestFolder folder;
    const std::pair<std::string, std::string> files[] = {
        {"a.ply", ply + "element face 1\n" + faces + points + "0 99 0 1 2\n"},
        {"b.vtk", vtk + "POLYDATA\nPOINTS 5 float\n" + points + "POLYGONS 1 4\n9 0 1 2\n"},
        {"c.vtk", vtk + "POLYDATA\nPOINTS 5 float\n" + points +
                      "POLYGONS 2 3\nOFFSETS int\n0 9\nCONNECTIVITY int\n0 1 2\n"},
        {"d.vtk", vtk + "POLYDATA\nPOINTS 5 float\n" + points +
                      "POLYGONS 3 3\nOFFSETS int\n0 3 -2\nCONNECTIVITY int\n0 1 2\n"},
        {"e.vtp", vtkXml("PolyData", piece(cells("Polys", "0 1 2", "9")))},
        {"f.vtp", vtkXml("PolyData", piece(cells("Polys", "0 1 2", "3 0")))},
    };
    for (const auto& [name, text] : files)
        EXPECT_THROW(readPolygonData(folder.write(name, text).c_str()), Failure) << name;
}
