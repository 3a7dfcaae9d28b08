#pragma once

#include <string>
#include <string_view>

#include "formats/PointTable.h"
#include "formats/VtkData.h"

namespace tavrix::formats
{

/// What a PLY file holds: its vertices, and its faces when they are asked for. Vectors are not gathered yet.
struct PlyData
{
    PointTable points;
    PolygonCells polygons;
};

/// Reads a PLY file, ascii or binary of either byte order: every property of the element vertex that is a
/// number, and the corners of the elements face and tristrips. Other elements are passed over. Throws Failure
/// when the file is cut off or damaged, or has no vertices; `path` names it in messages.
PlyData readPly(const Bytes& bytes, const std::string& path, bool withPolygons);

/// Whether the header, at the front of these bytes, states faces or strips.
bool plyHoldsPolygons(std::string_view file, const std::string& path);

}  // namespace tavrix::formats
