#pragma once

#include <string>

#include "formats/Surface.h"

namespace tavrix::formats
{

/// Reads the meshes of a 3MF file: one for each object that the items of its build name, directly or as a
/// component, placed by the transforms on the way; of a file that builds nothing, every object. Lengths are
/// in the file's unit, whatever it is; colours, materials and slices are passed over. Coordinates that are no
/// numbers are 0 and counted. Throws Failure when the file is damaged, refers to objects that it does not
/// have, or repeats them until they fill the memory.
void readThreeMf(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report);

}  // namespace tavrix::formats
