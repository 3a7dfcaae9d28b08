#include <tavrix/mesh/detail/EdgeTable.h>

#include <algorithm>
#include <span>
#include <stdexcept>

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
void forEachHalfEdge(const Array<Index3>& faces, const Visit& visit)
{
    for (uint32 f = 0; f < faces.size(); ++f)
    {
        const Index3 t = faces[f];
        if (!hasEdges(t)) continue;
        visit(3 * f + 0, t.a, t.b);
        visit(3 * f + 1, t.b, t.c);
        visit(3 * f + 2, t.c, t.a);
    }
}

/// All uses in the order (lower position, half-edge); `ends` receives the end of each position's run.
Array<Use> usesByLowerPosition(const Array<Index3>& faces, uint32 positionCount, Array<uint32>& ends)
{
    ends.assign(positionCount, 0);
    forEachHalfEdge(faces, [&](uint32, uint32 from, uint32 to) { ++ends[std::min(from, to)]; });
    uint32 start = 0;
    for (uint32& end : ends) start += std::exchange(end, start);
    Array<Use> uses(start);
    forEachHalfEdge(faces,
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
    for (std::size_t i = 1; i < uses.size(); ++i)
        for (std::size_t k = i; k > 0 && before(uses[k], uses[k - 1]); --k) std::swap(uses[k], uses[k - 1]);
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

EdgeTable::EdgeTable(const Array<Index3>& faces, uint32 positionCount)
{
    if (faces.size() >= (1u << 30))
        throw std::length_error("tavrix::Mesh: too many faces for face-edge indices");
    Array<uint32> ends;
    Array<Use> uses = usesByLowerPosition(faces, positionCount, ends);
    edgeOfHalfEdge.assign(3 * faces.size(), noIndex);
    uint32 begin = 0;
    for (const uint32 end : ends)
    {
        const std::span<Use> around(uses.data() + begin, end - begin);
        sortUses(around);
        groupUses(around, edgeOfHalfEdge);
        begin = end;
    }
    for (uint32 h = 0; h < edgeOfHalfEdge.size(); ++h)
    {
        const uint32 first = edgeOfHalfEdge[h];
        if (first != noIndex) edgeOfHalfEdge[h] = first == h ? edgeCount++ : edgeOfHalfEdge[first];
    }
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

Array<FacedgeTriple> facedgeNeighbours(const EdgeTable& edges, uint32 faceCount)
{
    Array<FacedgeTriple> neighbours(faceCount);
    neighbours.assign(faceCount, {IndexFacedge::none(), IndexFacedge::none(), IndexFacedge::none()});
    const Array<uint32> counts = edges.useCounts();
    const Array<uint32> firsts = edges.firstHalfEdges();
    for (uint32 h = 0; h < edges.edgeOfHalfEdge.size(); ++h)
    {
        const uint32 e = edges.edgeOfHalfEdge[h];
        if (e == noIndex || counts[e] != 2 || firsts[e] == h) continue;
        const uint32 other = firsts[e];
        neighbours[h / 3][h % 3] = facedgeOfHalfEdge(other);
        neighbours[other / 3][other % 3] = facedgeOfHalfEdge(h);
    }
    return neighbours;
}

}  // namespace tavrix::detail
