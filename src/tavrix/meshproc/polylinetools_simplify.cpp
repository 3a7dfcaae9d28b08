#include <tavrix/meshproc/polylinetools.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include <tavrix/mesh/detail/PlaneOrientation.h>
#include <tavrix/meshproc/detail/LoopNesting.h>

namespace tavrix::polylinetools
{

namespace
{

using detail::sideOf;

double squaredDistance(const Vector2D& p, const Vector2D& from, const Vector2D& to)
{
    const Vector2D way = to - from, toP = p - from;
    const double square = dot(way, way);
    const double t = square > 0 ? std::clamp(dot(toP, way) / square, 0.0, 1.0) : 0;
    const Vector2D apart = toP - way * t;
    return dot(apart, apart);
}

/// A segment that stands for the points [from, from + steps] of a loop or chain, counted around it.
struct Chord
{
    uint32 line, from, steps;

    bool canBeSplit() const { return steps > 1; }
};

/// Points and which of them stay.
struct Line
{
    std::span<const Vector2D> points;
    std::vector<uint8> isKept;

    explicit Line(std::span<const Vector2D> p) : points(p), isKept(p.size(), 0) {}

    uint32 size() const { return static_cast<uint32>(points.size()); }
    uint32 around(uint64 n) const { return static_cast<uint32>(n % points.size()); }
    const Vector2D& at(uint64 n) const { return points[around(n)]; }
    uint32 keptCount() const { return static_cast<uint32>(std::count(isKept.begin(), isKept.end(), 1)); }
    Polyline kept() const
    {
        Polyline polyline;
        polyline.reserve(keptCount());
        for (uint32 n = 0; n < size(); ++n)
            if (isKept[n]) polyline.push_back(points[n]);
        return polyline;
    }
};

/// The point between the ends of a chord that is furthest from it, in steps, and the square of how far; the
/// middle one when all lie on it.
std::pair<uint32, double> furthest(const Line& line, const Chord& chord)
{
    const Vector2D &from = line.at(chord.from), &to = line.at(uint64{chord.from} + chord.steps);
    std::pair<uint32, double> found{chord.steps / 2, 0};
    for (uint32 n = 1; n < chord.steps; ++n)
    {
        const double square = squaredDistance(line.at(uint64{chord.from} + n), from, to);
        if (square > found.second) found = {n, square};
    }
    return found;
}

/// Keeps what of a chord's points is needed for the tolerance.
void refine(Line& line, const Chord& whole, double tolerance)
{
    const double limit = tolerance * tolerance;
    std::vector<Chord> chords{whole};
    while (!chords.empty())
    {
        const Chord chord = chords.back();
        chords.pop_back();
        if (!chord.canBeSplit()) continue;
        const auto [steps, square] = furthest(line, chord);
        if (square <= limit) continue;
        const uint32 middle = line.around(uint64{chord.from} + steps);
        line.isKept[middle] = 1;
        chords.push_back({chord.line, chord.from, steps});
        chords.push_back({chord.line, middle, chord.steps - steps});
    }
}

/// A chord where it runs.
struct Run
{
    Chord chord;
    Vector2D from, to;

    double left() const { return std::min(from.x, to.x); }
    double right() const { return std::max(from.x, to.x); }
    bool overlapsInY(const Run& other) const
    {
        return std::min(from.y, to.y) <= std::max(other.from.y, other.to.y) &&
               std::min(other.from.y, other.to.y) <= std::max(from.y, to.y);
    }
};

/// Whether two runs from one point lie on one another for a while.
bool runAlong(const Vector2D& hub, const Vector2D& a, const Vector2D& b)
{
    return sideOf(hub, a, b) == 0 && dot(a - hub, b - hub) > 0;
}

/// Whether two runs whose boxes overlap meet anywhere but at common ends.
bool doMeet(const Run& a, const Run& b)
{
    if (a.from == b.from) return runAlong(a.from, a.to, b.to);
    if (a.from == b.to) return runAlong(a.from, a.to, b.from);
    if (a.to == b.from) return runAlong(a.to, a.from, b.to);
    if (a.to == b.to) return runAlong(a.to, a.from, b.from);
    return sideOf(a.from, a.to, b.from) * sideOf(a.from, a.to, b.to) <= 0 &&
           sideOf(b.from, b.to, a.from) * sideOf(b.from, b.to, a.to) <= 0;
}

/// Leaves points out of loops, and takes back what would change how they lie.
class LoopSimplification
{
public:
    LoopSimplification(const std::vector<Polyline>& loops, double tolerance)
    {
        for (const Polyline& loop : loops) _lines.emplace_back(std::span(loop.begin(), loop.size()));
        for (uint32 n = 0; n < _lines.size(); ++n) simplify(n, tolerance);
    }

