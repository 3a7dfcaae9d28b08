#pragma once

#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/reconstruction/detail/BlockSurface.h>

namespace tavrix::detail
{

/// Makes one mesh of the surfaces of blocks, which ascend by block: block after block, their vertices and
/// faces as they come. Foreign edges are looked up among the shared vertices of the blocks to which they
/// belong; where blocks do not agree, faces without their corners are dropped. Frees what it has copied. The
/// same bytes for every thread count; linear. False when the polling stopped it; the mesh then means nothing.
bool assembleMesh(std::vector<BlockSurface>& surfaces, uint32 threadCount, Polling& polling, Mesh& mesh);

/// The vertices that may coincide at nodes, once the mesh is assembled: by node, then ascending.
struct NodeVertex
{
    std::array<uint32, 3> node;
    uint32 vertex;

    friend bool operator<(const NodeVertex& a, const NodeVertex& b)
    {
        return a.node < b.node || (a.node == b.node && a.vertex < b.vertex);
    }
};
std::vector<NodeVertex> listNodeVertices(const std::vector<BlockSurface>& surfaces);

/// Calls use(node vertex) for those of a surface whose vertices are numbered from `first` on.
template <class Use>
void forEachNodeVertex(const BlockSurface& surface, uint32 first, const Use& use)
{
    for (const VertexAtNode& v : surface.verticesAtNodes)
    {
        NodeVertex at{{}, first + v.vertex};
        for (uint32 axis = 0; axis < 3; ++axis)
            at.node[axis] = surface.block[axis] * blockEdge + v.node[axis];
        use(at);
    }
}

/// Joins the vertices of each node into the first of them, where it stays, and drops the faces that lose a
/// corner. The other vertices and faces keep their order. Returns the vertices into which others were joined,
/// ascending: sheets may touch there. Linear where vertices are joined, else their number alone counts.
/// Nothing when the polling stopped it; the mesh then means nothing.
Optional<std::vector<uint32>> joinAtNodes(const std::vector<NodeVertex>& vertices, uint32 threadCount,
                                          Polling& polling, Mesh& mesh);

}  // namespace tavrix::detail
