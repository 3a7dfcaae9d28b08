#include <tavrix/reconstruction/ReconstructionSettings.h>

#include <algorithm>
#include <cmath>

#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/reconstruction/detail/EvenFilling.h>

namespace tavrix
{

namespace
{

/// Widths of the smoothing, in spacings of the particles: of the two qualities, and of what smoothing may do
/// at bends.
constexpr double normalWidth = 1.2, smoothWidth = 2.2, widthAtBends = 1.3;

/// The value of ellipsoids' sum where it encloses the particles' volume, by their reach in spacings: measured
/// on spheres, tori, boxes and sheets of jittered lattices, with the settings below, for reaches of 1.7
/// to 2.5; at most half of what it is within.
double levelOfEllipsoids(double reach)
{
    const double x = reach / 2.5;
    return std::min(0.55 * x * x * x * (1 + x) / 2, detail::EvenFilling(reach).value() / 2);
}

/// Passes of smoothing whose Gaussian has this width, in spacings of the particles. The edges of surfaces
/// from a lattice are 1.04 of its spacing, as a quadratic mean; a pass moves half the way along them. On very
/// fine lattices, where they would take most of the time, there are fewer.
uint32 passesOfWidth(double width, const ReconstructionSettings& s)
{
    const double edges = width * *s.particleSpacing / (1.04 * *s.spacing);
    return static_cast<uint32>(std::lround(std::min(4 * edges * edges, 5000.0)));
}

}  // namespace

float ReconstructionSettings::reach() const
{
    const auto r = static_cast<float>(*radius);
    return kernel == SurfaceKernel::Distance ? 2.0f * r
                                             : r * (static_cast<float>(*influence) * 3.8f / 100.0f + 1.2f);
}

float ReconstructionSettings::valueAtLevelOne() const
{
    const double inSpacings = reach() / *particleSpacing;
    switch (kernel)
    {
        case SurfaceKernel::Distance:
            return 0.421875f;  // (1 - (r / 2r)^2)^3
        case SurfaceKernel::Metaball:
            return static_cast<float>(detail::EvenFilling(inSpacings).level());
        default:
            return static_cast<float>(levelOfEllipsoids(inSpacings));
    }
}

AnisotropySettings ReconstructionSettings::anisotropy() const
{
    // flat and drawn in as far as sheets of two particles stay whole and hold their volume
    AnisotropySettings settings{.smoothing = 0.8f, .largestRatio = 2.5f};
    const double inSpacings = reach() / *particleSpacing;
    settings.loneAmplitude =
        static_cast<float>(levelOfEllipsoids(inSpacings) / detail::EvenFilling::ownValue(inSpacings));
    return settings;
}

uint32 ReconstructionSettings::passesAtBends() const { return passesOfWidth(widthAtBends, *this); }

ReconstructionSettings settledFor(const ReconstructionSettings& settings, const Array<Vector3F>& positions)
{
    ReconstructionSettings settled = settings;
    const bool isSmooth = settings.quality == SurfaceQuality::Smooth;
    if (!settled.radius) settled.radius = estimateRadius(positions);
    if (!settled.influence)
        settled.influence = settled.kernel == SurfaceKernel::Anisotropic || isSmooth ? 80 : 60;
    if (!settled.matchVolume) settled.matchVolume = isSmooth;
    if (settled.radius)
    {
        if (!settled.particleSpacing) settled.particleSpacing = 2 * *settled.radius;
        if (!settled.spacing) settled.spacing = *settled.radius / 2;
        if (!settled.smoothing)
            settled.smoothing = settled.kernel == SurfaceKernel::Distance
                                    ? 0
                                    : passesOfWidth(isSmooth ? smoothWidth : normalWidth, settled);
    }
    if (settled.threadCount == 0) settled.threadCount = Hardware::getThreadCount();
    return settled;
}

}  // namespace tavrix
