#pragma once

#include <string>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// Reads an XYZ file: plain columns, as readTextTable does, or, where the first line is a count and the
/// second a comment, so many rows of an element's name, x, y and z. A comment with Properties= says what the
/// columns are. Of several frames the first is read. Throws Failure when the file is cut off or has no rows;
/// `path` names it in messages.
PointTable readXyz(const Bytes& bytes, const std::string& path);

}  // namespace tavrix::formats
