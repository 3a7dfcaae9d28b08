#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Divides 32-bit numbers by one divisor, without the processor's division: by a multiplication with a 33-bit
/// reciprocal, rounded up, whose top bit is an addition (after Granlund and Montgomery, PLDI 1994). Exact for
/// all numbers and divisors; a divisor of 0 counts as 1.
class Divisor
{
public:
    /// number / divisor, and what is left over.
    /// @{
    struct Result
    {
        /// The whole quotient and the remainder.
        /// @{
        uint32 quotient, rest;
        /// @}
    };
    /// @}

    /// Computes the reciprocal, with the one division that there is.
    explicit Divisor(uint32 divisor) : _divisor(divisor > 0 ? divisor : 1)
    {
        uint32 bits = 0;  // 2^bits is the least power of two that is not below the divisor
        while ((uint64{1} << bits) < _divisor) ++bits;
        _reciprocal = static_cast<uint32>((((uint64{1} << bits) - _divisor) << 32) / _divisor + 1);
        _firstShift = bits > 0 ? 1 : 0;
        _lastShift = bits > 0 ? bits - 1 : 0;
    }

    /// The divisor that counts: 1 when 0 was given.
    uint32 getDivisor() const { return _divisor; }

    /// Exact for every 32-bit number.
    Result divide(uint32 number) const
    {
        const auto high = static_cast<uint32>((uint64{number} * _reciprocal) >> 32);
        const uint32 quotient = (((number - high) >> _firstShift) + high) >> _lastShift;
        return {quotient, number - quotient * _divisor};
    }

private:
    uint32 _divisor, _reciprocal, _firstShift, _lastShift;
};

}  // namespace tavrix
