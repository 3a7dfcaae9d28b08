#include <tavrix/implicit/detail/MeshInside.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <tavrix/implicit/detail/FaceSlice.h>
#include <tavrix/mesh/detail/MeshFaces.h>

namespace tavrix::detail
{

namespace
{

/// Sum of a node's winding numbers along six rays: 6 inside a plain mesh, 0 outside. Clamped; larger sums
/// change nothing.
using WindingSum = std::int8_t;
constexpr int32 sumLimit = 60;

/// The planes of nodes that a face may cross, half open.
struct PlaneRange
{
    uint32 low, high;
};

/// A face cut by a plane costs as much as so many nodes or faces that are passed over.
constexpr uint64 workPerCut = 16;

/// Planes of nodes that a worker handles together: few enough for its cache, but no more than 64 goes over
/// all faces.
uint32 planesTogether(const LatticeNodes& lattice, uint32 axis)
{
    constexpr uint64 nodesTogether = 1u << 18;
    const uint64 plane = uint64{lattice.size[(axis + 1) % 3]} * lattice.size[(axis + 2) % 3];
    return static_cast<uint32>(std::max(nodesTogether / plane, uint64{lattice.size[axis]} / 64)) + 1;
}

/// Counts along rows of nodes. The array is [outer][along][inner], rows running in the middle: what comes in
/// is the crossings before each node and after the former, inwards less outwards, and all of each row in
/// `total`. What goes out is the sum of the windings seen from both ends. True when a row does not balance.
bool countAlongRows(int32* crossings, const int32* total, std::size_t outer, std::size_t along,
                    std::size_t inner, int32* running, PollCounter& work)
{
    bool isOpen = false;
    for (std::size_t o = 0; o < outer; ++o, total += inner)
    {
        for (std::size_t n = 0; n < inner; ++n)
        {
            running[n] = -total[n];
            isOpen |= total[n] != 0;
        }
        for (std::size_t a = 0; a < along && work.add(inner); ++a, crossings += inner)
            for (std::size_t n = 0; n < inner; ++n) crossings[n] = running[n] += 2 * crossings[n];
    }
    return isOpen;
}

/// The same for rows along z, whose nodes follow each other.
bool countAlongZ(int32* crossings, const int32* total, std::size_t rows, std::size_t along, PollCounter& work)
{
    bool isOpen = false;
    for (std::size_t r = 0; r < rows && work.add(along); ++r, crossings += along)
    {
        int32 running = -total[r];
        isOpen |= running != 0;
        for (std::size_t n = 0; n < along; ++n) crossings[n] = running += 2 * crossings[n];
    }
    return isOpen;
}

/// The crossings of the rows in some planes of nodes with the faces.
struct RowCrossings
{
    std::vector<int32> nodes, total;

    void clear(std::size_t nodeCount, std::size_t rowCount)
    {
        nodes.assign(nodeCount, 0);
        total.assign(rowCount, 0);
    }
};

/// What a worker keeps from one go to the next.
struct Workspace
{
    RowCrossings alongFirst, alongSecond;
    std::vector<int32> running;
    bool isOpen = false;
};

/// Sums the winding numbers along the rays: first along x, in planes of constant y, then along y and z in
/// planes of constant x.
class RayWindings
{
public:
    RayWindings(const Mesh& mesh, const GridDescription3<double>& grid, uint32 threadCount, Polling& polling)
        : _faces(mesh),
          _lattice(grid),
          _threadCount(threadCount),
          _polling(polling),
          _ranges(_faces.faceCount),
          _sums(grid.size)
    {
    }

    /// False when the polling stopped it.
    bool run()
    {
        return forPlanes(
                   1, [this](Workspace& space, uint32 low, uint32 high) { addAlongX(space, low, high); }) &&
               forPlanes(0,
                         [this](Workspace& space, uint32 low, uint32 high) { addAlongYZ(space, low, high); });
    }

