#include <tavrix/meshproc/detail/HalfEdgeMesh.h>

#include <algorithm>
#include <array>

namespace tavrix::detail
{

HalfEdgeMesh::HalfEdgeMesh(const Array<Vector3D>& points, const RefinedFaces& faces,
                           const std::vector<bool>& isFeature, double bend, Polling& polling)
    : _twins(3 * faces.faces().size()), _edgeKinds(3 * faces.faces().size())
{
    Array<uint8> uses(faces.edges().size(), uint8{0});
    for (const uint32 h : PolledNumbers(_twins.size(), scatteredItems, polling))
    {
        uint8& count = uses[faces.edgeNumber(h)];
        count = static_cast<uint8>(std::min<uint32>(count + 1u, 2));
        _twins[h] = faces.twinOf(h);
    }
    for (const uint32 h : PolledNumbers(_twins.size(), scatteredItems, polling))
    {
        const uint32 e = faces.edgeNumber(h);
        _edgeKinds[h] = _twins[h] == noIndex && uses[e] > 1    ? EdgeKind::Locked
                        : _twins[h] == noIndex || isFeature[e] ? EdgeKind::Feature
                                                               : EdgeKind::Smooth;
    }
    makeVertices(points, faces, polling);
    if (!polling.isStopped()) findKinds(bend, polling);
}

/// A vertex for each fan.
void HalfEdgeMesh::makeVertices(const Array<Vector3D>& points, const RefinedFaces& faces, Polling& polling)
{
    _starts.assign(_twins.size(), noIndex);
    Array<uint32> firstOf(points.size(), noIndex);
    for (const uint32 h : PolledNumbers(_starts.size(), scatteredItems, polling))
    {
        if (_starts[h] != noIndex) continue;
        const uint32 point = faces.startOf(h), vertex = places.size();
        places.push_back(points[point]);
        sources.push_back(point);
        const bool isKnown = firstOf[point] != noIndex;
        kinds.push_back(isKnown || !isFinite(points[point]) ? PointKind::Fixed : PointKind::Free);
        if (isKnown)
            kinds[firstOf[point]] = PointKind::Fixed;
        else
            firstOf[point] = vertex;
        uint32 first = h;
        while (_twins[first] != noIndex)
        {
            first = next(_twins[first]);
            if (first == h) break;
        }
        _outs.push_back(first);
        uint32 valence = 0, out = first;
        do {
            _starts[out] = vertex;
            ++valence;
            if (_twins[previous(out)] == noIndex) ++valence;
            out = _twins[previous(out)];
        } while (out != noIndex && out != first);
        _valences.push_back(valence);
    }
    _marks.assign(places.size(), 0u);
}

void HalfEdgeMesh::findKinds(double bend, Polling& polling)
{
    for (const uint32 v : PolledNumbers(places.size(), scatteredItems, polling))
    {
        uint32 count = 0;
        std::array<Vector3D, 2> ways{};
        bool isLocked = false;
        forEachNeighbour(v,
                         [&](uint32 other, EdgeKind kind)
                         {
                             if (kind == EdgeKind::Smooth) return;
                             isLocked |= kind == EdgeKind::Locked;
                             if (count < 2) ways[count] = unitOrZero(places[other] - places[v]);
                             ++count;
                         });
        if (count == 0 || kinds[v] == PointKind::Fixed) continue;
        const bool isCurve = count == 2 && !isLocked && -dot(ways[0], ways[1]) >= bend;
        kinds[v] = isCurve ? PointKind::Curve : PointKind::Fixed;
    }
}

/// Makes two half-edges, of which one may be none, each other's twins.
void HalfEdgeMesh::pair(uint32 g, uint32 h)
{
    if (g != noIndex) _twins[g] = h;
    if (h != noIndex) _twins[h] = g;
}

void HalfEdgeMesh::copy(uint32 slot, uint32 start, uint32 twin, EdgeKind kind)
{
    _starts[slot] = start;
    _edgeKinds[slot] = kind;
    pair(slot, twin);
}

uint32 HalfEdgeMesh::addFace(uint32 a, uint32 b, uint32 c)
{
    const uint32 h = _starts.size();
    for (const uint32 v : {a, b, c})
    {
        _starts.push_back(v);
        _twins.push_back(noIndex);
        _edgeKinds.push_back(EdgeKind::Smooth);
    }
    return h;
}

/// Ends the half-edge in the middle; its second half and the rest of the face become another one.
void HalfEdgeMesh::cutCorner(uint32 h, uint32 middle, uint32 half)
{
    const uint32 end = endOf(h), top = _starts[previous(h)], rest = next(h);
    _edgeKinds[half] = _edgeKinds[h];
    copy(half + 1, end, _twins[rest], _edgeKinds[rest]);
    copy(rest, middle, half + 2, EdgeKind::Smooth);
    if (_outs[end] == rest) _outs[end] = half + 1;
    ++_valences[top];
}

void HalfEdgeMesh::split(uint32 h, const Vector3D& place)
{
    const uint32 a = _starts[h], b = endOf(h), t = _twins[h], middle = places.size();
    const bool isSmooth = _edgeKinds[h] == EdgeKind::Smooth;
    places.push_back(place);
    kinds.push_back(isSmooth ? PointKind::Free : PointKind::Curve);
    sources.push_back(noIndex);
    _marks.push_back(0);
    _valences.push_back(t == noIndex ? 3 : 4);
    const uint32 half = addFace(middle, b, _starts[previous(h)]);
    _outs.push_back(half);
    cutCorner(h, middle, half);
    if (t == noIndex) return;
    const uint32 otherHalf = addFace(middle, a, _starts[previous(t)]);
    cutCorner(t, middle, otherHalf);
    pair(h, otherHalf);
    pair(t, half);
}

bool HalfEdgeMesh::canCollapse(uint32 h)
{
    const uint32 a = _starts[h], b = endOf(h), t = _twins[h];
    const bool isAlong = _edgeKinds[h] == EdgeKind::Feature;
    if (kinds[a] == PointKind::Fixed || (kinds[a] == PointKind::Curve && !isAlong)) return false;
    if (isBorder(a) && isBorder(b) && t != noIndex) return false;
    for (const uint32 side : {h, t})
    {
        if (side == noIndex) continue;
        const uint32 top = _starts[previous(side)];
        // the edges that become one: between faces, and not both features
        if (_twins[next(side)] == noIndex && _twins[previous(side)] == noIndex) return false;
        if (_edgeKinds[next(side)] != EdgeKind::Smooth && _edgeKinds[previous(side)] != EdgeKind::Smooth)
            return false;
        if (_valences[top] <= 3 && !isBorder(top)) return false;
    }
    ++_mark;
    forEachNeighbour(a, [&](uint32 v, EdgeKind) { _marks[v] = _mark; });
    uint32 common = 0;
    forEachNeighbour(b, [&](uint32 v, EdgeKind) { common += _marks[v] == _mark ? 1 : 0; });
    return common == (t == noIndex ? 1u : 2u);
}

/// Takes a face out, and joins the edges behind and before the half-edge that goes.
void HalfEdgeMesh::closeGap(uint32 h)
{
    const uint32 after = next(h), before = previous(h), top = _starts[before];
    const uint32 x = _twins[after], y = _twins[before];
    const EdgeKind kind = std::max(_edgeKinds[after], _edgeKinds[before]);
    pair(x, y);
    for (const uint32 side : {x, y})
        if (side != noIndex) _edgeKinds[side] = kind;
    for (const uint32 gone : {h, after, before}) _starts[gone] = noIndex;
    --_valences[top];
    begin(top, x != noIndex ? x : next(y));
}

/// Lets a vertex know a half-edge of its own, the first at a border.
void HalfEdgeMesh::begin(uint32 vertex, uint32 h)
{
    uint32 first = h;
    while (_twins[first] != noIndex)
    {
        first = next(_twins[first]);
        if (first == h) break;
    }
    _outs[vertex] = first;
}

void HalfEdgeMesh::collapse(uint32 h, const Vector3D& place)
{
    const uint32 a = _starts[h], b = endOf(h), t = _twins[h];
    _valences[b] += _valences[a] - (t == noIndex ? 3 : 4);
    uint32 kept = noIndex;
    for (const uint32 side : {h, t})
        if (side != noIndex)
            for (const uint32 outer : {_twins[next(side)], _twins[previous(side)]})
                if (outer != noIndex && kept == noIndex) kept = outer;
    forEachOut(a, [&](uint32 out) { _starts[out] = b; });
    closeGap(h);
    if (t != noIndex) closeGap(t);
    begin(b, _starts[kept] == b ? kept : next(kept));
    _outs[a] = noIndex;
    _valences[a] = 0;
    kinds[b] = std::max(kinds[a], kinds[b]);
    places[b] = place;
}

bool HalfEdgeMesh::canFlip(uint32 h) const
{
    const uint32 t = _twins[h];
    if (t == noIndex || _edgeKinds[h] != EdgeKind::Smooth) return false;
    const uint32 a = _starts[h], b = _starts[t], c = _starts[previous(h)], d = _starts[previous(t)];
    if (_valences[a] <= 3 || _valences[b] <= 3 || c == d) return false;
    bool isJoined = false;
    forEachNeighbour(c, [&](uint32 v, EdgeKind) { isJoined |= v == d; });
    return !isJoined;
}

void HalfEdgeMesh::flip(uint32 h)
{
    const uint32 t = _twins[h], hn = next(h), hp = previous(h), tn = next(t), tp = previous(t);
    struct Side
    {
        uint32 start, twin;
        EdgeKind kind;
    };
    const auto sideOf = [&](uint32 side) { return Side{_starts[side], _twins[side], _edgeKinds[side]}; };
    const Side fromB = sideOf(hn), fromC = sideOf(hp), fromA = sideOf(tn), fromD = sideOf(tp);
    const auto follow = [&](const Side& side, uint32 former, uint32 alsoFormer, uint32 slot)
    {
        copy(slot, side.start, side.twin, side.kind);
        uint32& out = _outs[side.start];
        if (out == former || out == alsoFormer) out = slot;
    };
    _starts[h] = fromD.start;
    _starts[t] = fromC.start;
    follow(fromC, hp, hp, hn);
    follow(fromA, h, tn, hp);
    follow(fromD, tp, tp, tn);
    follow(fromB, t, hn, tp);
    --_valences[fromA.start];
    --_valences[fromB.start];
    ++_valences[fromC.start];
    ++_valences[fromD.start];
}

}  // namespace tavrix::detail
