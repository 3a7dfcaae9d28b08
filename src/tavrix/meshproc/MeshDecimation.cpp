#include <tavrix/meshproc/MeshDecimation.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/detail/EdgeCollapses.h>
#include <tavrix/meshproc/detail/NewMesh.h>
#include <tavrix/meshproc/detail/PointKinds.h>
#include <tavrix/meshproc/detail/SeamPoints.h>
#include <tavrix/platform/Hardware.h>

namespace tavrix
{

namespace
{

using detail::CollapseMesh;
using detail::Polling;

/// Coordinates around the middle of a box, in units of a power of two that is about its size: squares neither
/// overflow nor vanish, whatever the mesh is measured in.
class Frame
{
public:
    explicit Frame(const Array<Vector3D>& positions)
    {
        Box3D box = Box3D::empty();
        for (const Vector3D& p : positions)
            if (isFinite(p)) box.extend(p);
        if (box.isEmpty()) return;
        _middle = box.min * 0.5 + box.max * 0.5;
        const Vector3D half = box.max * 0.5 - box.min * 0.5;
        const double longest = std::max({half.x, half.y, half.z});
        if (longest > 0) _exponent = std::clamp(std::ilogb(longest) + 1, -1020, 1023);
    }
    Vector3D inside(const Vector3D& p) const
    {
        // halves first: a difference may be as large as the box
        const Vector3D half = p * 0.5 - _middle * 0.5;
        return half * std::ldexp(2.0, -_exponent);
    }
    Vector3D outside(const Vector3D& p) const { return p * std::ldexp(1.0, _exponent) + _middle; }
    double lengthInside(double length) const { return std::ldexp(length, -_exponent); }
    double lengthOutside(double length) const { return std::ldexp(length, _exponent); }

private:
    Vector3D _middle{0, 0, 0};
    int _exponent = 0;
};

/// The faces that the settings leave.
uint32 targetFaces(const DecimationSettings& settings, uint32 faces)
{
    uint32 target = settings.faces || settings.ratio || !settings.error ? faces : 0;
    if (settings.faces) target = std::min(target, *settings.faces);
    if (settings.ratio && *settings.ratio < 1)
        target = std::min(target, static_cast<uint32>(std::max(*settings.ratio, 0.0) * faces));
    return target;
}

/// One call of decimateMesh. Steps return false when stopped; the mesh is touched by the last one alone.
class Decimation
{
public:
    Decimation(Mesh& mesh, const DecimationSettings& settings, CancelCallback callback)
        : _mesh(mesh),
          _settings(settings),
          _threadCount(settings.threadCount > 0 ? settings.threadCount : Hardware::getThreadCount()),
          _polling(callback),
          _frame(mesh.pos()),
          _arrays(mesh)
    {
    }

    bool run(DecimationReport& report)
    {
        if (!findPoints()) return false;
        const uint32 target = targetFaces(_settings, _mesh.getFacesSize());
        constexpr double rounding = 1e-12, unbounded = std::numeric_limits<double>::infinity();
        double error = unbounded;
        if (_settings.error) error = *_settings.error > 0 ? _frame.lengthInside(*_settings.error) : 0;
        error = std::max(error, rounding);
        detail::EdgeCollapses collapses(*_collapsing, _vertices, _normalItems, {target, error}, _threadCount,
                                        _polling);
        if (!collapses.run() || !gather(collapses.origins())) return false;
        report.withoutEdges = report.facesBefore - _faceNumbers.size();
        report.faces = _made.faces.size();
        report.error = _frame.lengthOutside(collapses.error());
        detail::handOver(_mesh, _made, _arrays);
        return true;
    }

private:
    /// The points, faces and kinds. Only meshes with borders can have seams.
    bool findPoints()
    {
        const uint32 count = _mesh.getPosSize();
        Array<uint32> pointOf(count);
        std::iota(pointOf.begin(), pointOf.end(), 0u);
        if (!makeCollapsing(pointOf)) return false;
        if (isClosed()) return splitNormals();
        pointOf = detail::findSeamPoints(_mesh.pos(), _mesh.trindexPos(), _polling);
        if (_polling.isStopped()) return false;
        const bool hasSeams = count > 0 && *std::max_element(pointOf.begin(), pointOf.end()) + 1 < count;
        return (!hasSeams || makeCollapsing(pointOf)) && splitNormals();
    }

