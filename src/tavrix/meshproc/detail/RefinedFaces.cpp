#include <tavrix/meshproc/detail/RefinedFaces.h>

#include <utility>

#include <tavrix/mesh/detail/EdgeTable.h>

namespace tavrix::detail
{

RefinedFaces::RefinedFaces(Array<Index3> facesGiven, uint32 itemCount, Polling& polling)
    : _itemCount(itemCount), _faces(std::move(facesGiven)), _edgeNumbers(_faces.size())
{
    const EdgeTable table(_faces, itemCount, polling);
    if (polling.isStopped()) return;
    _edges.reserve(table.edgeCount);
    Array<uint8> uses(table.edgeCount, uint8{0});
    for (const uint32 f : PolledNumbers(_faces.size(), scatteredItems, polling))
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 h = 3 * f + c, e = _edgeNumbers[f][c] = table.edgeOfHalfEdge[h];
            if (e == _edges.size()) _edges.push_back({startOf(h), endOf(h), h, noIndex});
            FaceEdge& edge = _edges[e];
            uses[e] = static_cast<uint8>(uses[e] < 3 ? uses[e] + 1 : 3);
            const bool isOtherWay = uses[e] == 2 && startOf(h) == edge.b;
            if (uses[e] > 1) edge.second = isOtherWay ? h : noIndex;
        }
}

bool RefinedFaces::refine(uint32 threadCount, Polling& polling)
{
    const uint32 faceCount = _faces.size(), edgeCount = _edges.size();
    Array<Index3> faces(4 * faceCount), numbers(4 * faceCount);
    Array<FaceEdge> edges(2 * edgeCount + 3 * faceCount);
    const auto divideFace = [&](uint32 f)
    {
        const Index3 &corners = _faces[f], &sides = _edgeNumbers[f];
        const auto middle = [&](uint32 c) { return _itemCount + sides[c % 3]; };
        faces[std::size_t{4} * f + 3] = {middle(0), middle(1), middle(2)};
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 child = 4 * f + c, after = (c + 1) % 3, before = (c + 2) % 3;
            const uint32 inner = 2 * edgeCount + 3 * f + c;
            const bool isAlong = _edges[sides[c]].a == corners[c];
            const bool isBeforeAlong = _edges[sides[before]].a == corners[before];
            faces[child][c] = corners[c];
            faces[child][after] = middle(c);
            faces[child][before] = middle(before);
            numbers[child][c] = 2 * sides[c] + (isAlong ? 0 : 1);
            numbers[child][after] = inner;
            numbers[child][before] = 2 * sides[before] + (isBeforeAlong ? 1 : 0);
            // between the middles of the edges before and after the corner, which ends edge c - 1
            numbers[std::size_t{4} * f + 3][before] = inner;
            edges[inner] = {middle(c), middle(before), 3 * child + after, 3 * (4 * f + 3) + before};
        }
    };
    const auto divideEdge = [&](uint32 e)
    {
        const FaceEdge& edge = _edges[e];
        const bool hasSecond = edge.second != noIndex;
        edges[std::size_t{2} * e] = {edge.a, _itemCount + e, firstHalf(edge.first),
                                     hasSecond ? secondHalf(edge.second) : noIndex};
        edges[std::size_t{2} * e + 1] = {_itemCount + e, edge.b, secondHalf(edge.first),
                                         hasSecond ? firstHalf(edge.second) : noIndex};
    };
    const auto forEach = [&](uint32 count, const auto& divide)
    {
        return inPieces(polling, count, scatteredItems, threadCount,
                        [&](uint32, uint64 begin, uint64 end)
                        {
                            for (auto n = static_cast<uint32>(begin); n < end; ++n) divide(n);
                        });
    };
    if (!forEach(faceCount, divideFace) || !forEach(edgeCount, divideEdge)) return false;
    _itemCount += edgeCount;
    _faces.swap(faces);
    _edgeNumbers.swap(numbers);
    _edges.swap(edges);
    return true;
}

}  // namespace tavrix::detail
