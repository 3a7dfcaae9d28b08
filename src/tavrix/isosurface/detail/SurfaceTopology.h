#pragma once

#include <algorithm>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/isosurface/detail/CellRange.h>
#include <tavrix/isosurface/detail/SignRows.h>

namespace tavrix::detail
{

/// (monoindex of an edge's lower node, axis).
using EdgeKey = Tuple2<uint32, uint32>;

/// Runs work(begin, end) over the planes [0, planeCount) of a grid's nodes, or the slabs of cells between
/// them, in parallel. Polls the callback before every round of some tens of milliseconds; false when it
/// stopped the work.
template <class Work>
bool forEachPlaneRange(const GridDescription3<double>& grid, uint32 planeCount, uint32 threadCount,
                       CancelCallback callback, Work work)
{
    constexpr uint64 nodesPerWorker = uint64{1} << 25;
    const uint64 perRound = std::max<uint64>(nodesPerWorker / grid.sizeYZ, 1) * std::max(threadCount, 1u);
    for (uint64 start = 0; start < planeCount; start += perRound)
    {
        if (isCancelled(callback)) return false;
        parallelFor(std::min<uint64>(perRound, planeCount - start), threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { work(static_cast<uint32>(start + begin), static_cast<uint32>(start + end)); });
    }
    return true;
}

/// The surface without its shape: which grid edge each vertex lies on, and which vertices each face joins.
/// Both empty when there is no surface of at least two faces, or when the work was cancelled.
struct SurfaceTopology
{
    uint64 cornerCount = 0;  ///< face corners that the cells gave, also when they made no surface
    Array<EdgeKey> vertices;
    Array<Index3> faces;
};

/// Marching cubes on sign bits (Lorensen and Cline 1987), the faces in the order of the cells' monoindices.
///
/// Vertices are numbered as if the edge keys of all face corners went, in face order, into B = faces / 2
/// buckets by (monoindex mod B), each key once: bucket by bucket, within a bucket by first appearance. The
/// face order is that of the parallel loop over all nodes with this thread count, worker by worker.
///
/// Method: a cell owns the edges that no earlier cell of the range touches, so counting triangles and owned
/// edges per slab of cells gives every slab its place in the output; slabs are then filled independently,
/// each finding the vertices of its neighbours in two planes of edge numbers; a counting sort brings the
/// numbers into bucket order. Linear in nodes / 64 plus faces; temporary memory is one bit a node, 12 bytes a
/// vertex and two planes a worker.
SurfaceTopology buildSurfaceTopology(const GridDescription3<double>& grid, const SignRows& signs,
                                     const CellRange& cells, uint32 threadCount, CancelCallback callback);

}  // namespace tavrix::detail
