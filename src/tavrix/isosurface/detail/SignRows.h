#pragma once

#include <cstddef>
#include <memory>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

namespace tavrix::detail
{

/// One bit a grid node, set where the sample is not below the threshold; a row of bits for each (i, j),
/// lowest bit first, closed by at least one zero bit past the last node so that a row can be read one node
/// ahead.
class SignRows
{
public:
    SignRows(uint32 sizeX, uint32 sizeY, uint32 sizeZ)
        : _sizeY(sizeY), _words(sizeZ / 64 + 1), _bits(new uint64[std::size_t{sizeX} * sizeY * _words])
    {
        detail::adviseHugePages(_bits.get(), std::size_t{sizeX} * sizeY * _words * sizeof(uint64));
    }

    uint32 wordsPerRow() const { return _words; }
    uint64* row(uint32 i, uint32 j) { return _bits.get() + (std::size_t{i} * _sizeY + j) * _words; }
    const uint64* row(uint32 i, uint32 j) const
    {
        return _bits.get() + (std::size_t{i} * _sizeY + j) * _words;
    }

private:
    uint32 _sizeY;
    uint32 _words;
    std::unique_ptr<uint64[]> _bits;
};

#if defined(__SSE2__) || defined(_M_X64)
/// The bits "sample >= threshold" of one 16-byte vector of samples.
inline uint32 signBits(const float* samples, float threshold)
{
    const __m128 mask = _mm_cmpge_ps(_mm_loadu_ps(samples), _mm_set1_ps(threshold));
    return static_cast<uint32>(_mm_movemask_ps(mask));
}

inline uint32 signBits(const double* samples, double threshold)
{
    const __m128d mask = _mm_cmpge_pd(_mm_loadu_pd(samples), _mm_set1_pd(threshold));
    return static_cast<uint32>(_mm_movemask_pd(mask));
}
#endif

/// The bits "sample >= threshold" of up to 64 consecutive samples.
template <class T>
uint64 signWord(const T* samples, uint32 count, T threshold)
{
    uint64 word = 0;
    uint32 n = 0;
#if defined(__SSE2__) || defined(_M_X64)
    constexpr uint32 lanes = 16 / sizeof(T);
    for (; n + lanes <= count; n += lanes) word |= uint64{signBits(samples + n, threshold)} << n;
#endif
    for (; n < count; ++n) word |= uint64{samples[n] >= threshold} << n;
    return word;
}

/// Fills a row of sign bits from consecutive samples.
template <class T>
void classifyRow(const T* samples, uint32 sizeZ, T threshold, uint64* bits)
{
    uint32 k = 0;
    for (; k + 64 <= sizeZ; k += 64) *bits++ = signWord(samples + k, 64, threshold);
    *bits = signWord(samples + k, sizeZ - k, threshold);
}

}  // namespace tavrix::detail
