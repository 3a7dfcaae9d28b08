#include <tavrix/meshproc/MeshSlicing.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshproc/detail/HalfEdgeTwins.h>
#include <tavrix/platform/Hardware.h>

namespace tavrix
{

namespace
{

/// Coordinates whose products and quotients are far from what numbers can be.
constexpr double furthestUsable = 1e100;

bool isUsable(const Vector3D& p)
{
    return std::abs(p.x) <= furthestUsable && std::abs(p.y) <= furthestUsable &&
           std::abs(p.z) <= furthestUsable;
}

/// Which planes cross which faces. Planes are numbered from the lowest up, and the level of a vertex is how
/// many lie below it or in it: plane n crosses an edge when n lies from the lower level of its ends up to
/// below the higher one.
class PlaneCrossings
{
public:
    PlaneCrossings(const Array<Vector3D>& positions, const SliceFrame& frame, std::span<const double> planes)
        : _positions(positions), _up(frame.up), _planes(planes), _levels(positions.size())
    {
    }

    /// Finds the levels of all vertices.
    bool findLevels(uint32 threads, detail::Polling& polling)
    {
        return inPieces(polling, _positions.size(), detail::lightItems / 8, threads,
                        [&](uint32, uint64 begin, uint64 end)
                        {
                            for (uint64 n = begin; n < end; ++n) _levels[n] = levelOf(_positions[n]);
                        });
    }

    /// Lists the faces that each plane crosses, in their order.
    bool listFaces(const Array<Index3>& faces, uint32 threads, detail::Polling& polling)
    {
        const uint64 blocks =
            std::min<uint64>(std::max(threads, 1U), std::max<uint64>(faces.size() / 4096, 1));
        std::vector<std::vector<uint64>> places(blocks, std::vector<uint64>(_planes.size() + 1, 0));
        const auto eachBlock = [&](auto visit)
        {
            return inTurns(polling, blocks, threads,
                           [&](uint32, uint64 block)
                           {
                               const auto begin = static_cast<uint32>(faces.size() * block / blocks),
                                          end = static_cast<uint32>(faces.size() * (block + 1) / blocks);
                               detail::PollCounter work(polling, detail::lightItems);
                               for (uint32 f = begin; f < end && work.add(1); ++f)
                                   visit(f, rangeOf(faces[f]), places[block]);
                           });
        };
        const auto count = [](uint32, std::pair<uint32, uint32> range, std::vector<uint64>& changes)
        {
            ++changes[range.first];
            --changes[range.second];
        };
        if (!eachBlock(count)) return false;
        placeBlocks(places);
        _faces.resize(_ends.empty() ? 0 : _ends.back());
        return eachBlock(
            [&](uint32 face, std::pair<uint32, uint32> range, std::vector<uint64>& next)
            {
                for (uint32 plane = range.first; plane < range.second; ++plane) _faces[next[plane]++] = face;
            });
    }

    std::span<const uint32> facesAt(uint32 plane) const
    {
        const uint64 begin = plane == 0 ? 0 : _ends[plane - 1];
        return std::span(_faces).subspan(begin, _ends[plane] - begin);
    }

    bool isAbove(uint32 vertex, uint32 plane) const { return _levels[vertex] > plane; }

    /// Where a plane meets the edge from a vertex below it to one above: at the one above when that is on it,
    /// and within the edge's box.
    Vector3D meeting(uint32 below, uint32 above, uint32 plane) const
    {
        const Vector3D &from = _positions[below], &to = _positions[above];
        const double low = dot(_up, from), high = dot(_up, to), height = _planes[plane];
        if (high == height) return to;
        const double t = (height - low) / (high - low);
        Vector3D p = from + (to - from) * t;
        for (uint32 axis = 0; axis < 3; ++axis)
            p[axis] = std::clamp(p[axis], std::min(from[axis], to[axis]), std::max(from[axis], to[axis]));
        return p;
    }

private:
    uint32 levelOf(const Vector3D& p) const
    {
        if (!isUsable(p)) return 0;
        const auto above = std::upper_bound(_planes.begin(), _planes.end(), dot(_up, p));
        return static_cast<uint32>(above - _planes.begin());
    }

