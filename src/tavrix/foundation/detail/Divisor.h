#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Divides 32-bit numbers by one divisor, several times faster than the processor's division: a
/// multiplication by the reciprocal in double precision is off by one at most, and corrected. The divisor is
/// not 0.
class Divisor
{
public:
    struct Result
    {
        uint32 quotient, rest;
    };

    explicit Divisor(uint32 divisor) : _divisor(divisor), _reciprocal(1.0 / divisor) {}

    Result divide(uint32 number) const
    {
        int64 quotient = static_cast<int64>(static_cast<double>(number) * _reciprocal);
        int64 rest = int64{number} - quotient * _divisor;
        const int64 below = rest < 0, above = rest >= _divisor;
        quotient += above - below;
        rest += (below - above) * _divisor;
        return {static_cast<uint32>(quotient), static_cast<uint32>(rest)};
    }

private:
    int64 _divisor;
    double _reciprocal;
};

}  // namespace tavrix::detail
