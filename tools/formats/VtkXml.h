#pragma once

#include <string>
#include <vector>

#include "formats/VtkData.h"

namespace tavrix::formats
{

/// Reads a VTK XML file of points: VTU, VTP or VTS, piece by piece. Arrays may be ASCII, base64 or appended,
/// raw or base64, compressed by zlib or not, of either byte order. Throws Failure when the file is cut off,
/// damaged, compressed in another way, or holds a grid without points; `path` names it in messages.
std::vector<VtkPiece> readVtkXml(const Bytes& bytes, const std::string& path, VtkWish wish);

}  // namespace tavrix::formats
