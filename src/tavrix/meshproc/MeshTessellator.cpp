#include <tavrix/meshproc/MeshTessellator.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/detail/EdgeSplitting.h>
#include <tavrix/meshproc/detail/LoopSubdivision.h>
#include <tavrix/meshproc/detail/NewMesh.h>
#include <tavrix/meshproc/detail/SeamPoints.h>

namespace tavrix
{

namespace
{

using detail::PolledNumbers;
using detail::Polling;
using detail::RefinedFaces;
using detail::scatteredItems;

bool hasEdges(const Index3& t) { return t.a != t.b && t.b != t.c && t.c != t.a; }

bool hasNormalsForCorners(const Mesh& mesh)
{
    const bool hasTriples = mesh.trindexNor().size() == mesh.getFacesSize();
    return !mesh.nor().empty() && (hasTriples || mesh.nor().size() >= mesh.getPosSize());
}

/// One call of subdivide. Steps return false when stopped; the mesh is touched by the last one alone.
class Subdivision
{
public:
    Subdivision(Mesh& mesh, const SubdivisionSettings& settings, uint32 threadCount, CancelCallback callback)
        : _mesh(mesh), _settings(settings), _threadCount(threadCount), _polling(callback), _arrays(mesh)
    {
    }

    bool run(TessellationReport& report)
    {
        if (!findPoints()) return false;
        RefinedFaces points(std::move(_pointFaces), _pointCount, _polling);
        std::optional<RefinedFaces> vertices;
        if (hasSeams()) vertices.emplace(std::move(_made.faces), _mesh.getPosSize(), _polling);
        if (_polling.isStopped()) return false;
        std::vector<bool> isCrease = findCreases(points, report.creaseEdges);
        const double bend = _settings.creaseAngle ? cosineOf(*_settings.creaseAngle) : -2;
        detail::LoopSubdivision surface(std::move(_points), std::move(points), std::move(isCrease), bend,
                                        _threadCount, _polling);
        for (uint32 level = 0; level < _settings.levels && !_polling.isStopped(); ++level)
            if (!refine(surface, vertices)) return false;
        if (_polling.isStopped() || !finish(surface, vertices)) return false;
        report.withoutEdges = _mesh.getFacesSize() - _faceCount;
        report.faces = _made.faces.size();
        detail::handOver(_mesh, _made, _arrays);
        return true;
    }

private:
    static double cosineOf(double angle) { return sineCosine(std::clamp(angle, 0.0, piValue)).second; }
    bool hasSeams() const { return _pointCount < _mesh.getPosSize(); }

    /// Vertices at one place that a seam has apart are one point; faces without edges are left out.
    bool findPoints()
    {
        _pointOf = detail::findSeamPoints(_mesh.pos(), _mesh.trindexPos(), _polling);
        if (_polling.isStopped()) return false;
        for (uint32 v = 0; v < _pointOf.size(); ++v)
            if (_pointOf[v] == _points.size()) _points.push_back(Vector3D(_mesh.pos()[v]));
        _pointCount = _points.size();
        for (const uint32 f : PolledNumbers(_mesh.getFacesSize(), scatteredItems, _polling))
        {
            const Index3 t = _mesh.trindexPos()[f], face{_pointOf[t.a], _pointOf[t.b], _pointOf[t.c]};
            if (!hasEdges(face)) continue;
            _pointFaces.push_back(face);
            _sources.push_back(f);
            if (hasSeams()) _made.faces.push_back(t);
        }
        _faceCount = _pointFaces.size();
        return _polling.goOn();
    }

    std::vector<bool> findCreases(const RefinedFaces& points, uint32& count) const
    {
        std::vector<bool> isCrease(points.edges().size(), false);
        if (_settings.creaseAngle) markAngles(points, isCrease);
        markListed(points, isCrease);
        for (uint32 e = 0; e < points.edges().size(); ++e)
            count += isCrease[e] && points.edges()[e].second != noIndex ? 1 : 0;
        return isCrease;
    }

