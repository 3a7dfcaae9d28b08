#include <tavrix/meshproc/detail/LoopSubdivision.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::detail
{

namespace
{

/// What each neighbour of a smooth point adds to it (Loop, Smooth Subdivision Surfaces Based on Triangles,
/// 1987).
double neighbourWeight(uint32 valence)
{
    if (valence == 6) return 1.0 / 16;
    const double c = 3.0 / 8 + sineCosine(2 * piValue / valence).second / 4;
    return (5.0 / 8 - c * c) / valence;
}

/// What the ends of an edge add to its middle where all is regular.
constexpr double regularWeight = 3.0 / 8;

/// The sum of the areas around a middle, as a normal.
Vector3D areaNormal(const Vector3D& middle, const std::vector<Vector3D>& ring, bool isClosed)
{
    Vector3D sum{0, 0, 0};
    const std::size_t count = ring.size();
    for (std::size_t i = 0; i + (isClosed ? 0 : 1) < count; ++i)
        sum += cross(ring[i] - middle, ring[(i + 1) % count] - middle);
    return sum;
}

/// The tangents of a closed ring; their cross product.
Vector3D closedNormal(const std::vector<Vector3D>& ring)
{
    Vector3D t{0, 0, 0}, u{0, 0, 0};
    for (std::size_t i = 0; i < ring.size(); ++i)
    {
        const auto [sine, cosine] =
            sineCosine(2 * piValue * static_cast<double>(i) / static_cast<double>(ring.size()));
        t += ring[i] * cosine;
        u += ring[i] * sine;
    }
    return cross(t, u);
}

/// The way from a middle into an open ring.
Vector3D inwardsOf(const Vector3D& middle, const std::vector<Vector3D>& ring)
{
    Vector3D inwards{0, 0, 0};
    const double turn = piValue / static_cast<double>(ring.size() - 1);
    for (std::size_t i = 1; i + 1 < ring.size(); ++i)
        inwards += (ring[i] - middle) * sineCosine(turn * static_cast<double>(i)).first;
    return inwards;
}

/// The tangents along a crease and away from it, by the eigenvectors of the rules there; their cross product.
Vector3D creaseNormal(const Vector3D& middle, const std::vector<Vector3D>& ring)
{
    const Vector3D along = ring.front() - ring.back(), ends = ring.front() + ring.back() - middle * 2;
    if (ring.size() == 2) return cross(along, ends);
    const double turn = piValue / static_cast<double>(ring.size() - 1);
    const auto [halfSine, halfCosine] = sineCosine(turn / 2);
    const double endWeight = 0.5 * halfCosine / halfSine * sineCosine(turn).second;
    return cross(along, inwardsOf(middle, ring) - ends * endWeight);
}

/// The same at a corner.
Vector3D cornerNormal(const Vector3D& middle, const std::vector<Vector3D>& ring, bool isConcave)
{
    if (isConcave) return cross(ring.front() - ring.back(), inwardsOf(middle, ring));
    return cross(ring.front() - middle, ring.back() - middle);
}

}  // namespace

LoopSubdivision::LoopSubdivision(Array<Vector3D> points, RefinedFaces faces, std::vector<bool> isCrease,
                                 double bend, uint32 threadCount, Polling& polling)
    : _points(std::move(points)),
      _faces(std::move(faces)),
      _isCrease(std::move(isCrease)),
      _threadCount(threadCount),
      _polling(polling)
{
    for (uint32 e = 0; e < _faces.edges().size(); ++e)
        if (_faces.edges()[e].second == noIndex) _isCrease[e] = true;
    findKinds(bend);
}

/// Counts the creases and the corners at every point.
void LoopSubdivision::findKinds(double bend)
{
    const uint32 count = _faces.itemCount();
    Array<uint32> creases(count, 0u), corners(count, 0u);
    Array<Vector3D> towards(count, Vector3D{0, 0, 0});  // of the first crease
    _starts.assign(count, noIndex);
    _kinds.assign(count, LoopPoint::Smooth);
    for (const uint32 h : PolledNumbers(3 * _faces.faces().size(), scatteredItems, _polling))
    {
        const uint32 p = _faces.startOf(h);
        if (corners[p]++ == 0) _starts[p] = h;
    }
    for (const uint32 e : PolledNumbers(_faces.edges().size(), scatteredItems, _polling))
    {
        if (!_isCrease[e]) continue;
        const FaceEdge& edge = _faces.edges()[e];
        for (const auto& [p, q] : {std::pair(edge.a, edge.b), std::pair(edge.b, edge.a)})
        {
            const Vector3D direction = unitOrZero(_points[q] - _points[p]);
            if (++creases[p] == 1) towards[p] = direction;
            // going straight on, the directions are opposite
            const bool bends = creases[p] == 2 && !(-dot(towards[p], direction) >= bend);
            if (creases[p] > 2 || bends)
                _kinds[p] = LoopPoint::Corner;
            else if (creases[p] == 2)
                _kinds[p] = LoopPoint::Crease;
        }
    }
    for (const uint32 p : PolledNumbers(count, scatteredItems, _polling))
    {
        if (_kinds[p] != LoopPoint::Smooth || _starts[p] == noIndex) continue;
        uint32 faceCount = 0, h = _starts[p];
        do h = _faces.turned(h), ++faceCount;
        while (h != noIndex && h != _starts[p]);
        if (h == noIndex || faceCount != corners[p]) _kinds[p] = LoopPoint::Corner;
    }
    if (!_polling.isStopped()) findSectors(corners);
}

/// The sectors of creases begin at the half-edges that lie on them; what these leave over is closed.
void LoopSubdivision::findSectors(const Array<uint32>& cornerCounts)
{
    Array<uint32> left = cornerCounts;
    const uint32 halfEdgeCount = 3 * _faces.faces().size();
    std::vector<bool> isTaken(halfEdgeCount, false);
    const auto add = [&](uint32 start)
    {
        const uint32 p = _faces.startOf(start);
        Sector sector{start, 0, regularWeight, false, left[p] == cornerCounts[p], false};
        uint32 h = start;
        do {
            ++sector.faceCount;
            --left[p];
            isTaken[h] = true;
            const uint32 last = _faces.edgeNumber(RefinedFaces::previous(h));
            if (_isCrease[last])
            {
                // a crease beside which there is more has no rule
                if (last == _faces.edgeNumber(start)) _kinds[p] = LoopPoint::Corner;
                return _sectors.push_back(sector);
            }
            h = _faces.turned(h);
        } while (h != start);
        sector.isClosed = true;
        _kinds[p] = LoopPoint::Corner;
        _sectors.push_back(sector);
    };
    for (const bool onCreases : {true, false})
        for (const uint32 h : PolledNumbers(halfEdgeCount, scatteredItems, _polling))
            if (!isSmooth(_faces.startOf(h)) && !isTaken[h] &&
                (!onCreases || _isCrease[_faces.edgeNumber(h)]))
                add(h);
    for (Sector& sector : _sectors)
        if (!sector.isClosed && !_polling.isStopped()) weigh(sector);
}

/// The angle of a face at the start of its half-edge.
double LoopSubdivision::angleAt(uint32 halfEdge) const
{
    const Vector3D& p = _points[_faces.startOf(halfEdge)];
    const Vector3D a = unitOrZero(_points[_faces.endOf(halfEdge)] - p);
    return arcCosine(dot(a, unitOrZero(_points[_faces.oppositeOf(halfEdge)] - p)));
}

void LoopSubdivision::weigh(Sector& sector) const
{
    constexpr double nearlyStraight = 0.97 * piValue, nearlyRound = 1.9 * piValue;
    const bool isCorner = _kinds[_faces.startOf(sector.start)] == LoopPoint::Corner;
    double angle = isCorner ? 0 : piValue;
    for (uint32 n = 0, h = sector.start; n < sector.faceCount && isCorner; ++n)
    {
        angle += angleAt(h);
        if (n + 1 < sector.faceCount) h = _faces.turned(h);
    }
    angle = angle < nearlyRound ? angle : nearlyRound;
    sector.isConcave = isCorner && angle > nearlyStraight;
    sector.weight = 0.5 - sineCosine(angle / sector.faceCount).second / 4;
}

/// Whether an edge is divided by the rule of creases: the last one of a crease that ends is not.
bool LoopSubdivision::followsCrease(uint32 edge) const
{
    const FaceEdge& ends = _faces.edges()[edge];
    return _isCrease[edge] && !isSmooth(ends.a) && !isSmooth(ends.b);
}

template <class Work>
bool LoopSubdivision::forEach(std::size_t count, Work work) const
{
    return inPieces(_polling, count, scatteredItems, _threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (auto n = static_cast<uint32>(begin); n < end; ++n) work(n);
                    });
}

