#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// How a mesh is given other faces.
struct RemeshingSettings
{
    double edge = 0;  ///< the length that edges are to have, above 0
    /// Edges whose faces' normals differ by more, in radians, stay, and where such an edge or a border turns
    /// by more it keeps its vertex. The default is 40 degrees.
    double sharpAngle = 0.6981317007977318;
    uint32 rounds = 8;       ///< of splitting, collapsing, flipping and moving; five do most
    uint32 threadCount = 1;  ///< the result is the same for each
};

/// How remeshing ended.
enum class RemeshingStatus
{
    Done,
    Stopped,     ///< by the callback
    BadIndices,  ///< a face names a position or a normal that does not exist
    BadEdge,     ///< the length is not above 0, or not finite
    TooLarge     ///< there would be more than MeshTessellator::mostFaces
};

/// What was done.
struct RemeshingReport
{
    RemeshingStatus status = RemeshingStatus::Done;  ///< how it ended
    uint32 faces = 0;                                ///< that there are now
    double distance = 0;  ///< of the middles of the new faces from the given surface, at most
};

/// Gives a mesh faces that are nearly equilateral, with edges of about one length, on the same surface: edges
/// are split above 4/3 of that and collapsed below 4/5, flipped so that six meet at a vertex, and vertices
/// moved within the surface towards the middle of their neighbours and onto it (Botsch and Kobbelt, A
/// Remeshing Approach to Multiresolution Modeling, SGP 2004).
///
/// Sharp edges and borders stay where they are, with vertices of their own. What bends within less than the
/// length is lost but for these. A closed manifold stays one, with the same parts and handles; where the mesh
/// is none, edges and vertices stay as they are. Normals, where there are some, are made anew, with the sharp
/// edges; other arrays, whose values belong to the old vertices and faces, go.
///
/// Unless Done, the mesh stays as it was; std::bad_alloc likewise. Indices are checked. Some ten microseconds
/// and 300 bytes a face of the given and of the new mesh; threads share the moving of vertices alone.
TX_GEOMETRY_API RemeshingReport remeshIsotropically(Mesh& mesh, const RemeshingSettings& settings,
                                                    CancelCallback callback = nullptr);

}  // namespace tavrix
