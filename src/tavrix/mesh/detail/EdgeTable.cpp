#include <tavrix/mesh/detail/EdgeTable.h>

#include <algorithm>
#include <span>
#include <stdexcept>

#include <tavrix/foundation/detail/Sorting.h>

namespace tavrix::detail
{

namespace
{

/// One half-edge, filed under the lower position of its edge.
struct Use
{
    uint32 upperPosition;
    uint32 halfEdge;
};

bool hasEdges(const Index3& t) { return t.a != t.b && t.b != t.c && t.c != t.a; }

template <class Visit>
bool forEachHalfEdge(const Array<Index3>& faces, Polling& polling, const Visit& visit)
{
    return inPieces(polling, faces.size(), scatteredItems,
                    [&](uint64 begin, uint64 end)
                    {
                        for (auto f = static_cast<uint32>(begin); f < end; ++f)
                        {
                            const Index3 t = faces[f];
                            if (!hasEdges(t)) continue;
                            visit(3 * f + 0, t.a, t.b);
                            visit(3 * f + 1, t.b, t.c);
                            visit(3 * f + 2, t.c, t.a);
                        }
                    });
}

/// Fills the array with `count` equal elements.
template <class T>
bool fill(Array<T>& array, uint32 size, const T& value, Polling& polling)
{
    array.resize(size);
    return inPieces(polling, size, lightItems,
                    [&](uint64 begin, uint64 end)
                    { std::fill(array.data() + begin, array.data() + end, value); });
}

/// All uses in the order (lower position, half-edge); `ends` receives the end of each position's run.
Array<Use> usesByLowerPosition(const Array<Index3>& faces, uint32 positionCount, Polling& polling,
                               Array<uint32>& ends)
{
    uint32 start = 0;
    if (!fill(ends, positionCount, 0u, polling) ||
        !forEachHalfEdge(faces, polling,
                         [&](uint32, uint32 from, uint32 to) { ++ends[std::min(from, to)]; }) ||
        !inPieces(polling, positionCount, lightItems,
                  [&](uint64 begin, uint64 end)
                  {
                      for (uint64 p = begin; p < end; ++p) start += std::exchange(ends[p], start);
                  }))
        return {};
    Array<Use> uses(start);
    forEachHalfEdge(faces, polling,
                    [&](uint32 h, uint32 from, uint32 to) {
                        uses[ends[std::min(from, to)]++] = {std::max(from, to), h};
                    });
    return uses;
}

/// Brings the uses around one position into the order (upper position, half-edge). Nearly always a handful.
void sortUses(std::span<Use> uses)
{
    constexpr std::size_t handful = 24;
    const auto before = [](const Use& a, const Use& b) { return a.upperPosition < b.upperPosition; };
    if (uses.size() > handful) return std::stable_sort(uses.begin(), uses.end(), before);
    insertionSort(uses.data(), uses.data() + uses.size(), before);
}

/// Files each half-edge under the first half-edge of its edge.
void groupUses(std::span<const Use> uses, Array<uint32>& firstOfHalfEdge)
{
    Use first{noIndex, noIndex};
    for (const Use& use : uses)
    {
        if (use.upperPosition != first.upperPosition) first = use;
        firstOfHalfEdge[use.halfEdge] = first.halfEdge;
    }
}

}  // namespace

EdgeTable::EdgeTable(const Array<Index3>& faces, uint32 positionCount, Polling& polling)
{
    if (faces.size() >= (1u << 30))
        throw std::length_error("tavrix::Mesh: too many faces for face-edge indices");
    Array<uint32> ends;
    Array<Use> uses = usesByLowerPosition(faces, positionCount, polling, ends);
    if (polling.isStopped() || !fill(edgeOfHalfEdge, 3 * faces.size(), noIndex, polling)) return;
    const bool grouped = inPieces(polling, ends.size(), scatteredItems,
                                  [&](uint64 first, uint64 last)
                                  {
                                      for (uint64 p = first; p < last; ++p)
                                      {
                                          const uint32 begin = p == 0 ? 0 : ends[p - 1];
                                          const std::span<Use> around(uses.data() + begin, ends[p] - begin);
                                          sortUses(around);
                                          groupUses(around, edgeOfHalfEdge);
                                      }
                                  });
    if (!grouped) return;
    inPieces(polling, edgeOfHalfEdge.size(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto h = static_cast<uint32>(begin); h < end; ++h)
                 {
                     const uint32 first = edgeOfHalfEdge[h];
                     if (first != noIndex)
                         edgeOfHalfEdge[h] = first == h ? edgeCount++ : edgeOfHalfEdge[first];
                 }
             });
}

EdgeTable::EdgeTable(const Array<Index3>& faces, uint32 positionCount)
{
    Polling none(nullptr);
    *this = EdgeTable(faces, positionCount, none);
}

Array<uint32> EdgeTable::firstHalfEdges() const
{
    Array<uint32> firsts(edgeCount);
    uint32 found = 0;
    for (uint32 h = 0; found < edgeCount; ++h)
        if (edgeOfHalfEdge[h] == found) firsts[found++] = h;
    return firsts;
}

Array<uint32> EdgeTable::useCounts() const
{
    Array<uint32> counts(edgeCount, 0u);
    for (const uint32 e : edgeOfHalfEdge)
        if (e != noIndex) ++counts[e];
    return counts;
}

Array<FacedgeTriple> facedgeNeighbours(const EdgeTable& edges, uint32 faceCount, Polling& polling)
{
    Array<FacedgeTriple> neighbours;
    if (!fill(neighbours, faceCount, {IndexFacedge::none(), IndexFacedge::none(), IndexFacedge::none()},
              polling))
        return neighbours;
    // of every edge the first half-edge, and how many there are
    Array<uint32> firsts(edges.edgeCount), counts(edges.edgeCount);
    uint32 found = 0;
    const bool counted = inPieces(polling, edges.edgeOfHalfEdge.size(), lightItems,
                                  [&](uint64 begin, uint64 end)
                                  {
                                      for (auto h = static_cast<uint32>(begin); h < end; ++h)
                                      {
                                          const uint32 e = edges.edgeOfHalfEdge[h];
                                          if (e == noIndex) continue;
                                          if (e == found)
                                          {
                                              firsts[found] = h;
                                              counts[found++] = 0;
                                          }
                                          ++counts[e];
                                      }
                                  });
    if (!counted) return neighbours;
    inPieces(polling, edges.edgeOfHalfEdge.size(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto h = static_cast<uint32>(begin); h < end; ++h)
                 {
                     const uint32 e = edges.edgeOfHalfEdge[h];
                     if (e == noIndex || counts[e] != 2 || firsts[e] == h) continue;
                     const uint32 other = firsts[e];
                     neighbours[h / 3][h % 3] = facedgeOfHalfEdge(other);
                     neighbours[other / 3][other % 3] = facedgeOfHalfEdge(h);
                 }
             });
    return neighbours;
}

Array<FacedgeTriple> facedgeNeighbours(const EdgeTable& edges, uint32 faceCount)
{
    Polling none(nullptr);
    return facedgeNeighbours(edges, faceCount, none);
}

}  // namespace tavrix::detail
