#include <tavrix/particles/ParticleSpacing.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <tuple>
#include <vector>

#include <tavrix/foundation/Box3.h>

namespace tavrix
{

namespace
{

constexpr std::size_t sampleCount = 2000;
constexpr std::size_t neighbourRank = 4;
/// Radius of the ball that holds neighbourRank + 1/2 particles of a unit lattice.
constexpr double radiusOnLattice = 1.0242;

/// The axis along which the particles spread most.
uint32 widestAxis(const std::vector<Vector3F>& positions)
{
    const Box3D box = boxAround(positions);
    const Vector3D extent = box.max - box.min;
    const double widest = std::max({extent.x, extent.y, extent.z});
    return extent.x == widest ? 0 : extent.y == widest ? 1 : 2;
}

/// The squared distance from a particle to the n-th nearest one elsewhere, or to the farthest where there are
/// fewer; the particles are sorted along the axis.
double squaredDistanceToNearest(const std::vector<Vector3F>& sorted, std::size_t index, uint32 axis)
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
        return d[axis] * d[axis] < nearest.back();
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
    std::vector<Vector3F> sorted;
    sorted.reserve(positions.size());
    std::copy_if(positions.begin(), positions.end(), std::back_inserter(sorted),
                 [](const Vector3F& p) { return isFinite(p); });
    // along the widest axis there are the fewest to look at; the others make the order the same everywhere
    const uint32 axis = widestAxis(sorted);
    const auto key = [axis](const Vector3F& p) { return std::tuple(p[axis], p.x, p.y, p.z); };
    std::sort(sorted.begin(), sorted.end(),
              [&](const Vector3F& a, const Vector3F& b) { return key(a) < key(b); });
    // those at one place do not count, and looking at all of them for each that is picked could take hours
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());

    std::vector<double> squares;
    const std::size_t step = sorted.size() / sampleCount + 1;
    for (std::size_t n = 0; n < sorted.size(); n += step)
    {
        const double square = squaredDistanceToNearest(sorted, n, axis);
        if (square > 0) squares.push_back(square);
    }
    if (squares.empty()) return 0;
    const auto middle = squares.begin() + static_cast<std::ptrdiff_t>(squares.size() / 2);
    std::nth_element(squares.begin(), middle, squares.end());
    return std::sqrt(*middle) / radiusOnLattice;
}

Optional<double> estimateRadius(const Array<Vector3F>& positions)
{
    const double radius = estimateSpacing(positions) / 2;
    return static_cast<float>(radius) > 0 ? Optional<double>(radius) : std::nullopt;
}

}  // namespace tavrix
