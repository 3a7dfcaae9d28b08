#include <tavrix/mesh/MeshCavities.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/FaceDropping.h>
#include <tavrix/mesh/detail/LineWinding.h>
#include <tavrix/mesh/MeshRepair.h>

namespace tavrix
{

namespace
{

using detail::PolledNumbers;
using detail::Polling;

struct Part
{
    Vector3D origin;    ///< one of its positions
    double volume = 0;  ///< six times the signed one
    uint32 probe;       ///< its first face with an area, else its first
    bool hasArea = false;
    bool isClosed = true;
};

/// The parts of a mesh, in the order of their first positions.
struct Parts
{
    Array<uint32> ofPosition;
    std::vector<Part> all;

    uint32 of(const Index3& face) const { return ofPosition[face.a]; }
};

PolledNumbers facesOf(const Mesh& mesh, Polling& polling)
{
    return {mesh.getFacesSize(), detail::scatteredItems, polling};
}

PolledNumbers positionsOf(const Mesh& mesh, Polling& polling)
{
    return {mesh.getPosSize(), detail::scatteredItems, polling};
}

Array<uint32> rootsOf(const Mesh& mesh, Polling& polling)
{
    detail::UnionFind sets(mesh.getPosSize(), polling);
    for (const uint32 f : facesOf(mesh, polling))
    {
        const Index3& face = mesh.trindexPos()[f];
        sets.unite(face.a, face.b);
        sets.unite(face.a, face.c);
    }
    Array<uint32> roots(mesh.getPosSize());
    for (const uint32 n : positionsOf(mesh, polling)) roots[n] = sets.find(n);
    return roots;
}

Parts findParts(const Mesh& mesh, Polling& polling)
{
    const Array<Vector3D>& pos = mesh.pos();
    Parts parts{rootsOf(mesh, polling), {}};
    Array<uint8> isUsed(pos.size(), uint8{0});
    for (const uint32 f : facesOf(mesh, polling))
        for (uint32 c = 0; c < 3; ++c) isUsed[mesh.trindexPos()[f][c]] = 1;
    Array<uint32> numbers(pos.size(), noIndex);
    for (const uint32 n : positionsOf(mesh, polling))
        if (isUsed[n] && numbers[parts.ofPosition[n]] == noIndex)
        {
            numbers[parts.ofPosition[n]] = static_cast<uint32>(parts.all.size());
            parts.all.push_back({pos[parts.ofPosition[n]], 0, noIndex});
        }
    for (const uint32 n : positionsOf(mesh, polling)) parts.ofPosition[n] = numbers[parts.ofPosition[n]];
    for (const uint32 f : facesOf(mesh, polling))
    {
        const Index3& face = mesh.trindexPos()[f];
        Part& part = parts.all[parts.of(face)];
        const Vector3D a = pos[face.a] - part.origin, b = pos[face.b] - part.origin,
                       c = pos[face.c] - part.origin;
        part.volume += dot(a, cross(b, c));
        if (part.hasArea) continue;
        const Vector3D normal = cross(b - a, c - a);
        part.hasArea = dot(normal, normal) > 0;
        if (part.hasArea || part.probe == noIndex) part.probe = f;
    }
    return parts;
}

bool someLookInwards(const Parts& parts)
{
    return std::any_of(parts.all.begin(), parts.all.end(), [](const Part& p) { return p.volume < 0; });
}

/// Marks the parts with edges along which their faces do not run equally often in both directions.
void findOpenParts(const Mesh& mesh, Parts& parts, Polling& polling)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const detail::EdgeTable edges(faces, mesh.getPosSize(), polling);
    Array<int32> balances(edges.edgeCount, 0);
    const auto forEachUse = [&](auto visit)
    {
        for (const uint32 h : PolledNumbers(edges.edgeOfHalfEdge.size(), detail::scatteredItems, polling))
            if (edges.edgeOfHalfEdge[h] != noIndex) visit(h, edges.edgeOfHalfEdge[h]);
    };
    forEachUse([&](uint32 h, uint32 edge)
               { balances[edge] += faces[h / 3][h % 3] < faces[h / 3][(h + 1) % 3] ? 1 : -1; });
    forEachUse(
        [&](uint32 h, uint32 edge)
        {
            if (balances[edge] != 0) parts.all[parts.of(faces[h / 3])].isClosed = false;
        });
}

/// A grid in the plane across x, which files points under the cells where they lie.
class PointGrid
{
public:
    explicit PointGrid(std::vector<Vector3D> points) : _points(std::move(points))
    {
        for (const Vector3D& p : _points) _box.extend(p);
        const double side = std::clamp(std::sqrt(static_cast<double>(_points.size())), 1.0, 4096.0);
        _side = static_cast<uint32>(side);
        _firsts.assign(std::size_t{_side} * _side + 1, 0);
        for (const Vector3D& p : _points) ++_firsts[cellOf(p) + 1];
        for (std::size_t n = 1; n < _firsts.size(); ++n) _firsts[n] += _firsts[n - 1];
        std::vector<uint32> next(_firsts.begin(), _firsts.end() - 1);
        _numbers.resize(_points.size());
        for (uint32 n = 0; n < _points.size(); ++n) _numbers[next[cellOf(_points[n])]++] = n;
    }

