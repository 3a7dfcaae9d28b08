#include <tavrix/mesh/detail/VertexNormals.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <span>
#include <vector>

#include <tavrix/mesh/detail/NormalKernel.h>

namespace tavrix::detail
{

namespace
{

/// The z component of a vertex normal that no face has touched yet. A sum that happens to reach it starts
/// afresh: the definition of the result, and out of reach for fewer than 354 faces around one normal.
constexpr float untouched = 1111.0f;

constexpr uint32 blockSize = FaceBatch::capacity;
constexpr uint32 blocksPerChunk = 2048;
constexpr uint64 blocksPerPiece = 128;  ///< between two polls

/// A run of faces, or of vertex normals.
struct Range
{
    uint32 begin, end;

    bool contains(uint32 i) const { return i - begin < end - begin; }
    bool contains(Range other) const { return begin <= other.begin && other.end <= end; }
    bool meets(Range other) const { return begin < other.end && other.begin < end; }
};

/// What a block of faces adds to the vertex normals.
struct Contributions
{
    Vector3F corner[blockSize][3];
    bool counts[blockSize];
    Range touched;  ///< the vertex normals between the smallest and the largest that the faces use
};

void gatherCorners(FaceBatch& block, const NormalArrays& arrays, Range faces)
{
    for (uint32 f = faces.begin; f < faces.end; ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D& p = arrays.pos[arrays.trindexPos[f][c]];
            block.corner[c][0][f - faces.begin] = p.x;
            block.corner[c][1][f - faces.begin] = p.y;
            block.corner[c][2][f - faces.begin] = p.z;
        }
}

void storeFaceNormals(const FaceBatch& block, Wector3F* faceNor, uint32 count)
{
    for (uint32 i = 0; i < count; ++i)
        faceNor[i] = {static_cast<float>(block.normal[0][i]), static_cast<float>(block.normal[1][i]),
                      static_cast<float>(block.normal[2][i]), static_cast<float>(block.area[i])};
}

void storeContributions(const FaceBatch& block, Contributions& contributions, uint32 count)
{
    for (uint32 i = 0; i < count; ++i)
    {
        for (uint32 c = 0; c < 3; ++c)
            contributions.corner[i][c] = {block.contribution[c][0][i], block.contribution[c][1][i],
                                          block.contribution[c][2][i]};
        contributions.counts[i] = block.area[i] > smallestArea;
    }
}

void processFaces(const NormalArrays& arrays, Range faces, Contributions& contributions)
{
    FaceBatch block;
    const uint32 count = faces.end - faces.begin;
    gatherCorners(block, arrays, faces);
    TX_RUN_KERNEL(computeFaceNormals, block, count);
    if (arrays.faceNor) storeFaceNormals(block, arrays.faceNor + faces.begin, count);
    if (!arrays.nor) return;
    TX_RUN_KERNEL(computeCornerContributions, block, count);
    storeContributions(block, contributions, count);
}

void touch(Vector3F& normal)
{
    if (normal.z == untouched) normal = {0, 0, 0};
}

void addFaces(const NormalArrays& arrays, Range faces, const Contributions& contributions)
{
    for (uint32 f = faces.begin; f < faces.end; ++f)
    {
        const uint32 i = f - faces.begin;
        if (!contributions.counts[i]) continue;
        const Index3 t = arrays.trindexNor[f];
        for (uint32 c = 0; c < 3; ++c) touch(arrays.nor[t[c]]);
        for (uint32 c = 0; c < 3; ++c) arrays.nor[t[c]] += contributions.corner[i][c];
    }
}

/// Adds one face to those of its vertex normals for which takes(normal).
template <class Takes>
void addFaceWhere(const NormalArrays& arrays, uint32 face, const Vector3F (&corner)[3], Takes takes)
{
    const Index3 t = arrays.trindexNor[face];
    for (uint32 c = 0; c < 3; ++c)
        if (takes(t[c])) touch(arrays.nor[t[c]]);
    for (uint32 c = 0; c < 3; ++c)
        if (takes(t[c])) arrays.nor[t[c]] += corner[c];
}

/// addFaces for the vertex normals in `owned` alone. Neighbouring faces mostly use neighbouring normals, so
/// most blocks are taken whole or not at all.
void addFacesToOwned(const NormalArrays& arrays, Range faces, const Contributions& contributions, Range owned)
{
    if (!owned.meets(contributions.touched)) return;
    if (owned.contains(contributions.touched)) return addFaces(arrays, faces, contributions);
    for (uint32 f = faces.begin; f < faces.end; ++f)
        if (contributions.counts[f - faces.begin])
            addFaceWhere(arrays, f, contributions.corner[f - faces.begin],
                         [&](uint32 normal) { return owned.contains(normal); });
}

Range touchedNormals(const NormalArrays& arrays, Range faces)
{
    Range touched{noIndex, 0};
    for (uint32 f = faces.begin; f < faces.end; ++f)
    {
        const Index3 t = arrays.trindexNor[f];
        touched.begin = std::min({touched.begin, t.a, t.b, t.c});
        touched.end = std::max({touched.end, t.a + 1, t.b + 1, t.c + 1});
    }
    return touched;
}

Range facesOfBlock(const NormalArrays& arrays, uint32 block)
{
    const uint64 begin = uint64{block} * blockSize;
    return {static_cast<uint32>(begin),
            static_cast<uint32>(std::min<uint64>(begin + blockSize, arrays.faceCount))};
}

void accumulateSerially(const NormalArrays& arrays, uint32 blockCount, Polling& polling)
{
    Contributions contributions;
    inPieces(polling, blockCount, blocksPerPiece,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 b = begin; b < end; ++b)
                 {
                     const Range faces = facesOfBlock(arrays, static_cast<uint32>(b));
                     processFaces(arrays, faces, contributions);
                     if (arrays.nor) addFaces(arrays, faces, contributions);
                 }
             });
}

