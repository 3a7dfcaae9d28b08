#include <tavrix/isosurface/detail/MeshCleaning.h>

#include <algorithm>
#include <vector>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/isosurface/detail/PositionGroups.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

namespace
{

/// Replaces every index by its group; an index past the groups is left alone.
void renumber(Array<Index3>& faces, const Array<uint32>& groupOf, uint32 threadCount)
{
    parallelFor(faces.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 f = begin; f < end; ++f)
                        for (uint32 c = 0; c < 3; ++c)
                        {
                            uint32& index = faces[f][c];
                            if (index < groupOf.size()) index = groupOf[index];
                        }
                });
}

bool collapsed(const Index3& face) { return face.a == face.b || face.b == face.c || face.c == face.a; }

/// The face numbers that stay, cut into one run a worker.
struct KeptFaces
{
    Array<uint8> keep;
    uint32 count;
};

KeptFaces findKeptFaces(const Array<Index3>& faces, uint32 threadCount)
{
    KeptFaces kept{Array<uint8>(faces.size()), 0};
    std::vector<uint32> count(std::max(threadCount, 1u), 0);
    parallelFor(faces.size(), threadCount,
                [&](uint32 worker, uint64 begin, uint64 end)
                {
                    uint32 sum = 0;
                    for (uint64 f = begin; f < end; ++f)
                    {
                        kept.keep[f] = !collapsed(faces[f]);
                        sum += kept.keep[f];
                    }
                    count[worker] += sum;
                });
    for (uint32 c : count) kept.count += c;
    return kept;
}

/// Moves the kept entries to the front; entries past the marks are dropped.
void compact(Array<Index3>& faces, const KeptFaces& kept)
{
    uint32 to = 0;
    const uint32 count = std::min(faces.size(), kept.keep.size());
    for (uint32 f = 0; f < count; ++f)
        if (kept.keep[f]) faces[to++] = faces[f];
    faces.resize(to);
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
    const KeptFaces kept = findKeptFaces(mesh.refTrindexPos(), threadCount);
    if (kept.count == mesh.refTrindexPos().size()) return;
    compact(mesh.refTrindexPos(), kept);
    compact(mesh.refTrindexNor(), kept);
    mesh.invalidateConnectivity();
}

void cleanMesh(Mesh& mesh, double tolerance, uint32 threadCount)
{
    mergeTolerance() = tolerance;
    mergePositions(mesh, threadCount);
    dropCollapsedFaces(mesh, threadCount);
}

}  // namespace tavrix::detail
