#include <algorithm>
#include <vector>

#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

/// The particles by the x plane of the cell in which they lie, each plane's in their own order.
struct ParticlesByPlane
{
    std::vector<uint32> first;      ///< of a plane, and the end of the last
    std::vector<uint32> particles;  ///< their numbers
};

template <class Value, class Coord>
ParticlesByPlane sortByPlane(const GridDescription3<Coord>& grid, const Array<Vector3<Value>>& positions)
{
    std::vector<uint32> planes(positions.size(), noIndex);
    ParticlesByPlane sorted{std::vector<uint32>(grid.sizeX + 1), {}};
    for (uint32 n = 0; n < positions.size(); ++n)
    {
        const Vector3<Coord> p = convert<Coord>(positions[n]);
        if (!grid.contains(p)) continue;
        planes[n] = grid.getCell(p).a;
        if (planes[n] != noIndex) ++sorted.first[planes[n] + 1];
    }
    for (uint32 i = 0; i < grid.sizeX; ++i) sorted.first[i + 1] += sorted.first[i];
    sorted.particles.resize(sorted.first.back());
    std::vector<uint32> next = sorted.first;
    for (uint32 n = 0; n < positions.size(); ++n)
        if (planes[n] != noIndex) sorted.particles[next[planes[n]]++] = n;
    return sorted;
}

}  // namespace

template <class Value, class Coord>
void Vector3Field3<Value, Coord>::splat(const Array<Vector3<Value>>& positions,
                                        const Array<Vector3<Value>>& vectors, Array<Value>* weights,
                                        uint32 threadCount)
{
    const ParticlesByPlane sorted = sortByPlane(_grid, positions);
    Array<Value> sums(_grid.size);
    /// adds what particles of a plane of cells give to a plane of nodes
    const auto addPlane = [&](uint32 cells, uint32 nodes)
    {
        for (uint32 n = sorted.first[cells]; n < sorted.first[cells + 1]; ++n)
        {
            const uint32 particle = sorted.particles[n];
            detail::PointCell<Coord> cell;
            if (!detail::findCell(_grid, convert<Coord>(positions[particle]), cell)) continue;
            for (uint32 c = 0; c < 8; ++c)
            {
                const Index3 corner = cell.corner(c);
                if (corner.a != nodes) continue;
                const auto weight = cell.template narrowedWeight<Value>(c);
                const uint32 m = _grid.getMonoindex(corner.a, corner.b, corner.c);
                sums[m] += weight;
                _vectors[m] = _vectors[m] + vectors[particle] * weight;
            }
        }
    };
    const auto makePlane = [&](uint32 i)
    {
        const uint32 begin = _grid.getMonoindex(i, 0, 0), end = begin + _grid.sizeYZ;
        std::fill(_vectors.begin() + begin, _vectors.begin() + end, Vector3<Value>{0, 0, 0});
        std::fill(sums.begin() + begin, sums.begin() + end, Value(0));
        if (i > 0) addPlane(i - 1, i);
        addPlane(i, i);
        for (uint32 m = begin; m < end; ++m)
            if (sums[m] > 0) _vectors[m] = _vectors[m] * (1 / sums[m]);
    };
    const uint32 threads = detail::threadsWorth(uint64{_grid.size} + 8 * uint64{sorted.particles.size()},
                                                detail::lightItems, threadCount);
    parallelFor(_grid.size == 0 ? 0 : _grid.sizeX, threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (auto i = static_cast<uint32>(begin); i < end; ++i) makePlane(i);
                });
    if (weights) *weights = std::move(sums);
}

#define TX_INSTANTIATE(Value, Coord)                                               \
    template void Vector3Field3<Value, Coord>::splat(const Array<Vector3<Value>>&, \
                                                     const Array<Vector3<Value>>&, Array<Value>*, uint32);
TX_INSTANTIATE(float, float)
TX_INSTANTIATE(float, double)
TX_INSTANTIATE(double, float)
TX_INSTANTIATE(double, double)
#undef TX_INSTANTIATE

}  // namespace tavrix
