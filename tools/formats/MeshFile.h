#pragma once

#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/meshio/ObjNumbers.h>

namespace tavrix::formats
{

/// Whether an STL file is binary, as its size tells, or, should it be cut off, zero bytes near its start:
/// many binary files claim in their headers to be ASCII.
bool isBinaryStl(const std::string& path);

/// What a mesh file holds: its meshes, one a group of an OBJ file or an object of an ASE, glTF or 3MF file,
/// with valid indices, and what was left out. Attributes of vertices are extra arrays of a mesh, one element
/// a position, floats or Vector3F under their names.
struct MeshFile
{
    ArrayOfPtr<Mesh> meshes;
    MeshReadingReport report;
};

/// What was left out of a mesh file, as in "2 faces are left out, 3 corners name nothing"; empty when
/// nothing was.
std::string leftOutText(const MeshReadingReport& report);

/// Reads a mesh file of any format, compressed by gzip or not. Binary STL files are known by their size, and
/// normals that an STL file leaves out are calculated. Faces of more than three corners become triangles.
/// Threads are of use
/// for OBJ files. Throws Failure when the file cannot be read, is of another kind or holds no face.
MeshFile readMeshes(const std::string& path, uint32 threadCount = 1);

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
    ObjNumbers objNumbers{};
};

/// Writes the meshes into one file, whole or not at all, in the format that the extension says; .obj for
/// devices. What the format can hold is carried over: OBJ holds groups, normals and texture coordinates, BIN
/// texture coordinates and velocities, STL triangles alone, PLY, VTP and GLB normals and every attribute.
/// Only OBJ and GLB keep meshes apart; VTP tells them by a number. Throws Failure.
void writeMeshes(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const MeshWriteOptions& options);

}  // namespace tavrix::formats