    void markAngles(const RefinedFaces& points, std::vector<bool>& isCrease) const
    {
        Array<Wector3F> normals;
        Mesh::staticCalculateNormals(_points, points.faces(), normals);
        const double least = cosineOf(*_settings.creaseAngle);
        const auto normalOf = [&](uint32 halfEdge)
        {
            const Wector3F& n = normals[halfEdge / 3];
            return Vector3D{n.x, n.y, n.z};
        };
        for (uint32 e = 0; e < points.edges().size(); ++e)
        {
            const detail::FaceEdge& edge = points.edges()[e];
            if (edge.second == noIndex) continue;
            isCrease[e] = dot(normalOf(edge.first), normalOf(edge.second)) < least;
        }
    }

    void markListed(const RefinedFaces& points, std::vector<bool>& isCrease) const
    {
        const auto ordered = [](uint32 a, uint32 b) { return std::pair(std::min(a, b), std::max(a, b)); };
        std::vector<std::pair<uint32, uint32>> listed;
        for (const auto& [a, b] : _settings.creases)
            if (a < _pointOf.size() && b < _pointOf.size())
                listed.push_back(ordered(_pointOf[a], _pointOf[b]));
        if (listed.empty()) return;
        std::sort(listed.begin(), listed.end());
        for (uint32 e = 0; e < points.edges().size(); ++e)
            if (std::binary_search(listed.begin(), listed.end(),
                                   ordered(points.edges()[e].a, points.edges()[e].b)))
                isCrease[e] = true;
    }

    bool refine(detail::LoopSubdivision& surface, std::optional<RefinedFaces>& vertices)
    {
        const RefinedFaces& named = vertices ? *vertices : surface.faces();
        const uint32 pointCount = surface.faces().itemCount();
        if (vertices)
            for (const uint32 e : PolledNumbers(named.edges().size(), scatteredItems, _polling))
                _pointOf.push_back(pointCount + surface.faces().edgeNumber(named.edges()[e].first));
        if (!_arrays.empty())
            for (const detail::FaceEdge& edge : named.edges()) _ends.push_back({edge.a, edge.b});
        if (!surface.refine()) return false;
        return !vertices || vertices->refine(_threadCount, _polling);
    }

    bool finish(detail::LoopSubdivision& surface, const std::optional<RefinedFaces>& vertices)
    {
        const bool hasNormals = _settings.makesNormals || hasNormalsForCorners(_mesh);
        if ((_settings.toLimit || hasNormals) &&
            !surface.moveToLimit(_settings.toLimit, hasNormals ? &_made.normals : nullptr,
                                 hasNormals ? &_made.normalTriples : nullptr))
            return false;
        _made.faces = vertices ? vertices->faces() : surface.faces().faces();
        _made.positions = surface.points();
        if (vertices)
        {
            _made.positions.resize(_pointOf.size());
            for (const uint32 v : PolledNumbers(_pointOf.size(), scatteredItems, _polling))
                _made.positions[v] = surface.points()[_pointOf[v]];
        }
        Array<uint32> sources(_made.faces.size());
        for (const uint32 f : PolledNumbers(sources.size(), scatteredItems, _polling))
            sources[f] = _sources[f >> (2 * _settings.levels)];
        return _polling.goOn() && _arrays.addMiddles(_ends, sources, _polling);
    }

    Mesh& _mesh;
    const SubdivisionSettings& _settings;
    const uint32 _threadCount;
    Polling _polling;
    detail::VertexArrays _arrays;
    Array<uint32> _pointOf;  ///< of every vertex
    Array<Vector3D> _points;
    uint32 _pointCount = 0, _faceCount = 0;
    Array<Index3> _pointFaces;
    Array<uint32> _sources;               ///< of the faces that have edges
    Array<Tuple2<uint32, uint32>> _ends;  ///< of the vertices that are added, where they carry anything
    detail::NewMesh _made;
};

/// One call of splitEdges, likewise.
class Splitting
{
public:
    Splitting(Mesh& mesh, uint32 threadCount, CancelCallback callback)
        : _mesh(mesh), _threadCount(threadCount), _polling(callback), _arrays(mesh)
    {
    }

