#include <tavrix/meshproc/MeshClipping.h>

#include <algorithm>
#include <array>
#include <vector>

#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/mesh/detail/CarriedArrays.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/SheetSeparation.h>
#include <tavrix/meshproc/detail/CapTriangulation.h>
#include <tavrix/meshproc/detail/CutMesh.h>

namespace tavrix
{

namespace
{

using detail::BoxSide;
using detail::CutFace;
using detail::CutVertex;
using detail::RimEdge;

constexpr uint32 sideCount = 6;

/// Where a position lies: bit n when it is outside of side n, bit 8 + n when it is on it.
struct Codes
{
    static constexpr uint32 sides = (1U << sideCount) - 1, notFinite = 1U << 15;

    Array<uint16> all;
    uint32 some = 0, every = ~0U;  ///< bits that some position has, and those that every one has
};

uint16 codeOf(const Vector3D& p, const Box3D& box)
{
    uint32 code = isFinite(p) ? 0 : Codes::notFinite;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double x = p[axis], low = box.min[axis], high = box.max[axis];
        code |= uint32{x < low} << (2 * axis) | uint32{x > high} << (2 * axis + 1);
        code |= uint32{x == low} << (8 + 2 * axis) | uint32{x == high} << (9 + 2 * axis);
    }
    return static_cast<uint16>(code);
}

/// What clipping makes of a mesh, which stays as it is until all is done.
class Clipping
{
public:
    Clipping(Mesh& mesh, const Box3D& box, ClipCut cut, CancelCallback callback)
        : _mesh(mesh),
          _box(box),
          _isSolid(cut == ClipCut::Closed),
          _polling(callback),
          _hasNormals(!mesh.nor().empty() && (hasNormalTriples() || mesh.nor().size() >= mesh.getPosSize())),
          _cutMesh(mesh.pos(), mesh.nor(), _isSolid)
    {
    }

    ClipReport run()
    {
        _report.isStopped = !work();
        return _report.isStopped ? ClipReport{.isStopped = true} : _report;
    }

private:
    bool work()
    {
        if (!findCodes()) return false;
        if ((_codes.some & (Codes::sides | Codes::notFinite)) == 0 && !isNothing()) return true;
        if (!isNothing() && !sortFaces()) return false;
        for (uint32 n = 0; n < sideCount; ++n)
            if ((_codes.some >> n & 1) != 0 && !_cutMesh.cut(n, BoxSide(_box, n), _polling)) return false;
        _report.facesCut = _cutMesh.facesCut();
        _report.openLoops = _cutMesh.openChains();
        for (uint32 n = 0; n < sideCount; ++n)
            if (!addCap(n)) return false;
        return gather() && handOver();
    }

    bool hasNormalTriples() const { return _mesh.trindexNor().size() == _mesh.getFacesSize(); }

    /// Whether nothing of the mesh can be left.
    bool isNothing() const
    {
        if (_box.isEmpty() || (_codes.every & Codes::sides) != 0) return true;
        const Vector3D &min = _box.min, &max = _box.max;
        return _isSolid && (min.x == max.x || min.y == max.y || min.z == max.z);
    }

    bool findCodes()
    {
        const Array<Vector3D>& positions = _mesh.pos();
        _codes.all.resize(positions.size());
        const auto find = [&](uint64 begin, uint64 end)
        {
            for (uint64 n = begin; n < end; ++n)
            {
                const uint16 code = codeOf(positions[n], _box);
                _codes.all[n] = code;
                _codes.some |= code;
                _codes.every &= code;
            }
        };
        return inPieces(_polling, positions.size(), detail::lightItems, find);
    }

