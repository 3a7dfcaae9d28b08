#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/meshio/ObjNumbers.h>
#include <tavrix/meshio/ObjReadingMode.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// Reads and writes Wavefront OBJ text files; success is 0. They hold positions, texture coordinates,
/// normals, triangles, quads and groups. Every other statement is skipped. A mesh carries its texture
/// coordinates (u, v, w) as the extra array "UV_MAP_0", a `Vector3F` per position. Numbers are read and
/// written as in the "C" locale, whatever the locale of the process is. The parser keeps no state: several
/// threads may use it at once.
class TX_GEOMETRY_API Mesh_OBJ_FileParser
{
public:
    /// What a "g" line does.
    using ReadingMode = ObjReadingMode;

    /// Reads a file and appends one mesh per group that has faces to `meshes`, in the order in which the
    /// groups first appear, named as the group: what stands behind the "g", blanks inside included. Faces
    /// before the first "g" line, and those behind a "g" without a name, belong to "default". Returns 0, or a
    /// MeshFileError after which `meshes` is as it was. O(file), a few times its numbers in memory; the same
    /// for every number of threads, which each read a part of the file.
    ///
    /// Coordinates are read in single precision; one that is missing is 0. A mesh has the positions that its
    /// faces use, in file order; a position used with several texture coordinates becomes one position for
    /// each of them, so that they fit per position, and a corner without texture coordinate has (0, 0, 0).
    /// Normals are taken, in file order, when every corner of the group has one, and those of the faces
    /// calculated; otherwise "Nor" is empty and "TrindexNor" equals "TrindexPos"
    /// (Mesh::confirmNormalsCalculated makes them, and keeps those of a file). A quad becomes the triangles
    /// (0, 1, 2) and (0, 2, 3). Each corner of a face may have a syntax of its own (p, p/t, p//n, p/t/n);
    /// negative indices count back from the latest element. Ignored are faces of fewer than three or more
    /// than four corners, and faces with a position that the file does not have; a texture coordinate or
    /// normal that it does not have counts as missing. Of a line, the first 255 characters count, up to a
    /// zero byte.
    int read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode = ReadingMode::groupByName,
             uint32 threadCount = 1) const;
    /// The same with a choice of channels: texture coordinates are read when `channelNames` has "uv".
    int read(const TX_String& fileName, const Array<TX_String>& channelNames, ArrayOfPtr<Mesh>& meshes,
             ReadingMode mode = ReadingMode::groupByName, uint32 threadCount = 1) const;

    /// Reads a file as most programs mean it, and tells what it left out. Faces may have any number of
    /// corners, and are cut as triangulatePolygon does; of a concave quad that is the other diagonal. Lines
    /// are as long as they are, end with a carriage return as well, and are joined to the next by a backslash
    /// at their end; a # begins a comment anywhere but in a group's name, and a byte order mark is passed
    /// over. All else is as `read` has it. The report's corners are indices without an element; it is cut
    /// when the last line has no end and lacks something. Results as those of `read`.
    int readLeniently(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode,
                      MeshReadingReport& report, uint32 threadCount = 1) const;

    /// Writes the meshes into one file, each as a group of its name; null pointers are skipped. Returns 0 or
    /// a MeshFileError; only after 0 is the file whole. Numbers have six decimals. Faces refer to normals
    /// when "Nor" is not empty and "TrindexNor" has one triple a face, and to texture coordinates when
    /// "UV_MAP_0" has one element a position; without, it is not written. Line breaks in a name become
    /// blanks. `options` has no meaning yet. The callback is polled every few milliseconds; meshFileStopped
    /// when it stops, and the file is cut off.
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32 options = 0,
              CancelCallback callback = nullptr) const;
    /// The same with other numbers.
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, const ObjNumbers& numbers,
              CancelCallback callback = nullptr) const;
    /// The same with a choice of channels: texture coordinates are written when `channelNames` has "uv".
    int write(const TX_String& fileName, const Array<TX_String>& channelNames, const ArrayOfPtr<Mesh>& meshes,
              CancelCallback callback = nullptr) const;
    /// The same for one mesh.
    int write(const TX_String& fileName, const Mesh& mesh, CancelCallback callback = nullptr) const;
};

/// The process's OBJ parser.
template <>
TX_GEOMETRY_API Mesh_OBJ_FileParser& MeshFileParser<Mesh_OBJ_FileParser>::instance();

}  // namespace tavrix
