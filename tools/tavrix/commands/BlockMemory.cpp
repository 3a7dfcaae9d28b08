#include "commands/BlockMemory.h"

#include <algorithm>
#include <cmath>

#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

std::string latticeText(double spacing, uint64 blocks)
{
    return formatted("lattice    spacing %.6g, %llu block%s of 32 x 32 x 32 cells\n", spacing,
                     static_cast<unsigned long long>(blocks), blocks == 1 ? "" : "s");
}

void failTooWide(const Box3D& box, double reach, double spacing, const std::string& file,
                 const std::string& hint)
{
    constexpr double mostSteps = 2e9, farthestReach = 5e5;
    const Vector3D extent = box.max - box.min;
    const double longest = std::max({extent.x, extent.y, extent.z});
    throw Failure(file +
                  formatted(": a lattice of spacing %.3g cannot span %.3g x %.3g x %.3g; is some of it "
                            "astray?%s Or try --spacing %.2g",
                            spacing, extent.x, extent.y, extent.z, hint.c_str(),
                            std::max(longest / mostSteps, reach / farthestReach) * 1.05));
}

/// The surface's share of the memory falls with the square of the spacing.
void failTooLarge(double bytes, double granted, double spacing, const std::string& file,
                  const std::string& hint)
{
    constexpr double gibi = 1 << 30;
    const double larger = spacing * std::sqrt(bytes / std::max(granted, 1e6)) * 1.05;
    throw Failure(file + formatted(": takes %.3g GiB, %.3g GiB more than there are; %stry --spacing %.2g",
                                   bytes / gibi, std::max(bytes - granted, 0.0) / gibi, hint.c_str(),
                                   larger));
}

}  // namespace tavrix::tool
