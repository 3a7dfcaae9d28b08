#pragma once

#include <tavrix/foundation/RenderLayer.h>

namespace tavrix
{

template <class T>
struct Box3;
template <class Box>
struct GeometryNode;
template <class Node>
class GeometryTree;

/// Draws one tree of boxes.
class TX_GEOMETRY_API GeometryTree_RL : public Service_RL
{
public:
    /// `level` is what GeometryTree::render was called with: the depth of the boxes to draw, as the host
    /// understands it.
    virtual void render(const GeometryTree<GeometryNode<Box3<float>>>& tree, int level) = 0;
};

/// Makes the render object of a tree; the tree owns it. This base makes dummies.
class TX_GEOMETRY_API GeometryTree_RL_factory
{
public:
    virtual ~GeometryTree_RL_factory();
    /// A new object, which the caller owns and deletes.
    virtual GeometryTree_RL* create();
};

/// Draws nothing.
class TX_GEOMETRY_API GeometryTree_RL_Dummy : public GeometryTree_RL
{
public:
    void render(const GeometryTree<GeometryNode<Box3<float>>>&, int) override {}
};

TX_GEOMETRY_INSTANCE(FactoryOwnerT<GeometryTree_RL_factory>);

}  // namespace tavrix
