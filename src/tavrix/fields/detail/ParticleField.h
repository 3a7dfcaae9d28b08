#pragma once

#include <utility>

#include <tavrix/fields/detail/TileSplatting.h>

// The particle setters' way to a field's storage.

namespace tavrix::detail
{

/// Calls use(field) with the field as the storage that it is, or, for any other, with a dense field that
/// takes over its samples and gives them back.
template <class Value, class Coord, class Use>
bool withStorage(ScalarField3_base<Value, Coord>& field, Use use)
{
    if (field.getType() == ScalarFieldType::Tiled)
        return use(static_cast<ScalarField3_SG<Value, Coord>&>(field));
    if (field.getType() == ScalarFieldType::Dense)
        return use(static_cast<ScalarField3<Value, Coord>&>(field));
    ScalarField3<Value, Coord> dense;
    Array<Value> samples(field.size());
    field.copySamples(0, field.size(), samples.data());
    dense.adopt(field.getGrid(), std::move(samples));
    const bool isDone = use(dense);
    field.copyScalars(dense);
    return isDone;
}

template <class Value, class Coord, class Kernel, class Make>
bool buildField(ScalarField3_base<Value, Coord>& field, const Kernel& kernel, uint32 count, float margin,
                uint32 threadCount, CancelCallback callback, Make make)
{
    return withStorage(field, [&](auto& stored)
                       { return buildField(stored, kernel, count, margin, threadCount, callback, make); });
}

template <class Value, class Coord, class Kernel, class Make, class Merge>
bool carveField(ScalarField3_base<Value, Coord>& field, const Kernel& kernel, uint32 count, float margin,
                uint32 threadCount, CancelCallback callback, Make make, Merge merge)
{
    return withStorage(
        field, [&](auto& stored)
        { return carveField(stored, kernel, count, margin, threadCount, callback, make, merge); });
}

}  // namespace tavrix::detail