Vector3D LoopSubdivision::edgePoint(uint32 edge, double weightA, double weightB) const
{
    const FaceEdge& ends = _faces.edges()[edge];
    return _points[ends.a] * weightA + _points[ends.b] * weightB +
           (_points[_faces.oppositeOf(ends.first)] + _points[_faces.oppositeOf(ends.second)]) * 0.125;
}

Vector3D LoopSubdivision::smoothPoint(uint32 point) const
{
    Vector3D sum{0, 0, 0};
    uint32 valence = 0, h = _starts[point];
    do {
        sum += _points[_faces.endOf(h)];
        ++valence;
        h = _faces.turned(h);
    } while (h != _starts[point]);
    const double weight = neighbourWeight(valence);
    return _points[point] * (1 - valence * weight) + sum * weight;
}

/// The point of a crease, and the middles of the edges that leave it.
void LoopSubdivision::divideSector(const Sector& sector, Array<Vector3D>& next) const
{
    const uint32 point = _faces.startOf(sector.start);
    if (sector.isClosed) return;
    const double weight = sector.weight;
    uint32 h = sector.start;
    for (uint32 n = 1; n < sector.faceCount; ++n)
    {
        h = _faces.turned(h);
        const uint32 edge = _faces.edgeNumber(h);
        const bool isAtA = _faces.edges()[edge].a == point;
        if (isSmooth(_faces.endOf(h)))
            next[_points.size() + edge] =
                edgePoint(edge, isAtA ? 0.75 - weight : weight, isAtA ? weight : 0.75 - weight);
    }
    if (_kinds[point] == LoopPoint::Crease && sector.isFirst)
        next[point] = _points[point] * 0.75 +
                      (_points[_faces.endOf(sector.start)] + _points[_faces.oppositeOf(h)]) * 0.125;
}

