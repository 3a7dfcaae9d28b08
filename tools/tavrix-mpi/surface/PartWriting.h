#pragma once

#include <tavrix/reconstruction/RankMesh.h>

#include "ranks/MpiRanks.h"
#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// Whether the mesh of a frame can be written while each rank has its part of it: into a BIN, PLY, VTP or
/// binary STL file, and nothing is to be done to it that needs the whole. Collective.
bool isWrittenInParts(const SurfaceOptions& options, MpiRanks& ranks);

/// Turns and scales the parts as the options say and writes the file, whole or not at all: the bytes that
/// finishAndWrite would write of the whole mesh. Throws Failure on all ranks. Collective.
void writeParts(const SurfaceOptions& options, MpiRanks& ranks, RankMesh& part);

}  // namespace tavrix::tool
