#include <tavrix/meshproc/HoleFilling.h>

#include <algorithm>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshproc/detail/NewMesh.h>
#include <tavrix/meshproc/detail/RefinedFaces.h>
#include <tavrix/meshproc/detail/SeamPoints.h>

namespace tavrix
{

namespace
{

using detail::PolledNumbers;
using detail::Polling;
using detail::RefinedFaces;
using detail::scatteredItems;

/// How bad a triangulation is: first by its sharpest bend, then by its area.
struct Weight
{
    double bend;  ///< 0 where faces lie in one plane, to 2 where they lie on each other
    double area;

    bool operator<(const Weight& other) const
    {
        return bend < other.bend || (bend == other.bend && area < other.area);
    }
};

constexpr double infinite = std::numeric_limits<double>::infinity();

/// The border of a hole, so that faces along it look where those beside it do.
struct Hole
{
    std::vector<uint32> corners;    ///< of the faces around it, at the vertices
    std::vector<Vector3D> places;   ///< of these
    std::vector<Vector3D> normals;  ///< of the faces at the edges to the next ones
    std::vector<uint32> points;
};

using Edge = std::pair<uint32, uint32>;
Edge edgeOf(uint32 a, uint32 b) { return {std::min(a, b), std::max(a, b)}; }

/// The best triangulation of all pieces of a border, from shorter to longer ones.
class HoleTriangulation
{
public:
    HoleTriangulation(const Hole& hole, const std::set<Edge>& taken)
        : _hole(hole),
          _taken(taken),
          _count(static_cast<uint32>(hole.corners.size())),
          _best(std::size_t{_count} * _count, {0, 0}),
          _middles(_best.size(), noIndex)
    {
    }

    /// False when stopped, or when there is none.
    bool run(std::vector<Index3>& triangles, Polling& polling)
    {
        for (uint32 length = 2; length < _count; ++length)
        {
            if (!polling.goOn(length)) return false;
            for (uint32 i = 0; i + length < _count; ++i) weigh(i, i + length);
        }
        if (_middles[_count - 1] == noIndex) return false;
        std::vector<Edge> pieces{{0, _count - 1}};
        while (!pieces.empty())
        {
            const auto [i, k] = pieces.back();
            pieces.pop_back();
            if (k - i < 2) continue;
            const uint32 m = _middles[at(i, k)];
            triangles.push_back({i, m, k});
            pieces.emplace_back(i, m);
            pieces.emplace_back(m, k);
        }
        return true;
    }

private:
    std::size_t at(uint32 i, uint32 k) const { return std::size_t{i} * _count + k; }

    Vector3D areaOf(uint32 i, uint32 m, uint32 k) const
    {
        return cross(_hole.places[m] - _hole.places[i], _hole.places[k] - _hole.places[i]);
    }

    /// The normal beyond the edge of a piece, of a face around the hole or of the piece's own.
    Vector3D normalBeyond(uint32 i, uint32 k) const
    {
        if (k == i + 1) return _hole.normals[i];
        return unitOrZero(areaOf(i, _middles[at(i, k)], k));
    }

    bool isOpen(uint32 i, uint32 k) const { return k > i + 1 && _middles[at(i, k)] == noIndex; }

    void weigh(uint32 i, uint32 k)
    {
        Weight& best = _best[at(i, k)];
        best = {infinite, infinite};
        const bool isWhole = i == 0 && k == _count - 1;
        if (!isWhole &&
            (_hole.points[i] == _hole.points[k] || _taken.contains(edgeOf(_hole.points[i], _hole.points[k]))))
            return;
        for (uint32 m = i + 1; m < k; ++m)
        {
            if (isOpen(i, m) || isOpen(m, k)) continue;
            const Vector3D area = areaOf(i, m, k), normal = unitOrZero(area);
            const Weight &left = _best[at(i, m)], &right = _best[at(m, k)];
            double bend = std::max({left.bend, right.bend, 1 - dot(normal, normalBeyond(i, m)),
                                    1 - dot(normal, normalBeyond(m, k))});
            if (isWhole) bend = std::max(bend, 1 - dot(normal, _hole.normals[k]));
            const Weight weight{bend, left.area + right.area + length(area) / 2};
            if (!(weight < best)) continue;
            best = weight;
            _middles[at(i, k)] = m;
        }
    }

