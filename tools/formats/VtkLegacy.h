#pragma once

#include <string>

#include "formats/VtkData.h"

namespace tavrix::formats
{

/// Reads a legacy VTK file, ASCII or binary, of version 5.1 or any before: POLYDATA, UNSTRUCTURED_GRID and
/// STRUCTURED_GRID. Numbers are looked at where they lie; text is parsed. Attributes of cells, and those of
/// points that are no numbers, are passed over. Throws Failure when the file is cut off, damaged or holds a
/// grid without points; `path` names it in messages.
VtkPiece readVtkLegacy(const Bytes& bytes, const std::string& path, VtkWish wish);

}  // namespace tavrix::formats
