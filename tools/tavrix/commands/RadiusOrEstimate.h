#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::tool
{

/// The radius that was given, or half the estimated spacing. Throws Failure, which names the file and the
/// option that gives a radius, when there is neither.
double radiusOrEstimate(const std::optional<double>& given, const Array<Vector3F>& positions,
                        const std::string& file, const std::string& option = "--radius");

/// The Failure that there is no radius.
[[noreturn]] void failWithoutRadius(const std::string& file, const std::string& option = "--radius");

}  // namespace tavrix::tool
