#include <tavrix/mesh/detail/LieDownNormals.h>

#include <algorithm>
#include <vector>

namespace tavrix::detail
{

namespace
{

constexpr Vector3F noDirection{0, 0, 0};

/// What is known about one vanished normal.
struct Candidate
{
    Vector3D outwards{0, 0, 0};
    Vector3D faceNormal{0, 0, 0};
};

void visitCorner(Candidate& candidate, const Vector3D& corner, const Vector3D& next, const Vector3D& previous)
{
    constexpr double shortest = 1e-28;
    candidate.outwards += unitOrZero(corner - (next + previous) * 0.5, shortest);
    if (candidate.faceNormal == Vector3D{0, 0, 0})
        candidate.faceNormal = unitOrZero(cross(next - corner, previous - corner), shortest);
}

Vector3F bestDirection(const Candidate& candidate)
{
    constexpr double cancelled = 1e-6;
    constexpr Vector3D zero{0, 0, 0};
    const Vector3D outwards = unitOrZero(candidate.outwards, cancelled);
    if (outwards != zero) return convert<float>(outwards);
    return candidate.faceNormal != zero ? convert<float>(candidate.faceNormal) : Vector3F{0, 0, 1};
}

/// The items of 0 … itemCount - 1 for which holds(n), ascending.
template <class Holds>
std::vector<uint32> itemsWhere(uint32 itemCount, uint64 itemsPerPiece, uint32 threadCount, Polling& polling,
                               Holds holds)
{
    const uint32 runCount = threadsWorth(itemCount, itemsPerPiece, threadCount);
    std::vector<std::vector<uint32>> runs(runCount);
    inTurns(polling, runCount, runCount,
            [&](uint32, uint64 r)
            {
                const uint64 first = itemCount * r / runCount, end = itemCount * (r + 1) / runCount;
                PollCounter items(polling, itemsPerPiece);
                for (uint64 n = first; n < end && items.add(1); ++n)
                    if (holds(static_cast<uint32>(n))) runs[r].push_back(static_cast<uint32>(n));
            });
    std::vector<uint32> all;
    for (const std::vector<uint32>& run : runs) all.insert(all.end(), run.begin(), run.end());
    return all;
}

}  // namespace

bool fillLieDownNormals(const NormalArrays& arrays, uint32 threadCount, Polling& polling)
{
    const auto isZero = [&](uint32 normal) { return arrays.nor[normal] == noDirection; };
    const std::vector<uint32> normals = itemsWhere(arrays.norCount, lightItems, threadCount, polling, isZero);
    if (polling.isStopped()) return false;
    const auto usesOne = [&](uint32 face)
    {
        const Index3& t = arrays.trindexNor[face];
        return isZero(t.a) || isZero(t.b) || isZero(t.c);
    };
    const std::vector<uint32> faces =
        itemsWhere(arrays.faceCount, scatteredItems, threadCount, polling, usesOne);
    if (polling.isStopped()) return false;

    std::vector<Candidate> candidates(normals.size());
    const auto visitFaces = [&](uint64 begin, uint64 end)
    {
        for (uint64 n = begin; n < end; ++n)
            for (uint32 c = 0; c < 3; ++c)
            {
                const uint32 normal = arrays.trindexNor[faces[n]][c];
                if (!isZero(normal)) continue;
                const Index3& t = arrays.trindexPos[faces[n]];
                const auto candidate =
                    std::lower_bound(normals.begin(), normals.end(), normal) - normals.begin();
                visitCorner(candidates[static_cast<std::size_t>(candidate)], arrays.pos[t[c]],
                            arrays.pos[t[(c + 1) % 3]], arrays.pos[t[(c + 2) % 3]]);
            }
    };
    return inPieces(polling, faces.size(), scatteredItems, visitFaces) &&
           inPieces(polling, normals.size(), scatteredItems,
                    [&](uint64 begin, uint64 end)
                    {
                        for (uint64 n = begin; n < end; ++n)
                            arrays.nor[normals[n]] = bestDirection(candidates[n]);
                    });
}

}  // namespace tavrix::detail
