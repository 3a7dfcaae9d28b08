#include <tavrix/mesh/detail/EarClipping.h>

#include <algorithm>
#include <array>
#include <deque>

#include <tavrix/mesh/detail/CornerTree.h>
#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix::detail
{

namespace
{

/// What is clipped first.
enum class Rank : uint32
{
    Spike,  ///< turns back on itself, or does not move
    Ear,
    Straight,
    Blocked,  ///< turns left, but the polygon lies in its way
    Reflex
};

/// The corners of a polygon as a ring from which ears are taken.
class Ring
{
public:
    explicit Ring(const std::vector<Vector2D>& points)
        : _points(points),
          _previous(points.size()),
          _next(points.size()),
          _turns(points.size()),
          _obstacles(points, link())
    {
    }

    /// The corner between its neighbours, as a triangle.
    Index3 earAt(uint32 corner) const { return {_previous[corner], corner, _next[corner]}; }
    bool has(const Index3& ear) const { return _turns[ear.b] != gone && earAt(ear.b) == ear; }

    Rank rankOf(uint32 corner)
    {
        if (_turns[corner] == 0) return isSpike(earAt(corner)) ? Rank::Spike : Rank::Straight;
        if (_turns[corner] < 0) return Rank::Reflex;
        return isBlocked(earAt(corner)) ? Rank::Blocked : Rank::Ear;
    }

    void remove(uint32 corner)
    {
        _turns[corner] = gone;
        const uint32 before = _previous[corner], behind = _next[corner];
        _next[before] = behind;
        _previous[behind] = before;
        _turns[before] = turnAt(before);
        _turns[behind] = turnAt(behind);
    }

private:
    /// In place of the turn of a corner that was removed.
    static constexpr int gone = 2;

    /// Makes the ring, and returns the corners that do not turn left: only they can lie in the way of an ear.
    std::vector<uint32> link()
    {
        const auto count = static_cast<uint32>(_points.size());
        for (uint32 corner = 0; corner < count; ++corner)
        {
            _previous[corner] = (corner == 0 ? count : corner) - 1;
            _next[corner] = corner + 1 == count ? 0 : corner + 1;
        }
        std::vector<uint32> obstacles;
        for (uint32 corner = 0; corner < count; ++corner)
            if ((_turns[corner] = turnAt(corner)) <= 0) obstacles.push_back(corner);
        return obstacles;
    }

    int turnAt(uint32 corner) const
    {
        return sideOf(_points[_previous[corner]], _points[corner], _points[_next[corner]]);
    }

    bool isSpike(const Index3& ear) const
    {
        return dot(_points[ear.a] - _points[ear.b], _points[ear.c] - _points[ear.b]) >= 0;
    }

    bool isBlocked(const Index3& ear)
    {
        return _obstacles.any([&](const Vector2D& min, const Vector2D& max)
                              { return reaches(ear, min, max); },
                              [&](uint32 corner) { return _turns[corner] <= 0; },
                              [&](uint32 corner) { return isInWay(ear, corner); });
    }

    /// False when the box lies beyond one edge of the triangle.
    bool reaches(const Index3& ear, const Vector2D& min, const Vector2D& max) const
    {
        for (uint32 edge = 0; edge < 3; ++edge)
        {
            const Vector2D &a = _points[ear[edge]], &b = _points[ear[(edge + 1) % 3]];
            const Vector2D leftmost{b.y < a.y ? max.x : min.x, b.x > a.x ? max.y : min.y};
            if (sideOf(a, b, leftmost) < 0) return false;
        }
        return true;
    }

    /// Whether the polygon comes into the triangle at the corner. One that shares its place with a corner of
    /// the triangle lies in the way when an edge leads from there into the triangle.
    bool isInWay(const Index3& ear, uint32 corner) const
    {
        const Vector2D& p = _points[corner];
        for (uint32 n = 0; n < 3; ++n)
        {
            if (corner == ear[n]) return false;
            if (p == _points[ear[n]])
                return leadsInto(ear, n, _points[_previous[corner]]) ||
                       leadsInto(ear, n, _points[_next[corner]]);
        }
        return sideOf(_points[ear.a], _points[ear.b], p) >= 0 &&
               sideOf(_points[ear.b], _points[ear.c], p) >= 0 &&
               sideOf(_points[ear.c], _points[ear.a], p) >= 0;
    }

    /// Whether the way from a corner of the triangle to the point begins inside it.
    bool leadsInto(const Index3& ear, uint32 n, const Vector2D& point) const
    {
        const Vector2D &from = _points[ear[n]], &right = _points[ear[(n + 1) % 3]],
                       &left = _points[ear[(n + 2) % 3]];
        return sideOf(from, right, point) > 0 && sideOf(left, from, point) > 0;
    }

    const std::vector<Vector2D>& _points;
    std::vector<uint32> _previous, _next;
    std::vector<int> _turns;
    CornerTree _obstacles;
};

/// The corners that wait, by rank. One that got other neighbours waits anew, and its former place counts no
/// more.
class Waiting
{
public:
    explicit Waiting(Ring& ring) : _ring(ring) {}

    void add(uint32 corner)
    {
        _queues[static_cast<std::size_t>(_ring.rankOf(corner))].push_back(_ring.earAt(corner));
    }

    /// Takes the next corner to be clipped.
    uint32 take()
    {
        for (std::deque<Index3>& queue : _queues)
            while (!queue.empty())
            {
                const Index3 ear = queue.front();
                queue.pop_front();
                if (_ring.has(ear)) return ear.b;
            }
        return noIndex;
    }

private:
    Ring& _ring;
    std::array<std::deque<Index3>, 5> _queues;
};

}  // namespace

void clipEars(const std::vector<Vector2D>& points, Array<Index3>& triangles)
{
    Ring ring(points);
    Waiting waiting(ring);
    const auto count = static_cast<uint32>(points.size());
    for (uint32 corner = 0; corner < count; ++corner) waiting.add(corner);
    for (uint32 left = count; left >= 3; --left)
    {
        const uint32 corner = waiting.take();
        const Index3 ear = ring.earAt(corner);
        triangles.push_back(ear);
        ring.remove(corner);
        waiting.add(ear.a);
        waiting.add(ear.c);
    }
}

}  // namespace tavrix::detail
