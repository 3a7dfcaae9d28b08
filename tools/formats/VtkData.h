#pragma once

#include <string>
#include <vector>

#include "formats/PointTable.h"
#include "formats/PolygonData.h"

namespace tavrix::formats
{

/// What is to be taken from a VTK file.
enum class VtkWish
{
    Points,    ///< points and their attributes
    Polygons,  ///< both, and polygons
    Outline,   ///< only how many polygons there are
};

/// The cells of a VTK file that are polygons: corners one polygon after the other, and where each ends, not
/// checked yet.
struct PolygonCells
{
    Array<int64> corners;
    Array<uint32> ends;
};

/// What kind of cells a list holds, as VTK numbers them; cells that are no surface are of any other number.
enum class VtkCell : int64
{
    Triangle = 5,
    Strip = 6,
    Polygon = 7,
    Pixel = 8,
    Quad = 9,
};

bool isPolygonCell(int64 type);

/// Appends a cell that is a polygon: strips become triangles, pixels quads, other cells nothing.
void addCell(PolygonCells& cells, VtkCell type, std::span<const int64> corners);

/// A piece of a VTK file; files of the older kind have one.
struct VtkPiece
{
    PointTable points;
    PolygonCells polygons;
};

/// Puts the piece's polygons behind those of the pieces before, and its points behind theirs. Polygons that
/// name points which the piece does not have are left out and counted.
void append(PolygonData& all, PointData& points, const VtkPiece& piece);

}  // namespace tavrix::formats
