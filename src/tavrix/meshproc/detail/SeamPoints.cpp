#include <tavrix/meshproc/detail/SeamPoints.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/mesh/detail/EdgeTable.h>

namespace tavrix::detail
{

namespace
{

/// A border edge between two places.
struct BorderEdge
{
    uint32 low, high;  ///< the places, by number
    uint32 atLow, atHigh;
    bool isUpwards;

    auto places() const { return std::pair(low, high); }
};

/// The half-edges that no other face has.
std::vector<uint32> borderHalfEdges(const Array<Index3>& faces, uint32 positionCount, Polling& polling)
{
    const EdgeTable edges(faces, positionCount, polling);
    std::vector<uint32> found;
    if (polling.isStopped()) return found;
    const Array<uint32> uses = edges.useCounts();
    for (uint32 h = 0; h < edges.edgeOfHalfEdge.size(); ++h)
        if (edges.edgeOfHalfEdge[h] != noIndex && uses[edges.edgeOfHalfEdge[h]] == 1) found.push_back(h);
    return found;
}

/// Gives every listed position the first of those listed that has its coordinates, where -0 is 0.
void findPlaces(const Array<Vector3D>& positions, std::vector<uint32>& listed, Array<uint32>& placeOf)
{
    const auto key = [&](uint32 n)
    {
        const Vector3D& p = positions[n];
        return std::tuple(p.x, p.y, p.z, n);
    };
    std::erase_if(listed, [&](uint32 n) { return !isFinite(positions[n]); });
    std::sort(listed.begin(), listed.end(), [&](uint32 a, uint32 b) { return key(a) < key(b); });
    for (std::size_t n = 0; n < listed.size(); ++n)
        placeOf[listed[n]] =
            n > 0 && positions[listed[n]] == positions[listed[n - 1]] ? placeOf[listed[n - 1]] : listed[n];
}

}  // namespace

Array<uint32> findSeamPoints(const Array<Vector3D>& positions, const Array<Index3>& faces, Polling& polling)
{
    const uint32 count = positions.size();
    const std::vector<uint32> borders = borderHalfEdges(faces, count, polling);
    UnionFind points(count);
    Array<uint32> placeOf(count, noIndex);
    std::vector<uint32> listed;
    for (const uint32 h : borders)
        for (const uint32 p : {faces[h / 3][h % 3], faces[h / 3][(h + 1) % 3]})
            if (placeOf[p] == noIndex)
            {
                placeOf[p] = p;
                listed.push_back(p);
            }
    findPlaces(positions, listed, placeOf);

    std::vector<BorderEdge> edges;
    for (const uint32 h : borders)
    {
        const uint32 from = faces[h / 3][h % 3], to = faces[h / 3][(h + 1) % 3];
        const bool isUpwards = placeOf[from] < placeOf[to];
        if (placeOf[from] == placeOf[to]) continue;
        const uint32 low = isUpwards ? from : to, high = isUpwards ? to : from;
        edges.push_back({placeOf[low], placeOf[high], low, high, isUpwards});
    }
    std::stable_sort(edges.begin(), edges.end(),
                     [](const BorderEdge& a, const BorderEdge& b) { return a.places() < b.places(); });
    for (std::size_t n = 0, end; n < edges.size(); n = end)
    {
        end = n + 1;
        while (end < edges.size() && edges[end].places() == edges[n].places()) ++end;
        if (end - n != 2 || edges[n].isUpwards == edges[n + 1].isUpwards) continue;
        points.unite(edges[n].atLow, edges[n + 1].atLow);
        points.unite(edges[n].atHigh, edges[n + 1].atHigh);
    }
    Array<uint32> pointOf(count);
    uint32 next = 0;
    for (uint32 p = 0; p < count; ++p) pointOf[p] = points.find(p) == p ? next++ : pointOf[points.find(p)];
    return pointOf;
}

}  // namespace tavrix::detail