    /// Sorts out the faces that no side reaches, and those that the first side that they reach drops.
    bool sortFaces()
    {
        const Array<Index3>& faces = _mesh.trindexPos();
        const uint32 cutting = _codes.some & Codes::sides;
        const auto sort = [&](uint64 begin, uint64 end)
        {
            for (auto f = static_cast<uint32>(begin); f < end; ++f)
            {
                const Index3& face = faces[f];
                const uint32 a = _codes.all[face.a], b = _codes.all[face.b], c = _codes.all[face.c];
                const uint32 some = a | b | c, reached = (some | some >> 8) & cutting;
                if ((some & Codes::notFinite) != 0)
                    ++_report.unusableFaces;
                else if (reached == 0)
                    _untouched.push_back(f);
                else if ((a & b & c & (_isSolid ? reached & (0 - reached) : cutting)) == 0 &&
                         face.a != face.b && face.b != face.c && face.c != face.a)
                    _cutMesh.addFace({face, normalsOf(f), f});
            }
        };
        return inPieces(_polling, faces.size(), detail::lightItems, sort);
    }

    Index3 normalsOf(uint32 face) const
    {
        if (!_hasNormals) return {0, 0, 0};
        return hasNormalTriples() ? _mesh.trindexNor()[face] : _mesh.trindexPos()[face];
    }

    bool addCap(uint32 sideNumber)
    {
        const std::vector<RimEdge>& rim = _cutMesh.rim(sideNumber);
        if (rim.empty()) return true;
        const BoxSide side(_box, sideNumber);
        const detail::RimPoints points = _cutMesh.rimPoints(rim, side);
        const detail::CapFaces cap =
            detail::triangulateCap(rim, points, detail::linkRim(rim, points), _polling);
        if (_polling.isStopped()) return false;
        const uint32 normal =
            _mesh.nor().size() + _cutMesh.madeNormals().size() + static_cast<uint32>(_capNormals.size());
        _capNormals.push_back(side.normal());
        for (const Index3& t : cap.faces)
            _caps.push_back(
                {{rim[t.a].from, rim[t.b].from, rim[t.c].from}, {normal, normal, normal}, rim[t.a].source});
        _isPlain[sideNumber] = cap.isPlain;
        _report.loops += cap.loops;
        _report.crossedCaps += cap.crossedPieces;
        _report.facesOfCaps += cap.faces.size();
        return _polling.goOn();
    }

    /// Lists the faces that are left, and numbers vertices and normals anew in the order of their old
    /// numbers.
    bool gather()
    {
        const uint32 count = _untouched.size() + _cutMesh.faces().size() + _caps.size();
        _faces.reserve(count);
        _sources.reserve(count);
        if (_hasNormals) _normalTriples.reserve(count);
        for (const uint32 f : _untouched) addFace({_mesh.trindexPos()[f], normalsOf(f), f});
        for (const CutFace& face : _cutMesh.faces()) addFace(face);
        for (const CutFace& face : _caps) addFace(face);
        const uint32 before = _mesh.getPosSize();
        _vertices = renumber(_faces, before + _cutMesh.made().size());
        _positions.reserve(_vertices.size());
        for (const uint32 vertex : _vertices) _positions.push_back(_cutMesh.placeOf(vertex));
        if (!_polling.goOn()) return false;
        if (!_hasNormals) return true;
        const Array<Vector3F>&old = _mesh.nor(), &made = _cutMesh.madeNormals();
        const uint32 normals = old.size() + made.size() + static_cast<uint32>(_capNormals.size());
        for (const uint32 n : renumber(_normalTriples, normals))
            _normals.push_back(n < old.size()                 ? old[n]
                               : n - old.size() < made.size() ? made[n - old.size()]
                                                              : _capNormals[n - old.size() - made.size()]);
        if (!hasNormalTriples() && _normalTriples == _faces) _normalTriples.clear();
        return _polling.goOn();
    }

    void addFace(const CutFace& face)
    {
        _faces.push_back(face.corners);
        _sources.push_back(face.source);
        if (_hasNormals) _normalTriples.push_back(face.normals);
    }

