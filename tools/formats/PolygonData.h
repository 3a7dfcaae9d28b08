#pragma once

#include <string>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

#include "formats/PointAttribute.h"

namespace tavrix::formats
{

/// The mesh that a PLY or VTK file holds, as it stands there: points, and polygons of three corners or more.
struct PolygonData
{
    Array<Vector3F> positions;               ///< of all points; they may be not finite
    Array<Vector3F> normals;                 ///< one a point, or none
    std::vector<PointAttribute> attributes;  ///< all others that the file names
    Array<uint32> corners;                   ///< the polygons' points, one polygon after the other; all valid
    Array<uint32> ends;  ///< one a polygon: where its corners end and those of the next begin
    uint32 leftOut;      ///< polygons that named points which the file does not hold, and were left out
};

/// Whether a PLY, legacy VTK or VTK XML file holds polygons, so that it is to be taken as a mesh, and else as
/// particles. Costs about the reading of the file's bytes, little of the parsing. Throws Failure when it
/// cannot be opened or its headers are damaged; false for files of other kinds.
bool holdsPolygons(const std::string& path);

/// Reads the polygons of a PLY, legacy VTK or VTK XML file; strips become triangles, and of grids those cells
/// are taken that are triangles, quads or polygons. Throws Failure when it cannot be opened, is cut off or
/// damaged, or has no points.
PolygonData readPolygonData(const std::string& path);

}  // namespace tavrix::formats
