#include <tavrix/implicit/MeshVoxels.h>

#include <algorithm>

#include <tavrix/implicit/detail/MeshDistance.h>
#include <tavrix/implicit/detail/MeshInside.h>
#include <tavrix/mesh/MeshTopology.h>

namespace tavrix
{

namespace
{

/// Appends the runs of nodes whose samples have the sign.
void appendSpans(const float* samples, uint32 count, bool isNegative, Array<VoxelSpan>& spans)
{
    const auto isInside = [isNegative](float sample) { return (sample < 0) == isNegative; };
    const float* const end = samples + count;
    for (const float* begin = std::find_if(samples, end, isInside); begin != end;)
    {
        const float* const after = std::find_if_not(begin, end, isInside);
        spans.push_back({static_cast<uint32>(begin - samples), static_cast<uint32>(after - samples)});
        begin = std::find_if(after, end, isInside);
    }
}

}  // namespace

uint64 MeshVoxels::count() const
{
    uint64 count = 0;
    for (const VoxelSpan& span : spans) count += span.end - span.begin;
    return count;
}

void MeshVoxels::fill(Array<uint8>& nodes) const
{
    nodes.assign(grid.size, 0);
    for (uint32 row = 0; row + 1 < rows.size(); ++row)
        for (uint32 n = rows[row]; n < rows[row + 1]; ++n)
        {
            uint8* const first = nodes.data() + std::size_t{row} * grid.sizeZ;
            std::fill(first + spans[n].begin, first + spans[n].end, uint8{1});
        }
}

bool voxelize(const Mesh& mesh, const GridDescription3<double>& grid, MeshVoxels& voxels, uint32 threadCount,
              CancelCallback callback)
{
    voxels = {grid, {}, {}};
    detail::Polling polling(callback);
    Array<float> samples;
    samples.resize(grid.size);
    // as far as two nodes can tell whether a face parts them
    const auto band = static_cast<float>(1.01 * grid.largestSeparation);
    if (!detail::sampleDistance(mesh, grid, band, threadCount, polling, samples.data()) ||
        !detail::negateInside(mesh, grid, threadCount, polling, samples.data()))
        return false;

    const bool isNegative = !(hasValidIndices(mesh) && signedVolume(mesh) < 0);
    const uint32 rowCount = grid.size == 0 ? 0 : grid.sizeX * grid.sizeY;
    voxels.rows.push_back(0);
    for (const uint32 row :
         detail::PolledNumbers(rowCount, detail::lightItems / (grid.sizeZ + 1) + 1, polling))
    {
        appendSpans(samples.data() + std::size_t{row} * grid.sizeZ, grid.sizeZ, isNegative, voxels.spans);
        voxels.rows.push_back(voxels.spans.size());
    }
    if (polling.isStopped()) voxels = {grid, {}, {}};
    return !polling.isStopped();
}

}  // namespace tavrix
