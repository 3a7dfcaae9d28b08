#pragma once

#include <stdexcept>

#include <tavrix/fields/detail/TileSplatting.h>

// The particle setters' way to a field's storage.

namespace tavrix::detail
{

/// Calls use(field) with the field as the storage that it is; std::invalid_argument for one of a host's own.
template <class Value, class Coord, class Use>
auto withStorage(ScalarField3_base<Value, Coord>& field, Use use)
{
    if (field.getType() == ScalarFieldType::Tiled)
        return use(static_cast<ScalarField3_SG<Value, Coord>&>(field));
    if (field.getType() == ScalarFieldType::Dense)
        return use(static_cast<ScalarField3<Value, Coord>&>(field));
    throw std::invalid_argument("tavrix: particles make dense and tiled fields only");
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
