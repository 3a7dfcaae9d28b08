#include "preview/Film.h"

#include <cmath>

#include <tavrix/foundation/ParallelFor.h>

#include "preview/Studio.h"

namespace tavrix::tool
{

namespace
{

/// What the eye makes of brightness: the sRGB curve, with x^(1 / 2.4) = (x^5)^(1 / 12) by roots that are the
/// same on every system.
float sRgb(float x)
{
    if (x <= 0.0031308f) return 12.92f * x;
    const double fourth = std::sqrt(std::sqrt(static_cast<double>(x) * x * x * x * x));
    double cubeRoot = 0.5 + 0.5 * fourth;
    for (int n = 0; n < 12; ++n) cubeRoot -= (cubeRoot - fourth / (cubeRoot * cubeRoot)) / 3;
    return static_cast<float>(1.055 * cubeRoot - 0.055);
}

/// Brightness as a film takes it: true up to a bound, then ever less, and never more than white.
float onFilm(float x)
{
    constexpr float bound = 0.8f;
    if (x <= bound) return x;
    const float over = (x - bound) / (1 - bound);
    return bound + (1 - bound) * over / (1 + over);
}

unsigned char byteOf(float x)
{
    const float steps = sRgb(onFilm(x > 0 ? x : 0)) * 255 + 0.5f;
    return static_cast<unsigned char>(steps);
}

}  // namespace

Picture develop(const std::vector<Pixel>& pixels, uint32 width, uint32 height, uint32 threads)
{
    Picture picture{width, height, std::vector<unsigned char>(pixels.size() * 3)};
    const auto developPixel = [&](uint64 n)
    {
        const Pixel& p = pixels[n];
        const Vector3F color = p.own + product(p.fill, p.fillLight) + p.key * p.keyLight;
        for (uint32 channel = 0; channel < 3; ++channel)
            picture.rgb[3 * n + channel] = byteOf(color[channel]);
    };
    parallelFor(pixels.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n) developPixel(n);
                });
    return picture;
}

}  // namespace tavrix::tool
