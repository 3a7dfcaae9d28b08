#include <tavrix/meshproc/polylinetools.h>

#include <algorithm>
#include <limits>
#include <tuple>

namespace tavrix::polylinetools
{

namespace
{

/// An end of a piece; `side` is 0 at its first point and 1 at its last.
struct End
{
    Vector2D place;
    uint32 piece, side;

    uint32 number() const { return 2 * piece + side; }
    auto inPlane() const { return std::tuple(place.x, place.y, side, piece); }
};

/// Which ends are joined to which.
class EndPairs
{
public:
    explicit EndPairs(const std::vector<Polyline>& pieces) : _partners(2 * pieces.size(), noIndex)
    {
        for (uint32 p = 0; p < pieces.size(); ++p)
        {
            _free.push_back({pieces[p][0], p, 0});
            _free.push_back({pieces[p][pieces[p].size() - 1], p, 1});
        }
        std::sort(_free.begin(), _free.end(),
                  [](const End& a, const End& b) { return a.inPlane() < b.inPlane(); });
    }

    uint32 partner(uint32 end) const { return _partners[end]; }

    /// Pairs ends at one place: those that start pieces with those that end some, then the rest.
    void pairEqual()
    {
        for (std::size_t begin = 0, end; begin < _free.size(); begin = end)
        {
            end = begin + 1;
            while (end < _free.size() && _free[end].place == _free[begin].place) ++end;
            std::size_t last = begin;
            while (last < end && _free[last].side == 0) ++last;
            std::size_t first = begin, firstLast = last;
            for (; first < last && firstLast < end; ++first, ++firstLast) pair(first, firstLast);
            for (; first + 1 < last; first += 2) pair(first, first + 1);
            for (; firstLast + 1 < end; firstLast += 2) pair(firstLast, firstLast + 1);
        }
        dropPaired();
    }

    /// Pairs ends that are nearest to each other, until no two are left within the gap.
    void pairNear(double gap)
    {
        for (std::size_t before = 0; before != _free.size();)
        {
            before = _free.size();
            std::vector<std::size_t> nearest(before);
            for (std::size_t n = 0; n < before; ++n) nearest[n] = nearestTo(n, gap);
            for (std::size_t n = 0; n < before; ++n)
                if (nearest[n] > n && nearest[n] < before && nearest[nearest[n]] == n) pair(n, nearest[n]);
            dropPaired();
        }
    }

private:
    void pair(std::size_t a, std::size_t b)
    {
        _partners[_free[a].number()] = _free[b].number();
        _partners[_free[b].number()] = _free[a].number();
    }

    void dropPaired()
    {
        std::erase_if(_free, [&](const End& end) { return _partners[end.number()] != noIndex; });
    }

    /// The place in the list of the free end nearest to one of them; all ones when none lies within the gap.
    std::size_t nearestTo(std::size_t n, double gap) const
    {
        using Key = std::tuple<double, bool, std::size_t, std::size_t>;
        const End& from = _free[n];
        constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
        Key best{gap, true, none, none};
        std::size_t found = none;
        const auto look = [&](std::size_t other)
        {
            const End& to = _free[other];
            if (std::abs(to.place.x - from.place.x) > std::get<0>(best)) return false;
            const Key key{length(to.place - from.place), to.side == from.side, std::min(n, other),
                          std::max(n, other)};
            if (key < best) best = key, found = other;
            return true;
        };
        for (std::size_t other = n + 1; other < _free.size() && look(other);) ++other;
        for (std::size_t other = n; other > 0 && look(other - 1);) --other;
        return found;
    }

    std::vector<uint32> _partners;
    std::vector<End> _free;  ///< by place
};

/// Appends a piece from one of its ends on, without the point where it begins when that repeats the last.
void append(Polyline& points, const Polyline& piece, bool isTurned)
{
    const uint32 count = piece.size();
    for (uint32 n = 0; n < count; ++n)
    {
        const Vector2D& p = piece[isTurned ? count - 1 - n : n];
        if (n > 0 || points.empty() || !(points[points.size() - 1] == p)) points.push_back(p);
    }
}

/// The pieces from an end on, as they are joined, until there are no more or the first one comes again.
Polyline follow(const std::vector<Polyline>& pieces, const EndPairs& pairs, uint32 end,
                std::vector<bool>& isUsed)
{
    Polyline points;
    while (end != noIndex && !isUsed[end / 2])
    {
        isUsed[end / 2] = true;
        append(points, pieces[end / 2], end % 2 == 1);
        end = pairs.partner(end ^ 1);
    }
    return points;
}

}  // namespace

double lengthOf(std::span<const Vector2D> points, bool isLoop)
{
    double sum = 0;
    for (std::size_t n = 1; n < points.size(); ++n) sum += length(points[n] - points[n - 1]);
    return isLoop && !points.empty() ? sum + length(points.front() - points.back()) : sum;
}

void dropRepeats(Polyline& points, bool isLoop)
{
    uint32 count = 0;
    for (const Vector2D p : points)
    {
        if (count > 0 && points[count - 1] == p) continue;
        if (count > 1 && points[count - 2] == p)
            --count;
        else
            points[count++] = p;
    }
    uint32 begin = 0;
    while (isLoop && count - begin > 1)
    {
        if (points[count - 1] == points[begin])
            --count;
        else if (count - begin > 2 && points[count - 2] == points[begin])
            count -= 2;
        else if (count - begin > 2 && points[count - 1] == points[begin + 1])
            ++begin, --count;
        else
            break;
    }
    if (isLoop && count - begin == 2) --count;
    std::copy(points.begin() + begin, points.begin() + count, points.begin());
    points.resize(count - begin);
}

JoinedPolylines joinPolylines(std::vector<Polyline> pieces, double gap)
{
    std::erase_if(pieces, [](const Polyline& piece) { return piece.empty(); });
    EndPairs pairs(pieces);
    pairs.pairEqual();
    if (gap > 0) pairs.pairNear(gap);
    JoinedPolylines joined;
    std::vector<bool> isUsed(pieces.size(), false);
    // chains begin at ends without a partner; the first piece of a chain says which way it runs
    for (uint32 end = 0; end < 2 * pieces.size(); ++end)
        if (!isUsed[end / 2] && pairs.partner(end) == noIndex)
            joined.chains.push_back(follow(pieces, pairs, end, isUsed));
    for (uint32 p = 0; p < pieces.size(); ++p)
    {
        if (isUsed[p]) continue;
        joined.loops.push_back(follow(pieces, pairs, 2 * p, isUsed));
        Polyline& loop = joined.loops.back();
        if (loop.size() > 1 && loop[loop.size() - 1] == loop[0]) loop.resize(loop.size() - 1);
    }
    return joined;
}

}  // namespace tavrix::polylinetools
