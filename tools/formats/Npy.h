#pragma once

#include <string>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// Reads the points of an NPY file: a table of numbers with three columns or more, by rows or by columns,
/// whose first three are x, y and z, or a row of records whose fields tell what they are (x, y and z or a
/// vector). Throws Failure when the file is cut off, damaged or holds another array; `path` names it in
/// messages.
PointTable readNpy(const Bytes& bytes, const std::string& path);

}  // namespace tavrix::formats
