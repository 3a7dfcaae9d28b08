#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// How far a mesh is decimated: until every goal that is given is reached, or the error forbids more. With an
/// error alone it goes as far as that allows, and with nothing nowhere.
struct DecimationSettings
{
    Optional<uint32> faces = {};  ///< at most so many are left
    Optional<double> ratio = {};  ///< at most this part of the faces is left, 0 to 1
    /// In units of length: no point of either surface is further from the other than this. A bound that
    /// holds to within rounding; most of the surface lies a few times nearer. It takes a few times longer.
    Optional<double> error = {};
    uint32 threadCount = 0;  ///< 0: one a processor
};

/// How that ended.
enum class DecimationStatus
{
    Done,
    Stopped,    ///< by the callback
    BadIndices  ///< a face names a position or a normal that does not exist
};

/// What was done.
struct DecimationReport
{
    DecimationStatus status = DecimationStatus::Done;  ///< how it ended
    uint32 facesBefore = 0;                            ///< of the mesh as it was given
    uint32 faces = 0;         ///< that are left: more than asked for where nothing else may be collapsed
    uint32 withoutEdges = 0;  ///< faces that had two corners at one place, and were dropped
    double error = 0;  ///< how far apart the surfaces are at most, when settings.error bounds it, else 0
};

/// Makes a mesh of fewer faces that lies as near to it as it can: edges are collapsed in the order of their
/// quadric errors, to the place where that is lowest (Garland and Heckbert, Surface Simplification Using
/// Quadric Error Metrics, 1997).
///
/// Borders keep their course, and where the mesh is manifold it stays so, with the same parts, holes and
/// handles: no part vanishes, and a mesh of many handles needs faces for them. No face turns over. Vertices
/// where the mesh is not manifold stay, and faces with corners that are not finite.
///
/// Normals, the arrays with a flag PER_POSITION and, unblended, those PER_FACE follow; of integers the nearer
/// one's. Vertices at one place whose faces border on each other count as one: where their values differ, the
/// seam between them stays one. Vertices without a face go. Face normals and smoothed normals, where there
/// are some, are made anew, and connectivity is released.
///
/// Unless Done, the mesh stays as it was; std::bad_alloc likewise. The same bytes for every thread count; the
/// threads share the look at all edges at the beginning. A million faces take a second or two, and
/// some 240 bytes a vertex besides the mesh.
TX_GEOMETRY_API DecimationReport decimateMesh(Mesh& mesh, const DecimationSettings& settings,
                                              CancelCallback callback = nullptr);

}  // namespace tavrix
