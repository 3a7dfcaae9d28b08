#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::tool
{

/// The distance between neighbouring particles if they stood on a cubic lattice: the median distance d to the
/// fourth nearest particle gives the density, 4.5 particles in a ball of radius d, and the density the
/// spacing. Steady under disorder, within some ten per cent in sheets one particle thick. Taken over up to
/// two thousand particles picked evenly; particles at one place do not count. 0 when no two particles lie
/// apart.
double estimateSpacing(const Array<Vector3F>& positions);

/// The radius that was given, or half the estimated spacing. Throws Failure, which names the file and the
/// option that gives a radius, when there is neither.
double radiusOrEstimate(const std::optional<double>& given, const Array<Vector3F>& positions,
                        const std::string& file, const std::string& option = "--radius");

}  // namespace tavrix::tool