    Array<WindingSum>& sums() { return _sums; }
    /// Whether any row goes through a hole.
    bool isOpen() const { return _isOpen; }

private:
    /// Calls add(workspace, low, high) for all planes of an axis, a few at a time.
    template <class Add>
    bool forPlanes(uint32 axis, Add add)
    {
        const auto findRanges = [&](uint32, uint64 begin, uint64 end)
        {
            for (uint64 f = begin; f < end; ++f) _ranges[f] = rangeOf(static_cast<uint32>(f), axis);
        };
        if (!inPieces(_polling, _faces.faceCount, scatteredItems, _threadCount, findRanges)) return false;
        std::vector<Workspace> spaces(std::max(_threadCount, 1u));
        const uint32 together = planesTogether(_lattice, axis);
        const auto addPlanes = [&](uint32 worker, uint64 begin, uint64 end)
        {
            for (uint64 low = begin; low < end && !_polling.isStopped(); low += together)
                add(spaces[worker], static_cast<uint32>(low),
                    static_cast<uint32>(std::min<uint64>(low + together, end)));
        };
        const uint64 nodes = uint64{_lattice.size[0]} * _lattice.size[1] * _lattice.size[2];
        const uint32 threads = threadsWorth(nodes + uint64{16} * _faces.faceCount, lightItems, _threadCount);
        if (!polledFor(_polling, _lattice.size[axis], threads, addPlanes)) return false;
        for (const Workspace& space : spaces) _isOpen |= space.isOpen;
        return true;
    }

    PlaneRange rangeOf(uint32 face, uint32 axis) const
    {
        if (!_faces.isUsable(face)) return {0, 0};
        const double a = _faces.corner(face, 0)[axis], b = _faces.corner(face, 1)[axis],
                     c = _faces.corner(face, 2)[axis];
        const NodesBetween nodes(_lattice, axis, std::min({a, b, c}), std::max({a, b, c}));
        return {nodes.low, nodes.high};
    }

    /// Calls visit(plane, cut) wherever a face crosses one of the planes [low, high) of an axis.
    template <class Visit>
    void forCuts(uint32 axis, uint32 low, uint32 high, PollCounter& work, Visit visit) const
    {
        for (uint32 f = 0; f < _faces.faceCount && work.add(1); ++f)
        {
            if (_ranges[f].low >= high || _ranges[f].high <= low) continue;
            const Vector3D* const corners[3] = {&_faces.corner(f, 0), &_faces.corner(f, 1),
                                                &_faces.corner(f, 2)};
            const uint32 end = std::min(high, _ranges[f].high);
            Cut cut{};
            for (uint32 p = std::max(low, _ranges[f].low); p < end && work.add(workPerCut); ++p)
                if (cutFace(corners, axis, _lattice.nodes[axis][p], cut)) visit(p, cut);
        }
    }

    void addAlongX(Workspace& space, uint32 low, uint32 high)
    {
        const std::size_t sizeX = _lattice.size[0], sizeY = _lattice.size[1], sizeZ = _lattice.size[2];
        const std::size_t rows = (high - low) * sizeZ;
        PollCounter work(_polling, lightItems);
        space.alongFirst.clear(sizeX * rows, rows);
        forCuts(1, low, high, work,
                [&](uint32 plane, const Cut& cut)
                {
                    const std::size_t row = (plane - low) * sizeZ;
                    const int32 inwards = cut.toB < cut.fromB ? 1 : -1;
                    const NodesBetween nodes(_lattice, 2, cut.fromB, cut.toB);
                    double x = 0;
                    for (uint32 k = nodes.low; k < nodes.high; ++k)
                        if (crossRow(_lattice.nodes[2][k], cut.fromB, cut.toB, cut.fromC, cut.toC, x))
                        {
                            const uint32 i = firstNodeAbove(_lattice, 0, x);
                            space.alongFirst.total[row + k] += inwards;
                            if (i < sizeX) space.alongFirst.nodes[i * rows + row + k] += inwards;
                        }
                });
        space.running.resize(rows);
        space.isOpen |= countAlongRows(space.alongFirst.nodes.data(), space.alongFirst.total.data(), 1, sizeX,
                                       rows, space.running.data(), work);
        for (std::size_t i = 0; i < sizeX && work.add(rows); ++i)
        {
            const int32* from = space.alongFirst.nodes.data() + i * rows;
            WindingSum* to = _sums.data() + (i * sizeY + low) * sizeZ;
            for (std::size_t n = 0; n < rows; ++n)
                to[n] = static_cast<WindingSum>(std::clamp(from[n], -sumLimit, sumLimit));
        }
    }

