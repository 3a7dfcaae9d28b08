#include <tavrix/meshproc/detail/CapTriangulation.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <tuple>

#include <tavrix/foundation/detail/Sorting.h>
#include <tavrix/mesh/detail/EarClipping.h>
#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix::detail
{

namespace
{

/// The corners of the loops: corner c is where edge c starts.
struct Corners
{
    const std::vector<Vector2D>& points;
    const std::vector<uint32>& next;
    std::vector<uint32> previous;
    std::vector<uint32> order;  ///< from below to above, and at one height from left to right
    std::vector<uint32> rank;   ///< the place in the order

    Corners(const std::vector<Vector2D>& places, const std::vector<uint32>& following)
        : points(places), next(following), previous(next.size()), order(next.size()), rank(next.size())
    {
        for (uint32 c = 0; c < next.size(); ++c) previous[next[c]] = c;
        std::iota(order.begin(), order.end(), 0U);
        const auto key = [this](uint32 c) { return std::tuple(points[c].y, points[c].x, c); };
        std::sort(order.begin(), order.end(), [&](uint32 a, uint32 b) { return key(a) < key(b); });
        for (uint32 n = 0; n < order.size(); ++n) rank[order[n]] = n;
    }

    bool isAbove(uint32 a, uint32 b) const { return rank[a] > rank[b]; }
    int side(uint32 a, uint32 b, uint32 c) const { return sideOf(points[a], points[b], points[c]); }
};

/// Corners that a sweep or a triangulation gets through in some milliseconds.
constexpr uint64 sweepSteps = 1U << 14;

struct Diagonal
{
    uint32 a, b;
};

/// Sweeps over the corners and finds the diagonals that cut the areas into monotone pieces.
class Sweep
{
public:
    explicit Sweep(const Corners& corners)
        : _corners(corners),
          _crossed(IsLeftOf{corners}),
          _places(corners.next.size(), _crossed.end()),
          _helpers(corners.next.size(), noIndex),
          _isMerge(corners.next.size(), false)
    {
    }

    std::vector<Diagonal> run(Polling& polling)
    {
        PollCounter counter(polling, sweepSteps);
        for (const uint32 corner : _corners.order)
        {
            visit(corner);
            if (!counter.add(1)) break;
        }
        return std::move(_diagonals);
    }

private:
    /// A corner among the edges.
    struct At
    {
        uint32 corner;
    };

    /// The order of the edges that the sweep line crosses: those that run downwards, with the area to be
    /// closed on their right as one looks up.
    struct IsLeftOf
    {
        using is_transparent = void;
        const Corners& corners;

        /// 1 when the corner lies on the right of the edge, seen upwards, -1 on the left.
        int rightOf(uint32 edge, uint32 corner) const
        {
            return corners.side(edge, corners.next[edge], corner);
        }
        bool operator()(uint32 edge, At at) const { return rightOf(edge, at.corner) > 0; }
        bool operator()(uint32 a, uint32 b) const
        {
            if (a == b) return false;
            const uint32 lowA = corners.next[a], lowB = corners.next[b];
            const bool startsLater = corners.isAbove(lowA, lowB);
            const uint32 first = startsLater ? b : a, second = startsLater ? a : b;
            int right = rightOf(first, corners.next[second]);
            if (right == 0) right = rightOf(first, second);
            if (right == 0) return a < b;
            return (right > 0) != startsLater;
        }
    };

    void visit(uint32 corner)
    {
        const uint32 before = _corners.previous[corner], after = _corners.next[corner];
        const bool comesDown = _corners.isAbove(before, corner), goesUp = _corners.isAbove(after, corner);
        const bool isReflex = comesDown == goesUp && _corners.side(before, corner, after) < 0;
        _isMerge[corner] = isReflex && !goesUp;
        if (!goesUp) close(corner);
        const bool hasAreaOnLeft = comesDown == goesUp ? isReflex : goesUp;
        if (hasAreaOnLeft) meetLeft(corner, isReflex && goesUp);
        if (comesDown)
        {
            _places[before] = _crossed.insert(before);
            _helpers[before] = corner;
        }
    }

    /// The edge that leaves the corner downwards ends here.
    void close(uint32 corner)
    {
        if (_places[corner] == _crossed.end()) return;
        joinMerge(corner, _helpers[corner]);
        _crossed.erase(_places[corner]);
        _places[corner] = _crossed.end();
    }

    void meetLeft(uint32 corner, bool isSplit)
    {
        auto place = _crossed.lower_bound(At{corner});
        if (place == _crossed.begin()) return;
        uint32& helper = _helpers[*--place];
        if (isSplit)
            _diagonals.push_back({corner, helper});
        else
            joinMerge(corner, helper);
        helper = corner;
    }

    void joinMerge(uint32 corner, uint32 helper)
    {
        if (helper != corner && _isMerge[helper]) _diagonals.push_back({corner, helper});
    }

    const Corners& _corners;
    std::multiset<uint32, IsLeftOf> _crossed;
    std::vector<std::multiset<uint32, IsLeftOf>::iterator> _places;
    std::vector<uint32> _helpers;  ///< of an edge: the last corner that sees it along the sweep line
    std::vector<bool> _isMerge;
    std::vector<Diagonal> _diagonals;
};

/// The half-edges of the pieces: the edges of the loops first, then both directions of every diagonal.
class Pieces
{
public:
    Pieces(const Corners& corners, const std::vector<Diagonal>& diagonals)
        : _corners(corners), _next(corners.next)
    {
        const auto count = static_cast<uint32>(_next.size());
        _origins.resize(count);
        std::iota(_origins.begin(), _origins.end(), 0U);
        std::vector<Spoke> spokes;
        for (const auto& [a, b] : diagonals)
        {
            const auto half = static_cast<uint32>(_origins.size());
            spokes.push_back({a, b, half, isBeyondHalfTurn(a, b)});
            spokes.push_back({b, a, half + 1, isBeyondHalfTurn(b, a)});
            _origins.push_back(a);
            _origins.push_back(b);
        }
        _next.resize(_origins.size(), noIndex);
        std::sort(spokes.begin(), spokes.end(),
                  [](const Spoke& a, const Spoke& b)
                  { return std::pair(a.hub, a.half) < std::pair(b.hub, b.half); });
        for (std::size_t begin = 0, end; begin < spokes.size(); begin = end)
        {
            end = begin + 1;
            while (end < spokes.size() && spokes[end].hub == spokes[begin].hub) ++end;
            linkAround(&spokes[begin], static_cast<std::ptrdiff_t>(end - begin), count);
        }
    }

    /// Calls visit(corners) for every piece, in the order of their first half-edges.
    template <class Visit>
    void forEach(Polling& polling, Visit visit) const
    {
        PollCounter counter(polling, sweepSteps);
        std::vector<bool> isVisited(_next.size(), false);
        std::vector<uint32> piece;
        for (uint32 first = 0; first < _next.size(); ++first)
        {
            if (isVisited[first]) continue;
            piece.clear();
            for (uint32 half = first; !isVisited[half]; half = _next[half])
            {
                isVisited[half] = true;
                piece.push_back(_origins[half]);
            }
            if (!counter.add(piece.size())) return;
            visit(piece);
        }
    }

private:
    struct Spoke
    {
        uint32 hub, tip, half;
        bool isBeyondHalfTurn;
    };

    /// Whether a diagonal leaves the corner more than half a turn from the edge that leaves there.
    bool isBeyondHalfTurn(uint32 hub, uint32 tip) const
    {
        return _corners.side(hub, _corners.next[hub], tip) < 0;
    }

    /// Counter-clockwise from the edge that leaves the corner, a half-edge that comes in is followed by the
    /// one before it that leaves.
    void linkAround(Spoke* spokes, std::ptrdiff_t count, uint32 loopEdges)
    {
        std::vector<Spoke> scratch(spokes, spokes + count);
        const auto isBefore = [&](const Spoke& a, const Spoke& b)
        {
            if (a.isBeyondHalfTurn != b.isBeyondHalfTurn) return b.isBeyondHalfTurn;
            return _corners.side(a.hub, a.tip, b.tip) > 0;
        };
        mergeSort(spokes, count, 1, scratch.data(), isBefore, anyNumber, [](std::ptrdiff_t) { return true; });
        uint32 leaving = spokes->hub;
        for (std::ptrdiff_t n = 0; n < count; ++n)
        {
            const uint32 half = spokes[n].half;
            _next[twin(half, loopEdges)] = leaving;
            leaving = half;
        }
        _next[_corners.previous[spokes->hub]] = leaving;
    }

    static uint32 twin(uint32 half, uint32 loopEdges) { return ((half - loopEdges) ^ 1U) + loopEdges; }

    const Corners& _corners;
    std::vector<uint32> _next, _origins;
};

/// Triangulates pieces.
class PieceTriangulation
{
public:
    PieceTriangulation(const Corners& corners, const std::vector<RimEdge>& edges, CapFaces& cap)
        : _corners(corners), _edges(edges), _cap(cap)
    {
    }

    void add(std::vector<uint32>& piece)
    {
        const std::size_t corners = piece.size();
        dropRepeated(piece);
        if (piece.size() != corners || corners < 3) _cap.isPlain = false;
        if (piece.size() < 3) return;
        const auto isLower = [&](uint32 a, uint32 b) { return _corners.isAbove(b, a); };
        std::rotate(piece.begin(), std::min_element(piece.begin(), piece.end(), isLower), piece.end());
        const auto top = std::max_element(piece.begin(), piece.end(), isLower);
        const auto isHigher = [&](uint32 a, uint32 b) { return _corners.isAbove(a, b); };
        const bool isMonotone = std::is_sorted(piece.begin(), top + 1, isLower) &&
                                std::is_sorted(top, piece.end(), isHigher) && isCounterClockwise(piece);
        if (isMonotone)
            addMonotone(piece, static_cast<std::size_t>(top - piece.begin()));
        else
            addByEars(piece);
    }

private:
    uint32 vertex(uint32 corner) const { return _edges[corner].from; }

    /// Corners one after another at the same vertex count once.
    void dropRepeated(std::vector<uint32>& piece) const
    {
        const auto isSame = [&](uint32 a, uint32 b) { return vertex(a) == vertex(b); };
        piece.erase(std::unique(piece.begin(), piece.end(), isSame), piece.end());
        while (piece.size() > 1 && isSame(piece.front(), piece.back())) piece.pop_back();
    }

    /// At its lowest corner, which comes first.
    bool isCounterClockwise(const std::vector<uint32>& piece) const
    {
        return _corners.side(piece.back(), piece[0], piece[1]) >= 0;
    }

    /// A face that names a vertex twice has no area, and what lies beside it is joined without it.
    void addFace(uint32 a, uint32 b, uint32 c)
    {
        const uint32 i = vertex(a), j = vertex(b), k = vertex(c);
        if (i != j && j != k && k != i)
            _cap.faces.push_back({a, b, c});
        else
            _cap.isPlain = false;
    }

    /// The corners up to `top` are the right chain; the others come down the left one.
    void addMonotone(const std::vector<uint32>& piece, std::size_t top)
    {
        struct Step
        {
            uint32 corner;
            bool isRight;
        };
        std::vector<Step> stack{{piece[0], true}};
        const auto add = [&](const Step& a, const Step& b, const Step& c)
        { c.isRight ? addFace(a.corner, b.corner, c.corner) : addFace(a.corner, c.corner, b.corner); };
        std::size_t right = 1, left = piece.size() - 1;
        const auto visit = [&](const Step& step, bool isLast)
        {
            if (stack.size() > 1 && (isLast || step.isRight != stack.back().isRight))
            {
                // the last one sees the whole chain; its faces wind as on the other side of that
                for (std::size_t n = 1; n < stack.size(); ++n)
                    add(stack[n - 1], stack[n], {step.corner, stack.back().isRight});
                stack = {stack.back(), step};
                return;
            }
            while (stack.size() > 1)
            {
                const Step &low = stack[stack.size() - 2], &middle = stack.back();
                const int turn = _corners.side(low.corner, middle.corner, step.corner);
                if (step.isRight ? turn <= 0 : turn >= 0) break;
                add(low, middle, step);
                stack.pop_back();
            }
            stack.push_back(step);
        };
        while (right < top || left > top)
        {
            const bool isRight = left == top || (right < top && _corners.isAbove(piece[left], piece[right]));
            visit({isRight ? piece[right++] : piece[left--], isRight}, false);
        }
        visit({piece[top], false}, true);
    }

    void addByEars(const std::vector<uint32>& piece)
    {
        std::vector<Vector2D> points;
        points.reserve(piece.size());
        for (const uint32 corner : piece) points.push_back(_corners.points[corner]);
        Array<Index3> ears;
        clipEars(points, ears);
        _cap.isPlain = false;
        bool turnsOver = false;
        for (const Index3& ear : ears)
        {
            addFace(piece[ear.a], piece[ear.b], piece[ear.c]);
            turnsOver = turnsOver || sideOf(points[ear.a], points[ear.b], points[ear.c]) < 0;
        }
        _cap.crossedPieces += turnsOver ? 1 : 0;
    }

    const Corners& _corners;
    const std::vector<RimEdge>& _edges;
    CapFaces& _cap;
};

uint32 countLoops(const std::vector<uint32>& next)
{
    uint32 loops = 0;
    std::vector<bool> isVisited(next.size(), false);
    for (uint32 first = 0; first < next.size(); ++first)
    {
        loops += isVisited[first] ? 0 : 1;
        for (uint32 e = first; !isVisited[e]; e = next[e]) isVisited[e] = true;
    }
    return loops;
}

/// Twice the area that the loops go around.
double areaOf(const RimPoints& points)
{
    double area = 0;
    for (std::size_t n = 0; n < points.starts.size(); ++n)
    {
        const Vector2D from = points.starts[n] - points.starts[0], to = points.ends[n] - points.starts[0];
        area += from.x * to.y - from.y * to.x;
    }
    return area;
}

}  // namespace

CapFaces triangulateCap(const std::vector<RimEdge>& edges, const RimPoints& points,
                        const std::vector<uint32>& next, Polling& polling)
{
    CapFaces cap;
    cap.loops = countLoops(next);
    std::vector<Vector2D> places = points.starts;
    if (areaOf(points) < 0)  // of a solid inside out: seen in a mirror it is like others
        for (Vector2D& p : places) p.x = -p.x;
    const Corners corners(places, next);
    const Pieces pieces(corners, Sweep(corners).run(polling));
    PieceTriangulation triangulation(corners, edges, cap);
    if (polling.isStopped()) return cap;
    pieces.forEach(polling, [&](std::vector<uint32>& piece) { triangulation.add(piece); });
    return cap;
}

}  // namespace tavrix::detail
