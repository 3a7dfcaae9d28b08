#pragma once

#include <cstring>
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

/// Whether two types are one. A host may have its own copy of the type information of what the library has
/// too, and some standard libraries compare where copies lie, so their names decide.
inline bool isSameType(const std::type_info& a, const std::type_info& b) noexcept
{
    return &a == &b || std::strcmp(a.name(), b.name()) == 0;
}

}  // namespace tavrix
