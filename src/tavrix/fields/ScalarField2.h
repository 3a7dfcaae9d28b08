#pragma once

#include <tavrix/fields/PlaneField.h>

namespace tavrix
{

/// A number for every node of a regular grid in the plane, in single or double precision; see PlaneField.
template <class Value>
class ScalarField2 : public PlaneField<Value, Value>
{
public:
    /// All samples in monoindex order.
    /// @{
    const Array<Value>& getArrScalars() const { return this->_samples; }
    Array<Value>& refArrScalars() { return this->_samples; }
    /// @}
};

}  // namespace tavrix