    /// Returns the numbers below the limit that are named, ascending, and has the triples name places in that
    /// list.
    static Array<uint32> renumber(Array<Index3>& triples, uint32 limit)
    {
        Array<uint32> places(limit, noIndex), named;
        uint32 count = 0;
        for (const Index3& t : triples)
            for (const uint32 n : {t.a, t.b, t.c})
            {
                count += places[n] == noIndex ? 1 : 0;
                places[n] = 0;
            }
        named.reserve(count);
        for (uint32 n = 0; n < limit; ++n)
            if (places[n] != noIndex)
            {
                places[n] = named.size();
                named.push_back(n);
            }
        for (Index3& t : triples) t = {places[t.a], places[t.b], places[t.c]};
        return named;
    }

    /// The vertex of the mesh that is nearest to each one left.
    Array<uint32> nearestVertices() const
    {
        const uint32 before = _mesh.getPosSize();
        const Array<CutVertex>& made = _cutMesh.made();
        Array<uint32> ofMade, nearest;
        const auto nearestTo = [&](uint32 vertex)
        { return vertex < before ? vertex : ofMade[vertex - before]; };
        ofMade.reserve(made.size());
        for (const CutVertex& vertex : made)
            ofMade.push_back(nearestTo(vertex.t > 0.5 ? vertex.high : vertex.low));
        nearest.reserve(_vertices.size());
        for (const uint32 vertex : _vertices) nearest.push_back(nearestTo(vertex));
        return nearest;
    }

    /// Sets the values of the vertices that were made, when the arrays hold elements made of such numbers.
    template <class Number, class Element>
    bool blend(ArrayHandle array, ArrayHandle fresh) const
    {
        const Array<Element>* const old = TX_ArrayServer::instance().get<Array<Element>>(array);
        if (!old) return false;
        Array<Element>& values = *TX_ArrayServer::instance().get<Array<Element>>(fresh);
        const uint32 before = _mesh.getPosSize();
        const Array<CutVertex>& made = _cutMesh.made();
        const std::size_t stride = old->size() / before * (sizeof(Element) / sizeof(Number));
        const Number* const oldNumbers = reinterpret_cast<const Number*>(old->data());
        std::vector<Number> madeNumbers(made.size() * stride);
        const auto numbersOf = [&](uint32 vertex) {
            return vertex < before ? oldNumbers + stride * vertex
                                   : madeNumbers.data() + stride * (vertex - before);
        };
        for (std::size_t n = 0; n < made.size(); ++n)
        {
            const Number *const low = numbersOf(made[n].low), *const high = numbersOf(made[n].high);
            for (std::size_t k = 0; k < stride; ++k)
                madeNumbers[n * stride + k] =
                    static_cast<Number>(low[k] * (1 - made[n].t) + high[k] * made[n].t);
        }
        Number* const numbers = reinterpret_cast<Number*>(values.data());
        for (std::size_t n = 0; n < _vertices.size(); ++n)
            if (_vertices[n] >= before) std::copy_n(numbersOf(_vertices[n]), stride, numbers + n * stride);
        return true;
    }

    /// The mesh becomes what was made.
    bool handOver()
    {
        const auto goOn = [&] { return _polling.goOn(); };
        detail::CarriedArrays carried(_mesh);
        if (carried.has(MeshArrayInf::PER_FACE) &&
            !carried.gather(MeshArrayInf::PER_FACE, _mesh.getFacesSize(), spanOf(_sources), goOn))
            return false;
        if (carried.has(MeshArrayInf::PER_POSITION))
        {
            const Array<uint32> nearest = nearestVertices();
            if (!carried.gather(
                    MeshArrayInf::PER_POSITION, _mesh.getPosSize(), spanOf(nearest), goOn,
                    [&](ArrayHandle array, ArrayHandle fresh)
                    {
                        (void)(blend<float, float>(array, fresh) || blend<float, Vector2F>(array, fresh) ||
                               blend<float, Vector3F>(array, fresh) || blend<float, Wector3F>(array, fresh) ||
                               blend<float, Color4F>(array, fresh) || blend<double, double>(array, fresh) ||
                               blend<double, Vector3D>(array, fresh));
                    }))
                return false;
        }
        carried.finish();
        takeOver();
        return true;
    }

