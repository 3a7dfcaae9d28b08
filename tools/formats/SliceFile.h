#pragma once

#include <span>
#include <string>
#include <vector>

#include <tavrix/meshproc/MeshSlicing.h>

namespace tavrix::formats
{

/// What files of slices have in common.
struct SliceSheet
{
    Box2D box;         ///< around all slices, so that the pages of several files lie on one another
    std::string unit;  ///< of lengths, as SVG knows them
};

/// The extensions of files that slices can be written to: svg and csv.
const std::vector<std::string>& sliceExtensions();

/// Writes slices, which count from a number on, into one file, whole or not at all.
///
/// SVG: a group each, which is a layer, with a path of all loops whose holes show, and one of open chains; in
/// units of the sheet, y upwards, on a page as large as its box with a small margin. CSV: a line a point,
/// with the numbers of its layer and, within that, of its loop or chain, which is "outer", "hole" or "open";
/// the shortest numbers that read back the same. Throws Failure.
void writeSlices(const std::string& path, std::span<const MeshSlice> slices, uint32 firstNumber,
                 const SliceSheet& sheet);

}  // namespace tavrix::formats
