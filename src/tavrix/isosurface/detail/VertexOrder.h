#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Divisor.h>
#include <tavrix/isosurface/detail/SurfaceTopology.h>

// The final order of faces and vertices, from faces in the order of the cells and vertices in the order in
// which these faces name them.

namespace tavrix::detail
{

/// The parallel loop over n nodes gives the last n mod threads of them to the first workers in a second wave,
/// so those cells follow their worker's first run. They lie in the last plane, where no cell starts, unless
/// there are more threads than a plane has nodes.
class WaveOrder
{
public:
    WaveOrder(uint64 nodes, uint32 threadCount)
        : _workers(std::min<uint64>(std::max(threadCount, 1u), nodes)), _chunk(nodes / _workers)
    {
    }

    /// Whether cells up to this one keep their order.
    bool isPlain(uint32 lastCell) const { return lastCell < _workers * _chunk; }
    uint64 workerCount() const { return _workers; }
    uint64 workerOf(uint64 cell) const
    {
        return cell < _workers * _chunk ? cell / _chunk : cell - _workers * _chunk;
    }

private:
    uint64 _workers, _chunk;
};

/// Makes the faces those of the lists, one list after the other, and renumbers the vertices by appearance.
/// False when the polling stopped it.
bool takeFaces(const std::vector<std::vector<Index3>>& lists, Polling& polling, SurfaceTopology& surface);

/// The final order of vertices: as if the edge keys of all face corners went, in face order, into B = faces /
/// 2 buckets by (monoindex mod B), each key once; bucket by bucket, within a bucket by first appearance.
class VertexBuckets
{
public:
    explicit VertexBuckets(uint32 faceCount) : _buckets(faceCount / 2) {}

    uint32 count() const { return _buckets.getDivisor(); }
    uint32 bucketOf(const GridEdgeKey& key) const { return _buckets.divide(key.a).rest; }

private:
    Divisor _buckets;
};

/// Renumbers the vertices of at least two faces into their final order by a counting sort; 12 bytes a vertex
/// meanwhile. False when the polling stopped it.
bool numberByBucket(uint32 threadCount, Polling& polling, SurfaceTopology& surface);

}  // namespace tavrix::detail
