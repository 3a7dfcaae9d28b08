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
struct Frame
{
    Vector3F axis, side, other;
    explicit Frame(const Vector3F& n) : axis(n)
    {
        side = unit(std::fabs(n.x) < 0.7f ? cross(n, {1, 0, 0}) : cross(n, {0, 1, 0}));
        other = cross(n, side);
    }
};

/// One of the side * side samples of a pixel, with a number that is the pixel's own.
struct Sample
{
    uint32 number, side, random;
};

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
    /// A point for one of a pixel's samples: each sample has a ring of its own.
    Point point(const Sample& sample) const
    {
        const uint32 ring = size / (sample.side * sample.side);
        return _points[sample.number * ring + sample.random % ring];
    }

private:
    static constexpr uint32 size = 2048;
    std::array<Point, size> _points;
};

}  // namespace tavrix::tool