    void addAlongYZ(Workspace& space, uint32 low, uint32 high)
    {
        const std::size_t sizeY = _lattice.size[1], sizeZ = _lattice.size[2];
        const std::size_t planes = high - low, nodeCount = planes * sizeY * sizeZ;
        PollCounter work(_polling, lightItems);
        space.alongFirst.clear(nodeCount, planes * sizeZ);
        space.alongSecond.clear(nodeCount, planes * sizeY);
        forCuts(0, low, high, work,
                [&](uint32 plane, const Cut& cut)
                {
                    crossAlongY(space.alongFirst, plane - low, cut);
                    crossAlongZ(space.alongSecond, plane - low, cut);
                });
        space.running.resize(sizeZ);
        space.isOpen |= countAlongRows(space.alongFirst.nodes.data(), space.alongFirst.total.data(), planes,
                                       sizeY, sizeZ, space.running.data(), work);
        space.isOpen |= countAlongZ(space.alongSecond.nodes.data(), space.alongSecond.total.data(),
                                    planes * sizeY, sizeZ, work);
        WindingSum* sums = _sums.data() + low * sizeY * sizeZ;
        for (std::size_t n = 0; n < nodeCount; ++n)
        {
            const int32 sum = sums[n] + space.alongFirst.nodes[n] + space.alongSecond.nodes[n];
            sums[n] = static_cast<WindingSum>(std::clamp(sum, -sumLimit, sumLimit));
        }
    }

    void crossAlongY(RowCrossings& crossings, std::size_t plane, const Cut& cut) const
    {
        const std::size_t sizeY = _lattice.size[1], sizeZ = _lattice.size[2];
        const int32 inwards = cut.toC > cut.fromC ? 1 : -1;
        const NodesBetween nodes(_lattice, 2, cut.fromC, cut.toC);
        double y = 0;
        for (uint32 k = nodes.low; k < nodes.high; ++k)
            if (crossRow(_lattice.nodes[2][k], cut.fromC, cut.toC, cut.fromB, cut.toB, y))
            {
                const uint32 j = firstNodeAbove(_lattice, 1, y);
                crossings.total[plane * sizeZ + k] += inwards;
                if (j < sizeY) crossings.nodes[(plane * sizeY + j) * sizeZ + k] += inwards;
            }
    }

    void crossAlongZ(RowCrossings& crossings, std::size_t plane, const Cut& cut) const
    {
        const std::size_t sizeY = _lattice.size[1], sizeZ = _lattice.size[2];
        const int32 inwards = cut.toB < cut.fromB ? 1 : -1;
        const NodesBetween nodes(_lattice, 1, cut.fromB, cut.toB);
        double z = 0;
        for (uint32 j = nodes.low; j < nodes.high; ++j)
            if (crossRow(_lattice.nodes[1][j], cut.fromB, cut.toB, cut.fromC, cut.toC, z))
            {
                const uint32 k = firstNodeAbove(_lattice, 2, z);
                crossings.total[plane * sizeY + j] += inwards;
                if (k < sizeZ) crossings.nodes[(plane * sizeY + j) * sizeZ + k] += inwards;
            }
    }

