#pragma once

#include "levelset/LevelSetInput.h"

namespace tavrix::tool
{

/// Whether the surface is made block by block, in the memory that it needs itself. Small grids are sooner
/// sampled whole; fields to be written are whole grids, and so is what bridges the holes of open meshes.
bool goesByBlocks(const LevelSetInput& input, const LevelSetOptions& options);

/// Makes the mesh of the reshaped solid, and returns the lines that tell of the work. `progress` is told of
/// the stages "distances" and "surface". Throws Failure.
std::string meshByBlocks(const LevelSetInput& input, Mesh& mesh, const LevelSetOptions& options,
                         uint32 threads, Progress& progress);

}  // namespace tavrix::tool
