#include <tavrix/fields/ScalarField3Octree.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/detail/SortOnce.h>

namespace tavrix
{

namespace
{

constexpr uint32 cubesAlongAxis = 1u << 4;  ///< at most, so that a place of the finest level fits
constexpr uint32 bitsOfPlace = 21;

/// A corner of the finest level's lattice, as one number.
uint64 packed(const Index3& place)
{
    return (uint64{place.a} << bitsOfPlace | place.b) << bitsOfPlace | place.c;
}

Index3 unpacked(uint64 key)
{
    constexpr uint64 mask = (1u << bitsOfPlace) - 1;
    return {static_cast<uint32>(key >> (2 * bitsOfPlace)), static_cast<uint32>(key >> bitsOfPlace & mask),
            static_cast<uint32>(key & mask)};
}

/// The corner, or the child, of that number, so many steps from the lowest one along each axis.
Index3 stepped(const Index3& from, uint32 number, uint32 step)
{
    return {from.a + (number >> 2 & 1) * step, from.b + (number >> 1 & 1) * step,
            from.c + (number & 1) * step};
}

template <class Value>
class OctreeBuilder
{
public:
    using Field = ScalarField3Octree<Value>;
    using Voxels = Array<OctreeVoxelScalar<Value>>;

    OctreeBuilder(const Vector3D& lowest, const OctreeSettings& settings,
                  const typename Field::Sampler& sample, const typename Field::IsFine& isFine, Voxels& voxels)
        : _lowest(lowest),
          _settings(settings),
          _finest(settings.coarsest / (1u << settings.levels)),
          _sample(sample),
          _isFine(isFine),
          _voxels(voxels),
          _polling(settings.callback)
    {
    }

    OctreeStatus build(const std::array<uint32, 3>& sizes)
    {
        const uint32 step = 1u << _settings.levels;
        std::vector<Index3> places;
        places.reserve(std::size_t{sizes[0]} * sizes[1] * sizes[2]);
        for (uint32 i = 0; i < sizes[0]; ++i)
            for (uint32 j = 0; j < sizes[1]; ++j)
                for (uint32 k = 0; k < sizes[2]; ++k) places.push_back({i * step, j * step, k * step});
        _voxels.resize(static_cast<uint32>(places.size()));
        if (!sampleCorners(0, places, step)) return OctreeStatus::Stopped;
        return refine(std::move(places));
    }

private:
    /// Halves cells level by level, from the coarsest, whose places these are, on.
    OctreeStatus refine(std::vector<Index3> places)
    {
        uint32 first = 0;
        for (uint32 level = 0; level < _settings.levels && !places.empty(); ++level)
        {
            const uint32 step = 1u << (_settings.levels - level);
            const std::vector<uint32> coarse = coarseCells(first, places, step);
            if (_polling.isStopped()) return OctreeStatus::Stopped;
            const uint32 next = _voxels.size();
            if (next + uint64{8} * coarse.size() > _settings.mostCells) return OctreeStatus::TooLarge;
            std::vector<Index3> finer;
            finer.reserve(8 * coarse.size());
            for (const uint32 n : coarse)
            {
                _voxels[first + n].children = next + static_cast<uint32>(finer.size());
                for (uint32 child = 0; child < 8; ++child)
                    finer.push_back(stepped(places[n], child, step / 2));
            }
            _voxels.resize(next + static_cast<uint32>(finer.size()));
            if (!sampleCorners(next, finer, step / 2)) return OctreeStatus::Stopped;
            places = std::move(finer);
            first = next;
        }
        return OctreeStatus::Done;
    }

    /// Which of the level's cells are to be halved.
    std::vector<uint32> coarseCells(uint32 first, const std::vector<Index3>& places, uint32 step)
    {
        constexpr uint64 cellsOfPiece = 512;
        Array<uint8> isCoarse(static_cast<uint32>(places.size()));
        inPieces(_polling, places.size(), cellsOfPiece, _settings.threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                     {
                         const Box3D cell{pointAt(places[n]), pointAt(stepped(places[n], 7, step))};
                         isCoarse[n] = _isFine(cell, _voxels[first + static_cast<uint32>(n)].corners) ? 0 : 1;
                     }
                 });
        std::vector<uint32> coarse;
        if (_polling.isStopped()) return coarse;
        for (uint32 n = 0; n < isCoarse.size(); ++n)
            if (isCoarse[n]) coarse.push_back(n);
        return coarse;
    }