    const Hole& _hole;
    const std::set<Edge>& _taken;
    const uint32 _count;
    std::vector<Weight> _best;
    std::vector<uint32> _middles;
};

/// One call. Steps return false when stopped; the mesh is touched by the last one alone.
class HoleFilling
{
public:
    HoleFilling(Mesh& mesh, uint32 mostEdges, CancelCallback callback)
        : _mesh(mesh), _mostEdges(mostEdges), _polling(callback), _arrays(mesh)
    {
    }

    bool run(HoleFillingReport& report)
    {
        const Array<uint32> pointOf = detail::findSeamPoints(_mesh.pos(), _mesh.trindexPos(), _polling);
        Array<Index3> faces;
        for (const uint32 f : PolledNumbers(_mesh.getFacesSize(), scatteredItems, _polling))
        {
            const Index3& t = _mesh.trindexPos()[f];
            const Index3 face{pointOf[t.a], pointOf[t.b], pointOf[t.c]};
            if (face.a == face.b || face.b == face.c || face.c == face.a) continue;
            faces.push_back(face);
            _sources.push_back(f);
        }
        if (!_polling.goOn()) return false;
        const RefinedFaces net(std::move(faces), _mesh.getPosSize(), _polling);
        if (_polling.isStopped() || !findHoles(net, report)) return false;
        for (const Hole& hole : _holes)
            if (!fill(hole, report)) return false;
        return report.holesFilled == 0 || handOver();
    }

private:
    /// Walks along the borders; collects the edges between points on them, too.
    bool findHoles(const RefinedFaces& net, HoleFillingReport& report)
    {
        const uint32 count = 3 * net.faces().size();
        Array<uint8> uses(net.edges().size(), uint8{0});
        for (const Index3& edges : net.edgeNumbers())
            for (uint32 c = 0; c < 3; ++c) uses[edges[c]] = static_cast<uint8>(uses[edges[c]] == 0 ? 1 : 2);
        const auto isBorder = [&](uint32 h) { return uses[net.edgeNumber(h)] == 1; };
        std::vector<bool> isWalked(count, false), isOnBorder(_mesh.getPosSize(), false);
        Array<uint32> placeInPath(_mesh.getPosSize(), noIndex);
        for (const uint32 start : PolledNumbers(count, scatteredItems, _polling))
        {
            if (!isBorder(start) || isWalked[start]) continue;
            std::vector<uint32> path;
            // a border that comes back to a point has closed a hole there, and goes on with another one
            const auto cutOff = [&](std::size_t from, bool isClosed)
            {
                const std::vector<uint32> border(path.begin() + static_cast<std::ptrdiff_t>(from),
                                                 path.end());
                for (const uint32 h : border) placeInPath[net.startOf(h)] = noIndex;
                path.resize(from);
                if (isClosed && border.size() >= 3 && border.size() <= _mostEdges)
                    addHole(net, border);
                else if (!border.empty())
                    leave(static_cast<uint32>(border.size()), report);
            };
            uint32 h = start;
            while (isBorder(h) && !isWalked[h])
            {
                const uint32 point = net.startOf(h);
                if (placeInPath[point] != noIndex) cutOff(placeInPath[point], true);
                placeInPath[point] = static_cast<uint32>(path.size());
                isWalked[h] = isOnBorder[point] = true;
                path.push_back(h);
                // the next one turns around the end, through the faces there
                for (h = RefinedFaces::next(h); net.twinOf(h) != noIndex;)
                    h = RefinedFaces::next(net.twinOf(h));
            }
            cutOff(0, !path.empty() && isBorder(h) && net.startOf(h) == net.startOf(path.front()));
        }
        for (const detail::FaceEdge& edge : net.edges())
            if (isOnBorder[edge.a] && isOnBorder[edge.b]) _taken.insert(edgeOf(edge.a, edge.b));
        return _polling.goOn();
    }

