#pragma once

#include <string>

#include "formats/Surface.h"

namespace tavrix::formats
{

/// Reads an OFF text file: positions, normals (NOFF) and colours (COFF) of vertices, of which each begins a
/// line, and polygons; colours of faces and texture coordinates are passed over. Numbers that are missing are
/// 0 and counted, as are the faces left out. Throws Failure when the file is binary, of other than three
/// dimensions, cut off, or none.
Surface readOff(const std::string& path, MeshReadingReport& report);

}  // namespace tavrix::formats
