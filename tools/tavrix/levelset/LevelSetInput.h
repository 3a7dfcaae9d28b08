#pragma once

#include <string>

#include <tavrix/mesh/Mesh.h>

#include "levelset/LevelSetOptions.h"
#include "run/Progress.h"

namespace tavrix::tool
{

/// The solid that a run of `tavrix levelset` starts from: a mesh, or particles with the spheres of a radius.
struct LevelSetInput
{
    Mesh mesh;
    bool isClosed = false;  ///< a mesh all of whose edges are of two faces that agree
    Array<Vector3F> centers;
    double radius = 0;  ///< 0 for a mesh

    double spacing;       ///< as asked for, or one that fits
    Box3D box;            ///< around it
    std::string summary;  ///< the line that tells what it is

    bool isMesh() const { return radius == 0; }
};

/// Reads the mesh or the particles that the options name. `progress` is told of the stage "read" and of what
/// is wrong with them. Throws Failure.
LevelSetInput readInput(const LevelSetOptions& options, Progress& progress);

}  // namespace tavrix::tool
