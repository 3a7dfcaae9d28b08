#include <tavrix/implicit/SolidCombination.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>

namespace tavrix
{

namespace
{

using Grid = GridDescription3<double>;

const Grid& gridOf(const LevelSet& surface) { return surface.getField().getGrid(); }

/// The layers of nodes by which a grid has to grow along an axis to reach a coordinate, below or above.
double layersTo(double distance, double separation)
{
    constexpr double rounding = 1e-6;
    return std::max(std::ceil(distance / separation - rounding), 0.0);
}

/// The sizes of a grid, and the coordinates of its first node.
struct Placement
{
    Vector3D sizes, origin;
};

Placement placementOf(const Grid& first, const Grid& second, SolidOperation operation)
{
    Placement placement{{double(first.sizeX), double(first.sizeY), double(first.sizeZ)}, first.box.min};
    if (operation != SolidOperation::Union || second.size == 0) return placement;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double h = first.largestSeparation;
        const double below = layersTo(first.box.min[axis] - second.box.min[axis], h);
        placement.sizes[axis] += below + layersTo(second.box.max[axis] - first.box.max[axis], h);
        placement.origin[axis] -= below * h;
    }
    return placement;
}

/// Between which nodes of another grid a coordinate lies.
struct AxisCell
{
    uint32 low, high;
    float weight;  ///< of the upper node
    float beyond;  ///< how far the coordinate lies beyond the grid
};

std::vector<AxisCell> axisCells(const Grid& grid, const Grid& other, uint32 axis)
{
    constexpr double rounding = 1e-6;
    const double last = other.sizeAlong(axis) - 1.0;
    std::vector<AxisCell> cells(grid.sizeAlong(axis));
    for (uint32 n = 0; n < cells.size(); ++n)
    {
        const double x = grid.getCoordinate(axis, n);
        double steps = (x - other.box.min[axis]) / other.largestSeparation;
        if (std::fabs(steps - std::round(steps)) < rounding) steps = std::round(steps);
        const double inside = std::clamp(steps, 0.0, last);
        const auto low = static_cast<uint32>(inside);
        cells[n] = {low, std::min(low + 1, other.sizeAlong(axis) - 1), static_cast<float>(inside - low),
                    static_cast<float>(std::fabs(steps - inside) * other.largestSeparation)};
    }
    return cells;
}

/// The samples of a surface at the nodes of another grid, row after row.
class Resampling
{
public:
    Resampling(const LevelSet& surface, const Grid& grid, float band)
        : _samples(surface.getField().getDenseSamples()),
          _own(gridOf(surface)),
          _x(axisCells(grid, _own, 0)),
          _y(axisCells(grid, _own, 1)),
          _z(axisCells(grid, _own, 2)),
          _band(band)
    {
    }

    /// The distances at the nodes (i, j, all k), cut to the band; between: room for a row of samples.
    void row(uint32 i, uint32 j, std::vector<float>& distances, std::vector<float>& between) const
    {
        const AxisCell &x = _x[i], &y = _y[j];
        const float square = x.beyond * x.beyond + y.beyond * y.beyond;
        if (square >= _band * _band) return std::fill(distances.begin(), distances.end(), _band);
        mixRows(x, y, between);
        for (uint32 k = 0; k < _z.size(); ++k)
        {
            const AxisCell& z = _z[k];
            const float inside = mixed(between[z.low], between[z.high], z.weight);
            const float away = square + z.beyond * z.beyond;
            distances[k] = away > 0 ? limited(inside + std::sqrt(away)) : inside;
        }
    }

private:
    /// Interpolates between the four rows of samples around a place in x and y.
    void mixRows(const AxisCell& x, const AxisCell& y, std::vector<float>& out) const
    {
        const float *ll = rowAt(x.low, y.low), *lh = rowAt(x.low, y.high), *hl = rowAt(x.high, y.low),
                    *hh = rowAt(x.high, y.high);
        out.resize(_own.sizeZ);
        if (x.weight == 0 && y.weight == 0)
            for (uint32 k = 0; k < _own.sizeZ; ++k) out[k] = limited(ll[k]);
        else
            for (uint32 k = 0; k < _own.sizeZ; ++k)
                out[k] = mixed(mixed(limited(ll[k]), limited(lh[k]), y.weight),
                               mixed(limited(hl[k]), limited(hh[k]), y.weight), x.weight);
    }
    const float* rowAt(uint32 i, uint32 j) const { return _samples + _own.getMonoindex(i, j, 0); }
    static float mixed(float a, float b, float weight) { return a + (b - a) * weight; }
    /// A sample in the band; one that is no number counts as far outside.
    float limited(float v) const
    {
        const float low = v > -_band ? v : -_band;
        return v < _band ? low : _band;
    }

