#pragma once

#include "levelset/LevelSetInput.h"

namespace tavrix::tool
{

/// Whether the surface is made block by block, in the memory that it needs itself. Small grids are sooner
/// sampled whole; fields to be written are whole grids, and so is what bridges the holes of open meshes.
bool goesByBlocks(const LevelSetInput& input, const LevelSetOptions& options);

/// The lines that tell of the work, and how many cavities were filled.
struct MadeByBlocks
{
    std::string summary;
    uint32 filled;
};

/// Makes the mesh of the reshaped solid. `progress` is told of the stages "distances", "surface" and
/// "cavities". Throws Failure.
MadeByBlocks meshByBlocks(const LevelSetInput& input, Mesh& mesh, const LevelSetOptions& options,
                          uint32 threads, Progress& progress);

}  // namespace tavrix::tool
