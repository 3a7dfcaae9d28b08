#pragma once

#include <typeinfo>

#include <tavrix/platform/Export.h>

namespace tavrix
{

/// What tells the arrays of the store apart by their type.
///
/// Hosts that are built without run-time type information ask the library, which knows Array of the numbers,
/// vectors, colours and tuples of its own (ArrayTypes.cpp has the list); arrays of other types need
/// -frtti in the host, and do not link without.
#if defined(__cpp_rtti) || defined(_CPPRTTI)
template <class A>
const std::type_info& arrayType() noexcept
{
    return typeid(A);
}
#else
template <class A>
TX_GEOMETRY_API const std::type_info& arrayType() noexcept;
#endif

}  // namespace tavrix
