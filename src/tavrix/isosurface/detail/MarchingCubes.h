#pragma once

#include <algorithm>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/isosurface/detail/CellRange.h>
#include <tavrix/isosurface/detail/CrossedCells.h>
#include <tavrix/isosurface/detail/SurfaceTopology.h>

namespace tavrix::detail
{

/// Nodes that a worker passes over between two polls: one to some milliseconds.
inline constexpr uint64 nodesPerPoll = uint64{1} << 18;

/// Marching cubes on sign bits (Lorensen and Cline 1987), the faces in the order of the cells' monoindices.
///
/// Vertices are numbered as the faces first name them (numberByBucket gives them their final numbers). The
/// face order is that of the parallel loop over all nodes with this thread count, worker by worker.
///
/// Method: a cell owns the edges that no earlier cell of the range touches, so counting triangles and owned
/// edges per slab of cells gives every slab its place in the output; slabs are then filled independently,
/// each finding the vertices of its neighbours in two planes of edge numbers. Linear in nodes / 64 plus
/// faces; temporary memory is one bit a node and two planes a worker.
SurfaceTopology marchCubes(const GridDescription3<double>& grid, const SignRows& signs,
                           const CellRange& cells, uint32 threadCount, Polling& polling);

/// The same from the crossed cells of the range alone, in any order, for storages that do not hold every
/// sample: linear in these cells, whatever the grid's size.
SurfaceTopology marchCubes(const GridDescription3<double>& grid, Array<CrossedCell> crossed,
                           const CellRange& cells, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
