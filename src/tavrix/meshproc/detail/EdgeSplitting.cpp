#include <tavrix/meshproc/detail/EdgeSplitting.h>

#include <cmath>
#include <utility>

#include <tavrix/mesh/detail/EdgeTable.h>

namespace tavrix::detail
{

namespace
{

uint32 markedCount(const Index3& middles)
{
    return (middles.a != noIndex ? 1u : 0u) + (middles.b != noIndex ? 1u : 0u) +
           (middles.c != noIndex ? 1u : 0u);
}

/// A corner of a piece.
struct Corner
{
    uint32 vertex, normal;
};

SplitFace pieceOf(const Corner& a, const Corner& b, const Corner& c, uint32 source)
{
    return {{a.vertex, b.vertex, c.vertex}, {a.normal, b.normal, c.normal}, source};
}

}  // namespace

EdgeSplitting::EdgeSplitting(Array<Vector3D> positions, Array<Vector3F> normals, Array<SplitFace> faces)
    : _positions(std::move(positions)), _normals(std::move(normals)), _active(std::move(faces))
{
}

/// Gives the edges that are too long their middles; false when stopped.
bool EdgeSplitting::markEdges(double longest, Polling& polling)
{
    Array<Index3> corners(_active.size());
    for (uint32 f = 0; f < corners.size(); ++f) corners[f] = _active[f].vertices;
    const EdgeTable edges(corners, _positions.size(), polling);
    if (polling.isStopped()) return false;
    Array<uint32> middleOf(edges.edgeCount);
    uint32 found = 0;
    _middles.resize(_active.size());
    for (const uint32 h : PolledNumbers(3 * _active.size(), scatteredItems, polling))
    {
        const uint32 e = edges.edgeOfHalfEdge[h];
        if (e == found)
        {
            const uint32 a = corners[h / 3][h % 3], b = corners[h / 3][(h + 1) % 3];
            const Vector3D p = _positions[a], q = _positions[b], middle = p * 0.5 + q * 0.5;
            const double square = dot(q - p, q - p);
            const bool isSplit =
                square > longest * longest && std::isfinite(square) && !(middle == p) && !(middle == q);
            middleOf[found++] = isSplit ? _positions.size() : noIndex;
            if (isSplit)
            {
                _positions.push_back(middle);
                _ends.push_back({a, b});
            }
        }
        _middles[h / 3][h % 3] = middleOf[e];
    }
    return polling.goOn();
}

uint32 EdgeSplitting::middleNormal(uint32 a, uint32 b)
{
    if (a == b) return a;
    const Vector3F unit = unitOrZero(_normals[a] + _normals[b]);
    _normals.push_back(unit == Vector3F{0, 0, 0} ? Vector3F(_normals[a]) : unit);
    return _normals.size() - 1;
}

/// Gives the middles their normals: one, where two faces have the same ones at both ends of their edge.
void EdgeSplitting::makeNormals()
{
    struct Made
    {
        uint32 low, high;  ///< the normals at the ends, that at the lower vertex first
        uint32 normal;
    };
    const uint32 first = _positions.size() - _lastCount;
    Array<Made> made(_lastCount, Made{noIndex, noIndex, noIndex});
    _middleNormals.resize(_active.size());
    for (uint32 f = 0; f < _active.size(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            if (_middles[f][c] == noIndex) continue;
            const SplitFace& face = _active[f];
            uint32 low = face.normals[c], high = face.normals[(c + 1) % 3];
            if (face.vertices[c] > face.vertices[(c + 1) % 3]) std::swap(low, high);
            Made& known = made[_middles[f][c] - first];
            const bool isKnown = known.low == low && known.high == high;
            const uint32 normal = isKnown ? known.normal : middleNormal(low, high);
            if (known.low == noIndex) known = {low, high, normal};
            _middleNormals[f][c] = normal;
        }
}

/// One more piece than edges with a middle.
void EdgeSplitting::splitFace(const SplitFace& face, const Index3& middles, const Index3& normals,
                              SplitFace* pieces) const
{
    const uint32 count = markedCount(middles), source = face.source;
    // from the edge on that alone has a middle, or behind the one that alone has none
    uint32 turn = 0;
    if (count == 1)
        while (middles[turn] == noIndex) ++turn;
    if (count == 2)
    {
        while (middles[turn] != noIndex) ++turn;
        turn = (turn + 1) % 3;
    }
    const auto corner = [&](uint32 c) {
        return Corner{face.vertices[(turn + c) % 3], face.normals[(turn + c) % 3]};
    };
    const auto middle = [&](uint32 c) { return Corner{middles[(turn + c) % 3], normals[(turn + c) % 3]}; };
    const Corner a = corner(0), b = corner(1), c = corner(2), ab = middle(0), bc = middle(1), ca = middle(2);
    if (count == 1)
    {
        pieces[0] = pieceOf(a, ab, c, source);
        pieces[1] = pieceOf(ab, b, c, source);
        return;
    }
    pieces[0] = pieceOf(ab, b, bc, source);
    if (count == 3)
    {
        pieces[1] = pieceOf(a, ab, ca, source);
        pieces[2] = pieceOf(ca, bc, c, source);
        pieces[3] = pieceOf(ab, bc, ca, source);
        return;
    }
    const auto squareBetween = [&](const Corner& p, const Corner& q)
    {
        const Vector3D d = _positions[q.vertex] - _positions[p.vertex];
        return dot(d, d);
    };
    const bool fromA = squareBetween(a, bc) < squareBetween(ab, c);
    pieces[1] = fromA ? pieceOf(a, ab, bc, source) : pieceOf(a, ab, c, source);
    pieces[2] = fromA ? pieceOf(a, bc, c, source) : pieceOf(ab, bc, c, source);
}

bool EdgeSplitting::run(double longest, uint32 mostFaces, uint32 threadCount, Polling& polling)
{
    while (!_active.empty())
    {
        const uint32 before = _positions.size();
        if (!markEdges(longest, polling)) return false;
        _lastCount = _positions.size() - before;
        if (!_normals.empty()) makeNormals();
        Array<uint32> firstPiece(_active.size());
        uint64 pieces = 0;
        for (uint32 f = 0; f < _active.size(); ++f)
        {
            const uint32 count = markedCount(_middles[f]);
            firstPiece[f] = static_cast<uint32>(pieces);
            pieces += count > 0 ? count + 1 : 0;
            if (count == 0) _faces.push_back(SplitFace(_active[f]));
            _isTooLarge = _faces.size() + pieces > mostFaces;
            if (_isTooLarge) return false;
        }
        Array<SplitFace> next(static_cast<uint32>(pieces));
        const bool isDone =
            inPieces(polling, _active.size(), scatteredItems, threadCount,
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         for (auto f = static_cast<uint32>(begin); f < end; ++f)
                             if (markedCount(_middles[f]) > 0)
                                 splitFace(_active[f], _middles[f],
                                           _normals.empty() ? Index3{0, 0, 0} : _middleNormals[f],
                                           next.data() + firstPiece[f]);
                     });
        if (!isDone) return false;
        _active.swap(next);
    }
    return true;
}

}  // namespace tavrix::detail
