#pragma once

/// TX_GEOMETRY_API marks every public class and free function of the library: exported from the DLL on
/// Windows, the only visible symbols elsewhere. Hosts of the static library define TX_GEOMETRY_STATIC, as its
/// CMake target and pkg-config file do.
///
/// TX_GEOMETRY_INSTANCE(Field<float>) declares an instance of a class template that the library contains. A
/// DLL exports only its non-inline members, and Windows hosts compile the inline ones, which `extern
/// template` would prevent; so it is empty for Windows hosts.
#if defined(_WIN32) && defined(TX_GEOMETRY_STATIC)
#define TX_GEOMETRY_API
#elif defined(_WIN32)
#if defined(TX_GEOMETRY_BUILD)
#define TX_GEOMETRY_API __declspec(dllexport)
#else
#define TX_GEOMETRY_API __declspec(dllimport)
#endif
#else
#define TX_GEOMETRY_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32) && !defined(TX_GEOMETRY_BUILD) && !defined(TX_GEOMETRY_STATIC)
#define TX_GEOMETRY_INSTANCE(...)
#else
#define TX_GEOMETRY_INSTANCE(...) extern template class TX_GEOMETRY_API __VA_ARGS__
#endif
