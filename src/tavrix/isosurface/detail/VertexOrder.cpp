#include <tavrix/isosurface/detail/VertexOrder.h>

#include <tavrix/foundation/detail/BucketSort.h>

namespace tavrix::detail
{

bool takeFaces(const std::vector<std::vector<Index3>>& lists, Polling& polling, SurfaceTopology& surface)
{
    PollCounter work(polling, scatteredItems);
    const Array<GridEdgeKey> keys = surface.vertices;
    Array<uint32> renumbered(keys.size(), noIndex);
    uint32 vertex = 0;
    Index3* target = surface.faces.data();
    for (const auto& list : lists)
        for (Index3 f : list)
        {
            for (uint32 c = 0; c < 3; ++c)
            {
                uint32& number = renumbered[f[c]];
                if (number == noIndex)
                {
                    surface.vertices[vertex] = keys[f[c]];
                    number = vertex++;
                }
                f[c] = number;
            }
            *target++ = f;
            if (!work.add(1)) return false;
        }
    return true;
}

bool numberByBucket(uint32 threadCount, Polling& polling, SurfaceTopology& surface)
{
    const VertexBuckets buckets(surface.faces.size());
    const Array<GridEdgeKey>& keys = surface.vertices;
    Array<GridEdgeKey> sorted(keys.size());
    Array<uint32> number(keys.size());
    placeByBucket(
        keys.size(), buckets.count(), threadCount, polling,
        [&](uint32 v) { return buckets.bucketOf(keys[v]); },
        [&](uint32 v, uint32 place)
        {
            sorted[place] = keys[v];
            number[v] = place;
        });
    if (polling.isStopped()) return false;
    surface.vertices = std::move(sorted);
    return inPieces(polling, surface.faces.size(), scatteredItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 f = begin; f < end; ++f)
                        {
                            Index3& face = surface.faces[f];
                            face = {number[face.a], number[face.b], number[face.c]};
                        }
                    });
}

}  // namespace tavrix::detail
