#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// Reads meshes from formats of other programs that are not written here; success is 0. Numbers are read as
/// in the "C" locale, whatever the locale of the process is. It keeps no state: several threads may use it at
/// once.
class TX_GEOMETRY_API MeshImporter
{
public:
    /// Reads an ASE text file and appends one mesh per `*MESH` block that has faces to `meshes`, in file
    /// order, named after the `*NODE_NAME` of its `*GEOMOBJECT`. Returns 0, or a MeshFileError after which
    /// `meshes` is as it was: meshFileFailed when there is no `*MESH` block, meshFileEndsTooEarly when the
    /// file ends inside a block. O(file).
    ///
    /// Read are the vertices (single precision) and the faces of the lists. Vertices are taken as they stand:
    /// exporters write them in world coordinates, so the `*NODE_TM` is not applied. Vertices may be numbered
    /// in any order, the last of equal numbers counts. Left out are lines that lack a number, and faces with
    /// a vertex that is not there. Counts, normals, texture coordinates, materials, animations and all blocks
    /// that are not known are skipped. "Nor" is empty, and "TrindexNor" equals "TrindexPos". Statements begin
    /// with a star and stand in one line, of which the first 1023 characters count.
    int read_ASE(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const;
};

/// The process's importer.
template <>
TX_GEOMETRY_API MeshImporter& MeshFileParser<MeshImporter>::instance();

}  // namespace tavrix
