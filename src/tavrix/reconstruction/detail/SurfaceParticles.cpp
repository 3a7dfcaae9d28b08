#include <tavrix/reconstruction/detail/SurfaceParticles.h>

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/detail/RankExchange.h>

namespace tavrix::detail
{

namespace
{

using Cell = std::array<int64, 3>;

int64 cellAlong(double coordinate, double side)
{
    constexpr double farthest = 1e15;
    return static_cast<int64>(std::clamp(std::floor(coordinate / side), -farthest, farthest));
}

/// The cells with places, ascending. Places are looked up in single precision.
std::vector<Cell> cellsOf(const Array<Vector3D>& places, double side)
{
    std::vector<Cell> cells;
    for (const Vector3D& place : places)
    {
        const Vector3D p = convert<double>(convert<float>(place));
        const Cell cell{cellAlong(p.x, side), cellAlong(p.y, side), cellAlong(p.z, side)};
        if (isFinite(place) && (cells.empty() || cells.back() != cell)) cells.push_back(cell);
    }
    std::sort(cells.begin(), cells.end());
    cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
    return cells;
}

/// Whether one of the cells is within the reach of a particle.
bool isNear(const std::vector<Cell>& cells, const Vector3F& particle, double side)
{
    const double reach = 1.001 * side;  // rounding loses none
    Cell low, high;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        low[axis] = cellAlong(particle[axis] - reach, side);
        high[axis] = cellAlong(particle[axis] + reach, side);
    }
    for (int64 i = low[0]; i <= high[0]; ++i)
        for (int64 j = low[1]; j <= high[1]; ++j)
        {
            const auto first = std::lower_bound(cells.begin(), cells.end(), Cell{i, j, low[2]});
            if (first != cells.end() && *first <= Cell{i, j, high[2]}) return true;
        }
    return false;
}

template <class T>
Array<T> gatherAtFirst(RankGroup& ranks, const std::vector<uint32>& picked, const Array<T>& values)
{
    return exchangeRecords<T>(ranks,
                              [&](const auto& send)
                              {
                                  for (const uint32 n : picked) send(0, values[n]);
                              })
        .records;
}

}  // namespace

SurfaceParticles::SurfaceParticles(RankGroup& ranks, const ParticleShare& share,
                                   const Array<Vector3D>& places, double reach)
    : _ranks(ranks)
{
    const std::vector<Cell> occupied = cellsOf(places, reach);
    const auto told = exchangeRecords<Cell>(ranks,
                                            [&](const auto& send)
                                            {
                                                for (uint32 r = 0; r < ranks.size(); ++r)
                                                    for (const Cell& cell : occupied) send(r, cell);
                                            });
    const std::vector<Cell> cells(told.records.begin(), told.records.end());
    forEachKept(share.positions.size(), share.leftOut,
                [&](uint32 n)
                {
                    if (isNear(cells, share.positions[n], reach)) _picked.push_back(n);
                });
}

Array<Vector3F> SurfaceParticles::gather(const Array<Vector3F>& values) const
{
    return gatherAtFirst(_ranks, _picked, values);
}

Array<float> SurfaceParticles::gather(const Array<float>& values) const
{
    return gatherAtFirst(_ranks, _picked, values);
}

}  // namespace tavrix::detail