    std::pair<uint32, uint32> rangeOf(const Index3& face) const
    {
        // a face that names a vertex twice is crossed at no edge or along one: it adds nothing
        if (face.a == face.b || face.b == face.c || face.c == face.a) return {0, 0};
        return std::minmax({_levels[face.a], _levels[face.b], _levels[face.c]});
    }

    /// Turns changes of counts from plane to plane into where each block's faces of each plane begin.
    void placeBlocks(std::vector<std::vector<uint64>>& places)
    {
        std::vector<uint64> counts(places.size(), 0);
        uint64 place = 0;
        for (std::size_t plane = 0; plane < _planes.size(); ++plane)
        {
            for (std::size_t block = 0; block < places.size(); ++block)
            {
                counts[block] += places[block][plane];
                places[block][plane] = place;
                place += counts[block];
            }
            _ends.push_back(place);
        }
    }

    const Array<Vector3D>& _positions;
    Vector3D _up;
    std::span<const double> _planes;
    Array<uint32> _levels;
    std::vector<uint32> _faces;
    std::vector<uint64> _ends;  ///< of each plane's faces
};

/// Walks along the cut of one plane after the other, from face to face across the edges that it crosses.
class CutWalker
{
public:
    CutWalker(const Array<Index3>& faces, const Array<uint32>& twins, const PlaneCrossings& crossings,
              const SliceFrame& frame)
        : _faces(faces), _twins(twins), _crossings(crossings), _frame(frame)
    {
    }

    /// The cuts that close and those that end at borders; false when stopped.
    bool walk(uint32 plane, detail::Polling& polling, std::vector<Polyline>& loops,
              std::vector<Polyline>& chains)
    {
        if (_lastPlanes.empty()) _lastPlanes.assign(_faces.size(), noIndex);
        detail::PollCounter work(polling, detail::scatteredItems);
        for (const uint32 face : _crossings.facesAt(plane))
        {
            if (_lastPlanes[face] == plane) continue;
            const auto [in, out] = crossedEdges(face, plane);
            const bool isLoop = follow(in, plane);
            std::reverse(_points.begin(), _points.end());
            if (!isLoop) follow(out, plane);
            Polyline points(Polyline::checkedSize(_points.size()));
            std::copy(_points.begin(), _points.end(), points.begin());
            (isLoop ? loops : chains).push_back(std::move(points));
            const uint64 steps = _points.size();
            _points.clear();
            if (!work.add(steps)) return false;
        }
        return true;
    }

private:
    /// The half-edges of a face that a plane crosses: downwards and upwards. What faces enclose lies to the
    /// left on the way from one to the other.
    std::pair<uint32, uint32> crossedEdges(uint32 face, uint32 plane) const
    {
        const Index3& t = _faces[face];
        const bool a = _crossings.isAbove(t.a, plane), b = _crossings.isAbove(t.b, plane),
                   c = _crossings.isAbove(t.c, plane);
        const uint32 odd = b == c ? 0 : a == c ? 1 : 2;
        const uint32 leaving = 3 * face + odd, coming = 3 * face + (odd + 2) % 3;
        return (odd == 0 ? a : odd == 1 ? b : c) ? std::pair(leaving, coming) : std::pair(coming, leaving);
    }

    Vector2D pointOn(uint32 halfEdge, uint32 plane) const
    {
        const uint32 from = detail::vertexAt(_faces, halfEdge),
                     to = detail::vertexAt(_faces, detail::nextCorner(halfEdge));
        const bool isDownwards = _crossings.isAbove(from, plane);
        const Vector3D p = _crossings.meeting(isDownwards ? to : from, isDownwards ? from : to, plane);
        return {dot(_frame.x, p), dot(_frame.y, p)};
    }

