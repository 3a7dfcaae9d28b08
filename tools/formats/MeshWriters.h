#pragma once

#include <string>
#include <vector>

#include "formats/VertexStreams.h"

namespace tavrix::formats
{

// Each writes the meshes into a file and returns 0 or an error code; after 0 it is whole. A mesh's vertices
// with several normals are written several times. Normals are written when all meshes have them (glTF: those
// that do), attributes as far as one mesh has them, zeros elsewhere. `target` is the name that messages give
// to the file; Failure is thrown when the meshes are more than the format can number.

/// PLY, binary little-endian: positions and normals as floats, velocities as vx, vy, vz, texture coordinates
/// as s, t, the colours "color" as red, green, blue in bytes, other numbers by their names, and vectors as
/// name_x, name_y, name_z.
int writePly(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const std::string& target);

/// VTK XML polygons (.vtp), raw appended data: positions as doubles, normals and attributes as floats by
/// their names, and for each triangle the number of its mesh, "Part".
int writeVtp(const std::string& path, const ArrayOfPtr<Mesh>& meshes);

/// glTF 2.0, binary (.glb): a node for each mesh, positions as floats, texture coordinates as TEXCOORD_0,
/// downwards, the colours "color" as COLOR_0, other attributes by their names behind an underscore.
int writeGlb(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const std::string& target);

}  // namespace tavrix::formats
