#include <tavrix/reconstruction/detail/BlockMarching.h>

#include <cstring>

#include <tavrix/isosurface/detail/CrossedCells.h>
#include <tavrix/isosurface/detail/EdgeOwners.h>

namespace tavrix::detail
{

namespace
{

static_assert(blockNodes <= 64, "a row of nodes is one word of signs");

/// Vertices nearer than that to an end of their edge, in parts of it, may coincide with others at that node.
constexpr double atNode = 1.0 / 8192;  // 2^-13

/// For each combination of three conditions on a cell, one an axis (bits 0, 1, 2): the edges of a cell for
/// which holds(edge, conditions).
template <class Holds>
constexpr std::array<uint16, 8> edgesWhere(Holds holds)
{
    std::array<uint16, 8> masks{};
    for (uint32 conditions = 0; conditions < 8; ++conditions)
        for (uint32 e = 0; e < 12; ++e)
            if (holds(cellEdges[e], conditions))
                masks[conditions] = static_cast<uint16>(masks[conditions] | 1u << e);
    return masks;
}

/// Whether an edge lies at the low (0) or high (1) side of its cell along an axis across it.
constexpr bool liesAt(const CellEdge& edge, uint32 axis, uint32 side)
{
    const uint32 offset = axis == 0 ? edge.dx : axis == 1 ? edge.dy : edge.dz;
    return edge.axis != axis && offset == side;
}

/// Where the cell is the first of the block along the axes: the edges that belong to other blocks.
constexpr std::array<uint16, 8> edgesOfOthers = edgesWhere(
    [](const CellEdge& edge, uint32 isFirst)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
            if (liesAt(edge, axis, 0) && (isFirst >> axis & 1)) return true;
        return false;
    });
/// Where the cell is the last of the block along the axes: the edges that other blocks have too.
constexpr std::array<uint16, 8> edgesOthersHave = edgesWhere(
    [](const CellEdge& edge, uint32 isLast)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
            if (liesAt(edge, axis, 1) && (isLast >> axis & 1)) return true;
        return false;
    });

/// Bits 0, 1, 2: the index of the axis is `at`.
constexpr uint32 conditionsWhere(uint32 i, uint32 j, uint32 k, uint32 at)
{
    return (i == at ? 1u : 0u) | (j == at ? 2u : 0u) | (k == at ? 4u : 0u);
}

}  // namespace

bool BlockMarching::run(const BlockRoom& room, float level)
{
    _vertexCount = _faceCount = 0;
    _foreign.clear();
    _shared.clear();
    _atNodes.clear();
    if (!classify(room, level)) return false;
    const auto firstCell = [&](uint32 axis) { return room.low[axis] > 0 ? room.low[axis] - 1 : 0; };
    for (uint32 i = firstCell(0); i < std::min(room.high[0], blockEdge); ++i, _lowerPlane ^= 1)
        for (uint32 j = firstCell(1); j < std::min(room.high[1], blockEdge); ++j)
            marchColumn(room, level, i, j);
    std::sort(_shared.begin(), _shared.end());
    return _faceCount > 0;
}

/// Fills the signs; false when all are the same.
bool BlockMarching::classify(const BlockRoom& room, float level)
{
    constexpr uint64 full = (uint64{1} << blockNodes) - 1;
    std::memset(_signs, 0, sizeof _signs);
    uint64 any = 0, all = full;
    for (uint32 i = room.low[0]; i < room.high[0]; ++i)
        for (uint32 j = room.low[1]; j < room.high[1]; ++j)
        {
            const uint64 signs = signWord(room.at(i, j, 0), blockNodes, level);
            _signs[i][j] = signs;
            any |= signs;
            all &= signs;
        }
    const auto rows = [&](uint32 axis) { return room.high[axis] - room.low[axis]; };
    return any != 0 && !(all == full && rows(0) == blockNodes && rows(1) == blockNodes);
}

/// Goes along the cells (i, j, 0 …) that the surface crosses.
void BlockMarching::marchColumn(const BlockRoom& room, float level, uint32 i, uint32 j)
{
    forEachCrossedCell({&_signs[i][j], &_signs[i + 1][j], &_signs[i + 1][j + 1], &_signs[i][j + 1]}, 1, 0,
                       blockEdge,
                       [&](uint32 k, uint32 caseIndex)
                       {
                           numberEdges(room, level, i, j, k, caseIndex);
                           addFaces(j, k, caseIndex);
                       });
}

/// The number of an edge of the cell (j, k) of the column that is marched.
uint32& BlockMarching::numberOf(uint32 j, uint32 k, uint32 edge)
{
    const CellEdge& e = cellEdges[edge];
    return _planes[_lowerPlane ^ e.dx][((j + e.dy) * blockNodes + k + e.dz) * 3 + e.axis];
}

/// Numbers the crossed edges that no cell before has.
void BlockMarching::numberEdges(const BlockRoom& room, float level, uint32 i, uint32 j, uint32 k,
                                uint32 caseIndex)
{
    const MarchingCubesCase& c = marchingCubesCases[caseIndex];
    const uint32 isFirst = conditionsWhere(i, j, k, 0);
    const uint32 isLast = conditionsWhere(i, j, k, blockEdge - 1);
    for (uint32 n = 0; n < c.edgeCount; ++n)
    {
        const uint32 edge = c.edges[n];
        if (!(ownedEdges[isFirst] >> edge & 1)) continue;
        const CellEdge& e = cellEdges[edge];
        const uint32 node[] = {i + e.dx, j + e.dy, k + e.dz};
        const BlockEdge key = blockEdgeAt(node[0], node[1], node[2], e.axis);
        uint32& number = numberOf(j, k, edge);
        if (edgesOfOthers[isFirst] >> edge & 1)
        {
            number = static_cast<uint32>(_foreign.size()) | foreignFlag;
            _foreign.push_back(key);
            continue;
        }
        number = addVertex(room, level, node, e.axis);
        if (edgesOthersHave[isLast] >> edge & 1) _shared.push_back({key, number});
    }
}

/// Places a vertex where the linear interpolation of its edge's samples meets the level.
uint32 BlockMarching::addVertex(const BlockRoom& room, float level, const uint32 (&node)[3], uint32 axis)
{
    constexpr std::size_t steps[] = {BlockRoom::strideX, BlockRoom::strideY, 1};
    const float* sample = room.at(node[0], node[1], node[2]);
    const double low = sample[0], high = sample[steps[axis]];
    const double t = (level - low) / (high - low);
    Vector3D point{room.nodes[0][node[0]], room.nodes[1][node[1]], room.nodes[2][node[2]]};
    point[axis] += t * (room.nodes[axis][node[axis] + 1] - point[axis]);
    if (t <= atNode || t >= 1 - atNode)
    {
        VertexAtNode vertex{{}, _vertexCount};
        for (uint32 n = 0; n < 3; ++n) vertex.node[n] = static_cast<uint8>(node[n]);
        if (t > 0.5) ++vertex.node[axis];
        _atNodes.push_back(vertex);
    }
    _vertices[_vertexCount] = point;
    return _vertexCount++;
}

void BlockMarching::addFaces(uint32 j, uint32 k, uint32 caseIndex)
{
    const MarchingCubesCase& c = marchingCubesCases[caseIndex];
    const auto number = [&](uint32 corner) { return numberOf(j, k, c.corners[corner]); };
    for (uint32 t = 0; t < c.triangleCount; ++t)
        _faces[_faceCount++] = {number(3 * t), number(3 * t + 2), number(3 * t + 1)};
}

}  // namespace tavrix::detail
