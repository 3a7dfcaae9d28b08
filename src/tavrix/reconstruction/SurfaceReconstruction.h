#pragma once

#include <string>
#include <variant>
#include <vector>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/reconstruction/RankMesh.h>
#include <tavrix/reconstruction/ReconstructionSettings.h>

namespace tavrix
{

class Mesh;

/// A quantity of the particles that the mesh is to carry, under its name, one value a particle.
struct ParticleAttribute
{
    /// The name that the mesh's array gets, which is of the same type, and the values, which must outlive the
    /// call.
    /// @{
    std::string name;
    std::variant<const Array<Vector3F>*, const Array<float>*> values;
    /// @}
};

/// How a reconstruction ended.
enum class ReconstructionStatus
{
    Done,
    Stopped,        ///< by the progress callback
    NoParticles,    ///< none has a finite position
    AllAreStrays,   ///< every particle has fewer neighbours than settings.leastNeighbours
    NoRadius,       ///< none was given, and no two particles lie apart
    TooWide,        ///< the particles lie 2^31 steps of the lattice apart along an axis
    TooLarge,       ///< the work passes the memory that was granted, or the mesh 2^31 vertices
    NoSurface,      ///< the level lies beyond the field's values
    NothingIsLeft,  ///< welding joined the corners of every face
};

/// What was done, and with what.
struct ReconstructionReport
{
    /// How it ended.
    ReconstructionStatus status;
    ReconstructionSettings settings;  ///< with everything filled in
    /// Whether the radius was estimated, not given.
    bool radiusIsEstimated;
    uint32 particles;       ///< that took part
    uint32 infinite;        ///< left out, for they have no finite position
    uint32 strays;          ///< left out, for they have fewer neighbours than settings.leastNeighbours
    Array<uint32> leftOut;  ///< the numbers of all that were, ascending
    Box3D box;              ///< around the particles that took part
    uint64 blocks;          ///< of the lattice that particles reach
    double bytes;           ///< that the work takes besides the particles, when Done or TooLarge
    /// With fillCavities: the parts of the mesh, and the cavities that were filled.
    PartCounts counts;
    double highestLevel;  ///< of the field, where there is no surface
};

/// Particles to mesh: leaves out particles without a finite position and strays, extracts the surface of
/// their field facing outwards, smooths and welds it, fills its cavities, decimates it, carries the
/// attributes over (Shepard's interpolation within the kernels' reach, see interpolateAtPlaces; as an array
/// of `Vector3F` under their names), and computes normals. Stages: "field", "surface", "smooth", "weld",
/// "cavities", "decimate", "normals", "attributes", those that there are.
///
/// The mesh is replaced, and is empty unless the status is Done. It is closed and 2-manifold: sheets that
/// touch share no vertex (separateSheets). The lattice's nodes lie on whole multiples of the spacing: frames
/// of a sequence share it. The field is never there as a whole: a worker holds one block of 32^3 cells, so
/// time and memory follow the particles and the surface, wherever they lie; what is far away changes nothing
/// (but matchVolume looks at the whole). Vertices and faces come block by block, the same for every thread
/// count. Throws std::bad_alloc only.
TX_GEOMETRY_API ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, Mesh& mesh,
                                                        const ReconstructionSettings& settings = {},
                                                        const std::vector<ParticleAttribute>& attributes = {},
                                                        const ProgressCallback& progress = {});

/// The same of particles of which every rank has a share: those of the first rank come before those of the
/// second, as if one had them all. Each rank gets its part of the mesh that reconstructSurface makes of all
/// particles, to the byte, whatever the shares. (Where scenes spread over more than 2^62 cells, as
/// NeighbourGrid sorts them, ellipsoids and attributes may differ in the last bits.)
///
/// Ranks share the lattice's blocks out by equal work, and hold the particles of their blocks and some
/// around, and the mesh that is made there: vertices and faces stay where they were made. Welding, the
/// filling of cavities and decimation alone need all of it: with these the first rank gets it all, and the
/// others' parts are empty. All ranks must name the attributes alike. Settings are the same on all ranks but
/// for threadCount and memory, which is each rank's own. Reports are of all particles, but leftOut has
/// numbers of the rank's own share, and bytes are the most that a rank takes. A rank that is stopped stops
/// all. Collective; see RankGroup.
TX_GEOMETRY_API ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, RankGroup& ranks,
                                                        RankMesh& part,
                                                        const ReconstructionSettings& settings = {},
                                                        const std::vector<ParticleAttribute>& attributes = {},
                                                        const ProgressCallback& progress = {});

/// The same, and the first rank gets the mesh, which it then holds as a whole; the others get none.
TX_GEOMETRY_API ReconstructionReport reconstructSurface(const Array<Vector3F>& positions, RankGroup& ranks,
                                                        Mesh& mesh,
                                                        const ReconstructionSettings& settings = {},
                                                        const std::vector<ParticleAttribute>& attributes = {},
                                                        const ProgressCallback& progress = {});

}  // namespace tavrix
