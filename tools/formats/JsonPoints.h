#pragma once

#include <string>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// Reads points off JSON: an array of points, which are arrays of numbers or objects of numbers and arrays of
/// them, or an object whose arrays hold a number or an array of numbers for each point; it may hold one of
/// the other kinds under any name, too. What is no number is passed over. Throws Failure when the text is no
/// JSON or holds no such points; `path` names the file in messages.
PointTable readJsonPoints(const Bytes& bytes, const std::string& path);

}  // namespace tavrix::formats
