#pragma once

#include <memory>
#include <vector>

#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/reconstruction/detail/BlockRoom.h>

namespace tavrix::detail
{

/// An edge of a block: three axes a node, the node's indices in the block, z fastest.
using BlockEdge = uint32;

constexpr BlockEdge blockEdgeAt(uint32 i, uint32 j, uint32 k, uint32 axis)
{
    return ((i * blockNodes + j) * blockNodes + k) * 3 + axis;
}

/// In the faces of a block, marks the number of a foreign edge instead of a vertex.
inline constexpr uint32 foreignFlag = 1u << 31;

/// A vertex of a block that other blocks may ask for, for it lies on a layer of nodes that they share.
struct SharedVertex
{
    BlockEdge edge;
    uint32 vertex;

    friend bool operator<(const SharedVertex& a, const SharedVertex& b) { return a.edge < b.edge; }
};

/// A vertex so near a node that others at that node may lie in the same place.
struct VertexAtNode
{
    std::array<uint8, 3> node;  ///< of the block
    uint32 vertex;
};

/// The surface within one block: marching cubes (Lorensen and Cline 1987), cells in the order of their
/// nodes, z fastest; faces look towards smaller samples. Vertices are those of the edges that belong to the
/// block, in the order in which the faces first name them; on the others a face names a foreign edge.
class BlockMarching
{
public:
    /// Finds the surface of the room's samples at the level, which is above 0; false when there is none.
    bool run(const BlockRoom& room, float level);

    // What the last run found.

    const Vector3D* vertices() const { return _vertices.get(); }
    uint32 vertexCount() const { return _vertexCount; }
    const Index3* faces() const { return _faces.get(); }
    uint32 faceCount() const { return _faceCount; }
    /// The foreign edges, in the order of their numbers.
    const std::vector<BlockEdge>& foreignEdges() const { return _foreign; }
    /// Ascending by edge.
    const std::vector<SharedVertex>& sharedVertices() const { return _shared; }
    const std::vector<VertexAtNode>& verticesAtNodes() const { return _atNodes; }

private:
    static constexpr uint32 planeEdges = blockNodes * blockNodes * 3;
    static constexpr uint32 mostVertices = blockEdge * blockEdge * blockEdge * 3;
    static constexpr uint32 mostFaces = blockEdge * blockEdge * blockEdge * 5;

    bool classify(const BlockRoom& room, float level);
    void marchColumn(const BlockRoom& room, float level, uint32 i, uint32 j);
    void numberEdges(const BlockRoom& room, float level, uint32 i, uint32 j, uint32 k, uint32 caseIndex);
    uint32 addVertex(const BlockRoom& room, float level, const uint32 (&node)[3], uint32 axis);
    void addFaces(uint32 j, uint32 k, uint32 caseIndex);
    uint32& numberOf(uint32 j, uint32 k, uint32 edge);

    uint64 _signs[blockNodes][blockNodes];  ///< a bit a node along z
    // numbers of the vertices on the edges that start in the cells' lower and upper plane of nodes
    uint32 _planes[2][planeEdges];
    uint32 _lowerPlane = 0;
    // rooms for the most that can be; only what is used becomes memory
    std::unique_ptr<Vector3D[]> _vertices{new Vector3D[mostVertices]};
    std::unique_ptr<Index3[]> _faces{new Index3[mostFaces]};
    uint32 _vertexCount = 0, _faceCount = 0;
    std::vector<BlockEdge> _foreign;
    std::vector<SharedVertex> _shared;
    std::vector<VertexAtNode> _atNodes;
};

}  // namespace tavrix::detail
