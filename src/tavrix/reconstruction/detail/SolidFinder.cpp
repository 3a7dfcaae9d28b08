#include <tavrix/reconstruction/detail/SolidFinder.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace tavrix::detail
{

namespace
{

/// Half the diagonal of a cube, and a little for rounding.
double reachOfCube(double edge) { return edge * std::sqrt(3.0) / 2 * (1 + 1e-9); }

bool mayCross(const SolidShape& shape, const DistanceProbe& middle, double edge)
{
    return std::abs(shape.at(middle.signedDistance())) <= reachOfCube(edge);
}

/// A cube of blocks: a power of two along each side.
struct BlockCube
{
    BlockIndex first;
    DistanceProbe middle;
};

Vector3D middleOf(const BlockLattice& lattice, const BlockIndex& first, double edge)
{
    Vector3D middle;
    for (uint32 axis = 0; axis < 3; ++axis)
        middle[axis] = static_cast<double>(lattice.nodeOf(first, axis)) * lattice.spacing + edge / 2;
    return middle;
}

}  // namespace

std::vector<BlockIndex> findSolidBlocks(const SolidDistance& distance, const SolidShape& shape,
                                        const BlockLattice& lattice, const BlockIndex& last,
                                        uint32 threadCount, Polling& polling)
{
    uint32 size = std::bit_ceil(std::max({last[0], last[1], last[2]}) + 1);
    const auto edgeOf = [&](uint32 blocks) { return double{blockEdge} * blocks * lattice.spacing; };
    std::vector<BlockCube> cubes{{{0, 0, 0}, distance.probe(middleOf(lattice, {0, 0, 0}, edgeOf(size)))}};
    while (size > 1)
    {
        size /= 2;
        std::vector<BlockCube> children;
        for (const BlockCube& cube : cubes)
            for (uint32 child = 0; child < 8; ++child)
            {
                BlockIndex first = cube.first;
                for (uint32 axis = 0; axis < 3; ++axis) first[axis] += child >> axis & 1 ? size : 0;
                const bool isPast = first[0] > last[0] || first[1] > last[1] || first[2] > last[2];
                if (!isPast) children.push_back({first, cube.middle});
            }
        constexpr uint64 probesPerPiece = 256;
        if (!inPieces(polling, children.size(), probesPerPiece, threadCount,
                      [&](uint32, uint64 begin, uint64 end)
                      {
                          for (uint64 n = begin; n < end; ++n)
                          {
                              BlockCube& cube = children[n];
                              cube.middle =
                                  distance.probe(middleOf(lattice, cube.first, edgeOf(size)), cube.middle);
                          }
                      }))
            return {};
        std::erase_if(children,
                      [&](const BlockCube& cube) { return !mayCross(shape, cube.middle, edgeOf(size)); });
        cubes = std::move(children);
    }
    std::vector<BlockIndex> blocks;
    blocks.reserve(cubes.size());
    for (const BlockCube& cube : cubes) blocks.push_back(cube.first);
    std::sort(blocks.begin(), blocks.end());
    return blocks;
}

SolidFinder::SolidFinder(const SolidDistance& distance, const SolidShape& shape, const BlockLattice& lattice)
    : _distance(&distance),
      _shape(shape),
      _lattice(&lattice),
      _bricks(std::size_t{bricksAlong} * bricksAlong * bricksAlong),
      _nodes(std::size_t{2} * blockNodes * blockNodes),
      _needed(blockNodes)
{
}

bool SolidFinder::operator()(const BlockIndex& block, BlockMarching& marching)
{
    placeRoom(block);
    if (!probeBricks()) return false;
    probeNodes();
    return marching.run(*_room, level);
}

void SolidFinder::placeRoom(const BlockIndex& block)
{
    _room->moveTo(*_lattice, block);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        _room->low[axis] = 0;
        _room->high[axis] = blockNodes;
    }
}

