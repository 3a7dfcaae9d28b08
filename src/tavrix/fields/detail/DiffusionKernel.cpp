#include <tavrix/fields/detail/DiffusionKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

template <class Value>
void diffuseRow(const DiffusedRow<Value>& row, uint32 sizeZ, const DiffusionStep<Value>& given)
{
    const DiffusionStep<Value> step = given;
    const Value* const own = row.own;
    const Value* const lowX = row.lowX;
    const Value* const highX = row.highX;
    const Value* const lowY = row.lowY;
    const Value* const highY = row.highY;
    Value* __restrict const out = row.out;
    const auto at = [&](uint32 k, uint32 low, uint32 high)
    { return step.diffuse(own[k], lowX[k], highX[k], lowY[k], highY[k], own[low], own[high]); };
    const uint32 last = sizeZ - 1;
    out[0] = at(0, 0, smaller(1u, last));
    for (uint32 k = 1; k < last; ++k)
        out[k] = step.diffuse(own[k], lowX[k], highX[k], lowY[k], highY[k], own[k - 1], own[k + 1]);
    if (last > 0) out[last] = at(last, last - 1, last);
}

/// The places [first, end) of a step. The neighbours in the steps beside it are no place of its own.
template <class Value>
inline void relaxPlaces(const Value* source, const Value* lowX, const Value* highX, Value* own,
                        std::size_t stride, uint32 first, uint32 end, const DiffusionStep<Value>& step)
{
    const Value* const lowZ = own - stride;
    const Value* const highZ = own + stride;
    const Value* const lowY = lowZ - 1;
    const Value* const highY = highZ + 1;
    TX_INDEPENDENT_ITERATIONS
    for (uint32 r = first; r < end; ++r)
        own[r] = step.relax(source[r], lowX[r], highX[r], lowY[r], highY[r], lowZ[r], highZ[r]);
}

template <class Value>
void relaxBand(const DiffusedBand<Value>& band, const DiffusionStep<Value>& given)
{
    const DiffusionStep<Value> step = given;
    const uint32 last = band.sizeZ - 1;
    const std::size_t stride = band.stride;
    // beyond the ends of a row its own samples, as they are before this
    for (uint32 r = 0; r < band.rows; ++r)
    {
        Value* const row = band.own + r * (stride + 1);
        *(row - stride) = *row;
        row[band.sizeZ * stride] = row[last * stride];
    }
    for (uint32 t = 0; t < band.sizeZ + band.rows - 1; ++t)
    {
        const uint32 first = t < band.sizeZ ? 0 : t - last;
        const std::size_t place = t * stride;
        relaxPlaces(band.source + place, band.lowX + place, band.highX + place, band.own + place, stride,
                    first, smaller(t + 1, band.rows), step);
    }
}

template void diffuseRow(const DiffusedRow<float>&, uint32, const DiffusionStep<float>&);
template void diffuseRow(const DiffusedRow<double>&, uint32, const DiffusionStep<double>&);
template void relaxBand(const DiffusedBand<float>&, const DiffusionStep<float>&);
template void relaxBand(const DiffusedBand<double>&, const DiffusionStep<double>&);

}  // namespace tavrix::detail::TX_KERNEL