    static void leave(uint32 edges, HoleFillingReport& report)
    {
        ++report.holesLeft;
        report.edgesOfLongest = std::max(report.edgesOfLongest, edges);
    }

    /// Turned around: the hole's own faces run along it the other way.
    void addHole(const RefinedFaces& net, const std::vector<uint32>& border)
    {
        Hole hole;
        const std::size_t count = border.size();
        for (std::size_t n = 0; n < count; ++n)
        {
            const uint32 h = border[count - 1 - n], behind = border[(2 * count - 2 - n) % count];
            const uint32 corner = 3 * _sources[h / 3] + h % 3;
            hole.corners.push_back(corner);
            hole.points.push_back(net.startOf(h));
            hole.places.push_back(_mesh.pos()[_mesh.trindexPos()[corner / 3][corner % 3]]);
            const Index3& t = _mesh.trindexPos()[_sources[behind / 3]];
            const Vector3D &a = _mesh.pos()[t.a], &b = _mesh.pos()[t.b], &c = _mesh.pos()[t.c];
            hole.normals.push_back(unitOrZero(cross(b - a, c - a)));
        }
        _holes.push_back(std::move(hole));
    }

    bool fill(const Hole& hole, HoleFillingReport& report)
    {
        std::vector<Index3> triangles;
        if (!HoleTriangulation(hole, _taken).run(triangles, _polling))
        {
            leave(static_cast<uint32>(hole.corners.size()), report);
            return !_polling.isStopped();
        }
        for (const Index3& t : triangles)
        {
            for (uint32 c = 0; c < 3; ++c)
                _taken.insert(edgeOf(hole.points[t[c]], hole.points[t[(c + 1) % 3]]));
            _added.push_back({hole.corners[t.a], hole.corners[t.b], hole.corners[t.c]});
        }
        ++report.holesFilled;
        report.facesAdded += static_cast<uint32>(triangles.size());
        return true;
    }

    bool handOver()
    {
        const bool hasTriples = _mesh.trindexNor().size() == _mesh.getFacesSize();
        detail::NewMesh made{_mesh.pos(), _mesh.trindexPos(), _mesh.nor(), _mesh.trindexNor()};
        Array<uint32> sources(_mesh.getFacesSize());
        for (uint32 f = 0; f < sources.size(); ++f) sources[f] = f;
        const auto named = [](const Array<Index3>& triples, uint32 corner)
        { return triples[corner / 3][corner % 3]; };
        for (const Index3& t : _added)
        {
            const Array<Index3>&faces = _mesh.trindexPos(), &normals = _mesh.trindexNor();
            made.faces.push_back({named(faces, t.a), named(faces, t.b), named(faces, t.c)});
            if (hasTriples)
                made.normalTriples.push_back({named(normals, t.a), named(normals, t.b), named(normals, t.c)});
            sources.push_back(t.a / 3);
        }
        if (!_arrays.addMiddles({}, sources, _polling)) return false;
        detail::handOver(_mesh, made, _arrays);
        return true;
    }

    Mesh& _mesh;
    const uint32 _mostEdges;
    Polling _polling;
    detail::VertexArrays _arrays;
    Array<uint32> _sources;  ///< of the faces that have edges
    std::vector<Hole> _holes;
    std::set<Edge> _taken;       ///< edges that may get no other face
    std::vector<Index3> _added;  ///< by corners of the mesh
};

}  // namespace

HoleFillingReport fillHoles(Mesh& mesh, uint32 mostEdges, CancelCallback callback)
{
    HoleFillingReport report;
    if (mesh.getFacesSize() > 0 && !HoleFilling(mesh, mostEdges, callback).run(report))
        report = {true, 0, 0, 0, 0};
    return report;
}

}  // namespace tavrix
