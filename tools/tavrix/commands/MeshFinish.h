#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

#include "preview/View.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// What is done to meshes between their making and their file, for tools that disagree with ours.
struct MeshFinish
{
    double scale = 1;
    UpAxis up = UpAxis::Y;           ///< of what is read
    std::optional<UpAxis> outputUp;  ///< of what is written
    std::optional<double> crease;    ///< degrees between faces that keep an edge in their normals
};

/// --scale, --output-up and --crease, under the heading "Output"; `up` belongs to --up.
void addMeshFinish(CLI::App& command, MeshFinish& finish);

/// Rejects what has no effect on a file of that name.
void checkMeshFinish(const CLI::App& command, const std::string& output);

/// Makes normals with edges, where they go into the file; turns and scales positions, normals, and of what
/// the vertices carry the vectors, of which velocities are scaled as well. Colours and texture coordinates
/// stay.
void finishMeshes(ArrayOfPtr<Mesh>& meshes, const MeshFinish& finish, const std::string& output);

}  // namespace tavrix::tool
