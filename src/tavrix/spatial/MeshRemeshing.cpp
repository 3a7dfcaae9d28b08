#include <tavrix/spatial/MeshRemeshing.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/detail/HalfEdgeMesh.h>
#include <tavrix/meshproc/detail/SeamPoints.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

using detail::EdgeKind;
using detail::HalfEdgeMesh;
using detail::PointKind;
using detail::PolledNumbers;
using detail::Polling;
using detail::RefinedFaces;
using detail::scatteredItems;

/// The area of a triangle as a vector along its normal, twice.
Vector3D areaVector(const Vector3D& a, const Vector3D& b, const Vector3D& c) { return cross(b - a, c - a); }

/// One call. Steps return false when stopped; the mesh is touched by the last one alone.
class Remeshing
{
public:
    Remeshing(Mesh& mesh, const RemeshingSettings& settings, CancelCallback callback)
        : _mesh(mesh),
          _settings(settings),
          _callback(callback),
          _polling(callback),
          _bend(sineCosine(std::clamp(settings.sharpAngle, 0.0, piValue)).second)
    {
    }

    bool run(RemeshingReport& report)
    {
        if (!findPoints() || !createColliders()) return false;
        for (uint32 round = 0; round < _settings.rounds; ++round)
            if (!split() || !collapse() || !flip() || !move()) return false;
        if (!gather() || !measure(report)) return false;
        report.faces = _made.getFacesSize();
        return handOver();
    }

private:
    double squareOf(uint32 h) const
    {
        const Vector3D way = _net->places[_net->endOf(h)] - _net->places[_net->startOf(h)];
        return dot(way, way);
    }
    double longest() const { return _settings.edge * 4 / 3; }
    double shortest() const { return _settings.edge * 4 / 5; }

    /// Vertices along seams are one point.
    bool findPoints()
    {
        const Array<uint32> pointOf = detail::findSeamPoints(_mesh.pos(), _mesh.trindexPos(), _polling);
        if (_polling.isStopped()) return false;
        for (uint32 v = 0; v < pointOf.size(); ++v)
            if (pointOf[v] == _given.getPosSize()) _given.refPos().push_back(Vector3D(_mesh.pos()[v]));
        Array<Index3>& faces = _given.refTrindexPos();
        for (const uint32 f : PolledNumbers(_mesh.getFacesSize(), scatteredItems, _polling))
        {
            const Index3& t = _mesh.trindexPos()[f];
            const Index3 face{pointOf[t.a], pointOf[t.b], pointOf[t.c]};
            if (face.a != face.b && face.b != face.c && face.c != face.a) faces.push_back(face);
        }
        if (!_polling.goOn()) return false;
        const RefinedFaces refined(faces, _given.getPosSize(), _polling);
        if (_polling.isStopped()) return false;
        _net.emplace(_given.pos(), refined, sharpEdges(refined), _bend, _polling);
        return !_polling.isStopped();
    }

    std::vector<bool> sharpEdges(const RefinedFaces& faces) const
    {
        std::vector<bool> areSharp(faces.edges().size(), false);
        const auto normalOf = [&](uint32 h)
        {
            const Index3& t = faces.faces()[h / 3];
            return unitOrZero(areaVector(_given.pos()[t.a], _given.pos()[t.b], _given.pos()[t.c]));
        };
        for (uint32 e = 0; e < areSharp.size(); ++e)
        {
            const detail::FaceEdge& edge = faces.edges()[e];
            if (edge.second == noIndex) continue;
            const Vector3D m = normalOf(edge.first), n = normalOf(edge.second);
            const bool haveNormals = !(m == Vector3D{0, 0, 0}) && !(n == Vector3D{0, 0, 0});
            areSharp[e] = haveNormals && dot(m, n) < _bend;
        }
        return areSharp;
    }

