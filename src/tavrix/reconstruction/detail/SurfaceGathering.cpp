#include <tavrix/reconstruction/detail/SurfaceGathering.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>

namespace tavrix::detail
{

namespace
{

/// Brings the elements of one member of the surfaces to the first rank. Those that came, which know how many
/// they have, get them in order.
template <class T>
void gatherRuns(RankGroup& ranks, std::vector<BlockSurface>& own, std::vector<BlockSurface>& came,
                StoredRun<T> BlockSurface::*member)
{
    const bool isFirst = ranks.rank() == 0;
    auto incoming = std::make_shared<Array<T>>(exchangeRecords<T>(ranks,
                                                                  [&](const auto& send)
                                                                  {
                                                                      if (isFirst) return;
                                                                      for (const BlockSurface& s : own)
                                                                          for (const T& e : s.*member)
                                                                              send(0, e);
                                                                  })
                                                   .records);
    const T* next = incoming->data();
    for (BlockSurface& surface : came)
    {
        (surface.*member).elements = std::shared_ptr<const T[]>(incoming, next);
        next += (surface.*member).count;
    }
    if (!isFirst)
        for (BlockSurface& surface : own) (surface.*member).elements.reset();
}

/// What surfaces consist of.
template <class Use>
void forEachRun(const Use& use)
{
    use(&BlockSurface::vertices);
    use(&BlockSurface::faces);
    use(&BlockSurface::foreignEdges);
    use(&BlockSurface::sharedVertices);
    use(&BlockSurface::verticesAtNodes);
}

struct SurfaceHeader
{
    BlockIndex block;
    uint32 counts[5];
};

SurfaceHeader headerOf(const BlockSurface& surface)
{
    SurfaceHeader header{surface.block, {}};
    uint32* count = header.counts;
    forEachRun([&](auto member) { *count++ = (surface.*member).count; });
    return header;
}

BlockSurface withoutElements(const SurfaceHeader& header)
{
    BlockSurface surface{header.block, {}, {}, {}, {}, {}};
    const uint32* count = header.counts;
    forEachRun([&](auto member) { (surface.*member).count = *count++; });
    return surface;
}

}  // namespace

void gatherSurfaces(RankGroup& ranks, std::vector<BlockSurface>& surfaces)
{
    const bool isFirst = ranks.rank() == 0;
    const auto headers = exchangeRecords<SurfaceHeader>(ranks,
                                                        [&](const auto& send)
                                                        {
                                                            if (isFirst) return;
                                                            for (const BlockSurface& surface : surfaces)
                                                                send(0, headerOf(surface));
                                                        });
    std::vector<BlockSurface> came;
    for (const SurfaceHeader& header : headers.records) came.push_back(withoutElements(header));
    forEachRun([&](auto member) { gatherRuns(ranks, surfaces, came, member); });
    if (!isFirst)
    {
        surfaces.clear();
        return;
    }
    std::move(came.begin(), came.end(), std::back_inserter(surfaces));
    std::sort(surfaces.begin(), surfaces.end(),
              [](const BlockSurface& a, const BlockSurface& b) { return a.block < b.block; });
}

}  // namespace tavrix::detail