    MeshFaces _faces;
    LatticeNodes _lattice;
    uint32 _threadCount;
    Polling& _polling;
    Array<PlaneRange> _ranges;  ///< of each face along the present axis
    Array<WindingSum> _sums;
    bool _isOpen = false;
};

/// Winding sums of a node and of the neighbours that no face separates from it, and the number of nodes.
struct NeighbourhoodSum
{
    int32 sums, nodes;
};

/// The distances of two neighbouring nodes to a face that separates them sum to at most the spacing.
template <class T>
NeighbourhoodSum neighbourhoodSum(const GridDescription3<double>& grid, const WindingSum* sums,
                                  const T* samples, uint32 node)
{
    const Index3 index = grid.getIndexes(node);
    const uint32 strides[3] = {grid.sizeYZ, grid.sizeZ, 1};
    NeighbourhoodSum all{sums[node], 1};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const auto include = [&](uint32 other)
        {
            const bool isParted = double{samples[node]} + double{samples[other]} <= grid.separation[axis];
            all.sums += isParted ? 0 : sums[other];
            all.nodes += !isParted;
        };
        if (index[axis] > 0) include(node - strides[axis]);
        if (index[axis] + 1 < grid.sizeAlong(axis)) include(node + strides[axis]);
    }
    return all;
}

/// Six times the volume inside the faces as seen from the grid, summed in blocks of faces that do not depend
/// on the thread count.
double volumeOf(const Mesh& mesh, const GridDescription3<double>& grid, uint32 threadCount, Polling& polling)
{
    const MeshFaces faces(mesh);
    constexpr uint32 blockSize = 1u << 14;
    const Vector3D center = (grid.box.min + grid.box.max) * 0.5;
    std::vector<double> parts(faces.faceCount / blockSize + 1, 0.0);
    inPieces(polling, parts.size(), 4, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 block = begin; block < end; ++block)
                     for (uint64 f = block * blockSize;
                          f < std::min<uint64>((block + 1) * blockSize, faces.faceCount); ++f)
                     {
                         const auto face = static_cast<uint32>(f);
                         if (!faces.isUsable(face)) continue;
                         const Vector3D a = faces.corner(face, 0) - center,
                                        b = faces.corner(face, 1) - center,
                                        c = faces.corner(face, 2) - center;
                         parts[block] += dot(a, cross(b, c));
                     }
             });
    double sum = 0;
    for (const double part : parts) sum += part;
    return sum;
}

}  // namespace

template <class T>
bool negateInside(const Mesh& mesh, const GridDescription3<double>& grid, uint32 threadCount,
                  Polling& polling, T* samples)
{
    if (!polling.goOn()) return false;
    if (grid.size == 0) return true;
    RayWindings windings(mesh, grid, threadCount, polling);
    if (!windings.run()) return false;
    WindingSum* sums = windings.sums().data();
    // A mean of six above 1/2, or above -1/2 when the solid is outside.
    const int32 needed = volumeOf(mesh, grid, threadCount, polling) < 0 ? -3 : 3;
    Array<WindingSum> means;
    if (windings.isOpen())
    {
        means.resize(grid.size);
        const auto average = [&](uint32, uint64 begin, uint64 end)
        {
            for (uint64 n = begin; n < end; ++n)
            {
                const NeighbourhoodSum all = neighbourhoodSum(grid, sums, samples, static_cast<uint32>(n));
                means[n] = static_cast<WindingSum>(all.sums > needed * all.nodes ? needed + 1 : needed);
            }
        };
        if (!inPieces(polling, grid.size, scatteredItems, threadCount, average)) return false;
        sums = means.data();
    }
    return inPieces(polling, grid.size, lightItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 n = begin; n < end; ++n)
                            samples[n] = sums[n] > needed ? -samples[n] : samples[n];
                    });
}

template bool negateInside(const Mesh&, const GridDescription3<double>&, uint32, Polling&, float*);
template bool negateInside(const Mesh&, const GridDescription3<double>&, uint32, Polling&, double*);

}  // namespace tavrix::detail