    /// One of the surface, and one of its curves, whose segments are faces without an area.
    bool createColliders()
    {
        Mesh curves;
        curves.refPos() = _given.pos();
        for (const uint32 h : PolledNumbers(_net->halfEdgeCount(), scatteredItems, _polling))
        {
            const uint32 twin = _net->twinOf(h);
            if (_net->kindOf(h) != EdgeKind::Feature || (twin != noIndex && twin < h)) continue;
            const uint32 a = _net->sources[_net->startOf(h)], b = _net->sources[_net->endOf(h)];
            curves.refTrindexPos().push_back({a, b, b});
        }
        return _polling.goOn() && _surface.create(_given, _settings.threadCount, _callback) &&
               _curves.create(curves, _settings.threadCount, _callback);
    }

    /// By falling lengths, a tenth at a time: what a split adds within its faces is shorter then.
    bool split()
    {
        const double limit = longest() * longest();
        double square = largestSquare();
        while (square > limit && !_polling.isStopped())
        {
            square = std::max(0.81 * square, limit);
            splitAbove(square);
        }
        return _polling.goOn();
    }

    double largestSquare() const
    {
        double largest = 0;
        for (uint32 h = 0; h < _net->halfEdgeCount(); ++h)
            if (isSplittable(h) && std::isfinite(squareOf(h))) largest = std::max(largest, squareOf(h));
        return largest;
    }

    bool isSplittable(uint32 h) const { return _net->isThere(h) && _net->kindOf(h) != EdgeKind::Locked; }

    void splitAbove(double limit)
    {
        for (const uint32 h : PolledNumbers(_net->halfEdgeCount(), scatteredItems, _polling))
        {
            if (!isSplittable(h)) continue;
            const double square = squareOf(h);
            const Vector3D &a = _net->places[_net->startOf(h)], &b = _net->places[_net->endOf(h)];
            const Vector3D middle = a * 0.5 + b * 0.5;
            if (square > limit && std::isfinite(square) && !(middle == a) && !(middle == b))
                _net->split(h, middle);
        }
    }

    bool collapse()
    {
        const double limit = shortest() * shortest();
        for (const uint32 h : PolledNumbers(_net->halfEdgeCount(), scatteredItems, _polling))
            if (_net->isThere(h) && squareOf(h) < limit) collapseEdge(h);
        return _polling.goOn();
    }

    void collapseEdge(uint32 h)
    {
        const uint32 a = _net->startOf(h), b = _net->endOf(h);
        if (!_net->canCollapse(h)) return;
        const bool areAlike = _net->kinds[a] == _net->kinds[b];
        const Vector3D middle = (_net->places[a] + _net->places[b]) * 0.5;
        if (areAlike && mayMeetAt(h, middle))
            _net->collapse(h, middle);
        else if (mayMeetAt(h, _net->places[b]))
            _net->collapse(h, Vector3D(_net->places[b]));
    }

    /// Whether no edge becomes long, and no face turns, when the ends of an edge meet there.
    bool mayMeetAt(uint32 h, const Vector3D& place) const
    {
        const uint32 ends[2] = {_net->startOf(h), _net->endOf(h)};
        const double limit = longest() * longest();
        bool may = true;
        for (uint32 n = 0; n < 2; ++n)
            _net->forEachOut(ends[n],
                             [&](uint32 out)
                             {
                                 const uint32 next = _net->endOf(out);
                                 const uint32 last = _net->startOf(HalfEdgeMesh::previous(out));
                                 if (next == ends[1 - n] || last == ends[1 - n]) return;
                                 const Vector3D& p = _net->places[next];
                                 may = may && dot(p - place, p - place) <= limit &&
                                       keepsSide(ends[n], p, _net->places[last], place);
                             });
        return may;
    }

    /// Whether a face with these other corners looks about where it did when a vertex moves.
    bool keepsSide(uint32 vertex, const Vector3D& p, const Vector3D& q, const Vector3D& place) const
    {
        constexpr double leastCosine = 0.5;
        const Vector3D before = areaVector(_net->places[vertex], p, q), after = areaVector(place, p, q);
        return dot(before, after) >= leastCosine * length(before) * length(after) &&
               (dot(after, after) > 0 || dot(before, before) == 0);
    }

    bool flip()
    {
        for (const uint32 h : PolledNumbers(_net->halfEdgeCount(), scatteredItems, _polling))
            if (_net->isThere(h) && h < _net->twinOf(h) && _net->canFlip(h) && flipHelps(h)) _net->flip(h);
        return _polling.goOn();
    }

