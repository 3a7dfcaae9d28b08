#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>

// Samples by node, whatever the storage: what evaluation and derivatives are templates over. Besides
// samples(i, j, k) they give whole rows along z, of which up to five are asked for at a time.

namespace tavrix::detail
{

/// Samples in one array in monoindex order.
template <class Value, class Coord>
struct ArraySamples
{
    using ValueType = Value;

    const GridDescription3<Coord>& grid;
    const Value* values;

    Value operator()(uint32 i, uint32 j, uint32 k) const { return values[grid.getMonoindex(i, j, k)]; }
    const Value* row(uint32 i, uint32 j, Array<Value>&) const { return values + grid.getMonoindex(i, j, 0); }
};

/// Samples behind the virtual accessor of a ScalarField3_base<Value, Coord>.
template <template <class, class> class Field, class Value, class Coord>
struct FieldSamples
{
    using ValueType = Value;

    const Field<Value, Coord>& field;

    Value operator()(uint32 i, uint32 j, uint32 k) const { return field.get(Index3{i, j, k}); }
    const Value* row(uint32 i, uint32 j, Array<Value>& buffer) const
    {
        buffer.resize(field.sizeZ());
        field.copySamples(field.getGrid().getMonoindex(i, j, 0), field.sizeZ(), buffer.data());
        return buffer.data();
    }
};

/// use(samples) with the cheapest samples that the field has.
template <template <class, class> class Field, class Value, class Coord, class Use>
auto withSamples(const Field<Value, Coord>& field, Use use)
{
    if (const Value* values = field.getDenseSamples())
        return use(ArraySamples<Value, Coord>{field.getGrid(), values});
    return use(FieldSamples<Field, Value, Coord>{field});
}

}  // namespace tavrix::detail
