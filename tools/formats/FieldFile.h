#pragma once

#include <functional>
#include <string>

#include <tavrix/foundation/Optional.h>
#include <tavrix/implicit/LevelSetSampling.h>

namespace tavrix::formats
{

/// How the samples lie in a field file: all of them, or those below the default value alone.
enum class FieldLayout
{
    Regular,
    Sparse
};

// Field files do not tell the default value that sparse ones need. Those of our programs have a band of three
// separations: that is their default value, and samples beyond are cut to it.

/// The default value of field files: three separations.
float fieldBand(double separation);

/// Reads a field file of float samples, of the layout or, without one, of that which it has. Throws Failure
/// when it cannot be opened, is cut off, has the other layout, or holds what makes no sense: counts that are
/// not those of the file and of each other, a grid that is not finite or whose separations differ, samples
/// that are not finite, indices out of range or order. `confirm`, if there is one, gets the number of nodes
/// before memory is taken, and may throw.
LevelSet readField(const std::string& path, Optional<FieldLayout> layout,
                   const std::function<void(uint32 nodes)>& confirm = {});

/// Cuts the samples to the band of field files, flags the surface's nodes anew, and writes the file, whole or
/// not at all. Throws Failure.
void writeField(const std::string& path, FieldLayout layout, LevelSet& surface);

}  // namespace tavrix::formats