    /// Whether no point lies on a border.
    bool isClosed() const
    {
        for (uint32 p = 0; p < _collapsing->pointCount(); ++p)
            if (_collapsing->isAlive(p) && _collapsing->kinds[p] != detail::PointKind::Free) return false;
        return true;
    }

    bool makeCollapsing(const Array<uint32>& pointOf)
    {
        const uint32 count = _mesh.getPosSize();
        _firstPosition.clear();
        for (uint32 n = 0; n < count; ++n)
            if (pointOf[n] == _firstPosition.size()) _firstPosition.push_back(n);
        Array<Index3> faces;
        faces.reserve(_mesh.getFacesSize());
        _faceNumbers.clear();
        for (const uint32 f : detail::PolledNumbers(_mesh.getFacesSize(), detail::scatteredItems, _polling))
        {
            const Index3& t = _mesh.trindexPos()[f];
            const Index3 face{pointOf[t.a], pointOf[t.b], pointOf[t.c]};
            if (face.a == face.b || face.b == face.c || face.c == face.a) continue;
            faces.push_back(face);
            _faceNumbers.push_back(f);
        }
        if (!_polling.goOn()) return false;
        _collapsing.emplace(_firstPosition.size(), std::move(faces), _polling);
        if (_polling.isStopped()) return false;
        for (const uint32 p : detail::PolledNumbers(_firstPosition.size(), detail::lightItems, _polling))
            _collapsing->points[p].place = _frame.inside(_mesh.pos()[_firstPosition[p]]);
        if (!_arrays.empty()) nameVertices(pointOf);
        return detail::findPointKinds(*_collapsing, _vertices, _threadCount, _polling);
    }

    /// Lets the corners name the vertices that carry values; vertices of a point with equal values are one.
    void nameVertices(const Array<uint32>& pointOf)
    {
        Array<uint32> vertexOf(_mesh.getPosSize());
        Array<uint32> next(_mesh.getPosSize(), noIndex);  // vertices of a point, from its first on
        Array<uint32> last(_firstPosition.size(), noIndex);
        for (uint32 n = 0; n < vertexOf.size(); ++n)
        {
            const uint32 point = pointOf[n];
            vertexOf[n] = n;
            if (last[point] != noIndex)
            {
                for (uint32 v = _firstPosition[point]; v != noIndex && vertexOf[n] == n; v = next[v])
                    if (_arrays.areEqual(v, n)) vertexOf[n] = v;
                if (vertexOf[n] != n) continue;
                next[last[point]] = n;
            }
            last[point] = n;
        }
        _vertices.ofFace = facesOf(_mesh.trindexPos());
        for (Index3& t : _vertices.ofFace) t = {vertexOf[t.a], vertexOf[t.b], vertexOf[t.c]};
        _vertices.blend = [this](uint32 kept, uint32 gone, double t) { _arrays.blend(kept, gone, t); };
    }

    Array<Index3> facesOf(const Array<Index3>& triples) const
    {
        Array<Index3> kept(_faceNumbers.size());
        for (uint32 f = 0; f < kept.size(); ++f) kept[f] = triples[_faceNumbers[f]];
        return kept;
    }

    /// Lets the corners name normals that belong to one point each; where points share some, they get copies.
    bool splitNormals()
    {
        const bool hasTriples = _mesh.trindexNor().size() == _mesh.getFacesSize();
        if (_mesh.nor().empty() || (!hasTriples && _mesh.nor().size() < _mesh.getPosSize())) return true;
        _made.normals = _mesh.nor();
        Array<Index3>& ofFace = _normalItems.ofFace;
        ofFace = facesOf(hasTriples ? _mesh.trindexNor() : _mesh.trindexPos());
        _normalItems.blend = [this](uint32 kept, uint32 gone, double t)
        {
            const Vector3F mean =
                _made.normals[kept] * static_cast<float>(1 - t) + _made.normals[gone] * static_cast<float>(t);
            const Vector3F unit = unitOrZero(mean);
            if (!(unit == Vector3F{0, 0, 0})) _made.normals[kept] = unit;
        };
        const Array<Index3>& faces = _collapsing->faces;
        Array<uint32> owners(_made.normals.size(), noIndex);
        bool isShared = false;
        for (uint32 f = 0; f < faces.size(); ++f)
            for (uint32 c = 0; c < 3; ++c)
            {
                uint32& owner = owners[ofFace[f][c]];
                if (owner == noIndex) owner = faces[f][c];
                isShared |= owner != faces[f][c];
            }
        return !isShared || splitShared(owners);
    }