    /// Calls visit(number, point) for every point that the box covers, seen along x.
    template <class Visit>
    void forEachBehind(const Box3D& box, Visit visit) const
    {
        if (box.max.y < _box.min.y || box.min.y > _box.max.y || box.max.z < _box.min.z ||
            box.min.z > _box.max.z)
            return;
        for (uint32 row = rowOf(box.min.y, 1); row <= rowOf(box.max.y, 1); ++row)
        {
            const std::size_t begin = std::size_t{row} * _side + rowOf(box.min.z, 2),
                              end = std::size_t{row} * _side + rowOf(box.max.z, 2) + 1;
            for (uint32 n = _firsts[begin]; n < _firsts[end]; ++n)
            {
                const Vector3D& p = _points[_numbers[n]];
                if (p.y >= box.min.y && p.y <= box.max.y && p.z >= box.min.z && p.z <= box.max.z)
                    visit(_numbers[n], p);
            }
        }
    }

private:
    uint32 rowOf(double value, uint32 axis) const
    {
        const double part = (value - _box.min[axis]) / (_box.max[axis] - _box.min[axis]);
        return part > 0 ? static_cast<uint32>(std::min(part * _side, _side - 1.0)) : 0;
    }
    std::size_t cellOf(const Vector3D& p) const { return std::size_t{rowOf(p.y, 1)} * _side + rowOf(p.z, 2); }

    std::vector<Vector3D> _points;
    Box3D _box = Box3D::empty();
    uint32 _side;
    std::vector<uint32> _firsts, _numbers;
};

/// How often a part winds around a probe.
struct Winding
{
    uint32 part;
    int32 twice;  ///< as LineWinding has it
};

/// For every part, how the others wind around the middle of its probe face.
std::vector<std::vector<Winding>> windingsAround(const Mesh& mesh, const Parts& parts, Polling& polling)
{
    const Array<Vector3D>& pos = mesh.pos();
    const Array<Index3>& faces = mesh.trindexPos();
    std::vector<Vector3D> probes;
    for (const Part& part : parts.all)
    {
        const Index3& face = faces[part.probe];
        const Vector3D middle = (pos[face.a] + pos[face.b] + pos[face.c]) / 3;
        probes.push_back(isFinite(middle) ? middle : part.origin);
    }
    const PointGrid grid(probes);
    std::vector<std::vector<Winding>> windings(probes.size());
    for (const uint32 f : facesOf(mesh, polling))
    {
        const Index3& face = faces[f];
        Box3D box = Box3D::empty();
        for (uint32 c = 0; c < 3; ++c) box.extend(pos[face[c]]);
        const uint32 part = parts.of(face);
        grid.forEachBehind(box,
                           [&](uint32 probe, const Vector3D& point)
                           {
                               if (probe == part) return;
                               detail::LineWinding line(point, 0);
                               line.add(pos[face.a], pos[face.b], pos[face.c]);
                               if (line.sum() == 0) return;
                               auto& around = windings[probe];
                               const auto found =
                                   std::find_if(around.begin(), around.end(),
                                                [&](const Winding& w) { return w.part == part; });
                               if (found == around.end())
                                   around.push_back({part, line.sum()});
                               else
                                   found->twice += line.sum();
                           });
    }
    return windings;
}

/// What is to go where cavities are filled.
struct Cavities
{
    uint32 count = 0;
    std::vector<bool> isCavity;  ///< by part
    std::vector<bool> goes;      ///< a cavity, or within one
};

Cavities findCavities(const Mesh& mesh, Parts& parts, Polling& polling)
{
    Cavities cavities{0, std::vector<bool>(parts.all.size()), std::vector<bool>(parts.all.size())};
    if (polling.isStopped() || !someLookInwards(parts)) return cavities;
    findOpenParts(mesh, parts, polling);
    const auto windings = windingsAround(mesh, parts, polling);
    for (std::size_t n = 0; n < parts.all.size(); ++n)
    {
        int32 twice = 0;
        for (const Winding& w : windings[n]) twice += parts.all[w.part].isClosed ? w.twice : 0;
        cavities.isCavity[n] = parts.all[n].isClosed && parts.all[n].volume < 0 && twice > 0;
        cavities.count += cavities.isCavity[n];
    }
    for (std::size_t n = 0; n < parts.all.size(); ++n)
        cavities.goes[n] =
            cavities.isCavity[n] ||
            std::any_of(windings[n].begin(), windings[n].end(),
                        [&](const Winding& w) { return cavities.isCavity[w.part] && w.twice < 0; });
    return cavities;
}

}  // namespace

PartCounts countPartsAndCavities(const Mesh& mesh, CancelCallback callback)
{
    Polling polling(callback);
    Parts parts = findParts(mesh, polling);
    const uint32 cavities = findCavities(mesh, parts, polling).count;
    return polling.isStopped() ? PartCounts{0, 0}
                               : PartCounts{static_cast<uint32>(parts.all.size()), cavities};
}

PartCounts fillCavities(Mesh& mesh, CancelCallback callback)
{
    Polling polling(callback);
    Parts parts = findParts(mesh, polling);
    const Cavities cavities = findCavities(mesh, parts, polling);
    if (polling.isStopped()) return {0, 0};
    if (cavities.count > 0)
    {
        std::vector<uint32> inside;
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
            if (cavities.goes[parts.of(mesh.trindexPos()[f])]) inside.push_back(f);
        detail::dropFaces(mesh, inside);
        dropUnusedPositions(mesh);
    }
    const auto left = std::count(cavities.goes.begin(), cavities.goes.end(), false);
    return {static_cast<uint32>(left), cavities.count};
}

}  // namespace tavrix