    /// Leaves a face by a half-edge and goes on to the next one, until the walk comes to a face that it has
    /// been to, which is its first, or to a border; true for the former. Adds a point for each edge crossed.
    bool follow(uint32 halfEdge, uint32 plane)
    {
        for (_lastPlanes[halfEdge / 3] = plane;;)
        {
            _points.push_back(pointOn(halfEdge, plane));
            const uint32 twin = _twins[halfEdge];
            if (twin == noIndex) return false;
            if (std::exchange(_lastPlanes[twin / 3], plane) == plane) return true;
            const auto [down, up] = crossedEdges(twin / 3, plane);
            halfEdge = twin == down ? up : down;
        }
    }

    const Array<Index3>& _faces;
    const Array<uint32>& _twins;
    const PlaneCrossings& _crossings;
    const SliceFrame& _frame;
    Array<uint32> _lastPlanes;  ///< that crossed each face when the walk came to it
    std::vector<Vector2D> _points;
};

class Slicing
{
public:
    Slicing(const Mesh& mesh, const SliceFrame& frame, std::span<const double> heights,
            const SliceSettings& settings, CancelCallback callback)
        : _positions(mesh.pos()),
          _faces(&mesh.trindexPos()),
          _frame(frame),
          _heights(heights),
          _settings(settings),
          _threads(settings.threadCount > 0 ? settings.threadCount : Hardware::getThreadCount()),
          _polling(callback)
    {
    }

    MeshSlices run()
    {
        if (!work()) return {.slices = {}, .isStopped = true};
        return std::move(_result);
    }

private:
    bool work()
    {
        sortHeights();
        for (const double height : _heights) _result.slices.push_back({height, {}, {}});
        if (!dropUnusable()) return false;
        PlaneCrossings crossings(_positions, _frame, _planes);
        if (!crossings.findLevels(_threads, _polling) || !crossings.listFaces(*_faces, _threads, _polling))
            return false;
        const Array<uint32> twins = detail::halfEdgeTwins(_positions, *_faces, _polling);
        if (_polling.isStopped()) return false;
        return slicePlanes(twins, crossings);
    }

    /// Planes are the finite heights, ascending; the order says which slice is whose.
    void sortHeights()
    {
        for (uint32 n = 0; n < _heights.size(); ++n)
            if (std::isfinite(_heights[n])) _order.push_back(n);
        std::stable_sort(_order.begin(), _order.end(),
                         [&](uint32 a, uint32 b) { return _heights[a] < _heights[b]; });
        _planes.reserve(_order.size());
        for (const uint32 n : _order) _planes.push_back(_heights[n]);
    }

    /// Works on a copy without the faces that cannot be used, if there are some.
    bool dropUnusable()
    {
        const auto look = [&](uint64 begin, uint64 end)
        {
            for (auto f = static_cast<uint32>(begin); f < end; ++f)
            {
                const Index3 face = (*_faces)[f];
                if (isUsable(_positions[face.a]) && isUsable(_positions[face.b]) &&
                    isUsable(_positions[face.c]))
                    continue;
                if (_result.unusableFaces++ == 0) _usableFaces = *_faces;
                _usableFaces[f] = {0, 0, 0};
            }
        };
        if (!inPieces(_polling, _faces->size(), detail::lightItems, look)) return false;
        if (_result.unusableFaces > 0) _faces = &_usableFaces;
        return true;
    }

    bool slicePlanes(const Array<uint32>& twins, const PlaneCrossings& crossings)
    {
        std::vector<CutWalker> walkers(_threads, CutWalker(*_faces, twins, crossings, _frame));
        std::vector<uint32> flatLoops(_threads, 0);
        const detail::LongStep step(_polling, _planes.size());
        const auto slice = [&](uint32 worker, uint64 plane)
        {
            std::vector<Polyline> loops, chains;
            if (walkers[worker].walk(static_cast<uint32>(plane), _polling, loops, chains))
                flatLoops[worker] +=
                    finish(std::move(loops), std::move(chains), _result.slices[_order[plane]]);
        };
        if (!inTurns(_polling, _planes.size(), _threads, slice)) return false;
        for (const uint32 count : flatLoops) _result.flatLoops += count;
        return true;
    }

