#include <tavrix/meshproc/MeshDisplacement.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshproc/detail/SeamPoints.h>

namespace tavrix
{

namespace
{

using detail::PolledNumbers;
using detail::Polling;
using detail::scatteredItems;

/// One call. Steps return false when stopped; the mesh is touched by the last one alone.
class Displacement
{
public:
    Displacement(Mesh& mesh, uint32 threadCount, CancelCallback callback)
        : _mesh(mesh), _threadCount(threadCount), _callback(callback), _polling(callback)
    {
    }

    /// The height of position v is heightOf(v, its normal).
    template <class HeightOf>
    bool run(const HeightOf& heightOf)
    {
        return findPoints() && move(heightOf) && makeNormals() && handOver();
    }

private:
    /// Points, which vertices along a seam share, and the faces between them.
    bool findPoints()
    {
        _pointOf = detail::findSeamPoints(_mesh.pos(), _mesh.trindexPos(), _polling);
        if (_polling.isStopped()) return false;
        Array<Vector3D>& points = _points.refPos();
        for (uint32 v = 0; v < _pointOf.size(); ++v)
            if (_pointOf[v] == points.size()) points.push_back(Vector3D(_mesh.pos()[v]));
        Array<Index3>& faces = _points.refTrindexPos();
        faces.resize(_mesh.getFacesSize());
        _isUsed.assign(points.size(), uint8{0});
        for (const uint32 f : PolledNumbers(faces.size(), scatteredItems, _polling))
        {
            const Index3& t = _mesh.trindexPos()[f];
            faces[f] = {_pointOf[t.a], _pointOf[t.b], _pointOf[t.c]};
            for (uint32 c = 0; c < 3; ++c) _isUsed[faces[f][c]] = 1;
        }
        return _polling.goOn() && _points.calculateVerticesSurfaceNormal(_threadCount, _callback);
    }

    template <class HeightOf>
    bool move(const HeightOf& heightOf)
    {
        const Array<Vector3F>& normals = _points.norSurface();
        Array<double> heights(_pointOf.size());
        const bool isDone = detail::inPieces(_polling, heights.size(), scatteredItems, _threadCount,
                                             [&](uint32, uint64 begin, uint64 end)
                                             {
                                                 for (auto v = static_cast<uint32>(begin); v < end; ++v)
                                                     heights[v] =
                                                         heightOf(v, convert<double>(normals[_pointOf[v]]));
                                             });
        if (!isDone) return false;
        Array<double> sums(normals.size(), 0.0);
        Array<uint32> counts(normals.size(), 0u);
        for (const uint32 v : PolledNumbers(heights.size(), scatteredItems, _polling))
        {
            sums[_pointOf[v]] += std::isfinite(heights[v]) ? heights[v] : 0;
            ++counts[_pointOf[v]];
        }
        Array<Vector3D>& points = _points.refPos();
        for (const uint32 p : PolledNumbers(points.size(), scatteredItems, _polling))
            if (_isUsed[p]) points[p] += convert<double>(normals[p]) * (sums[p] / counts[p]);
        return _polling.goOn();
    }

    /// Corners at a point have one normal where they had equal ones.
    bool makeNormals()
    {
        const bool hasTriples = _mesh.trindexNor().size() == _mesh.getFacesSize();
        if (!_mesh.nor().empty() && (hasTriples || _mesh.nor().size() >= _mesh.getPosSize()))
            joinNormals(hasTriples ? _mesh.trindexNor() : _mesh.trindexPos());
        return _polling.goOn() && _points.recalculateNormalsParallelized(_threadCount, _callback);
    }

    void joinNormals(const Array<Index3>& triples)
    {
        const Array<Index3>& faces = _points.trindexPos();
        Array<uint32> ends(_points.getPosSize() + 1, 0u), corners(3 * faces.size());
        for (const Index3& t : faces)
            for (uint32 c = 0; c < 3; ++c) ++ends[t[c]];
        uint32 start = 0;
        for (uint32& end : ends) start += std::exchange(end, start);
        for (const uint32 k : PolledNumbers(corners.size(), scatteredItems, _polling))
            corners[ends[faces[k / 3][k % 3]]++] = k;
        const auto normalAt = [&](uint32 k) -> const Vector3F& { return _mesh.nor()[triples[k / 3][k % 3]]; };
        const auto isBefore = [&](uint32 a, uint32 b)
        {
            const Vector3F &m = normalAt(a), &n = normalAt(b);
            return std::tuple(m.x, m.y, m.z) < std::tuple(n.x, n.y, n.z);
        };
        Array<Index3>& joined = _points.refTrindexNor();
        joined.resize(faces.size());
        uint32 count = 0;
        for (const uint32 p : PolledNumbers(_points.getPosSize(), scatteredItems, _polling))
        {
            uint32 *const begin = corners.data() + (p == 0 ? 0 : ends[p - 1]), *const end =
                                                                                   corners.data() + ends[p];
            std::stable_sort(begin, end, isBefore);
            for (uint32* k = begin; k < end; ++k)
            {
                if (k == begin || !(normalAt(*k) == normalAt(k[-1]))) ++count;
                joined[*k / 3][*k % 3] = count - 1;
            }
        }
        _points.refNor().resize(count);
    }

    bool handOver()
    {
        const Array<Vector3D>& points = _points.pos();
        Array<Vector3D>& positions = _mesh.refPos();
        for (uint32 v = 0; v < positions.size(); ++v) positions[v] = points[_pointOf[v]];
        if (_points.trindexNor().size() == _mesh.getFacesSize())
        {
            _mesh.refNor().swap(_points.refNor());
            _mesh.refTrindexNor().swap(_points.refTrindexNor());
        }
        if (!_mesh.faceNor().empty()) _mesh.refFaceNor().swap(_points.refFaceNor());
        auto* const smoothed = TX_ArrayServer::instance().get<Array<Vector3F>>(_mesh.getArrNorSurface());
        for (uint32 v = 0; smoothed && v < smoothed->size(); ++v)
            (*smoothed)[v] = _points.norSurface()[_pointOf[v]];
        _mesh.invalidateBox();
        return true;
    }

    Mesh& _mesh;
    const uint32 _threadCount;
    const CancelCallback _callback;
    Polling _polling;
    Array<uint32> _pointOf;
    Array<uint8> _isUsed;  ///< by a face, of every point
    Mesh _points;
};

}  // namespace

bool MeshDisplacement::byHeights(Mesh& mesh, std::span<const double> heights) const
{
    return Displacement(mesh, _threadCount, _callback)
        .run([&](uint32 v, const Vector3D&) { return v < heights.size() ? heights[v] : 0; });
}

bool MeshDisplacement::byFunction(Mesh& mesh, const Height& height) const
{
    return Displacement(mesh, _threadCount, _callback)
        .run([&](uint32 v, const Vector3D& normal) { return height(mesh.pos()[v], normal); });
}

bool MeshDisplacement::byPicture(Mesh& mesh, const HeightPicture& picture, double amount, double middle) const
{
    const Array<Vector3F>* const texture = mesh.findArray<Vector3F>("UV_MAP_0");
    if (!texture || texture->size() != mesh.getPosSize()) return true;
    return Displacement(mesh, _threadCount, _callback)
        .run(
            [&](uint32 v, const Vector3D&)
            {
                const Vector3F& at = (*texture)[v];
                return amount * (picture.at(at.x, at.y) - middle);
            });
}

}  // namespace tavrix