    /// Gives the cells from one on, with their places, the values at their corners. False when stopped.
    bool sampleCorners(uint32 first, const std::vector<Index3>& places, uint32 step)
    {
        std::vector<uint64> keys;
        keys.reserve(8 * places.size());
        for (const Index3& place : places)
            for (uint32 corner = 0; corner < 8; ++corner)
                keys.push_back(packed(stepped(place, corner, step)));
        detail::sortOnce(keys);
        if (!_polling.goOn()) return false;

        Array<Vector3D> points(static_cast<uint32>(keys.size()));
        for (uint32 n = 0; n < points.size(); ++n) points[n] = pointAt(unpacked(keys[n]));
        Array<Value> values(points.size());
        if (!_sample({points.data(), points.size()}, {values.data(), values.size()})) return false;
        return inPieces(_polling, places.size(), detail::scatteredItems / 8, _settings.threadCount,
                        [&](uint32, uint64 begin, uint64 end)
                        {
                            for (uint64 n = begin; n < end; ++n)
                                for (uint32 corner = 0; corner < 8; ++corner)
                                {
                                    const uint64 key = packed(stepped(places[n], corner, step));
                                    const auto found = std::lower_bound(keys.begin(), keys.end(), key);
                                    _voxels[first + static_cast<uint32>(n)].corners[corner] =
                                        values[static_cast<uint32>(found - keys.begin())];
                                }
                        });
    }

    Vector3D pointAt(const Index3& place) const
    {
        return _lowest + Vector3D{double(place.a), double(place.b), double(place.c)} * _finest;
    }

    Vector3D _lowest;
    const OctreeSettings& _settings;
    double _finest;  ///< the edge of the smallest cells
    const typename Field::Sampler& _sample;
    const typename Field::IsFine& _isFine;
    Voxels& _voxels;
    detail::Polling _polling;
};

/// The cubes along an axis; 0 where there is no such number of them.
uint32 cubesFor(double length, double edge)
{
    const double cubes = std::max(1.0, std::ceil(length / edge));
    return cubes <= cubesAlongAxis ? static_cast<uint32>(cubes) : 0;
}

/// Trilinear between the corners; x, y and z go from 0 to 1.
template <class Value>
double between(const std::array<Value, 8>& corners, double x, double y, double z)
{
    const auto along = [](double low, double high, double t) { return low + (high - low) * t; };
    const auto ofSide = [&](uint32 side)
    {
        const Value* const c = corners.data() + 4 * side;
        return along(along(c[0], c[1], z), along(c[2], c[3], z), y);
    };
    return along(ofSide(0), ofSide(1), x);
}

}  // namespace

template <class Value>
OctreeStatus ScalarField3Octree<Value>::build(const Box3D& box, const OctreeSettings& settings,
                                              const Sampler& sample, const IsFine& isFine)
{
    *this = {};
    const double edge = settings.coarsest;
    const bool isBad = box.isEmpty() || !(edge > 0) || !std::isfinite(edge) || settings.levels > mostLevels;
    if (isBad) return OctreeStatus::BadSettings;
    std::array<uint32, 3> sizes{};
    Box3D covered = box;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        sizes[axis] = cubesFor(box.max[axis] - box.min[axis], edge);
        covered.max[axis] = box.min[axis] + sizes[axis] * edge;
        if (sizes[axis] == 0 || !std::isfinite(covered.max[axis])) return OctreeStatus::BadSettings;
    }

    Array<OctreeVoxelScalar<Value>> cells;
    const OctreeStatus status = OctreeBuilder<Value>(box.min, settings, sample, isFine, cells).build(sizes);
    if (status != OctreeStatus::Done) return status;
    _cells = std::move(cells);
    _box = covered;
    _coarsest = edge;
    _sizes = sizes;
    return status;
}

template <class Value>
std::optional<Value> ScalarField3Octree<Value>::evaluate(const Vector3D& point) const
{
    if (_cells.empty() || !_box.contains(point)) return std::nullopt;
    double place[3];
    uint32 number = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double along = (point[axis] - _box.min[axis]) / _coarsest;
        const uint32 cube = std::min(static_cast<uint32>(along), _sizes[axis] - 1);
        place[axis] = std::min(along - cube, 1.0);
        number = number * _sizes[axis] + cube;
    }
    const OctreeVoxelScalar<Value>* cell = &_cells[number];
    while (cell->children != 0)
    {
        uint32 child = 0;
        for (double& t : place)
        {
            t *= 2;
            const uint32 upper = t >= 1;
            t -= upper;
            child = child << 1 | upper;
        }
        cell = &_cells[cell->children + child];
    }
    return static_cast<Value>(between(cell->corners, place[0], place[1], place[2]));
}

template class ScalarField3Octree<float>;
template class ScalarField3Octree<double>;

}  // namespace tavrix
