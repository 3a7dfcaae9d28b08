#pragma once

#include <atomic>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Matrix4.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/spatial/GeometryTree.h>
#include <tavrix/spatial/MeshPoint.h>

namespace tavrix
{

namespace detail
{
class FaceTree;
}

/// A copy of a mesh with trees of boxes over its triangles, which answers where rays hit it, what of it is
/// near, and what is inside.
///
/// Answers do not depend on the trees: they are those of a look at every face, and of equal answers that of
/// the face with the lowest number. Faces with a corner that does not exist or is not finite are not there
/// for queries. Computation is in double precision; coordinates are to stay below 1e75, so that it does not
/// overflow. A query takes O(log faces) on even meshes and allocates nothing; several threads may ask one
/// collider at once.
///
/// When memory runs out, creating and copying leave a collider that finds nothing.
class TX_GEOMETRY_API MeshCollider
{
public:
    /// The kind of tree: single-precision boxes, of which leaves name faces.
    using Tree = GeometryTree<GeometryNode<Box3F>>;

    MeshCollider();
    /// Copies the mesh, as Mesh::copyFrom does, and the tree.
    /// @{
    MeshCollider(const MeshCollider& other);
    MeshCollider& operator=(const MeshCollider& other);
    /// @}
    /// Take mesh and tree over; the other collider is left empty, and finds nothing.
    /// @{
    MeshCollider(MeshCollider&& other) noexcept;
    MeshCollider& operator=(MeshCollider&& other) noexcept;
    /// @}
    virtual ~MeshCollider();
    /// As assigning.
    void copyFrom(const MeshCollider& other);

