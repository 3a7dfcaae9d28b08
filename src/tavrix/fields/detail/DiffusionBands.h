#pragma once

#include <algorithm>
#include <memory>

#include <tavrix/fields/detail/DiffusionKernel.h>
#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// A field's samples as bands of rows, in the shape that relaxBand takes. That is a fifth more than the
/// samples in a grid of 256 nodes along z, a third more with 128, and up to nine times as much in flat ones.
template <class Value>
class DiffusionBands
{
public:
    DiffusionBands(uint32 sizeX, uint32 sizeY, uint32 sizeZ)
        : _sizeX(sizeX),
          _sizeY(sizeY),
          _sizeZ(sizeZ),
          _rows(std::clamp(sizeZ / 4, 1u, mostRows)),
          _bands((sizeY + _rows - 1) / _rows),
          _stride(_rows + 2),
          _bandSize(_stride * (sizeZ + _rows + 1)),
          _values(new Value[_bandSize * _bands * sizeX])
    {
        adviseHugePages(_values.get(), sizeof(Value) * _bandSize * _bands * sizeX);
    }

    DiffusionBands sameShape() const { return {_sizeX, _sizeY, _sizeZ}; }

    uint32 sizeX() const { return _sizeX; }
    uint32 sizeZ() const { return _sizeZ; }
    uint32 bands() const { return _bands; }
    uint32 rowsOf(uint32 band) const { return std::min(_rows, _sizeY - band * _rows); }
    std::size_t stride() const { return _stride; }

    /// Step 0, place 0 of a band of plane i.
    /// @{
    Value* band(uint32 i, uint32 band) { return _values.get() + start(i, band); }
    const Value* band(uint32 i, uint32 band) const { return _values.get() + start(i, band); }
    /// @}

    /// Takes the samples of plane i, or gives them back.
    /// @{
    void take(uint32 i, const Value* plane)
    {
        forEachPlace([&](uint32 band, std::size_t place, std::size_t sample)
                     { this->band(i, band)[place] = plane[sample]; });
    }
    void give(uint32 i, Value* plane) const
    {
        forEachPlace([&](uint32 band, std::size_t place, std::size_t sample)
                     { plane[sample] = this->band(i, band)[place]; });
    }
    /// @}

    /// Puts beside the first and the last row of a band the samples of the rows there, or its own at the
    /// grid's faces.
    void takeNeighbours(uint32 i, uint32 band)
    {
        Value* const own = this->band(i, band);
        const uint32 rows = rowsOf(band);
        const std::size_t lastRow = (rows - 1) * (_stride + 1);
        const Value* const below = band > 0 ? this->band(i, band - 1) + (_rows - 1) * (_stride + 1) : own;
        const Value* const above = band + 1 < _bands ? this->band(i, band + 1) : own + lastRow;
        Value* const lowY = own - _stride - 1;
        Value* const highY = own + lastRow + _stride + 1;
        for (uint32 k = 0; k < _sizeZ; ++k)
        {
            lowY[k * _stride] = below[k * _stride];
            highY[k * _stride] = above[k * _stride];
        }
    }

private:
    static constexpr uint32 mostRows = 32;

    std::size_t start(uint32 i, uint32 band) const
    {
        return _bandSize * (std::size_t{i} * _bands + band) + _stride + 1;
    }

    /// visit(band, place in it, sample in the plane), step by step.
    template <class Visit>
    void forEachPlace(const Visit& visit) const
    {
        for (uint32 band = 0; band < _bands; ++band)
        {
            const uint32 rows = rowsOf(band);
            for (uint32 t = 0; t < _sizeZ + rows - 1; ++t)
                for (uint32 r = t < _sizeZ ? 0 : t - _sizeZ + 1; r < std::min(t + 1, rows); ++r)
                    visit(band, t * _stride + r, std::size_t{band * _rows + r} * _sizeZ + t - r);
        }
    }

    uint32 _sizeX, _sizeY, _sizeZ, _rows, _bands;
    std::size_t _stride, _bandSize;
    std::unique_ptr<Value[]> _values;
};

}  // namespace tavrix::detail