    const float* _samples;
    const Grid& _own;
    std::vector<AxisCell> _x, _y, _z;
    float _band;
};

/// What stands for a surface in a combination: itself, or a copy that is closed at its border and has a band
/// as wide as is needed.
class Operand
{
public:
    Operand(const LevelSet& surface, float band, uint32 threadCount, CancelCallback callback)
        : _surface(&surface)
    {
        if (reachesBorder(surface)) keep(cappedGrid(surface));
        if (!(std::fabs(_surface->getDefaultValue()) < band * (1 - 1e-6f))) return;
        if (!_changed) keep(LevelSet(surface));
        widenBandTo(*_changed, band / gridOf(surface).largestSeparation, threadCount, callback);
    }
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;

    const LevelSet& operator*() const { return *_surface; }

private:
    void keep(LevelSet&& copy)
    {
        _changed.emplace(std::move(copy));
        _surface = &*_changed;
    }

    std::optional<LevelSet> _changed;
    const LevelSet* _surface;
};

void combineRows(SolidOperation operation, const std::vector<float>& a, const std::vector<float>& b,
                 float* out)
{
    switch (operation)
    {
        case SolidOperation::Union:
            for (std::size_t k = 0; k < a.size(); ++k) out[k] = std::min(a[k], b[k]);
            break;
        case SolidOperation::Intersection:
            for (std::size_t k = 0; k < a.size(); ++k) out[k] = std::max(a[k], b[k]);
            break;
        case SolidOperation::Difference:
            for (std::size_t k = 0; k < a.size(); ++k) out[k] = std::max(a[k], -b[k]);
    }
}

/// The grid that the operands' combination takes.
Grid makeGrid(const Grid& first, const Grid& second, SolidOperation operation)
{
    const auto [sizes, origin] = placementOf(first, second, operation);
    if (!GridFit{sizes, {}, first.largestSeparation}.isIndexable())
        throw std::length_error("tavrix: a grid of more than 2^32 - 1 nodes");
    if (sizes == Vector3D{double(first.sizeX), double(first.sizeY), double(first.sizeZ)}) return first;
    Grid grid = Grid::centered(static_cast<uint32>(sizes.x), static_cast<uint32>(sizes.y),
                               static_cast<uint32>(sizes.z), first.separation);
    grid.setOrigin(origin);
    return grid;
}

/// Combines solids of which one has no nodes, and so is nothing.
void combineWithNothing(LevelSet& first, const LevelSet& second, SolidOperation operation)
{
    if (operation == SolidOperation::Union && gridOf(first).size == 0) first = second;
    if (operation != SolidOperation::Intersection || gridOf(first).size == 0) return;
    first.refField().set(std::fabs(first.getDefaultValue()));
    first.createNeighborsCells();
}

/// The samples of the combination on the grid; none when it was stopped.
std::optional<Array<float>> combinedSamples(const LevelSet& a, const LevelSet& b, const Grid& grid,
                                            float band, SolidOperation operation, uint32 threadCount,
                                            CancelCallback callback)
{
    const Resampling from(a, grid, band), other(b, grid, band);
    Array<float> samples(grid.size);
    detail::Polling polling(callback);
    const uint64 planesPerPiece = std::max<uint64>(detail::lightItems / std::max(grid.sizeYZ, 1u), 1);
    const auto combinePlanes = [&](uint32, uint64 begin, uint64 end)
    {
        std::vector<float> rowA(grid.sizeZ), rowB(grid.sizeZ), between;
        for (auto i = static_cast<uint32>(begin); i < end; ++i)
            for (uint32 j = 0; j < grid.sizeY; ++j)
            {
                from.row(i, j, rowA, between);
                other.row(i, j, rowB, between);
                combineRows(operation, rowA, rowB, samples.data() + grid.getMonoindex(i, j, 0));
            }
    };
    if (!detail::inPieces(polling, grid.sizeX, planesPerPiece, threadCount, combinePlanes))
        return std::nullopt;
    return samples;
}

}  // namespace

GridFit combinedGrid(const LevelSet& first, const LevelSet& second, SolidOperation operation)
{
    const Grid& grid = gridOf(first).size == 0 ? gridOf(second) : gridOf(first);
    const auto [sizes, origin] = placementOf(grid, gridOf(second), operation);
    const double h = grid.largestSeparation;
    return {sizes, origin + (sizes - Vector3D{1, 1, 1}) * (h / 2), h};
}

bool combine(LevelSet& first, const LevelSet& second, SolidOperation operation, uint32 threadCount,
             CancelCallback callback)
{
    if (gridOf(first).size == 0 || gridOf(second).size == 0)
    {
        combineWithNothing(first, second, operation);
        return true;
    }
    const float band = std::fabs(first.getDefaultValue());
    const Operand a(first, band, threadCount, callback), b(second, band, threadCount, callback);
    const Grid grid = makeGrid(gridOf(*a), gridOf(*b), operation);
    auto samples = combinedSamples(*a, *b, grid, band, operation, threadCount, callback);
    if (!samples) return false;
    first.refField().adopt(grid, std::move(*samples));
    first.setBand(band);
    first.createNeighborsCells();
    return true;
}

}  // namespace tavrix