Range unite(Range a, Range b) { return {std::min(a.begin, b.begin), std::max(a.end, b.end)}; }

/// The workers share the faces of a chunk and write down what each face adds.
bool processChunk(const NormalArrays& arrays, uint32 firstBlock, std::span<Contributions> chunk,
                  uint32 threadCount, Polling& polling)
{
    return inPieces(polling, chunk.size(), blocksPerPiece, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 b = begin; b < end; ++b)
                        {
                            const Range faces = facesOfBlock(arrays, firstBlock + static_cast<uint32>(b));
                            processFaces(arrays, faces, chunk[b]);
                            if (arrays.nor) chunk[b].touched = touchedNormals(arrays, faces);
                        }
                    });
}

/// The workers share the vertex normals that a chunk touches, and each adds to its own in face order.
bool addChunk(const NormalArrays& arrays, uint32 firstBlock, std::span<const Contributions> chunk,
              uint32 threadCount, Polling& polling)
{
    Range touched = chunk[0].touched;
    for (const Contributions& block : chunk) touched = unite(touched, block.touched);
    return polledFor(polling, touched.end - touched.begin, threadCount,
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         const Range owned{static_cast<uint32>(touched.begin + begin),
                                           static_cast<uint32>(touched.begin + end)};
                         PollCounter blocks(polling, blocksPerPiece);
                         for (uint32 b = 0; b < chunk.size() && blocks.add(1); ++b)
                             addFacesToOwned(arrays, facesOfBlock(arrays, firstBlock + b), chunk[b], owned);
                     });
}

/// A worker's run of blocks of faces, where most normals are touched by one run alone.
struct FaceRun
{
    struct Deferred
    {
        uint32 face;
        Vector3F corner[3];
    };

    Range blocks;
    Range touched{noIndex, 0};
    std::vector<Range> touchedByBlock;
    Range owned{0, 0};               ///< the normals that no other run touches
    std::vector<Deferred> deferred;  ///< faces with other corners, for these

    bool isOfOthers(uint32 normal) const { return !owned.contains(normal); }
};

/// One run a worker; they own their normals.
std::vector<FaceRun> makeRuns(const NormalArrays& arrays, uint32 blockCount, uint32 threadCount,
                              Polling& polling)
{
    std::vector<FaceRun> runs(std::min(blockCount, threadCount));
    inTurns(polling, runs.size(), threadCount,
            [&](uint32, uint64 r)
            {
                FaceRun& run = runs[r];
                run.blocks = {static_cast<uint32>(blockCount * r / runs.size()),
                              static_cast<uint32>(blockCount * (r + 1) / runs.size())};
                run.touchedByBlock.reserve(run.blocks.end - run.blocks.begin);
                PollCounter counter(polling, blocksPerPiece);
                for (uint32 b = run.blocks.begin; b < run.blocks.end && counter.add(1); ++b)
                {
                    run.touchedByBlock.push_back(touchedNormals(arrays, facesOfBlock(arrays, b)));
                    run.touched = unite(run.touched, run.touchedByBlock.back());
                }
            });
    for (std::size_t r = 0; r < runs.size(); ++r)
    {
        Range owned = runs[r].touched;
        for (std::size_t other = 0; other < r; ++other)
            owned.begin = std::max(owned.begin, runs[other].touched.end);
        for (std::size_t other = r + 1; other < runs.size(); ++other)
            owned.end = std::min(owned.end, runs[other].touched.begin);
        if (owned.begin < owned.end) runs[r].owned = owned;
    }
    return runs;
}

/// Whether the runs own nearly all normals between them, as in meshes whose faces and vertices go along
/// together.
bool ownMost(const std::vector<FaceRun>& runs, uint32 normals)
{
    uint64 owned = 0;
    for (const FaceRun& run : runs) owned += run.owned.end - run.owned.begin;
    return owned >= uint64{normals} / 4 * 3;
}

