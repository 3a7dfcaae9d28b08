#pragma once

#include <string>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/Matrix4.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshReadingReport.h>

#include "formats/PolygonData.h"

namespace tavrix::formats
{

/// A surface as a file holds it, before it is a mesh.
struct Surface
{
    std::string name;
    Array<Vector3D> positions;
    Array<Vector3F> normals;                 ///< one a position, or none
    std::vector<PointAttribute> attributes;  ///< one element a position each
    Array<Index3> triangles;                 ///< they may name positions that are not there
};

/// The polygons of a file cut into triangles. Those of fewer than three corners, and those that the reader
/// left out, are counted.
Surface surfaceOf(PolygonData&& data, MeshReadingReport& report);

/// Moves a surface by a matrix: positions, normals and vectors called velocities; the faces of one that it
/// mirrors are turned around.
void place(Surface& surface, const Matrix4D& matrix);

/// Appends the surface as a mesh if it has faces. Triangles that name positions which are not there are left
/// out and counted. Normals are taken when all of them are directions. Attributes become extra arrays of one
/// element a position, velocities under the name "Velocity", texture coordinates under "UV_MAP_0".
void addMesh(ArrayOfPtr<Mesh>& meshes, Surface&& surface, MeshReadingReport& report);

}  // namespace tavrix::formats
