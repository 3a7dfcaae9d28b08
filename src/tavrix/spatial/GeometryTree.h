#pragma once

#include <array>
#include <limits>
#include <memory>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/GeometryTree_RL.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/platform/Export.h>
#include <tavrix/spatial/BoxQueries.h>
#include <tavrix/spatial/GeometryNode.h>

namespace tavrix
{

/// A binary tree of boxes over geometry that has numbers, in practice the triangles of a mesh. Leaves are
/// added, then `integrate` merges them from below.
///
/// The nodes lie in one array, the root first. Every node comes before its children, and these lie side by
/// side; behind a pair follows everything below its first node, then everything below its second. Neither
/// building nor a query recurses, so that deep trees are no danger.
template <class Node>
class GeometryTree
{
public:
    GeometryTree() = default;
    /// Copies the nodes; the render object stays where it is.
    /// @{
    GeometryTree(const GeometryTree& other);
    GeometryTree& operator=(const GeometryTree& other);
    void assign(const GeometryTree& other);
    /// @}
    /// Take the nodes and the render object over; the other tree is left empty.
    /// @{
    GeometryTree(GeometryTree&& other) noexcept;
    GeometryTree& operator=(GeometryTree&& other) noexcept;
    /// @}
    virtual ~GeometryTree();

    /// Empties the tree and makes room for that many nodes; 0 frees the memory.
    virtual void clear(uint32 reserve = 0);
    /// Gives back the memory that no node uses.
    virtual void unreserve();
    /// Lets the render object draw, if there is one. `level` is handed on.
    virtual void render(int level);

    /// Number of nodes: 2 n - 1 for n leaves once they are integrated.
    uint32 size() const { return _nodes.size(); }
    /// The nodes as they lie in the array; numbers are not checked.
    /// @{
    bool isEmpty() const { return _nodes.empty(); }
    const Node& node(uint32 i) const { return _nodes[i]; }
    const Array<Node>& nodes() const { return _nodes; }
    /// @}
    /// The box of a node, which may be written; whoever does refits the nodes above.
    /// @{
    Box3F& geometry(uint32 i) { return _nodes[i].box; }
    const Box3F& geometry(uint32 i) const { return _nodes[i].box; }
    /// @}
    /// The root's box; that of no points for an empty tree.
    Box3F getRootNode() const { return isEmpty() ? Box3F::empty() : _nodes[0].box; }

    /// Appends a leaf. It is no part of the tree before the next `integrate`. The index is below 2^31.
    void add(const Box3F& box, uint32 geometryIndex) { _nodes.push_back(Node::leaf(box, geometryIndex)); }

    /// Builds the hierarchy over all leaves, in the order in which they lie in the array; internal nodes from
    /// before are dropped. O(n log n); the same tree for every thread count. More than 2^30 leaves throw
    /// std::length_error.
    ///
    /// Pairs are merged by 0.2 (vol(a) + vol(b)) - vol(a + b), where a + b is the smallest box that holds
    /// both, the greatest first, in single precision. Of equal scores the pair that comes first counts, and
    /// new nodes come last; the first child is the one that came first. Where no score is a number above the
    /// smallest of single precision, the first two are merged.
    ///
    /// From 256 leaves on that happens in blocks of at most 256, which leave 32 nodes each for the next pass,
    /// block after block. Blocks are cut in rounds over the blocks that there are: at the centre of all
    /// boxes, on the axis with the fewest boxes across (of equal ones the later), low being what has its box
    /// centre, min + (max - min) / 2, below; or, when a side would get less than an eighth, an eighth along
    /// the sorted centres. Partition and sort keep the order of equals; the high side is appended behind all
    /// blocks.
    ///
    /// A block adds at most 224 levels, so no tree is deeper than a few thousand; one of a million even
    /// triangles has some 30. A query keeps at most one node a level in mind.
    void integrate(uint32 threadCount = 1);

    /// Adds a leaf per triangle and integrates. For the merging, a leaf's box is the cube around the centre
    /// of the triangle's box, min + (max - min) / 2, whose half-side is 0.4 of that box's diagonal, computed
    /// in double precision and rounded; such a cube need not hold its triangle. When `recalculate` is set and
    /// the tree is not empty, recalculateMesh with margin 0 follows, and only then queries find all.
    /// Triangles with a corner that does not exist or is not finite get the box of no points, which no query
    /// meets.
    void integrateMesh(const Array<Index3>& triangles, const Array<Vector3D>& positions, bool recalculate,
                       uint32 threadCount = 1);
    /// Gives every leaf the box of its triangle, rounded outwards to single precision, and refits the nodes
    /// above. Each side moves outwards by its own distance from the origin plane times `margin` before that,
    /// so that 2^-23 means one or two units in the last place. O(nodes).
    void recalculateMesh(const Array<Index3>& triangles, const Array<Vector3D>& positions, float margin,
                         uint32 threadCount = 1);

