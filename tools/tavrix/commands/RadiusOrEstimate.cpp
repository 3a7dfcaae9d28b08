#include "commands/RadiusOrEstimate.h"

#include <tavrix/particles/ParticleSpacing.h>

#include "run/Failure.h"

namespace tavrix::tool
{

double radiusOrEstimate(const std::optional<double>& given, const Array<Vector3F>& positions,
                        const std::string& file, const std::string& option)
{
    const Optional<double> radius = given ? given : estimateRadius(positions);
    if (!radius) failWithoutRadius(file, option);
    return *radius;
}

void failWithoutRadius(const std::string& file, const std::string& option)
{
    throw Failure(file + ": the particles all lie at one place, so their radius cannot be estimated; give " +
                  option);
}

}  // namespace tavrix::tool
