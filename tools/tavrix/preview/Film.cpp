#include "preview/Film.h"

#include <algorithm>
#include <array>
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

/// The bytes of the sRGB curve, rounded, from a table: the least brightness of each byte, and for each step
/// of brightness the byte that it begins with.
class Bytes
{
public:
    Bytes()
    {
        for (uint32 byte = 1; byte < 256; ++byte) _least[byte] = leastOf(byte);
        for (uint32 step = 0, byte = 0; step <= steps; ++step)
        {
            while (byte < 255 && static_cast<float>(step) / steps >= _least[byte + 1]) ++byte;
            _first[step] = static_cast<unsigned char>(byte);
        }
    }

    /// Of a brightness from 0 to 1.
    unsigned char of(float x) const
    {
        uint32 byte = _first[static_cast<uint32>(x * steps)];
        while (byte < 255 && x >= _least[byte + 1]) ++byte;
        return static_cast<unsigned char>(byte);
    }

private:
    static constexpr uint32 steps = 1024;

    static float leastOf(uint32 byte)
    {
        float low = 0, high = 1;
        for (int n = 0; n < 40; ++n)
        {
            const float middle = 0.5f * (low + high);
            (sRgb(middle) * 255 + 0.5f >= static_cast<float>(byte) ? high : low) = middle;
        }
        return high;
    }

    std::array<float, 256> _least{};
    std::array<unsigned char, steps + 1> _first{};
};

}  // namespace

Picture develop(const std::vector<Pixel>& pixels, uint32 width, uint32 height, uint32 threads)
{
    static const Bytes bytes;
    Picture picture{width, height, std::vector<unsigned char>(pixels.size() * 3)};
    const auto developPixel = [&](uint64 n)
    {
        const Pixel& p = pixels[n];
        const Vector3F color = p.own + product(p.fill, p.fillLight) + p.key * p.keyLight;
        for (uint32 channel = 0; channel < 3; ++channel)
            picture.rgb[3 * n + channel] = bytes.of(onFilm(std::max(color[channel], 0.0f)));
    };
    parallelFor(pixels.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n) developPixel(n);
                });
    return picture;
}

}  // namespace tavrix::tool
