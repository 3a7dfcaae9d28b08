#pragma once

#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileStatus.h>

namespace tavrix::detail
{

/// True when one of the first eight stretches that end with a carriage return holds a keyword of STL text,
/// in small letters: binary files of some programs have "COLOR=" or the like in their header.
bool beginsAsStlText(FileBufferIn& file);

/// Reads the facets of an ASCII STL file, which is open at its start, into an empty mesh, named after its
/// first solid. Failed when the system reports an error, or the facets are more than a mesh can number.
/// The report tells what is left out.
FileStatus readStlText(FileBufferIn& file, Mesh& mesh, MeshReadingReport& report);

/// Reads the facets of a binary STL file likewise, as many as there are; the mesh is named after the header's
/// text.
FileStatus readStlBinary(FileBufferIn& file, Mesh& mesh, MeshReadingReport& report);

}  // namespace tavrix::detail