/// The points of the next level: those that there are, then the middles of edges.
bool LoopSubdivision::refinePoints(Array<Vector3D>& next) const
{
    const uint32 count = _points.size();
    next.resize(count + _faces.edges().size());
    return forEach(count, [&](uint32 p)
                   { next[p] = isSmooth(p) && _starts[p] != noIndex ? smoothPoint(p) : _points[p]; }) &&
           forEach(_faces.edges().size(),
                   [&](uint32 e)
                   {
                       const FaceEdge& ends = _faces.edges()[e];
                       next[count + e] = followsCrease(e) ? (_points[ends.a] + _points[ends.b]) * 0.5
                                                          : edgePoint(e, regularWeight, regularWeight);
                   }) &&
           forEach(_sectors.size(), [&](uint32 s) { divideSector(_sectors[s], next); });
}

bool LoopSubdivision::refine()
{
    Array<Vector3D> next;
    if (!refinePoints(next)) return false;
    const uint32 count = _points.size(), edgeCount = _faces.edges().size();
    std::vector<bool> isCrease(2 * std::size_t{edgeCount} + 3 * std::size_t{_faces.faces().size()}, false);
    Array<LoopPoint> kinds(count + edgeCount);
    Array<uint32> starts(count + edgeCount);
    std::copy(_kinds.begin(), _kinds.end(), kinds.begin());
    for (uint32 p = 0; p < count; ++p)
        starts[p] = _starts[p] == noIndex ? noIndex : RefinedFaces::firstHalf(_starts[p]);
    for (Sector& sector : _sectors) sector.start = RefinedFaces::firstHalf(sector.start);
    for (const uint32 e : PolledNumbers(edgeCount, scatteredItems, _polling))
    {
        starts[count + e] = RefinedFaces::next(RefinedFaces::firstHalf(_faces.edges()[e].first));
        kinds[count + e] = _isCrease[e] ? LoopPoint::Crease : LoopPoint::Smooth;
        isCrease[2 * std::size_t{e}] = isCrease[2 * std::size_t{e} + 1] = _isCrease[e];
    }
    // each half-edge on a crease gives its middle a sector: three faces, from its second half on
    std::vector<bool> hasSector(edgeCount, false);
    for (const uint32 h : PolledNumbers(3 * _faces.faces().size(), scatteredItems, _polling))
    {
        const uint32 e = _faces.edgeNumber(h);
        if (!_isCrease[e]) continue;
        _sectors.push_back({RefinedFaces::secondHalf(h), 3, regularWeight, false, !hasSector[e], false});
        hasSector[e] = true;
    }
    if (_polling.isStopped() || !_faces.refine(_threadCount, _polling)) return false;
    _points.swap(next);
    _isCrease.swap(isCrease);
    _kinds.swap(kinds);
    _starts.swap(starts);
    return true;
}