    /// Makes polygons of what was cut, and returns how many loops enclose nothing.
    uint32 finish(std::vector<Polyline> loops, std::vector<Polyline> chains, MeshSlice& slice) const
    {
        polylinetools::JoinedPolylines joined =
            polylinetools::joinPolylines(std::move(chains), _settings.gap);
        std::move(joined.loops.begin(), joined.loops.end(), std::back_inserter(loops));
        for (Polyline& loop : loops) polylinetools::dropRepeats(loop, true);
        const std::size_t before = loops.size();
        std::erase_if(loops, [](const Polyline& loop) { return loop.size() < 3; });
        std::vector<Polygonum> polygons;
        polygons.reserve(loops.size());
        for (Polyline& loop : loops) polygons.emplace_back(std::move(loop));
        std::erase_if(polygons, [](const Polygonum& polygon) { return polygon.signedArea() == 0; });
        const auto flat = static_cast<uint32>(before - polygons.size());
        slice.polygons = Polygons(std::move(polygons));
        slice.openChains = std::move(joined.chains);
        if (_settings.tolerance > 0) slice.polygons = slice.polygons.simplified(_settings.tolerance);
        for (Polyline& chain : slice.openChains)
        {
            polylinetools::dropRepeats(chain, false);
            if (_settings.tolerance > 0) chain = polylinetools::simplifyChain(chain, _settings.tolerance);
        }
        return flat;
    }

    const Array<Vector3D>& _positions;
    const Array<Index3>* _faces;
    const SliceFrame _frame;
    std::span<const double> _heights;
    const SliceSettings _settings;
    const uint32 _threads;
    detail::Polling _polling;

    std::vector<double> _planes;
    std::vector<uint32> _order;  ///< which height each plane has
    Array<Index3> _usableFaces;
    MeshSlices _result;
};

}  // namespace

SliceFrame SliceFrame::alongAxis(uint32 axis)
{
    Vector3D direction{0, 0, 0};
    direction[axis] = 1;
    return along(direction);
}

SliceFrame SliceFrame::along(const Vector3D& direction)
{
    const double largest = std::max({std::abs(direction.x), std::abs(direction.y), std::abs(direction.z)});
    const Vector3D scaled = direction * (1 / largest), up = scaled * (1 / length(scaled));
    uint32 steepest = 0;
    for (uint32 axis = 1; axis < 3; ++axis)
        if (std::abs(up[axis]) > std::abs(up[steepest])) steepest = axis;
    const uint32 one = (steepest + 2) % 3, other = (steepest + 1) % 3;
    const uint32 across = std::abs(up[other]) < std::abs(up[one]) ? other : one;
    Vector3D y = up * -up[across];
    y[across] += 1;
    y = y * (1 / length(y));
    return {cross(y, up), y, up};
}

HeightRange heightsOf(const Mesh& mesh, const SliceFrame& frame)
{
    constexpr double big = std::numeric_limits<double>::max();
    HeightRange range{big, -big};
    for (const Index3& face : mesh.trindexPos())
        for (uint32 c = 0; c < 3; ++c)
        {
            const double height = dot(frame.up, mesh.pos()[face[c]]);
            if (!std::isfinite(height)) continue;
            range.low = std::min(range.low, height);
            range.high = std::max(range.high, height);
        }
    return range;
}

MeshSlices sliceMesh(const Mesh& mesh, const SliceFrame& frame, std::span<const double> heights,
                     const SliceSettings& settings, CancelCallback callback)
{
    return Slicing(mesh, frame, heights, settings, callback).run();
}

}  // namespace tavrix
