#pragma once

// The frame of the arithmetic kernels: loops that are compiled twice from one source, plain and for AVX2, of
// which the processor chooses at run time. A header declares a kernel's functions with TX_DECLARE_KERNEL; a
// source named …Kernel.cpp defines them in the namespace tavrix::detail::TX_KERNEL and is added with
// tavrix_add_kernel (cmake/TavrixKernel.cmake); TX_RUN_KERNEL calls them.
//
// Both variants give the same bytes, because
// - expressions are neither contracted nor reassociated (the compiler's options);
// - sums run in a fixed number of interleaved parts, whatever the registers hold (KernelMath.h).
// Of the floating-point environment errno and traps are given up: nobody reads them, and they would keep
// square roots and selections from being vectorised.
//
// A kernel calls no inline function that other sources share (std::max, members of value types), unless it is
// always inlined: the linker keeps one copy of such a function for the whole library, and might keep the one
// compiled for AVX2, which ends the program on processors without. What kernels share stands in KernelMath.h,
// in the namespace TX_KERNEL, so that each variant has its own.

/// Declares functions of a kernel, for both variants.
#define TX_DECLARE_KERNEL(...) \
    namespace plain            \
    {                          \
    __VA_ARGS__                \
    }                          \
    namespace avx2             \
    {                          \
    __VA_ARGS__                \
    }

/// Calls a function of a kernel in the widest variant that this processor runs.
#if defined(TX_AVX2_KERNELS)
#define TX_RUN_KERNEL(function, ...)                                         \
    (tavrix::detail::hasAvx2() ? tavrix::detail::avx2::function(__VA_ARGS__) \
                               : tavrix::detail::plain::function(__VA_ARGS__))
#else
#define TX_RUN_KERNEL(function, ...) tavrix::detail::plain::function(__VA_ARGS__)
#endif

/// Before a loop none of whose iterations reads or writes what another one writes, so that the compiler need
/// not check. Clang checks; told not to, it complains wherever it cannot vectorise.
#if defined(__GNUC__) && !defined(__clang__)
#define TX_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#else
#define TX_INDEPENDENT_ITERATIONS
#endif

namespace tavrix::detail
{

/// Whether this processor runs the kernels for AVX2; false in builds without them.
inline bool hasAvx2()
{
#if defined(TX_AVX2_KERNELS)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

}  // namespace tavrix::detail