void LoopSubdivision::collectRing(uint32 start, bool isClosed, const Array<Vector3D>& next, Ring& ring) const
{
    ring.clear();
    const auto add = [&](uint32 h) { ring.push_back(next[_points.size() + _faces.edgeNumber(h)]); };
    uint32 h = start;
    do {
        add(h);
        const uint32 last = RefinedFaces::previous(h);
        if (!isClosed && _isCrease[_faces.edgeNumber(last)]) return add(last);
        h = _faces.turned(h);
    } while (h != start);
}

Vector3F LoopSubdivision::sectorNormal(const Sector& sector, const Vector3D& middle, const Ring& ring) const
{
    const Vector3D around = areaNormal(middle, ring, sector.isClosed);
    const bool isCrease = _kinds[_faces.startOf(sector.start)] == LoopPoint::Crease;
    const Vector3D normal = sector.isClosed ? around
                            : isCrease      ? creaseNormal(middle, ring)
                                            : cornerNormal(middle, ring, sector.isConcave);
    const Vector3D unit = unitOrZero(normal);
    return convert<float>(unit == Vector3D{0, 0, 0} ? unitOrZero(around) : unit);
}

bool LoopSubdivision::moveToLimit(bool movesPoints, Array<Vector3F>* normals, Array<Index3>* normalTriples)
{
    Array<Vector3D> next;
    if (!refinePoints(next)) return false;
    const uint32 count = _points.size();
    uint32 furtherCount = 0;
    for (const Sector& sector : _sectors) furtherCount += sector.isFirst ? 0 : 1;
    if (normals) normals->assign(count + furtherCount, Vector3F{0, 0, 1});
    // what lies in the limit of the next level's points, whose places are in the limit of these
    const auto limitOfSmooth = [&](uint32 p, Ring& ring)
    {
        if (!isSmooth(p) || _starts[p] == noIndex) return;
        collectRing(_starts[p], true, next, ring);
        if (normals)
        {
            const Vector3D unit = unitOrZero(closedNormal(ring));
            (*normals)[p] = convert<float>(
                unit == Vector3D{0, 0, 0} ? unitOrZero(areaNormal(next[p], ring, true)) : unit);
        }
        Vector3D sum{0, 0, 0};
        for (const Vector3D& at : ring) sum += at;
        const auto valence = static_cast<uint32>(ring.size());
        const double own = 3 / (8 * neighbourWeight(valence));
        if (movesPoints) _points[p] = (next[p] * own + sum) / (own + valence);
    };
    const bool isDone = inPieces(_polling, count, scatteredItems, _threadCount,
                                 [&](uint32, uint64 begin, uint64 end)
                                 {
                                     Ring ring;
                                     for (auto p = static_cast<uint32>(begin); p < end; ++p)
                                         limitOfSmooth(p, ring);
                                 });
    if (!isDone) return false;
    Ring ring;
    uint32 further = count;
    for (const Sector& sector : _sectors)
    {
        const uint32 p = _faces.startOf(sector.start);
        collectRing(sector.start, sector.isClosed, next, ring);
        if (normals) (*normals)[sector.isFirst ? p : further++] = sectorNormal(sector, next[p], ring);
        if (movesPoints && sector.isFirst && _kinds[p] == LoopPoint::Crease)
            _points[p] = next[p] * (2.0 / 3) + (ring.front() + ring.back()) * (1.0 / 6);
    }
    if (normalTriples) nameNormals(count, *normalTriples);
    return _polling.goOn();
}

void LoopSubdivision::nameNormals(uint32 first, Array<Index3>& normalTriples) const
{
    normalTriples = _faces.faces();
    for (const Sector& sector : _sectors)
    {
        if (sector.isFirst) continue;
        uint32 h = sector.start;
        for (uint32 n = 0; n < sector.faceCount; ++n, h = _faces.turned(h))
            normalTriples[h / 3][h % 3] = first;
        ++first;
    }
}

}  // namespace tavrix::detail