    /// How far the valence of a vertex is from what it should be, as a square.
    double excess(uint32 vertex, int32 more) const
    {
        const int32 best = _net->isBorder(vertex) ? 4 : 6;
        const int32 off = static_cast<int32>(_net->valenceOf(vertex)) + more - best;
        return static_cast<double>(off) * off;
    }

    bool flipHelps(uint32 h) const
    {
        const uint32 t = _net->twinOf(h), a = _net->startOf(h), b = _net->startOf(t);
        const uint32 c = _net->startOf(HalfEdgeMesh::previous(h));
        const uint32 d = _net->startOf(HalfEdgeMesh::previous(t));
        const double before = excess(a, 0) + excess(b, 0) + excess(c, 0) + excess(d, 0);
        const double after = excess(a, -1) + excess(b, -1) + excess(c, 1) + excess(d, 1);
        if (after >= before) return false;
        constexpr double leastCosine = 0.7;
        const Vector3D &pa = _net->places[a], &pb = _net->places[b], &pc = _net->places[c],
                       &pd = _net->places[d];
        const Vector3D normal = unitOrZero(areaVector(pa, pb, pc) + areaVector(pb, pa, pd));
        const Vector3D m = areaVector(pa, pd, pc), n = areaVector(pb, pc, pd);
        return dot(m, normal) > leastCosine * length(m) && dot(n, normal) > leastCosine * length(n);
    }

    /// Moves vertices towards the middle of their neighbours, and onto the surface or their curve.
    bool move()
    {
        Array<Vector3D> goals(_net->vertexCount());
        const bool areFound = detail::inPieces(_polling, goals.size(), scatteredItems, _settings.threadCount,
                                               [&](uint32, uint64 begin, uint64 end)
                                               {
                                                   for (auto v = static_cast<uint32>(begin); v < end; ++v)
                                                       goals[v] = goalOf(v);
                                               });
        return areFound && project(PointKind::Free, _surface, goals) &&
               project(PointKind::Curve, _curves, goals) && take(goals);
    }

    bool isMoving(uint32 v, PointKind kind) const { return _net->kinds[v] == kind && _net->valenceOf(v) > 0; }

    Vector3D goalOf(uint32 v) const
    {
        const Vector3D& place = _net->places[v];
        if (_net->kinds[v] == PointKind::Fixed || _net->valenceOf(v) == 0) return place;
        const bool isOnCurve = _net->kinds[v] == PointKind::Curve;
        Vector3D sum{0, 0, 0}, normal{0, 0, 0};
        uint32 count = 0;
        _net->forEachNeighbour(v,
                               [&](uint32 other, EdgeKind kind)
                               {
                                   if (isOnCurve && kind == EdgeKind::Smooth) return;
                                   sum += _net->places[other];
                                   ++count;
                               });
        const Vector3D way = sum / count - place;
        if (isOnCurve) return place + way;
        _net->forEachOut(v,
                         [&](uint32 h)
                         {
                             normal += areaVector(place, _net->places[_net->endOf(h)],
                                                  _net->places[_net->startOf(HalfEdgeMesh::previous(h))]);
                         });
        const Vector3D unit = unitOrZero(normal);
        return place + way - unit * dot(way, unit);
    }

    bool project(PointKind kind, const MeshCollider& collider, Array<Vector3D>& goals)
    {
        Array<Vector3D> asked;
        Array<uint32> vertices;
        for (const uint32 v : PolledNumbers(goals.size(), scatteredItems, _polling))
            if (isMoving(v, kind))
            {
                asked.push_back(Vector3D(goals[v]));
                vertices.push_back(v);
            }
        Array<MeshPoint> nearest;
        if (!_polling.goOn() || !collider.nearestPoints({asked.data(), asked.size()}, nearest,
                                                        std::numeric_limits<double>::infinity(),
                                                        _settings.threadCount, _callback))
            return false;
        for (uint32 n = 0; n < vertices.size(); ++n)
            if (nearest[n].face != noIndex) goals[vertices[n]] = nearest[n].position;
        return true;
    }

