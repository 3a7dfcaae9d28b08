#pragma once

#include <string>

#include <tavrix/fields/GridFit.h>

namespace tavrix::tool
{

/// The grid in words: sizes and spacing.
std::string gridText(const GridFit& grid);

/// Bytes of memory that the machine has left for a run, some kept back; what 2^32 - 1 nodes might take where
/// it does not tell.
uint64 availableMemory();

/// Throws the Failure that work on the grid, which was fitted over the box with the reach, would pass 2^32 -
/// 1 nodes or the memory that the machine has left; the message names the file and the smallest spacing that
/// would fit.
void confirmFits(const GridFit& grid, const Box3D& box, double reach, double bytesPerNode,
                 const std::string& file);

/// Throws Failure, naming the file, when a grid of `nodes` nodes would pass the memory that the machine has
/// left.
void confirmFits(double nodes, double bytesPerNode, const std::string& file);

}  // namespace tavrix::tool
