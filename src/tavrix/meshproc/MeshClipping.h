#pragma once

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// What a mesh is where a box cuts it.
enum class ClipCut
{
    Open,   ///< a surface, with borders there
    Closed  ///< a solid, closed by caps there
};

/// What clipMesh did.
struct ClipReport
{
    uint32 facesCut = 0;       ///< those crossing several sides count once a side
    uint32 facesOfCaps = 0;    ///< that were added to close the cuts
    uint32 loops = 0;          ///< around the caps, holes included
    uint32 openLoops = 0;      ///< chains of cut edges that end at borders of the mesh: nothing closes them
    uint32 crossedCaps = 0;    ///< pieces of caps whose loops cross: closed, with faces turned over
    uint32 unusableFaces = 0;  ///< dropped because a corner is not finite, which leaves borders
    bool isStopped = false;    ///< by the callback
};

/// Keeps what of a mesh lies in a box. Faces within stay as they are, and in their order; those that a side
/// crosses are cut, and their new vertices get what normals and arrays per position have between the ends of
/// the edge (of integers, the nearer one's). Corners on a side count as within, so it gets no others beside
/// them. A mesh within the box stays untouched; vertices without a face go otherwise.
///
/// Closed: caps close the cuts, in the plane of the side, whatever holes and islands they have, and with its
/// normal when the mesh has normals; they share the vertices of the cut and, where two sides meet, with each
/// other. A closed, oriented manifold remains one. Faces that lie on a side that cuts the mesh stay when they
/// look outwards. A flat box leaves nothing of a solid.
///
/// Values per face are those of the face that was cut. Face normals and smoothed normals, where there are
/// some, are made anew; connectivity is released. Indices must be valid. The mesh stays as it was when
/// stopped. Linear, but for n log n of what is cut.
TX_GEOMETRY_API ClipReport clipMesh(Mesh& mesh, const Box3D& box, ClipCut cut,
                                    CancelCallback callback = nullptr);

}  // namespace tavrix
