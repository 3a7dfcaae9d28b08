#pragma once

#include <string>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// Reads the points of a BGEO file of version 5 with their attributes; those that are texts are passed over,
/// and so is all behind the points. Throws Failure when the file is cut off, damaged or of another version;
/// `path` names it in messages.
PointTable readBgeo(const Bytes& bytes, const std::string& path);

}  // namespace tavrix::formats