/// Adds the faces of a run to the normals that it owns, and defers the rest.
void addRun(const NormalArrays& arrays, FaceRun& run, Polling& polling)
{
    Contributions contributions;
    PollCounter counter(polling, blocksPerPiece);
    for (uint32 b = run.blocks.begin; b < run.blocks.end && counter.add(1); ++b)
    {
        const Range faces = facesOfBlock(arrays, b);
        processFaces(arrays, faces, contributions);
        contributions.touched = run.touchedByBlock[b - run.blocks.begin];
        addFacesToOwned(arrays, faces, contributions, run.owned);
        if (run.owned.contains(contributions.touched)) continue;
        for (uint32 f = faces.begin; f < faces.end; ++f)
        {
            const uint32 i = f - faces.begin;
            const Index3 t = arrays.trindexNor[f];
            if (!contributions.counts[i]) continue;
            if (!run.isOfOthers(t.a) && !run.isOfOthers(t.b) && !run.isOfOthers(t.c)) continue;
            const auto& corner = contributions.corner[i];
            run.deferred.push_back({f, {corner[0], corner[1], corner[2]}});
        }
    }
}

void accumulateInRuns(const NormalArrays& arrays, std::vector<FaceRun>& runs, Polling& polling)
{
    const auto workers = static_cast<uint32>(runs.size());
    if (!inTurns(polling, runs.size(), workers, [&](uint32, uint64 r) { addRun(arrays, runs[r], polling); }))
        return;
    for (const FaceRun& run : runs)
        inPieces(polling, run.deferred.size(), lightItems,
                 [&](uint64 begin, uint64 end)
                 {
                     for (uint64 d = begin; d < end; ++d)
                         addFaceWhere(arrays, run.deferred[d].face, run.deferred[d].corner,
                                      [&](uint32 normal) { return run.isOfOthers(normal); });
                 });
}

/// The same for faces and vertices in any order.
void accumulateInChunks(const NormalArrays& arrays, uint32 blockCount, uint32 threadCount, Polling& polling)
{
    const uint32 chunkSize = std::min(blockCount, blocksPerChunk);
    const std::unique_ptr<Contributions[]> contributions(new Contributions[chunkSize]);
    for (uint32 first = 0; first < blockCount; first += chunkSize)
    {
        const std::span chunk(contributions.get(), std::min(chunkSize, blockCount - first));
        if (!processChunk(arrays, first, chunk, threadCount, polling)) return;
        if (arrays.nor && !addChunk(arrays, first, chunk, threadCount, polling)) return;
    }
}

void accumulateInParallel(const NormalArrays& arrays, uint32 blockCount, uint32 threadCount, Polling& polling)
{
    std::vector<FaceRun> runs;
    if (arrays.nor) runs = makeRuns(arrays, blockCount, threadCount, polling);
    if (polling.isStopped()) return;
    if (arrays.nor && ownMost(runs, arrays.norCount))
        accumulateInRuns(arrays, runs, polling);
    else
        accumulateInChunks(arrays, blockCount, threadCount, polling);
}

/// Scales the normals to unit length in single precision; returns whether one was too short and became zero.
bool normalise(Vector3F* normals, uint64 count)
{
    constexpr float smallestSquare = 9.9999994e-29f;
    bool vanished = false;
    for (uint64 i = 0; i < count; ++i)
    {
        const Vector3F n = normals[i];
        const float square = n.x * n.x + n.y * n.y + n.z * n.z;
        const bool hasDirection = square > smallestSquare;
        normals[i] = hasDirection ? n * (1.0f / std::sqrt(square)) : Vector3F{0, 0, 0};
        vanished |= !hasDirection;
    }
    return vanished;
}

}  // namespace

bool calculateNormals(const NormalArrays& arrays, uint32 threadCount, Polling& polling)
{
    const auto blockCount = static_cast<uint32>((uint64{arrays.faceCount} + blockSize - 1) / blockSize);
    threadCount = threadsWorth(blockCount, blocksPerPiece, threadCount);
    if (arrays.nor)
        inPieces(polling, arrays.norCount, lightItems, threadCount,
                 [&](uint32, uint64 begin, uint64 end) {
                     std::fill(arrays.nor + begin, arrays.nor + end, Vector3F{0, 0, untouched});
                 });
    if (polling.isStopped()) return false;
    if (threadCount <= 1 || blockCount <= 1)
        accumulateSerially(arrays, blockCount, polling);
    else
        accumulateInParallel(arrays, blockCount, threadCount, polling);
    if (!arrays.nor || polling.isStopped()) return false;
    std::atomic<bool> vanished = false;
    inPieces(polling, arrays.norCount, lightItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 if (normalise(arrays.nor + begin, end - begin))
                     vanished.store(true, std::memory_order_relaxed);
             });
    return vanished;
}

}  // namespace tavrix::detail