    static std::span<const uint32> spanOf(const Array<uint32>& numbers)
    {
        return {numbers.data(), numbers.size()};
    }

    void takeOver()
    {
        const Array<uint32> suspects = touchingVertices();
        _mesh.refPos().swap(_positions);
        _mesh.refTrindexPos().swap(_faces);
        _mesh.refNor().swap(_normals);
        _mesh.refTrindexNor().swap(_normalTriples);
        _mesh.invalidateBox();
        _mesh.invalidateConnectivity();
        if (!suspects.empty()) separateSheets(_mesh, spanOf(suspects));
        if (!_mesh.faceNor().empty()) _mesh.recalculateFaceNormals();
        Array<Vector3F>* const smoothed =
            TX_ArrayServer::instance().get<Array<Vector3F>>(_mesh.getArrNorSurface());
        if (!smoothed || smoothed->empty()) return;
        smoothed->resize(_mesh.getPosSize());
        Mesh::staticCalculateNormals(_mesh.pos(), _mesh.trindexPos(), *smoothed);
    }

    /// Where sheets that a cut brought together may touch: vertices that lay on a side before, those that
    /// rims visit again or that caps touch which are not plain, and the ends of edges that caps use again.
    Array<uint32> touchingVertices() const
    {
        const uint32 before = _mesh.getPosSize();
        std::vector<uint32> found;
        std::vector<std::pair<uint32, uint32>> edges;
        for (uint32 n = 0; n < sideCount; ++n)
        {
            std::vector<uint32> starts;
            for (const RimEdge& edge : _cutMesh.rim(n)) starts.push_back(edge.from);
            std::sort(starts.begin(), starts.end());
            for (std::size_t k = 0; k < starts.size(); ++k)
                if (!_isPlain[n] || starts[k] < before || (k > 0 && starts[k] == starts[k - 1]))
                    found.push_back(starts[k]);
        }
        for (const CutFace& face : _caps)
            for (uint32 c = 0; c < 3; ++c)
                edges.emplace_back(std::minmax(face.corners[c], face.corners[(c + 1) % 3]));
        std::sort(edges.begin(), edges.end());
        for (std::size_t k = 2; k < edges.size(); ++k)
            if (edges[k] == edges[k - 2])
            {
                found.push_back(edges[k].first);
                found.push_back(edges[k].second);
            }
        detail::sortOnce(found);
        Array<uint32> places;
        for (const uint32 vertex : found)
        {
            const auto place = std::lower_bound(_vertices.begin(), _vertices.end(), vertex);
            if (place != _vertices.end() && *place == vertex)
                places.push_back(static_cast<uint32>(place - _vertices.begin()));
        }
        return places;
    }

    Mesh& _mesh;
    const Box3D _box;
    const bool _isSolid;
    detail::Polling _polling;
    const bool _hasNormals;
    ClipReport _report;
    Codes _codes;
    Array<uint32> _untouched;
    detail::CutMesh _cutMesh;
    Array<CutFace> _caps;
    std::vector<Vector3F> _capNormals;
    std::array<bool, sideCount> _isPlain{};  ///< as CapFaces has it
    Array<Index3> _faces, _normalTriples;    ///< what is left, from here on
    Array<uint32> _sources, _vertices;       ///< the numbers that its faces and vertices had
    Array<Vector3D> _positions;
    Array<Vector3F> _normals;
};

}  // namespace

ClipReport clipMesh(Mesh& mesh, const Box3D& box, ClipCut cut, CancelCallback callback)
{
    return Clipping(mesh, box, cut, callback).run();
}

}  // namespace tavrix