    std::vector<Polyline> run()
    {
        std::vector<std::span<const Vector2D>> before;
        for (const Line& line : _lines) before.push_back(line.points);
        const std::vector<uint32> parents = detail::findParents(before);
        do partCrossings();
        while (!restoreMoved(parents));
        std::vector<Polyline> loops;
        for (const Line& line : _lines) loops.push_back(line.kept());
        return loops;
    }

private:
    /// From the lowest point to the one furthest from it, and back; three points at least.
    void simplify(uint32 number, double tolerance)
    {
        Line& line = _lines[number];
        if (line.size() <= 3) return keepAll(number);
        const auto lowest = std::min_element(line.points.begin(), line.points.end(),
                                             [](const Vector2D& a, const Vector2D& b)
                                             { return std::tie(a.y, a.x) < std::tie(b.y, b.x); });
        const auto start = static_cast<uint32>(lowest - line.points.begin());
        const auto [there, square] = furthest(line, {number, start, line.size()});
        if (square == 0) return keepAll(number);
        const Chord out{number, start, there},
            back{number, line.around(uint64{start} + there), line.size() - there};
        line.isKept[out.from] = line.isKept[back.from] = 1;
        refine(line, out, tolerance);
        refine(line, back, tolerance);
        if (line.keptCount() > 2) return;
        const auto onOut = furthest(line, out), onBack = furthest(line, back);
        const bool isOnOut = onOut.second > onBack.second;
        const uint64 from = (isOnOut ? out : back).from;
        line.isKept[line.around(from + (isOnOut ? onOut : onBack).first)] = 1;
    }

    void keepAll(uint32 line) { std::fill(_lines[line].isKept.begin(), _lines[line].isKept.end(), uint8{1}); }

    /// The chords between points that are kept, from left to right.
    std::vector<Run> runs() const
    {
        std::vector<Run> runs;
        for (uint32 l = 0; l < _lines.size(); ++l)
        {
            const Line& line = _lines[l];
            std::vector<uint32> kept;
            for (uint32 n = 0; n < line.size(); ++n)
                if (line.isKept[n]) kept.push_back(n);
            for (std::size_t k = 0; k < kept.size(); ++k)
            {
                const uint32 to = kept[(k + 1) % kept.size()];
                const uint32 steps = to > kept[k] ? to - kept[k] : to + line.size() - kept[k];
                runs.push_back({{l, kept[k], steps}, line.at(kept[k]), line.at(to)});
            }
        }
        std::stable_sort(runs.begin(), runs.end(),
                         [](const Run& a, const Run& b) { return a.left() < b.left(); });
        return runs;
    }

    /// Splits chords that meet others until none do that could be split.
    void partCrossings()
    {
        constexpr uint32 careful = 8;
        for (uint32 round = 0;; ++round)
        {
            const std::vector<Chord> meeting = chordsThatMeet();
            if (meeting.empty()) return;
            for (const Chord& chord : meeting)
            {
                Line& line = _lines[chord.line];
                const uint32 furthestStep = furthest(line, chord).first;
                for (uint32 n = 1; n < chord.steps; ++n)
                    if (round >= careful || n == furthestStep)
                        line.isKept[line.around(uint64{chord.from} + n)] = 1;
            }
        }
    }

    std::vector<Chord> chordsThatMeet() const
    {
        const std::vector<Run> all = runs();
        std::vector<uint8> meets(all.size(), 0);
        for (std::size_t i = 0; i < all.size(); ++i)
        {
            const double right = all[i].right();
            for (std::size_t k = i + 1; k < all.size() && all[k].left() <= right; ++k)
            {
                if (!all[i].chord.canBeSplit() && !all[k].chord.canBeSplit()) continue;
                if (all[i].overlapsInY(all[k]) && doMeet(all[i], all[k])) meets[i] = meets[k] = 1;
            }
        }
        std::vector<Chord> meeting;
        for (std::size_t n = 0; n < all.size(); ++n)
            if (meets[n] && all[n].chord.canBeSplit()) meeting.push_back(all[n].chord);
        return meeting;
    }

    /// Gives loops that lie elsewhere now all their points, and those around them then and now; true when
    /// there are none.
    bool restoreMoved(const std::vector<uint32>& parents)
    {
        std::vector<Polyline> kept;
        for (const Line& line : _lines) kept.push_back(line.kept());
        const std::vector<uint32> parentsNow = detail::findParents({kept.begin(), kept.end()});
        bool isDone = true;
        for (uint32 n = 0; n < parents.size(); ++n)
            if (parents[n] != parentsNow[n])
                for (const uint32 line : {n, parents[n], parentsNow[n]})
                    if (line != noIndex && _lines[line].keptCount() < _lines[line].size())
                    {
                        keepAll(line);
                        isDone = false;
                    }
        return isDone;
    }

    std::vector<Line> _lines;
};

}  // namespace

Polyline simplifyChain(std::span<const Vector2D> points, double tolerance)
{
    Line line(points);
    if (!points.empty()) line.isKept.front() = line.isKept.back() = 1;
    if (points.size() > 2) refine(line, {0, 0, line.size() - 1}, tolerance);
    return line.kept();
}

std::vector<Polyline> simplifyLoops(const std::vector<Polyline>& loops, double tolerance)
{
    return LoopSimplification(loops, tolerance).run();
}

}  // namespace tavrix::polylinetools
