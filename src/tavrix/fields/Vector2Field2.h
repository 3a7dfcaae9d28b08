#pragma once

#include <tavrix/fields/PlaneField.h>

namespace tavrix
{

/// A vector for every node of a regular grid in the plane, in single or double precision; see PlaneField.
template <class Value>
class Vector2Field2 : public PlaneField<Value, Vector2<Value>>
{
public:
    /// All samples in monoindex order.
    /// @{
    const Array<Vector2<Value>>& getArrVectors() const { return this->_samples; }
    Array<Vector2<Value>>& refArrVectors() { return this->_samples; }
    /// @}
};

}  // namespace tavrix
