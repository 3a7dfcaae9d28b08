#pragma once

/// TX_GEOMETRY_API marks every public class, free function and explicit template instantiation of the
/// library: exported from the DLL on Windows, the only visible symbols elsewhere.
#if defined(_WIN32)
#if defined(TX_GEOMETRY_BUILD)
#define TX_GEOMETRY_API __declspec(dllexport)
#else
#define TX_GEOMETRY_API __declspec(dllimport)
#endif
#else
#define TX_GEOMETRY_API __attribute__((visibility("default")))
#endif