    /// Corners of the same point and normal come one after the other when they are sorted so.
    bool splitShared(const Array<uint32>& owners)
    {
        struct Corner
        {
            uint32 point, normal, corner;
        };
        const Array<Index3>& faces = _collapsing->faces;
        std::vector<Corner> corners;
        for (uint32 k = 0; k < 3 * faces.size(); ++k)
        {
            const Corner corner{faces[k / 3][k % 3], _normalItems.ofFace[k / 3][k % 3], k};
            if (owners[corner.normal] != corner.point) corners.push_back(corner);
        }
        std::stable_sort(corners.begin(), corners.end(),
                         [](const Corner& a, const Corner& b)
                         { return std::pair(a.point, a.normal) < std::pair(b.point, b.normal); });
        for (std::size_t n = 0; n < corners.size(); ++n)
        {
            const Corner& corner = corners[n];
            const bool isNew =
                n == 0 || corner.point != corners[n - 1].point || corner.normal != corners[n - 1].normal;
            if (isNew) _made.normals.push_back(Vector3F(_made.normals[corner.normal]));
            _normalItems.ofFace[corner.corner / 3][corner.corner % 3] = _made.normals.size() - 1;
        }
        return _polling.goOn();
    }

    /// Makes the arrays of what is left.
    bool gather(const Array<uint32>& origins)
    {
        const Array<Index3>& faces = _collapsing->faces;
        Array<uint32> faceNumbers;
        Array<uint32> place(_mesh.getPosSize(),
                            noIndex);  // of vertices: first the point, then the new number
        for (uint32 f = 0; f < faces.size(); ++f)
        {
            if (!_collapsing->isFace(f)) continue;
            Index3 face = faces[f];
            for (uint32 c = 0; c < 3; ++c)
            {
                const uint32 point = face[c];
                face[c] = _vertices.empty() ? _firstPosition[point] : _vertices.ofFace[f][c];
                place[face[c]] = point;
            }
            _made.faces.push_back(face);
            faceNumbers.push_back(_faceNumbers[f]);
            if (!_normalItems.empty()) _made.normalTriples.push_back(_normalItems.ofFace[f]);
        }
        Array<uint32> vertices;
        for (uint32 v = 0; v < place.size(); ++v)
        {
            const uint32 point = place[v];
            if (point == noIndex) continue;
            place[v] = vertices.size();
            vertices.push_back(v);
            const uint32 origin = origins[point];
            _made.positions.push_back(origin == noIndex ? _frame.outside(_collapsing->points[point].place)
                                                        : _mesh.pos()[_firstPosition[origin]]);
        }
        for (Index3& t : _made.faces) t = {place[t.a], place[t.b], place[t.c]};
        packNormals();
        return _polling.goOn() && _arrays.gather(vertices, faceNumbers, _polling);
    }

    void packNormals()
    {
        Array<uint32> place(_made.normals.size(), noIndex);
        for (const Index3& t : _made.normalTriples) place[t.a] = place[t.b] = place[t.c] = 0;
        uint32 kept = 0;
        for (uint32 n = 0; n < place.size(); ++n)
        {
            if (place[n] == noIndex) continue;
            place[n] = kept;
            _made.normals[kept++] = _made.normals[n];
        }
        _made.normals.resize(kept);
        for (Index3& t : _made.normalTriples) t = {place[t.a], place[t.b], place[t.c]};
    }

    Mesh& _mesh;
    const DecimationSettings& _settings;
    const uint32 _threadCount;
    Polling _polling;
    const Frame _frame;
    detail::VertexArrays _arrays;
    std::optional<CollapseMesh> _collapsing;
    Array<uint32> _firstPosition;  ///< of every point
    Array<uint32> _faceNumbers;    ///< in the mesh, of those that take part
    detail::CornerItems _vertices, _normalItems;
    detail::NewMesh _made;  ///< what is left; its normals at first all of them
};

}  // namespace

DecimationReport decimateMesh(Mesh& mesh, const DecimationSettings& settings, CancelCallback callback)
{
    DecimationReport report;
    report.faces = report.facesBefore = mesh.getFacesSize();
    if (!hasValidIndices(mesh))
        report.status = DecimationStatus::BadIndices;
    else if (targetFaces(settings, report.faces) < report.faces &&
             !Decimation(mesh, settings, callback).run(report))
        report.status = DecimationStatus::Stopped;
    return report;
}

}  // namespace tavrix
