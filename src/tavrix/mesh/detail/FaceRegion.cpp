#include <tavrix/mesh/detail/FaceRegion.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

namespace
{

Array<uint32> numbersUpTo(uint32 count)
{
    Array<uint32> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0u);
    return numbers;
}

/// The numbers of the faces with a corner that is marked, ascending.
Array<uint32> facesAtMarked(const Array<Index3>& faces, const Array<uint8>& isMarked, uint32 threadCount)
{
    const uint32 workers = threadsWorth(faces.size(), scatteredItems, threadCount);
    std::vector<Array<uint32>> found(workers);
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const auto end = static_cast<uint32>(uint64{faces.size()} * (w + 1) / workers);
                    for (auto f = static_cast<uint32>(uint64{faces.size()} * w / workers); f < end; ++f)
                        if (isMarked[faces[f].a] | isMarked[faces[f].b] | isMarked[faces[f].c])
                            found[w].push_back(f);
                });
    Array<uint32> all;
    for (const Array<uint32>& list : found)
        for (const uint32 f : list) all.push_back(f);
    return all;
}

}  // namespace

FaceRegion wholeMesh(const Mesh& mesh)
{
    return {mesh.trindexPos(), numbersUpTo(mesh.getFacesSize()), numbersUpTo(mesh.getPosSize()),
            Array<uint8>(mesh.getPosSize(), uint8{1})};
}

FaceRegion regionAround(const Mesh& mesh, std::span<const uint32> vertices, uint32 threadCount)
{
    const Array<Index3>& faces = mesh.trindexPos();
    Array<uint8> isMarked(mesh.getPosSize(), uint8{0});
    for (const uint32 v : vertices) isMarked[v] = 1;
    FaceRegion region;
    region.faceNumbers = facesAtMarked(faces, isMarked, threadCount);

    std::vector<uint32> corners;
    for (const uint32 f : region.faceNumbers)
        corners.insert(corners.end(), {faces[f].a, faces[f].b, faces[f].c});
    sortOnce(corners);
    for (const uint32 v : corners)
    {
        region.vertexNumbers.push_back(v);
        region.isWhole.push_back(isMarked[v]);
    }
    const auto numberOf = [&](uint32 v)
    { return static_cast<uint32>(std::lower_bound(corners.begin(), corners.end(), v) - corners.begin()); };
    for (const uint32 f : region.faceNumbers)
        region.faces.push_back({numberOf(faces[f].a), numberOf(faces[f].b), numberOf(faces[f].c)});
    return region;
}

}  // namespace tavrix::detail
