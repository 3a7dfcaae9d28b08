#pragma once

#include <string>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/SheetSeparation.h>

namespace tavrix::tool
{

/// How vertices are joined: along every axis they differ by less than a tolerance, or, where it is 0, by
/// nothing. Each tolerance, of up to eight, joins what the one before left over.
struct WeldOptions
{
    std::vector<double> tolerances;
    bool dropThin = false;  ///< also faces no higher than the last tolerance
};

/// Joins the vertices of each of a file's meshes, drops the faces whose corners came together, and leaves out
/// vertices without a face. Sheets that came together are cut apart (separateSheets), and where a tolerance
/// is above 0 faces back to back go; returns how many. Nothing is kept but the names, positions and faces,
/// whose indices must be valid; `withNormals` makes smooth normals, which keep creases. Throws Failure when
/// no face is left.
SheetSeparation weldMeshes(ArrayOfPtr<Mesh>& meshes, const WeldOptions& options, bool withNormals,
                           const std::string& file);

/// Prints what was cut apart, if anything.
void tellSeparated(const SheetSeparation& separated);

}  // namespace tavrix::tool
