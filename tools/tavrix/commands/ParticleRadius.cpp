#include "commands/ParticleRadius.h"

#include <tavrix/particles/ParticleSpacing.h>

#include "run/Failure.h"

namespace tavrix::tool
{

double radiusOrEstimate(const std::optional<double>& given, const Array<Vector3F>& positions,
                        const std::string& file, const std::string& option)
{
    const double radius = given ? *given : estimateSpacing(positions) / 2;
    if (!(static_cast<float>(radius) > 0)) failWithoutRadius(file, option);
    return radius;
}

void failWithoutRadius(const std::string& file, const std::string& option)
{
    throw Failure(file + ": the particles all lie at one place, so their radius cannot be estimated; give " +
                  option);
}

}  // namespace tavrix::tool