    /// One after the other, where no face turns.
    bool take(const Array<Vector3D>& goals)
    {
        for (const uint32 v : PolledNumbers(goals.size(), scatteredItems, _polling))
        {
            if (_net->kinds[v] == PointKind::Fixed || _net->valenceOf(v) == 0) continue;
            bool may = true;
            _net->forEachOut(
                v,
                [&](uint32 h)
                {
                    may = may && keepsSide(v, _net->places[_net->endOf(h)],
                                           _net->places[_net->startOf(HalfEdgeMesh::previous(h))], goals[v]);
                });
            if (may) _net->places[v] = goals[v];
        }
        return _polling.goOn();
    }

    /// Faces in the order of their half-edges; vertices in the order in which the faces use them, those that
    /// were one point as one.
    bool gather()
    {
        Array<uint32> numbers(_net->vertexCount(), noIndex), ofPoint(_given.getPosSize(), noIndex);
        for (const uint32 h : PolledNumbers(_net->halfEdgeCount(), scatteredItems, _polling))
        {
            if (!_net->isThere(h)) continue;
            const uint32 v = _net->startOf(h), point = _net->sources[v];
            if (numbers[v] == noIndex)
            {
                const bool isJoined = _net->kinds[v] == PointKind::Fixed && point != noIndex;
                uint32& number = isJoined ? ofPoint[point] : numbers[v];
                if (number == noIndex)
                {
                    number = _made.getPosSize();
                    _made.refPos().push_back(Vector3D(_net->places[v]));
                }
                numbers[v] = number;
            }
            if (h % 3 == 0) _made.refTrindexPos().push_back({noIndex, noIndex, noIndex});
            _made.refTrindexPos()[_made.getFacesSize() - 1][h % 3] = numbers[v];
        }
        return _polling.goOn();
    }

    /// How far the new faces' middles lie from the given surface.
    bool measure(RemeshingReport& report)
    {
        Array<Vector3D> middles(_made.getFacesSize());
        for (const uint32 f : PolledNumbers(middles.size(), scatteredItems, _polling))
        {
            const Index3& t = _made.trindexPos()[f];
            middles[f] = (_made.pos()[t.a] + _made.pos()[t.b] + _made.pos()[t.c]) / 3;
        }
        Array<MeshPoint> nearest;
        if (!_surface.nearestPoints({middles.data(), middles.size()}, nearest,
                                    std::numeric_limits<double>::infinity(), _settings.threadCount,
                                    _callback))
            return false;
        for (const MeshPoint& point : nearest)
            if (point.face != noIndex) report.distance = std::max(report.distance, point.distance);
        return true;
    }

    bool handOver()
    {
        const bool hasNormals = !_mesh.nor().empty(), hasFaceNormals = !_mesh.faceNor().empty();
        if (hasNormals && !_made.createNormals(_settings.sharpAngle, _settings.threadCount, _callback))
            return false;
        if (hasFaceNormals && !hasNormals) _made.recalculateFaceNormals();
        _made.setName(_mesh.getName());
        _made.setId(_mesh.getId());
        _mesh.reincarnate(_made);
        return true;
    }

    Mesh& _mesh;
    const RemeshingSettings& _settings;
    const CancelCallback _callback;
    Polling _polling;
    const double _bend;
    Mesh _given, _made;
    MeshCollider _surface, _curves;
    std::optional<HalfEdgeMesh> _net;
};

}  // namespace

RemeshingReport remeshIsotropically(Mesh& mesh, const RemeshingSettings& settings, CancelCallback callback)
{
    RemeshingReport report;
    report.faces = mesh.getFacesSize();
    if (!hasValidIndices(mesh))
        report.status = RemeshingStatus::BadIndices;
    else if (!(settings.edge > 0) || !std::isfinite(settings.edge))
        report.status = RemeshingStatus::BadEdge;
    else if (MeshTessellator::leastFaces(mesh, settings.edge * 4 / 3) > 0.25 * MeshTessellator::mostFaces)
        report.status = RemeshingStatus::TooLarge;
    else if (report.faces > 0 && !Remeshing(mesh, settings, callback).run(report))
        report = {RemeshingStatus::Stopped, mesh.getFacesSize(), 0};
    return report;
}

}  // namespace tavrix
