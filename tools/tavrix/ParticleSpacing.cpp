#include "ParticleSpacing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace tavrix::tool
{

namespace
{

constexpr std::size_t sampleCount = 2000;
constexpr std::size_t neighbourRank = 4;
/// Radius of the ball that holds neighbourRank + 1/2 particles of a unit lattice.
constexpr double radiusOnLattice = 1.0242;

/// The squared distance from a particle to the n-th nearest one elsewhere, or to the farthest where there are
/// fewer; the particles are sorted by x.
double squaredDistanceToNearest(const std::vector<Vector3F>& sorted, std::size_t index)
{
    const Vector3D p = convert<double>(sorted[index]);
    std::array<double, neighbourRank> nearest;
    nearest.fill(std::numeric_limits<double>::infinity());
    const auto look = [&](const Vector3F& other)
    {
        const Vector3D d = convert<double>(other) - p;
        const double square = dot(d, d);
        if (square > 0 && square < nearest.back())
        {
            nearest.back() = square;
            std::inplace_merge(nearest.begin(), nearest.end() - 1, nearest.end());
        }
        return d.x * d.x < nearest.back();
    };
    for (std::size_t n = index; n-- > 0 && look(sorted[n]);)
        ;
    for (std::size_t n = index + 1; n < sorted.size() && look(sorted[n]); ++n)
        ;
    const auto found =
        std::find_if(nearest.rbegin(), nearest.rend(), [](double s) { return std::isfinite(s); });
    return found == nearest.rend() ? 0 : *found;
}

}  // namespace

double estimateSpacing(const Array<Vector3F>& positions)
{
    std::vector<Vector3F> sorted(positions.begin(), positions.end());
    std::sort(sorted.begin(), sorted.end(), [](const Vector3F& a, const Vector3F& b) { return a.x < b.x; });

    std::vector<double> squares;
    const std::size_t step = sorted.size() / sampleCount + 1;
    for (std::size_t n = 0; n < sorted.size(); n += step)
    {
        const double square = squaredDistanceToNearest(sorted, n);
        if (square > 0) squares.push_back(square);
    }
    if (squares.empty()) return 0;
    const auto middle = squares.begin() + static_cast<std::ptrdiff_t>(squares.size() / 2);
    std::nth_element(squares.begin(), middle, squares.end());
    return std::sqrt(*middle) / radiusOnLattice;
}

}  // namespace tavrix::tool
