#include <tavrix/spatial/GeometryTree.h>

#include <utility>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/detail/IntegratingTable.h>
#include <tavrix/spatial/detail/TriangleBox.h>

namespace tavrix
{

template <class Node>
GeometryTree<Node>::GeometryTree(const GeometryTree& other) : _nodes(other._nodes)
{
}

template <class Node>
GeometryTree<Node>& GeometryTree<Node>::operator=(const GeometryTree& other)
{
    assign(other);
    return *this;
}

template <class Node>
GeometryTree<Node>::GeometryTree(GeometryTree&& other) noexcept = default;

template <class Node>
GeometryTree<Node>& GeometryTree<Node>::operator=(GeometryTree&& other) noexcept
{
    if (this == &other) return *this;
    _nodes = std::exchange(other._nodes, {});
    _renderObject = std::move(other._renderObject);
    return *this;
}

template <class Node>
void GeometryTree<Node>::assign(const GeometryTree& other)
{
    _nodes = other._nodes;
}

template <class Node>
GeometryTree<Node>::~GeometryTree() = default;

template <class Node>
void GeometryTree<Node>::clear(uint32 reserve)
{
    _nodes.clear();
    _nodes.reserve(reserve, false);
}

template <class Node>
void GeometryTree<Node>::unreserve()
{
    if (_nodes.capacity() > _nodes.size()) _nodes.reserve(_nodes.size());
}

template <class Node>
void GeometryTree<Node>::render(int level)
{
    if (_renderObject) _renderObject->render(*this, level);
}

template <class Node>
void GeometryTree<Node>::setGeometryTree_RL(GeometryTree_RL* renderObject)
{
    if (renderObject != _renderObject.get()) _renderObject.reset(renderObject);
}

template <class Node>
void GeometryTree<Node>::initializeRenderObject()
{
    if (!_renderObject) _renderObject.reset(FactoryOwnerT<GeometryTree_RL_factory>::getFactory().create());
}

template <class Node>
void GeometryTree<Node>::refit(Node& node)
{
    if (!node.isLeaf()) node.box = detail::unionOf(_nodes[node.link].box, _nodes[node.link + 1].box);
}

template <class Node>
void GeometryTree<Node>::recalculateGeometryNodesNoLeafFromGeometryNodesLeaf()
{
    // children lie behind their parent
    for (uint32 n = size(); n-- > 0;) refit(_nodes[n]);
}

template <class Node>
void GeometryTree<Node>::recalculateGeometryNodesNoLeafFromGeometryNodesLeafRecursive(uint32 node)
{
    Array<uint32> internal;
    if (!_nodes[node].isLeaf()) internal.push_back(node);
    for (uint32 n = 0; n < internal.size(); ++n)
        for (const uint32 child : {_nodes[internal[n]].link, _nodes[internal[n]].link + 1})
            if (!_nodes[child].isLeaf()) internal.push_back(child);
    for (uint32 n = internal.size(); n-- > 0;) refit(_nodes[internal[n]]);
}

template <class Node>
void GeometryTree<Node>::recalculateMesh(const Array<Index3>& triangles, const Array<Vector3D>& positions,
                                         float margin, uint32 threadCount)
{
    const detail::MeshFaces faces(positions, triangles);
    parallelFor(size(), detail::threadsWorth(size(), detail::scatteredItems, threadCount),
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                        if (Node& node = _nodes[n]; node.isLeaf())
                            node.box = detail::roundedOutwards(faces.box(node.geometryIndex()), margin);
                });
    recalculateGeometryNodesNoLeafFromGeometryNodesLeaf();
}

template class GeometryTree<GeometryNode<Box3F>>;

}  // namespace tavrix
