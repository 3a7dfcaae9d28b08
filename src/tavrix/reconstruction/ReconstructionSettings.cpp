#include <tavrix/reconstruction/ReconstructionSettings.h>

#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/platform/Hardware.h>

namespace tavrix
{

float ReconstructionSettings::reach() const
{
    const auto r = static_cast<float>(*radius);
    return kernel == SurfaceKernel::Distance ? 2.0f * r
                                             : r * (static_cast<float>(*influence) * 3.8f / 100.0f + 1.2f);
}

float ReconstructionSettings::valueAtLevelOne() const
{
    if (kernel != SurfaceKernel::Anisotropic) return 1;
    // of a lone kernel, (1 - (d / reach)^2)^3, at its radius
    const float ratio = static_cast<float>(*radius) / reach(), t = 1 - ratio * ratio;
    return t * t * t;
}

ReconstructionSettings settledFor(const ReconstructionSettings& settings, const Array<Vector3F>& positions)
{
    ReconstructionSettings settled = settings;
    if (!settled.radius) settled.radius = estimateRadius(positions);
    if (!settled.spacing && settled.radius) settled.spacing = *settled.radius / 2;
    if (!settled.influence) settled.influence = settled.kernel == SurfaceKernel::Anisotropic ? 100 : 60;
    if (!settled.level) settled.level = settled.kernel == SurfaceKernel::Distance ? 0.05 : 1;
    if (settled.threadCount == 0) settled.threadCount = Hardware::getThreadCount();
    return settled;
}

}  // namespace tavrix