/// Marks the nodes of the bricks that the surface may cross, and gives the others a far sample of their side.
/// False when there are none of the former.
bool SolidFinder::probeBricks()
{
    for (auto& plane : _needed) plane.fill(0);
    const double spacing = _lattice->spacing;
    DistanceProbe nearby = _distance->probe(middleOf(*_lattice, _room->block, blockEdge * spacing));
    bool isAny = false;
    for (uint32 i = 0; i < bricksAlong; ++i)
        for (uint32 j = 0; j < bricksAlong; ++j)
            for (uint32 k = 0; k < bricksAlong; ++k)
            {
                const uint32 first[] = {i * brickEdge, j * brickEdge, k * brickEdge};
                Vector3D middle;
                for (uint32 axis = 0; axis < 3; ++axis)
                    middle[axis] = _room->nodes[axis][first[axis] + brickEdge / 2];
                DistanceProbe& probe = brick(i, j, k);
                probe = _distance->probe(middle, k > 0   ? brick(i, j, k - 1)
                                                 : j > 0 ? brick(i, j - 1, k)
                                                 : i > 0 ? brick(i - 1, j, k)
                                                         : nearby);
                const bool isNear = mayCross(_shape, probe, brickEdge * spacing);
                isAny |= isNear;
                const auto side = sampleOf(stepsAt(probe) < 0 ? -far : far);
                for (uint32 x = first[0]; x <= first[0] + brickEdge; ++x)
                    for (uint32 y = first[1]; y <= first[1] + brickEdge; ++y)
                        if (isNear)
                            _needed[x][y] |= ((uint64{2} << brickEdge) - 1) << first[2];
                        else
                            std::fill_n(_room->at(x, y, first[2]), brickEdge + 1, side);
            }
    return isAny;
}

/// Samples the nodes that are marked. A node of a crossed edge is at most a step from the surface; of the
/// others only the side counts.
void SolidFinder::probeNodes()
{
    for (uint32 i = 0; i < blockNodes; ++i)
        for (uint32 j = 0; j < blockNodes; ++j)
        {
            for (uint32 k = 0; k < blockNodes; ++k) node(i, j, k) = {0, false, {}};
            for (uint64 nodes = _needed[i][j]; nodes != 0; nodes &= nodes - 1)
            {
                const auto k = static_cast<uint32>(std::countr_zero(nodes));
                Node& here = node(i, j, k);
                const DistanceProbe* nearby = lookAround(i, j, k, here);
                if (std::abs(here.bound) <= 1 + 1e-9)
                {
                    here.probe = _distance->probe(
                        {_room->nodes[0][i], _room->nodes[1][j], _room->nodes[2][k]}, *nearby);
                    here.bound = stepsAt(here.probe);
                    here.isProbed = true;
                }
                *_room->at(i, j, k) = sampleOf(here.bound);
            }
        }
}

/// A place on the mesh may be inside, where parts overlap: there the distance is -0.
float SolidFinder::sampleOf(double steps)
{
    const auto sample = static_cast<float>(level + std::clamp(steps, -far, far));
    return std::signbit(steps) ? std::min(sample, std::nextafter(level, 0.0f)) : sample;
}

/// Bounds a node's distance by those of the nodes before it and the middle of its brick. Returns the probe
/// from which to take its own.
const DistanceProbe* SolidFinder::lookAround(uint32 i, uint32 j, uint32 k, Node& here)
{
    const DistanceProbe* nearby = nullptr;
    const auto take = [&](double bound, double steps)
    {
        const double left = std::abs(bound) - steps;
        if (left > std::abs(here.bound)) here.bound = bound < 0 ? -left : left;
    };
    const auto look = [&](const Node& other)
    {
        take(other.bound, 1);
        if (other.isProbed) nearby = &other.probe;
    };
    if (i > 0) look(node(i - 1, j, k));
    if (j > 0) look(node(i, j - 1, k));
    if (k > 0) look(node(i, j, k - 1));
    const auto brickAlong = [](uint32 n) { return std::min(n / brickEdge, bricksAlong - 1); };
    const DistanceProbe& middle = brick(brickAlong(i), brickAlong(j), brickAlong(k));
    const Vector3D place{_room->nodes[0][i], _room->nodes[1][j], _room->nodes[2][k]};
    take(stepsAt(middle), length(place - middle.place) / _lattice->spacing);
    return nearby ? nearby : &middle;
}

double SolidFinder::stepsAt(const DistanceProbe& probe) const
{
    return _shape.at(probe.signedDistance()) / _lattice->spacing;
}

}  // namespace tavrix::detail
