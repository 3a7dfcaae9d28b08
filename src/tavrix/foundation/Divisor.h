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
    struct Result
    {
        uint32 quotient, rest;
    };

    explicit Divisor(uint32 divisor) : _divisor(divisor > 0 ? divisor : 1)
    {
        uint32 bits = 0;  // 2^bits is the least power of two that is not below the divisor
        while ((uint64{1} << bits) < _divisor) ++bits;
        _reciprocal = static_cast<uint32>((((uint64{1} << bits) - _divisor) << 32) / _divisor + 1);
        _firstShift = bits > 0 ? 1 : 0;
        _lastShift = bits > 0 ? bits - 1 : 0;
    }

    uint32 getDivisor() const { return _divisor; }

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
