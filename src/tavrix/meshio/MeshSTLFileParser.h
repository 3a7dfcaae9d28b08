#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// Reads and writes STL files, binary and ASCII; success is 1, unlike the 0 of the other parsers. STL knows
/// no shared corners: a mesh from a file of N facets has 3 N positions in file order, one normal a facet, and
/// the faces (0, 1, 2), (3, 4, 5), ...; nothing is welded. Coordinates that are not finite are kept as they
/// are. Numbers are read and written as in the "C" locale, whatever the locale of the process is. The parser
/// keeps no state: several threads may use it at once.
class TX_GEOMETRY_API MeshSTLFileParser
{
public:
    /// The two kinds of STL files.
    enum class Encoding : uint32
    {
        binary = 0,
        ascii = 1
    };

    /// Reads a file into one new mesh, which is appended to `meshes`. Returns 1, or a MeshFileError after
    /// which `meshes` is as it was. A file that cannot be opened is also reported on standard output.
    ///
    /// The file is taken as ASCII when a keyword ("solid", "facet normal", "outer loop", "vertex", "color",
    /// "endloop", "endfacet", "endsolid", in small letters) stands in one of the first
    /// eight stretches that end with a carriage return: so is a binary file with "solid" in its header. Hosts
    /// that would rather be right ask encodingBySize and force the encoding. A pipe cannot be tested and
    /// read: meshFileFailed without a forced encoding.
    ///
    /// As many facets are read as there are; memory is taken for those alone, whatever a count says.
    /// Attributes and colours are skipped, incomplete facets left out (docs/formats.md has the rules).
    /// Several solids of an ASCII file become one mesh. It is named after the header, or the first solid.
    int read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const;
    /// The same with the encoding given, not tested.
    int read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, Encoding encoding) const;
    /// The same, telling what was left out: facets that lack corners or, in a binary file, are counted but
    /// not there; corners beyond a facet's third; numbers that a corner lacks. A binary file is cut when it
    /// holds fewer facets than it counts, an ASCII one when its last solid does not end.
    int read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, Encoding encoding,
             MeshReadingReport& report) const;

    /// Tells the encoding by the file's size: binary when it is exactly that of the facets counted at byte 80
    /// (84 + 50 N), else ASCII. Returns 1, or a MeshFileError with `encoding` unchanged: meshFileFailed when
    /// the file has no size (a pipe).
    static int encodingBySize(const TX_String& fileName, Encoding& encoding);

    /// Writes the first mesh of the list and returns 1 or a MeshFileError; only after 1 is the file whole. An
    /// empty list, or a null pointer at its start, is meshFileFailed, and no file is touched. Faces with a
    /// corner that is no position are left out; a mesh without faces gives a file of no facets. `encoding` is
    /// Encoding::ascii; every other value means binary.
    ///
    /// Binary: the header is the mesh's name, padded with zero bytes to 80; a longer name is written whole
    /// and makes the header longer, which other readers do not expect. Facet normals and attributes are zero.
    /// ASCII: facet normals are those of the mesh's corners, zero for facets without area. Numbers are the
    /// shortest that read back as the same float. Line breaks in a name become blanks.
    ///
    /// The callback is polled every few milliseconds; meshFileStopped when it stops, and the file is cut off.
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32 encoding = 0,
              CancelCallback callback = nullptr) const;
    /// The same for one mesh.
    int write(const TX_String& fileName, const Mesh& mesh, Encoding encoding = Encoding::binary,
              CancelCallback callback = nullptr) const;
};

/// The process's STL parser.
template <>
TX_GEOMETRY_API MeshSTLFileParser& MeshFileParser<MeshSTLFileParser>::instance();

}  // namespace tavrix