    /// Copies the mesh, makes sure that it has smoothed normals (unless a face has a corner that does not
    /// exist) and builds a tree for queries, with the corners of all faces in it: some 130 bytes a face and,
    /// on one thread, half a microsecond. False, and an empty collider, when the callback, polled every few
    /// milliseconds besides while the mesh is copied, stopped it.
    bool create(const Mesh& mesh, uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// The same with all objects of an ASE file, joined. False, and the collider as it was, when the file
    /// cannot be read or has no faces (MeshImporter::read_ASE tells which).
    bool create_ASE(const TX_String& path, uint32 threadCount = 1);

    /// Refits the trees after the mesh's positions were changed, with a margin of 2^-23; the faces are the
    /// same. Until then queries answer from the old positions.
    void recalculateTree();
    /// Gives the mesh the positions of `source` under the matrix, and its normals (vertex, face and smoothed)
    /// turned by it, then refits the trees. The source is the mesh that the collider was created with, or one
    /// with the same faces: false, and nothing changed, when it has another number of positions or faces.
    bool transformRt(const Matrix4<double>& matrix, const Mesh& source);

    /// The mesh; whoever moves its positions calls recalculateTree, and create when faces change.
    /// @{
    Mesh& getMesh() { return _mesh; }
    const Mesh& getMesh() const { return _mesh; }
    /// @}
    /// The public tree over the faces as they were when the collider was created, refitted since; the same
    /// for every thread count. It is built when it is first asked for, which takes a second for a million
    /// faces on one thread; several threads may ask at once. Queries have a tree of their own, so that who
    /// changes boxes of this one does not change what they find.
    /// @{
    const Tree& getTree() const;
    Tree& getTree();
    /// @}

    /// The first hit of the ray, from either side, at most `limit` from its origin; `distance` and `limit`
    /// are in lengths of the ray's direction. No ray slips through between faces that share an edge or a
    /// corner. Faces that the ray runs in are not hit, nor are those without area. A ray without direction,
    /// or that is not finite, hits nothing.
    std::optional<MeshPoint> castRay(const Ray3D& ray,
                                     double limit = std::numeric_limits<double>::infinity()) const;
    /// Whether the ray hits anything; sooner known than what it hits first.
    bool isHit(const Ray3D& ray, double limit = std::numeric_limits<double>::infinity()) const;

    /// The point of the surface nearest to a point, at most `limit` away. Faces without area count as the
    /// edges or points that they are. None when the point is not finite. Distances are compared as squares:
    /// from more than 2^25 of its sizes away, any point of the mesh may count as the nearest.
    std::optional<MeshPoint> nearestPoint(const Vector3D& point,
                                          double limit = std::numeric_limits<double>::infinity()) const;

    /// How often the faces wind around the point: the mean over six rays along the axes, which count how
    /// often they come in and out. For a closed mesh that is exact, also where rays run through edges and
    /// corners or along faces: 1 inside of faces that look outwards, -1 of such that look inwards. Near holes
    /// most rays decide. A point on the surface may go either way; around one that is not finite nothing
    /// winds.
    double windingNumber(const Vector3D& point) const;
    /// How much larger it is around a point that lies along one axis from another, exact for closed meshes as
    /// well, and sooner known when they lie near each other. Neither lies on the surface.
    int32 windingChange(const Vector3D& from, uint32 axis, double to) const;
    /// Whether the winding number is further than 1/2 from 0: overlapping parts are inside, cavities are not,
    /// and which side the faces look to does not matter as long as they agree.
    bool isInside(const Vector3D& point) const;

    /// The distance from the nearest point of the surface, negative inside; infinite where there is none.
    /// AdaptiveDistance.h tells many within a tolerance in a fraction of the time.
    double signedDistance(const Vector3D& point) const;

    /// The faces that have a point in common with the closed box, ascending: the triangles themselves are
    /// tested, not their boxes. What comes closer than rounding in double precision can tell counts as
    /// touching. `faces` is replaced.
    void findOverlapping(const Box3D& box, Array<uint32>& faces) const;

    /// @name Batches
    /// The answers of the queries of one kind, one a question and in their order, to the bit the same as
    /// asked one by one, for every thread count. What they are written to is replaced. Some thousand queries
    /// keep another thread busy; fewer do not start one. False when the callback stopped them; the array is
    /// empty then.
    /// @{

    /// castRay for each ray, with one limit; `face` is noIndex and `distance` infinite where nothing is hit.
    bool castRays(std::span<const Ray3D> rays, Array<MeshPoint>& hits,
                  double limit = std::numeric_limits<double>::infinity(), uint32 threadCount = 1,
                  CancelCallback callback = nullptr) const;
    /// nearestPoint for each point, with one limit; `face` is noIndex and `distance` infinite where nothing
    /// is as near.
    bool nearestPoints(std::span<const Vector3D> points, Array<MeshPoint>& nearest,
                       double limit = std::numeric_limits<double>::infinity(), uint32 threadCount = 1,
                       CancelCallback callback = nullptr) const;
    /// windingNumber for each point.
    bool windingNumbers(std::span<const Vector3D> points, Array<double>& windings, uint32 threadCount = 1,
                        CancelCallback callback = nullptr) const;
    /// isInside for each point, as 1 or 0.
    bool areInside(std::span<const Vector3D> points, Array<uint8>& inside, uint32 threadCount = 1,
                   CancelCallback callback = nullptr) const;
    /// signedDistance for each point.
    bool signedDistances(std::span<const Vector3D> points, Array<double>& distances, uint32 threadCount = 1,
                         CancelCallback callback = nullptr) const;
    /// @}

private:
    template <class Fill>
    void fillOrClear(const Fill& fill);
    void clearTrees();
    template <class Visit>
    void visitAlong(const Vector3D& from, uint32 axis, double to, Visit visit) const;
    int32 windingAlong(const Vector3D& point, uint32 axis) const;
    void buildTree() const;

    Mesh _mesh;
    std::unique_ptr<detail::FaceTree> _faces;  ///< null in a collider that finds nothing

    // The public tree, of as many threads as the other was.
    uint32 _threadCount = 1;
    mutable std::mutex _treeMutex;  ///< of what follows, until the tree is built
    mutable std::atomic<bool> _isTreeBuilt = true;
    mutable Tree _tree;
    mutable Array<Vector3D> _cornersOfTree;  ///< of creation, where faces were moved before it is built
};

}  // namespace tavrix
