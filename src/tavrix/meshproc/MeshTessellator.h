#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// How a mesh is subdivided.
struct SubdivisionSettings
{
    uint32 levels = 1;  ///< each makes four faces of every one; 0 leaves them as they are
    /// Edges whose faces' normals differ by more, in radians, are creases, and where a crease or a border
    /// turns by more it has a corner. Nothing: borders alone are creases, and round off their corners.
    Optional<double> creaseAngle = {};
    Array<Tuple2<uint32, uint32>> creases = {};  ///< further ones, each by its two positions
    bool toLimit = true;        ///< the vertices lie on the smooth surface, else on the last level's net
    bool makesNormals = false;  ///< also for a mesh that has none
};

/// How a tessellation ended.
enum class TessellationStatus
{
    Done,
    Stopped,     ///< by the callback
    BadIndices,  ///< a face names a position or a normal that does not exist
    TooLarge     ///< there would be more than MeshTessellator::mostFaces
};

/// What was done.
struct TessellationReport
{
    TessellationStatus status = TessellationStatus::Done;  ///< how it ended
    uint32 faces = 0;                                      ///< that there are now
    uint32 creaseEdges = 0;                                ///< of the mesh as it was given, borders left out
    uint32 withoutEdges = 0;  ///< faces that had two corners at one place, and were dropped
};

/// Makes meshes of more faces.
///
/// What the vertices carry in arrays PER_POSITION is had in the middle between the ends of an edge (of
/// integers, the first one's), and arrays PER_FACE are those of the face that was divided. Vertices stay in
/// their order, and new ones come behind. Vertices at one place whose faces border on each other stay at one
/// place, so that the seams of a texture stay closed. Face normals and smoothed normals, where there are
/// some, are made anew; connectivity is released.
///
/// Unless Done, the mesh stays as it was; std::bad_alloc likewise. The same bytes for every thread count.
class TX_GEOMETRY_API MeshTessellator
{
public:
    /// What a mesh may have at most.
    static constexpr uint32 mostFaces = 1u << 30;

    /// With so many threads, polling the callback.
    explicit MeshTessellator(uint32 threadCount = 1, CancelCallback callback = nullptr)
        : _threadCount(threadCount), _callback(callback)
    {
    }

    /// Divides every face into four, level by level, towards the smooth surface of the mesh as a net of
    /// controls (Loop, Smooth Subdivision Surfaces Based on Triangles, 1987): its curvature is continuous but
    /// where other than six edges meet, its normals are everywhere beside creases. Creases and borders become
    /// cubic B-splines, corners stay, and so do vertices where the mesh is no manifold. Normals, where the
    /// mesh has some, become those of the smooth surface, several at a vertex on a crease. Coordinates that
    /// are not finite spread to their neighbours. Linear in the faces that there are in the end, some 150
    /// bytes each.
    TessellationReport subdivide(Mesh& mesh, const SubdivisionSettings& settings = {}) const;

    /// Cuts edges in the middle until none is longer than `longest`, and the faces with them, into two, three
    /// or four at once (the red and green patterns of finite elements): the surface stays what it was, and no
    /// vertex lies on another face's edge. Normals are blended and stay units. Faces keep their order. Edges
    /// too short for numbers between their ends stay. Linear in the faces that there are in the end, but for
    /// the logarithm of the longest edge over `longest`.
    TessellationReport splitEdges(Mesh& mesh, double longest) const;

    /// Fewer faces cannot have edges so short: by the area that each may have at most, and by the pieces of a
    /// long edge. It takes two to four times as many, and up to 150 bytes each. Indices must be valid.
    static double leastFaces(const Mesh& mesh, double longest);

private:
    uint32 _threadCount;
    CancelCallback _callback;
};

}  // namespace tavrix
