#pragma once

#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::formats
{

/// Whether an STL file is binary, as its size tells, or, should it be cut off, zero bytes near its start:
/// many binary files claim in their headers to be ASCII.
bool isBinaryStl(const std::string& path);

/// What a mesh file holds: its meshes, one a group of an OBJ file or an object of an ASE file, with valid
/// indices; and the number of faces that a BIN file names and that were left out, for they have corners that
/// it does not hold.
struct MeshFile
{
    ArrayOfPtr<Mesh> meshes;
    uint32 leftOut;
};

/// Reads a mesh file of any format. Binary STL files are known by their size, and normals that an STL file
/// leaves out are calculated. Throws Failure when the file cannot be read, is of another kind or holds no
/// face.
MeshFile readMeshes(const std::string& path);

/// Whether velocities, and whether attributes of any name, go into a file of that name.
/// @{
bool holdsVelocities(const std::string& path);
bool holdsAttributes(const std::string& path);
/// @}

/// Whether vertex normals go into a file of that name; those of STL files are the writer's, and BIN files
/// hold none.
bool holdsNormals(const std::string& path);

struct MeshWriteOptions
{
    bool asciiStl = false;
};

/// Writes the meshes into one file, whole or not at all, in the format that the extension says; .obj for
/// devices. What the format can hold is carried over: OBJ holds groups, normals and texture coordinates, BIN
/// texture coordinates and velocities, STL triangles alone. BIN and STL files get the meshes joined. Throws
/// Failure.
void writeMeshes(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const MeshWriteOptions& options);

}  // namespace tavrix::formats
