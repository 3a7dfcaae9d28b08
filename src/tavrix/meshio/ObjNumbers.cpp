#include <tavrix/meshio/ObjNumbers.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

namespace tavrix
{

namespace
{

bool isBefore(const Vector3D& a, const Vector3D& b)
{
    return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
}

double rounded(double value, double unit)
{
    // beyond that, every number is a whole multiple
    constexpr double wholeFrom = 4503599627370496.0;
    return std::abs(value) * unit < wholeFrom ? std::nearbyint(value * unit) / unit : value;
}

uint32 countDifferent(std::vector<Vector3D>& positions)
{
    std::sort(positions.begin(), positions.end(), isBefore);
    const auto end = std::unique(positions.begin(), positions.end());
    return static_cast<uint32>(end - positions.begin());
}

}  // namespace

uint32 countPositionsMerged(const Mesh& mesh, const ObjNumbers& numbers)
{
    if (numbers.areShortest) return 0;
    std::vector<Vector3D> positions;
    positions.reserve(mesh.getPosSize());
    for (const Vector3D& p : mesh.pos())
        if (isFinite(p)) positions.push_back(p);
    const uint32 before = countDifferent(positions);
    positions.resize(before);
    const double unit = std::pow(10.0, std::clamp(numbers.decimals, 0, 17));
    for (Vector3D& p : positions) p = {rounded(p.x, unit), rounded(p.y, unit), rounded(p.z, unit)};
    return before - countDifferent(positions);
}

}  // namespace tavrix
