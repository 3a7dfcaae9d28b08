#include <tavrix/mesh/detail/LieDownNormals.h>

#include <limits>

#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

namespace
{

constexpr Vector3F noDirection{0, 0, 0};

/// What is known about one vanished normal.
struct Candidate
{
    uint32 normal;
    Vector3D outwards;
    Vector3D faceNormal;
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

}  // namespace

void fillLieDownNormals(const NormalArrays& arrays, Polling& polling)
{
    Array<uint32> candidateOf(arrays.norCount);
    Array<Candidate> candidates;
    inPieces(polling, arrays.norCount, lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto n = static_cast<uint32>(begin); n < end; ++n)
                 {
                     candidateOf[n] = noIndex;
                     if (arrays.nor[n] != noDirection) continue;
                     candidateOf[n] = candidates.size();
                     candidates.push_back({n, {0, 0, 0}, {0, 0, 0}});
                 }
             });
    if (polling.isStopped()) return;
    inPieces(polling, arrays.faceCount, scatteredItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 f = begin; f < end; ++f)
                     for (uint32 c = 0; c < 3; ++c)
                     {
                         const uint32 candidate = candidateOf[arrays.trindexNor[f][c]];
                         if (candidate == noIndex) continue;
                         const Index3& t = arrays.trindexPos[f];
                         visitCorner(candidates[candidate], arrays.pos[t[c]], arrays.pos[t[(c + 1) % 3]],
                                     arrays.pos[t[(c + 2) % 3]]);
                     }
             });
    inPieces(polling, candidates.size(), scatteredItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                     arrays.nor[candidates[n].normal] = bestDirection(candidates[n]);
             });
}

}  // namespace tavrix::detail
