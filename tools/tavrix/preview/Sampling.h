#pragma once

#include <array>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::tool
{

/// A number that looks like chance, the same on every system. The multipliers are those that Wellons found to
/// mix best (Prospecting for Hash Functions, 2018).
inline uint32 hash(uint32 x)
{
    x = (x ^ (x >> 16)) * 0x7feb352du;
    x = (x ^ (x >> 15)) * 0x846ca68bu;
    return x ^ (x >> 16);
}

inline Vector3F unit(const Vector3F& v) { return v * (1 / length(v)); }

/// Two unit vectors that form a right angle with the unit vector and with each other.
struct LocalFrame
{
    Vector3F axis, side, other;
    explicit LocalFrame(const Vector3F& n) : axis(n)
    {
        side = unit(std::fabs(n.x) < 0.7f ? cross(n, {1, 0, 0}) : cross(n, {0, 1, 0}));
        other = cross(n, side);
    }
};

/// One of the side * side samples of a pixel.
struct Sample
{
    uint32 number, side;
    uint32 random;  ///< of the block of pixels
    uint32 light;   ///< which point of the disk its rays to the light take
    bool asksForKey, asksForFill;
};

constexpr uint32 lightBlock = 32;  ///< pixels along an edge of the blocks that share out the disk's points

/// The number of a pixel in its block along Morton's curve, on which neighbours in the picture are neighbours
/// at every scale: points handed out in this order lie spread around every pixel (Ahmed and Wonka,
/// Screen-Space Blue-Noise Diffusion of Monte Carlo Sampling Error via Hierarchical Ordering of Pixels,
/// 2020).
constexpr uint32 lightNumber(uint32 x, uint32 y)
{
    uint32 number = 0;
    for (uint32 bit = 0; 1u << bit < lightBlock; ++bit)
        number |= (x >> bit & 1) << (2 * bit) | (y >> bit & 1) << (2 * bit + 1);
    return number;
}

/// Points spread evenly over the unit disk in the order of their distance from the middle: a spiral with the
/// golden angle (Vogel, A better way to construct the sunflower head, 1979).
class Disk
{
public:
    Disk()
    {
        constexpr double goldenAngle = 2.399963229728653;
        for (uint32 n = 0; n < size; ++n)
        {
            const auto [sine, cosine] = sineCosine(n * goldenAngle);
            const double radius = std::sqrt((n + 0.5) / size);
            _points[n] = {static_cast<float>(radius * cosine), static_cast<float>(radius * sine)};
        }
    }

    struct Point
    {
        float x, y;
    };
    Point point(uint32 number) const { return _points[number % size]; }

    /// The numbers from 0 on in an order in which those next to each other name points far apart: their bits
    /// turned around.
    static constexpr uint32 spread(uint32 number)
    {
        uint32 turned = 0;
        for (uint32 bit = 1; bit < size; bit *= 2) turned = turned * 2 + ((number & bit) != 0 ? 1 : 0);
        return turned;
    }

private:
    static constexpr uint32 size = 2048;
    std::array<Point, size> _points;
};

}  // namespace tavrix::tool