    bool run(double longest, TessellationReport& report)
    {
        const bool hasNormals = hasNormalsForCorners(_mesh);
        detail::EdgeSplitting splitting(_mesh.pos(), hasNormals ? _mesh.nor() : Array<Vector3F>(),
                                        facesWithEdges(hasNormals));
        if (_polling.isStopped() ||
            !splitting.run(longest, MeshTessellator::mostFaces, _threadCount, _polling))
        {
            if (splitting.isTooLarge()) report.status = TessellationStatus::TooLarge;
            return false;
        }
        report.withoutEdges = _withoutEdges;
        report.faces = splitting.faces().size();
        if (!gather(splitting, hasNormals)) return false;
        detail::handOver(_mesh, _made, _arrays);
        return true;
    }

private:
    Array<detail::SplitFace> facesWithEdges(bool hasNormals)
    {
        const bool hasTriples = _mesh.trindexNor().size() == _mesh.getFacesSize();
        Array<detail::SplitFace> faces;
        for (const uint32 f : PolledNumbers(_mesh.getFacesSize(), scatteredItems, _polling))
        {
            const Index3 t = _mesh.trindexPos()[f];
            const Index3 normals = !hasNormals ? Index3{0, 0, 0} : hasTriples ? _mesh.trindexNor()[f] : t;
            if (hasEdges(t))
                faces.push_back({t, normals, f});
            else
                ++_withoutEdges;
        }
        return faces;
    }

    /// Puts the pieces where their faces were.
    bool gather(const detail::EdgeSplitting& splitting, bool hasNormals)
    {
        const Array<detail::SplitFace>& pieces = splitting.faces();
        Array<uint32> places(_mesh.getFacesSize() + 1, 0u);
        for (const detail::SplitFace& piece : pieces) ++places[piece.source + 1];
        std::partial_sum(places.begin(), places.end(), places.begin());
        Array<uint32> sources(pieces.size());
        _made.faces.resize(pieces.size());
        if (hasNormals) _made.normalTriples.resize(pieces.size());
        for (const uint32 n : PolledNumbers(pieces.size(), scatteredItems, _polling))
        {
            const uint32 place = places[pieces[n].source]++;
            _made.faces[place] = pieces[n].vertices;
            if (hasNormals) _made.normalTriples[place] = pieces[n].normals;
            sources[place] = pieces[n].source;
        }
        _made.positions = splitting.positions();
        _made.normals = splitting.normals();
        return _polling.goOn() && _arrays.addMiddles(splitting.ends(), sources, _polling);
    }

    Mesh& _mesh;
    const uint32 _threadCount;
    Polling _polling;
    detail::VertexArrays _arrays;
    uint32 _withoutEdges = 0;
    detail::NewMesh _made;
};

}  // namespace

TessellationReport MeshTessellator::subdivide(Mesh& mesh, const SubdivisionSettings& settings) const
{
    TessellationReport report;
    report.faces = mesh.getFacesSize();
    if (!hasValidIndices(mesh))
        report.status = TessellationStatus::BadIndices;
    else if (settings.levels >= 15 || uint64{report.faces} << (2 * settings.levels) > mostFaces)
        report.status = TessellationStatus::TooLarge;
    else if (report.faces > 0 && !Subdivision(mesh, settings, _threadCount, _callback).run(report))
        report.status = TessellationStatus::Stopped;
    return report;
}

TessellationReport MeshTessellator::splitEdges(Mesh& mesh, double longest) const
{
    TessellationReport report;
    report.faces = mesh.getFacesSize();
    if (!hasValidIndices(mesh))
        report.status = TessellationStatus::BadIndices;
    else if (leastFaces(mesh, longest) > mostFaces)
        report.status = TessellationStatus::TooLarge;
    else if (report.faces > 0 && !Splitting(mesh, _threadCount, _callback).run(longest, report))
    {
        if (report.status == TessellationStatus::Done) report.status = TessellationStatus::Stopped;
        report.faces = mesh.getFacesSize();
    }
    return report;
}

double MeshTessellator::leastFaces(const Mesh& mesh, double longest)
{
    const double largest = std::sqrt(3.0) / 4 * longest * longest;
    double sum = 0;
    for (const Index3& t : mesh.trindexPos())
    {
        const Vector3D &a = mesh.pos()[t.a], &b = mesh.pos()[t.b], &c = mesh.pos()[t.c];
        const double edge = std::max({length(b - a), length(c - b), length(a - c)});
        const double least = std::max(length(cross(b - a, c - a)) / 2 / largest, edge / longest);
        sum += std::isfinite(least) ? std::max(least, 1.0) : 1;
    }
    return sum;
}

}  // namespace tavrix
