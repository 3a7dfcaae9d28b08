#include <tavrix/particles/ParticleSpacing.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>
#include <tuple>
#include <vector>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/RankSelection.h>

namespace tavrix
{

namespace
{

constexpr std::size_t sampleCount = 2000;
constexpr std::size_t neighbourRank = 4;
/// Radius of the ball that holds neighbourRank + 1/2 particles of a unit lattice.
constexpr double radiusOnLattice = 1.0242;

/// The axis along which the box is widest.
uint32 widestAxis(const Box3D& box)
{
    const Vector3D extent = box.max - box.min;
    const double widest = std::max({extent.x, extent.y, extent.z});
    return extent.x == widest ? 0 : extent.y == widest ? 1 : 2;
}

std::vector<Vector3F> finiteOnes(const Array<Vector3F>& positions)
{
    std::vector<Vector3F> finite;
    finite.reserve(positions.size());
    std::copy_if(positions.begin(), positions.end(), std::back_inserter(finite),
                 [](const Vector3F& p) { return isFinite(p); });
    return finite;
}

/// Sorts along the axis, where the widest leaves the fewest to look at; the others make the order the same
/// everywhere.
void sortAlong(std::vector<Vector3F>& positions, uint32 axis)
{
    const auto key = [axis](const Vector3F& p) { return std::tuple(p[axis], p.x, p.y, p.z); };
    std::sort(positions.begin(), positions.end(),
              [&](const Vector3F& a, const Vector3F& b) { return key(a) < key(b); });
}

/// Leaves no more of the sorted particles at one place than can be among the nearest: looking at all of them
/// for every place of a sample might take hours.
void dropSurplus(std::vector<Vector3F>& sorted)
{
    std::size_t kept = 0;
    for (const Vector3F& p : sorted)
        if (kept < neighbourRank || !(sorted[kept - neighbourRank] == p)) sorted[kept++] = p;
    sorted.resize(kept);
}

/// The squared distances of a place to the nearest particles elsewhere, ascending.
class NearestSquares
{
public:
    NearestSquares() { _squares.fill(std::numeric_limits<double>::infinity()); }

