#include <tavrix/meshproc/HeightPicture.h>

#include <algorithm>
#include <cmath>

namespace tavrix
{

namespace
{

/// Between which pixels of a row or column a place lies.
struct PixelPair
{
    uint32 first, second;
    double part;  ///< of the way to the second
};

PixelPair pixelsAt(double place, uint32 count, bool repeats)
{
    const double at = (repeats ? place - std::floor(place) : std::clamp(place, 0.0, 1.0)) * count - 0.5;
    const double low = std::floor(at);
    const auto number = [&](double n)
    {
        if (n < 0) return repeats ? count - 1 : 0;
        const auto pixel = static_cast<uint32>(n);
        return pixel < count ? pixel : repeats ? 0 : count - 1;
    };
    return {number(low), number(low + 1), at - low};
}

}  // namespace

double HeightPicture::at(double u, double v) const
{
    if (values.empty() || !std::isfinite(u) || !std::isfinite(v)) return 0;
    const PixelPair x = pixelsAt(u, width, repeats), y = pixelsAt(1 - v, height, repeats);
    const auto row = [&](uint32 n)
    {
        const float* const pixels = values.data() + std::size_t{n} * width;
        return pixels[x.first] * (1 - x.part) + pixels[x.second] * x.part;
    };
    return row(y.first) * (1 - y.part) + row(y.second) * y.part;
}

}  // namespace tavrix
