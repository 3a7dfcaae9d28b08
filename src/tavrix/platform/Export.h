#pragma once

/// TX_GEOMETRY_API marks every public class and free function of the library: exported from the DLL on
/// Windows, the only visible symbols elsewhere.
///
/// TX_GEOMETRY_INSTANCE(Field<float>) declares an instance of a class template that the library holds. A DLL
/// exports what of it is not inline only, so hosts on Windows have to make the inline members themselves,
/// which such a declaration would keep them from: for them it is none.
#if defined(_WIN32)
#if defined(TX_GEOMETRY_BUILD)
#define TX_GEOMETRY_API __declspec(dllexport)
#else
#define TX_GEOMETRY_API __declspec(dllimport)
#endif
#else
#define TX_GEOMETRY_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32) && !defined(TX_GEOMETRY_BUILD)
#define TX_GEOMETRY_INSTANCE(...)
#else
#define TX_GEOMETRY_INSTANCE(...) extern template class TX_GEOMETRY_API __VA_ARGS__
#endif
