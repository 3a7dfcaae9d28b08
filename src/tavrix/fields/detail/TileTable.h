#pragma once

#include <cmath>
#include <stdexcept>
#include <string>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Throws std::length_error when the table of so many tiles takes more than the available memory, in MiB. An
/// available memory of 0 is not known, and enough.
inline void requireTableFits(uint64 tileCount, double availableMebibytes)
{
    const double mebibytes = static_cast<double>(tileCount) * sizeof(uint32) / (1 << 20);
    if (availableMebibytes == 0 || mebibytes <= availableMebibytes) return;
    const auto inGibibytes = [](double amount)
    {
        const auto tenths = static_cast<uint64>(std::round(amount / 102.4));
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GiB";
    };
    throw std::length_error("tavrix::ScalarField3_SG: the table of " + std::to_string(tileCount) +
                            " tiles takes " + inGibibytes(mebibytes) + ", and " +
                            inGibibytes(availableMebibytes) +
                            " of memory are available; a larger tile edge makes fewer tiles");
}

}  // namespace tavrix::detail
