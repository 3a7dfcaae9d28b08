#include <tavrix/isosurface/detail/MeshCleaning.h>

#include <algorithm>
#include <vector>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/isosurface/detail/PositionGroups.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/detail/Prefetch.h>

namespace tavrix::detail
{

namespace
{

/// Replaces every index by its group; an index past the groups is left alone. The groups are looked up all
/// over their array, so they are asked for some faces ahead.
void renumber(Array<Index3>& faces, const Array<uint32>& groupOf, uint32 threadCount)
{
    parallelFor(faces.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    constexpr uint64 ahead = 12;
                    for (uint64 f = begin; f < end; ++f)
                        for (uint32 c = 0; c < 3; ++c)
                        {
                            if (f + ahead < end) prefetch(groupOf.data() + faces[f + ahead][c]);
                            uint32& index = faces[f][c];
                            if (index < groupOf.size()) index = groupOf[index];
                        }
                });
}

bool collapsed(const Index3& face) { return face.a == face.b || face.b == face.c || face.c == face.a; }

/// The numbers of the faces that name a position twice, ascending.
std::vector<uint32> findCollapsedFaces(const Array<Index3>& faces, uint32 threadCount)
{
    const uint32 workers = std::clamp(threadCount, 1u, faces.size() / 4096 + 1);
    std::vector<std::vector<uint32>> found(workers);
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const auto low = static_cast<uint32>(faces.size() * w / workers);
                    const auto high = static_cast<uint32>(faces.size() * (w + 1) / workers);
                    for (uint32 f = low; f < high; ++f)
                        if (collapsed(faces[f])) found[w].push_back(f);
                });
    std::vector<uint32> all;
    for (const auto& list : found) all.insert(all.end(), list.begin(), list.end());
    return all;
}

/// Removes the faces of these ascending numbers by moving the runs between them together.
void eraseFaces(Array<Index3>& faces, const std::vector<uint32>& numbers)
{
    if (numbers.empty() || numbers.front() >= faces.size()) return;
    Index3* to = faces.data() + numbers.front();
    for (std::size_t n = 0; n < numbers.size(); ++n)
    {
        const uint32 begin = std::min(numbers[n] + 1, faces.size());
        const uint32 end = n + 1 < numbers.size() ? std::min(numbers[n + 1], faces.size()) : faces.size();
        to = std::copy(faces.data() + begin, faces.data() + std::max(begin, end), to);
    }
    faces.resize(static_cast<uint32>(to - faces.data()));
}

}  // namespace

double& mergeTolerance()
{
    static double tolerance = 0;
    return tolerance;
}

void mergePositions(Mesh& mesh, uint32 threadCount)
{
    if (mesh.refPos().empty()) return;
    const Array<uint32> groupOf = groupPositions(mesh.refPos(), mergeTolerance(), threadCount);
    renumber(mesh.refTrindexPos(), groupOf, threadCount);
    renumber(mesh.refTrindexNor(), groupOf, threadCount);
    const uint32 oldNormals = mesh.refNor().size();
    mesh.refNor().resize(mesh.refPos().size());
    for (uint32 n = oldNormals; n < mesh.refNor().size(); ++n) mesh.refNor()[n] = {0, 0, 0};
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

void dropCollapsedFaces(Mesh& mesh, uint32 threadCount)
{
    const std::vector<uint32> numbers = findCollapsedFaces(mesh.refTrindexPos(), threadCount);
    if (numbers.empty()) return;
    Array<Index3>* arrays[] = {&mesh.refTrindexPos(), &mesh.refTrindexNor()};
    parallelFor(
        2, threadCount,
        [&](uint32, uint64 begin, uint64 end)
        { std::for_each(arrays + begin, arrays + end, [&](Array<Index3>* a) { eraseFaces(*a, numbers); }); });
    mesh.invalidateConnectivity();
}

void cleanMesh(Mesh& mesh, double tolerance, uint32 threadCount)
{
    mergeTolerance() = tolerance;
    mergePositions(mesh, threadCount);
    dropCollapsedFaces(mesh, threadCount);
}

}  // namespace tavrix::detail
