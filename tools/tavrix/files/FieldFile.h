#pragma once

#include <string>

#include <tavrix/implicit/LevelSetSampling.h>

namespace tavrix::tool
{

/// How the samples lie in a field file: all of them, or those below the default value alone.
enum class FieldLayout
{
    Regular,
    Sparse
};

// Field files do not tell the default value that sparse ones need. The program's have a band of three
// separations: that is their default value, and samples beyond are cut to it.

/// The default value of field files: three separations.
float fieldBand(double separation);

/// Reads a field file of float samples. Throws Failure when it cannot be opened, is cut off, has the other
/// layout, or holds what makes no sense: counts that are not those of the file and of each other, a grid that
/// is not finite or whose separations differ, samples that are not finite, indices out of range or order.
/// Before memory is taken it is asked whether bytesPerNode for each node fit.
LevelSet readField(const std::string& path, FieldLayout layout, double bytesPerNode);

/// Cuts the samples to the band of field files, flags the surface's nodes anew, and writes the file, whole or
/// not at all. Throws Failure.
void writeField(const std::string& path, FieldLayout layout, LevelSet& surface);

}  // namespace tavrix::tool
