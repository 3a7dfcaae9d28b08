#pragma once

namespace tavrix::detail
{

/// Whether this processor runs the kernels that were compiled for AVX2; false in builds without such kernels.
inline bool hasAvx2()
{
#if defined(TX_AVX2_KERNELS)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

}  // namespace tavrix::detail
