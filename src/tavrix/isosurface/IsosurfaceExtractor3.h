#pragma once

#include <type_traits>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/ScalarField3_SG.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/isosurface/GridEdgeKey.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

namespace detail
{
class MeshCleaning;
}
class Mesh;
template <class Value, class Coord>
class ScalarField3Parent;
template <class T>
class ImplicitSurface3Regular;
template <class T>
class ImplicitSurface3Sparse;

/// Iso-surfaces of sampled fields as triangle meshes, by marching cubes (Lorensen and Cline 1987) with one
/// vertex a crossed grid edge. Static operations only.
///
/// A sample not below the threshold is inside. Faces come in the order of the cells' monoindices; their
/// winding turns the normals by the right-hand rule towards larger samples, so a field that is larger inside
/// needs flipped faces to show its outside. Vertices are numbered by hashing: all corner keys in face order
/// go into B = faces / 2 buckets by (monoindex mod B), each key once, and are counted bucket by bucket. The
/// result does not depend on the thread count (unless there are more threads than a plane x = const has
/// nodes) nor on timing. Surfaces close except at the border of the cells that were looked at.
class TX_GEOMETRY_API IsosurfaceExtractor3
{
public:
    /// Extracts the surface where the field crosses the threshold into the mesh, which should be empty:
    /// positions and zero normals are appended, faces (TrindexPos and TrindexNor) replaced. Normals are the
    /// caller's to compute.
    ///
    /// box: only cells with a corner node in the closed box. xLow … zHigh: the number of cell layers left out
    /// at each end of each axis. vertexEdges receives the grid edge of every vertex, as numbered before any
    /// clean-up. The callback is polled on the caller's thread every few milliseconds, through the clean-up
    /// too; a result above 0 stops with the mesh as it was. cleanUp merges vertices closer
    /// than pointSeparation / 2^13 on every axis and drops the faces that collapse (see mcaClean).
    ///
    /// Returns the number of faces; 0, with mesh and vertexEdges untouched, when fewer than two triangles
    /// arise or the callback stops.
    /// @{
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, const Box3<double>& box,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, const Box3<double>& box,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, bool cleanUp);
    /// @}

    /// The same from a tiled field, with the result of the dense field that has its samples: linear in the
    /// tiles that are stored, besides a look at the table of all.
    /// @{
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, const Box3<double>& box,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, const Box3<double>& box,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ScalarField3_SG<T, double>& field, Mesh& mesh,
                                     const std::type_identity_t<T>& threshold, uint32 xLow, uint32 xHigh,
                                     uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, bool cleanUp);
    /// @}

    /// Extracts a level-set surface at its own threshold; everything else as above. Of a sparse surface,
    /// nodes that are not stored read as the default value.
    /// @{
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Regular<T>& surface, Mesh& mesh,
                                     const Box3<double>& box, Array<GridEdgeKey>& vertexEdges,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Regular<T>& surface, Mesh& mesh,
                                     const Box3<double>& box, uint32 threadCount, CancelCallback callback,
                                     bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Regular<T>& surface, Mesh& mesh, uint32 xLow,
                                     uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Regular<T>& surface, Mesh& mesh, uint32 xLow,
                                     uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Sparse<T>& surface, Mesh& mesh,
                                     const Box3<double>& box, Array<GridEdgeKey>& vertexEdges,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Sparse<T>& surface, Mesh& mesh,
                                     const Box3<double>& box, uint32 threadCount, CancelCallback callback,
                                     bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Sparse<T>& surface, Mesh& mesh, uint32 xLow,
                                     uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     Array<GridEdgeKey>& vertexEdges, uint32 threadCount,
                                     CancelCallback callback, bool cleanUp);
    template <class T>
    static unsigned long extractMesh(const ImplicitSurface3Sparse<T>& surface, Mesh& mesh, uint32 xLow,
                                     uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh,
                                     uint32 threadCount, CancelCallback callback, bool cleanUp);
    /// @}

    /// Extracts from a parent of several fields, with unit normals interpolated from the nodes' gradients.
    ///
    /// Cells are classified against the threshold, but each vertex lies where its edge crosses 0, not the
    /// threshold: the hosts rely on it, and it is harmless for the threshold 0 that they pass. Writes three
    /// diagnostic lines to standard error. Everything else as above, over all cells.
    static unsigned long extractMesh(const ScalarField3Parent<float, double>& parent, Mesh& mesh,
                                     float threshold, uint32 threadCount, CancelCallback callback,
                                     bool cleanUp);

    /// Merges positions that differ by no more than the tolerance on every axis, then drops faces that name a
    /// position twice. Positions are sorted by x, then y, then z, differences within the tolerance counting
    /// as equal; each joins the group of the first one before it that opened a group, or opens its own, and
    /// every group becomes its first position. Tolerance 0 merges equal positions only; positions that are
    /// not numbers never merge. "Nor" is resized to the positions but not permuted: recompute normals. Where
    /// "TrindexNor" names more normals than there are positions, normals are a set of their own and stay.
    ///
    /// A valid mesh stays valid: extra arrays per position (also several elements each, such as weights) keep
    /// those of each group's first position, extra arrays per face those of the faces that are left;
    /// connectivity is released. "FaceNor" is not touched.
    ///
    /// The callback is polled every few milliseconds; false, and the mesh as it was, when it stops. With a
    /// callback the mesh is worked on in a copy. The tolerance stays behind as a process-wide value, so two
    /// threads must not clean at the same time.
    static bool mcaClean(Mesh& mesh, const double& tolerance, uint32 threadCount = 1,
                         CancelCallback callback = nullptr);

    /// Relaxes a mesh whose normals share the position indices: each pass moves every vertex by `follow`
    /// times the way to the average of its neighbours, plus `slide` times the part of that way across its
    /// normal, and turns its normal by `follow` times the angle to the neighbours' average normal. Neighbours
    /// count once for every face they share; a vertex without faces stays. The callback is polled before
    /// every pass and every vertex and ends the work at once; finished passes stay. The thread count changes
    /// nothing. A "Nor" shorter than "Pos" is filled up with zero vectors.
    /// @{
    static void tension(Mesh& mesh, float follow, float slide, uint32 iterations, uint32 threadCount,
                        CancelCallback callback = nullptr);
    static void tension(Mesh& mesh, float follow, float slide, uint32 iterations);
    /// @}

private:
    static bool eraseRepeatedVertices(detail::MeshCleaning& cleaning);
    static bool eraseFacesWithRepatedIndexes(detail::MeshCleaning& cleaning);
};

}  // namespace tavrix