    bool add(double square)
    {
        if (!(square > 0 && square < _squares.back())) return false;
        _squares.back() = square;
        std::inplace_merge(_squares.begin(), _squares.end() - 1, _squares.end());
        return true;
    }
    double farthest() const { return _squares.back(); }
    /// That of the last there is; 0 where there is none.
    double last() const
    {
        const auto found =
            std::find_if(_squares.rbegin(), _squares.rend(), [](double s) { return std::isfinite(s); });
        return found == _squares.rend() ? 0 : *found;
    }
    const std::array<double, neighbourRank>& all() const { return _squares; }

private:
    std::array<double, neighbourRank> _squares;
};

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Of the particles, which are sorted along the axis; the place would be at that index. What is farther than
/// the limit, a squared distance, need not be found.
NearestSquares nearestSquares(const std::vector<Vector3F>& sorted, const Vector3F& place, std::size_t index,
                              uint32 axis, double limit = infinity)
{
    const Vector3D p = convert<double>(place);
    NearestSquares nearest;
    const auto look = [&](const Vector3F& other)
    {
        const Vector3D d = convert<double>(other) - p;
        nearest.add(dot(d, d));
        return d[axis] * d[axis] < std::min(nearest.farthest(), limit);
    };
    for (std::size_t n = index; n-- > 0 && look(sorted[n]);)
        ;
    for (std::size_t n = index; n < sorted.size() && look(sorted[n]); ++n)
        ;
    return nearest;
}

std::size_t sampleStep(std::size_t count) { return count / sampleCount + 1; }

/// The spacing by the squared distances of a sample, of which those that are 0 do not count.
double spacingOf(std::vector<double> squares)
{
    std::erase(squares, 0);
    if (squares.empty()) return 0;
    const auto middle = squares.begin() + static_cast<std::ptrdiff_t>(squares.size() / 2);
    std::nth_element(squares.begin(), middle, squares.end());
    return std::sqrt(*middle) / radiusOnLattice;
}

Optional<double> radiusOfSpacing(double spacing)
{
    return static_cast<float>(spacing / 2) > 0 ? Optional<double>(spacing / 2) : std::nullopt;
}

// Over many ranks

/// A whole number in the order of the numbers; both zeros are one.
uint32 orderedBits(float number)
{
    constexpr uint32 sign = 1u << 31;
    const auto bits = std::bit_cast<uint32>(number + 0.0f);
    return bits & sign ? ~bits : bits | sign;
}

float numberOf(uint32 bits)
{
    constexpr uint32 sign = 1u << 31;
    return std::bit_cast<float>(bits & sign ? bits ^ sign : ~bits);
}

/// The order of sortAlong.
detail::WideKey keyOf(const Vector3F& p, uint32 axis)
{
    return {uint64{orderedBits(p[axis])} << 32 | orderedBits(p.x),
            uint64{orderedBits(p.y)} << 32 | orderedBits(p.z)};
}

/// Where the place is among the sorted particles, or would be.
std::size_t indexOf(const std::vector<Vector3F>& sorted, const Vector3F& place, uint32 axis)
{
    const auto at = std::lower_bound(sorted.begin(), sorted.end(), keyOf(place, axis),
                                     [axis](const Vector3F& p, const detail::WideKey& key)
                                     { return keyOf(p, axis) < key; });
    return static_cast<std::size_t>(at - sorted.begin());
}

Vector3F positionOf(const detail::WideKey& key)
{
    return {numberOf(static_cast<uint32>(key.upper)), numberOf(static_cast<uint32>(key.lower >> 32)),
            numberOf(static_cast<uint32>(key.lower))};
}

/// Every so many of all particles, counted along the axis.
std::vector<Vector3F> sampleOver(RankGroup& ranks, const std::vector<Vector3F>& sorted, uint32 axis)
{
    std::vector<detail::KeyPlace> items;
    items.reserve(sorted.size() + 1);
    for (const Vector3F& p : sorted) items.push_back({keyOf(p, axis), static_cast<int64>(items.size())});
    items.push_back({{}, static_cast<int64>(sorted.size())});
    const int64 count = detail::sumOver(ranks, static_cast<int64>(sorted.size()));
    std::vector<int64> targets;
    for (int64 n = 0; n < count; n += static_cast<int64>(sampleStep(static_cast<std::size_t>(count))))
        targets.push_back(n);
    std::vector<Vector3F> sample;
    for (const detail::WideKey& key : selectKeys(ranks, items, targets, 128))
        sample.push_back(positionOf(key));
    return sample;
}

/// This rank's squares for each place of a sample, as far as they may be among those of all. Ranks that have
/// the particle itself look first, for the others would have to look far.
std::vector<NearestSquares> nearestOver(RankGroup& ranks, const std::vector<Vector3F>& sorted,
                                        const std::vector<Vector3F>& sample, uint32 axis)
{
    std::vector<NearestSquares> nearest(sample.size());
    std::vector<std::size_t> places;
    std::vector<double> nearer(sample.size(), -infinity);  // the largest is that of the nearest
    const auto isOwn = [&](std::size_t n)
    { return places[n] < sorted.size() && keyOf(sorted[places[n]], axis) == keyOf(sample[n], axis); };
    for (std::size_t n = 0; n < sample.size(); ++n)
    {
        places.push_back(indexOf(sorted, sample[n], axis));
        if (!isOwn(n)) continue;
        nearest[n] = nearestSquares(sorted, sample[n], places[n], axis);
        nearer[n] = -nearest[n].farthest();
    }
    ranks.largest(nearer);
    for (std::size_t n = 0; n < sample.size(); ++n)
        if (!isOwn(n)) nearest[n] = nearestSquares(sorted, sample[n], places[n], axis, -nearer[n]);
    return nearest;
}

/// Every rank's squares for each place of a sample become those of all. Each rank sees to a run of places.
std::vector<double> lastSquaresOver(RankGroup& ranks, const std::vector<NearestSquares>& nearest)
{
    using Squares = std::array<double, neighbourRank>;
    const uint64 count = nearest.size();
    const auto begin = [&](uint64 rank) { return count * rank / ranks.size(); };
    const auto incoming =
        detail::exchangeRecords<Squares>(ranks,
                                         [&](const auto& send)
                                         {
                                             for (uint32 r = 0; r < ranks.size(); ++r)
                                                 for (uint64 n = begin(r); n < begin(r + 1); ++n)
                                                     send(r, nearest[n].all());
                                         });
    const uint64 first = begin(ranks.rank()), own = begin(ranks.rank() + 1) - first;
    std::vector<NearestSquares> merged(own);
    for (uint32 n = 0; n < incoming.records.size(); ++n)
        for (const double square : incoming.records[n]) merged[n % own].add(square);
    std::vector<int64> bits(count, 0);  // of one rank each
    for (uint64 n = 0; n < own; ++n) bits[first + n] = std::bit_cast<int64>(merged[n].last());
    ranks.sum(bits);
    std::vector<double> last(count);
    std::transform(bits.begin(), bits.end(), last.begin(), [](int64 b) { return std::bit_cast<double>(b); });
    return last;
}

}  // namespace

double estimateSpacing(const Array<Vector3F>& positions)
{
    std::vector<Vector3F> sorted = finiteOnes(positions);
    const uint32 axis = widestAxis(boxAround(sorted));
    sortAlong(sorted, axis);
    std::vector<Vector3F> sample;
    for (std::size_t n = 0; n < sorted.size(); n += sampleStep(sorted.size())) sample.push_back(sorted[n]);
    dropSurplus(sorted);
    std::vector<double> squares;
    squares.reserve(sample.size());
    for (const Vector3F& place : sample)
        squares.push_back(nearestSquares(sorted, place, indexOf(sorted, place, axis), axis).last());
    return spacingOf(std::move(squares));
}

double estimateSpacing(const Array<Vector3F>& positions, RankGroup& ranks)
{
    std::vector<Vector3F> sorted = finiteOnes(positions);
    const uint32 axis = widestAxis(detail::boxOver(ranks, boxAround(sorted)));
    sortAlong(sorted, axis);
    const std::vector<Vector3F> sample = sampleOver(ranks, sorted, axis);
    dropSurplus(sorted);
    return spacingOf(lastSquaresOver(ranks, nearestOver(ranks, sorted, sample, axis)));
}

Optional<double> estimateRadius(const Array<Vector3F>& positions)
{
    return radiusOfSpacing(estimateSpacing(positions));
}

Optional<double> estimateRadius(const Array<Vector3F>& positions, RankGroup& ranks)
{
    return radiusOfSpacing(estimateSpacing(positions, ranks));
}

}  // namespace tavrix
