#include <tavrix/meshproc/detail/PartMeasures.h>

#include <algorithm>
#include <bit>

namespace tavrix::detail
{

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Binary digits of a part's sums, of which some are left for vertices that come to add more than at first.
constexpr int digits = 62, spareDigits = 6;

int digitsOf(int64 count) { return static_cast<int>(std::bit_width(static_cast<uint64>(count))); }

/// That of the power of two above a number; as good as none for what is no number, or next to nothing.
int exponentOf(double number)
{
    constexpr int least = -900;
    int exponent = 0;
    if (std::isfinite(number)) std::frexp(number, &exponent);
    return std::max(exponent, least);
}

}  // namespace

PartMeasures::PartMeasures(const Array<Vector3D>& positions, const VertexRings& rings, const MeshParts& parts,
                           uint32 threadCount, Polling& polling)
    : _positions(positions), _rings(rings), _parts(parts), _threadCount(threadCount), _polling(polling)
{
    chooseRoundings();
}

/// So that the most that a vertex may add, times their number, has as many digits as fit. By twice the area
/// at a vertex, which the squares of its edges pass, and the part's box.
void PartMeasures::chooseRoundings()
{
    using Largest = std::array<double, 7>;  // of -x, -y, -z, x, y, z and the squares
    Largest none;
    none.fill(-infinity);
    const auto largest =
        _parts.totalOver(none, _threadCount, _polling,
                         [&](Largest& most, uint32 v)
                         {
                             const Vector3D& p = _positions[v];
                             const double own[]{-p.x, -p.y, -p.z, p.x, p.y, p.z, squaredEdgesAt(v)};
                             for (std::size_t n = 0; n < most.size(); ++n)
                                 most[n] = std::max(most[n], own[n]);
                         });
    for (uint32 part = 0; part < _parts.count(); ++part)
    {
        const Largest& ends = largest[part];
        _origins.push_back({-ends[0], -ends[1], -ends[2]});
        const double size = length(Vector3D{ends[0] + ends[3], ends[1] + ends[4], ends[2] + ends[5]});
        const int each = digits - spareDigits - digitsOf(_parts.sizeOf(part));
        const auto perUnit = [&](double most) { return std::ldexp(1.0, each - exponentOf(most)); };
        _roundings.push_back({{perUnit(ends[6] / 6), perUnit(ends[6] * size / 18), perUnit(ends[6])},
                              std::ldexp(1.0, each + spareDigits)});
    }
}

double PartMeasures::squaredEdgesAt(uint32 vertex) const
{
    double sum = 0;
    for (const uint32 n : _rings[vertex])
    {
        const Vector3D edge = _positions[n] - _positions[vertex];
        sum += dot(edge, edge);
    }
    return sum;
}

Vector3D PartMeasures::areaVectorAt(uint32 vertex) const
{
    const VertexRings::Ring ring = _rings[vertex];
    Vector3D sum{0, 0, 0};
    if (ring.size == 0) return sum;
    Vector3D last = _positions[ring.first[ring.size - 1]] - _positions[vertex];
    for (const uint32 n : ring)
    {
        const Vector3D next = _positions[n] - _positions[vertex];
        sum += cross(last, next);
        last = next;
    }
    return sum * 0.5;
}

PartMeasures::Measures PartMeasures::measuresAt(uint32 vertex) const
{
    const Vector3D area = areaVectorAt(vertex), way = _positions[vertex] - _origins[_parts.partOf(vertex)];
    return {length(area) / 3, dot(way, area) / 9, squaredEdgesAt(vertex)};
}

std::vector<PartSums> PartMeasures::measure() const
{
    // sums in units; edges, vertices without a ring, and such whose measures are no numbers
    using Totals = std::array<int64, measureCount + 3>;
    const auto totals = _parts.totalOver(
        Totals{}, _threadCount, _polling,
        [&](Totals& sums, uint32 v)
        {
            const auto& [perUnit, most] = _roundings[_parts.partOf(v)];
            const Measures measures = measuresAt(v);
            const bool areNumbers = std::isfinite(measures[0] + measures[1] + measures[2]);
            for (std::size_t m = 0; m < measureCount && areNumbers; ++m)
                sums[m] += static_cast<int64>(std::clamp(measures[m] * perUnit[m], -most, most));
            sums[measureCount + 2] += areNumbers ? 0 : 1;
            sums[measureCount] += _rings[v].size;
            sums[measureCount + 1] += _rings[v].size == 0 ? 1 : 0;
        });
    std::vector<PartSums> parts;
    for (uint32 part = 0; part < _parts.count(); ++part)
    {
        const auto sum = [&](std::size_t m)
        {
            if (totals[part][measureCount + 2] > 0) return std::numeric_limits<double>::quiet_NaN();
            return static_cast<double>(totals[part][m]) / _roundings[part].perUnit[m];
        };
        parts.push_back(
            {sum(0), sum(1), sum(2), totals[part][measureCount], totals[part][measureCount + 1] > 0});
    }
    return parts;
}

}  // namespace tavrix::detail
