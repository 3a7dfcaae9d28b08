#include "SurfaceSettings.h"

#include <tavrix/platform/Hardware.h>

#include "ParticleSpacing.h"

namespace tavrix::tool
{

float SurfaceSettings::reach() const
{
    return field == FieldKind::Distance ? 2.0f * radius : radius * (influence * 3.8f / 100.0f + 1.2f);
}

float SurfaceSettings::valueAtOne() const
{
    if (field != FieldKind::Anisotropic) return 1;
    const float ratio = radius / reach(), t = 1 - ratio * ratio;
    return t * t * t;
}

SurfaceSettings settle(const SurfaceOptions& options, const Array<Vector3F>& positions)
{
    SurfaceSettings settings{};
    settings.radiusIsEstimated = !options.radius;
    const double radius = radiusOrEstimate(options.radius, positions, options.input);
    settings.radius = static_cast<float>(radius);
    settings.field = options.field;
    settings.influence =
        static_cast<float>(options.influence.value_or(options.field == FieldKind::Anisotropic ? 100 : 60));
    settings.level =
        static_cast<float>(options.level.value_or(options.field == FieldKind::Distance ? 0.05 : 1.0));
    settings.spacing = options.spacing.value_or(radius / 2);
    settings.threads = options.threads ? options.threads : Hardware::getThreadCount();
    return settings;
}

}  // namespace tavrix::tool
