#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/ObjNumbers.h>

#include "preview/View.h"
#include "run/Progress.h"

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
    ObjNumbers numbers;
    bool asciiStl = false;
};

/// --scale, --output-up, --crease, --digits and --ascii, under the heading "Output"; `up` belongs to --up.
void addMeshFinish(CLI::App& command, MeshFinish& finish);

/// Rejects what has no effect on a file of that name.
void checkMeshFinish(const CLI::App& command, const std::string& output);

/// Turns and scales positions, normals, and of what the vertices carry the vectors, of which velocities are
/// scaled as well, while colours and texture coordinates stay.
void turnAndScale(Mesh& mesh, const MeshFinish& finish);

/// Finishes the meshes and writes them (formats::writeMeshes): makes normals with edges, where they go into
/// the file; turns and scales (turnAndScale). Notes when the decimals of an
/// OBJ file are too few to keep the ends of edges apart. Throws Failure.
void finishAndWrite(ArrayOfPtr<Mesh>& meshes, const MeshFinish& finish, const std::string& output,
                    Progress& progress);

}  // namespace tavrix::tool
