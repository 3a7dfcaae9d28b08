#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/mesh/MeshCavities.h>

namespace tavrix
{

/// How a solid is reshaped and meshed anew.
struct SolidSettings
{
    double spacing;                ///< of the lattice; above 0
    double offset = 0;             ///< moves the surface outwards, inwards below 0
    Optional<double> shell = {};   ///< then hollows the solid out to a wall of this thickness
    bool isSheet = false;          ///< the mesh encloses nothing; the result is a wall around it
    bool cleanUp = true;           ///< merge coincident vertices and drop faces without area
    bool fillCavities = false;     ///< remove sealed inner surfaces (fillCavities), the hollow of a shell too
    uint32 threadCount = 0;        ///< 0: one a processor
    Optional<uint64> memory = {};  ///< bytes that the work may take besides the input
};

/// How that ended.
enum class SolidStatus
{
    Done,
    Stopped,   ///< by the progress callback
    NoFaces,   ///< of finite corners, or no finite centres
    TooWide,   ///< the solid spans more than 2^31 steps of the lattice, or an offset 2^19 of them
    TooLarge,  ///< the work passes the memory that was granted, or the mesh 2^31 vertices
    NoSurface  ///< the solid is empty at this spacing, or nothing of it is left
};

/// What was done.
struct SolidReport
{
    SolidStatus status = SolidStatus::Done;  ///< how it ended
    uint64 blocks = 0;                       ///< of the lattice that the surface may cross
    double bytes = 0;                        ///< that the work takes, when Done or TooLarge
    /// How deep the solid was at its deepest place, to within a spacing or so; with an offset inwards or a
    /// shell, else 0. Where that is more than these need, some such depth.
    double depth = 0;
    PartCounts counts{0, 0};  ///< with fillCavities: the parts of the mesh, and the cavities that were filled
};

/// Offsets, hollows or remeshes a closed mesh, or makes a wall around a sheet: the surface where the exact
/// distance from the mesh is the offset (and the offset less the shell), by marching cubes on the lattice of
/// whole multiples of the spacing. Inside is what the faces wind around (MeshCollider::isInside): overlapping
/// parts count, cavities do not.
///
/// The mesh is replaced, and is empty unless the status is Done; it may be the solid itself. It is closed and
/// 2-manifold, faces outwards. The cavities of the result are filled on request.
/// Only blocks near the surface are looked at, and distances taken within some cells of it, so time and
/// memory follow the surface's area over the square of the spacing, whatever the volume. The same bytes for
/// every thread count. Stages: "distances", "surface", "cavities". Holes in the mesh make sides uncertain;
/// for those sampleMesh averages. Throws std::bad_alloc only.
TX_GEOMETRY_API SolidReport reshapeSolid(const Mesh& solid, Mesh& mesh, const SolidSettings& settings,
                                         const ProgressCallback& progress = {});

/// The same of the union of spheres of one radius around the centres; those that are not finite are left out.
/// With an offset inwards or a shell, distances are taken from the mesh of the union.
TX_GEOMETRY_API SolidReport reshapeSpheres(const Array<Vector3F>& centers, double radius, Mesh& mesh,
                                           const SolidSettings& settings,
                                           const ProgressCallback& progress = {});

}  // namespace tavrix