    /// Refits all internal nodes: each becomes the smallest box that holds its two children.
    void recalculateGeometryNodesNoLeafFromGeometryNodesLeaf();
    /// The same for the nodes below one node and itself; a leaf stays as it is.
    void recalculateGeometryNodesNoLeafFromGeometryNodesLeafRecursive(uint32 node);

    /// @name Queries
    /// The nodes have to be refitted, so that every box holds what is below it. A query calls
    /// visit(geometryIndex, limit) for leaves whose boxes are within the limit, near ones first (which is no
    /// strict order of what is in them), and visit returns the limit to go on with: the same or a smaller
    /// one; below 0 ends the query.
    /// @{

    /// Leaves that the ray meets at most `limit` lengths of its direction away from its origin.
    template <class Visit>
    void visitRay(const Ray3D& ray, double limit, Visit visit) const
    {
        const RaySlabs slabs(ray, getRootNode());
        descend([&](const Box3F& box) { return slabs.entry(box); }, limit, visit);
    }
    /// Leaves whose squared distance from the point is at most `squaredLimit`; none for a point that is not
    /// finite.
    template <class Visit>
    void visitNearest(const Vector3D& point, double squaredLimit, Visit visit) const
    {
        if (!isFinite(point)) return;
        const BoxDistance distance(point, getRootNode());
        descend([&](const Box3F& box) { return distance.squared(box); }, squaredLimit, visit);
    }
    /// Leaves that have a point in common with the box, in no particular order; the limit is 0.
    template <class Visit>
    void visitOverlapping(const Box3F& box, Visit visit) const
    {
        const auto isApart = [&](const Box3F& other)
        {
            for (uint32 axis = 0; axis < 3; ++axis)
                if (!(other.min[axis] <= box.max[axis] && box.min[axis] <= other.max[axis])) return true;
            return false;
        };
        descend([&](const Box3F& other) { return isApart(other) ? 1.0 : 0.0; }, 0.0, visit);
    }
    /// @}

    /// The render object, null until a host or initializeRenderObject supplies one; the tree owns it.
    GeometryTree_RL* getGeometryTree_RL() const { return _renderObject.get(); }
    /// Gives the tree another render object, which it owns from then on; the former one is deleted.
    void setGeometryTree_RL(GeometryTree_RL* renderObject);
    /// Lets the host's factory make a render object when there is none.
    void initializeRenderObject();

private:
    /// Visits the leaves that measure at most `limit`.
    template <class Measure, class Visit>
    void descend(const Measure& measure, double limit, Visit& visit) const
    {
        limit = std::min(limit, std::numeric_limits<double>::max());
        if (isEmpty() || !(measure(_nodes[0].box) <= limit)) return;
        VisitStack stack;
        for (uint32 n = 0; n != noIndex;)
        {
            const Node& node = _nodes[n];
            if (node.isLeaf())
            {
                limit = std::min<double>(limit, visit(node.geometryIndex(), limit));
                n = stack.pop(limit);
                continue;
            }
            const uint32 pair = node.link;
            fetchChildren(_nodes[pair]);
            fetchChildren(_nodes[pair + 1]);
            const double first = measure(_nodes[pair].box), second = measure(_nodes[pair + 1].box);
            const bool swapped = second < first;
            const double near = swapped ? second : first, far = swapped ? first : second;
            if (far <= limit) stack.push(pair + !swapped, far);
            n = near <= limit ? pair + swapped : stack.pop(limit);
        }
    }

    /// Pending nodes of a tree walk, each with its distance: 64 inline, then on the heap.
    class VisitStack
    {
    public:
        void push(uint32 node, double measure)
        {
            if (_count < _first.size())
                _first[_count++] = {measure, node};
            else
                _more.push_back({measure, node});
        }
        /// The last node pushed of those that measure at most `limit`, noIndex when none is left.
        uint32 pop(double limit)
        {
            while (_count > 0)
            {
                Entry entry = _first[_count - 1];
                if (_more.empty())
                    --_count;
                else
                {
                    entry = _more.back();
                    _more.resize(_more.size() - 1);
                }
                if (entry.measure <= limit) return entry.node;
            }
            return noIndex;
        }

    private:
        struct Entry
        {
            double measure;
            uint32 node;
        };
        std::array<Entry, 64> _first;
        uint32 _count = 0;
        Array<Entry> _more;
    };

    /// Prefetches the node's children: large trees wait mostly for memory.
    void fetchChildren([[maybe_unused]] const Node& node) const
    {
#if defined(__GNUC__)
        if (node.isLeaf()) return;
        __builtin_prefetch(&_nodes[node.link]);
        __builtin_prefetch(&_nodes[node.link + 1]);
#endif
    }

    void refit(Node& node);

    Array<Node> _nodes;
    std::unique_ptr<GeometryTree_RL> _renderObject;
};

TX_GEOMETRY_INSTANCE(GeometryTree<GeometryNode<Box3F>>);

}  // namespace tavrix
