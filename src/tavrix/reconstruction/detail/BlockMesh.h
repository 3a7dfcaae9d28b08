#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/reconstruction/detail/MeshAssembly.h>

// From the surfaces of blocks to the mesh that was asked for, within the memory that was granted.

namespace tavrix::detail
{

/// What a surface takes: as a mesh of so many vertices and faces, and the work on the way there.
struct SurfaceSize
{
    uint64 vertices = 0, faces = 0;

    SurfaceSize& operator+=(const SurfaceSize& other)
    {
        vertices += other.vertices;
        faces += other.faces;
        return *this;
    }
    SurfaceSize& operator*=(double factor)
    {
        vertices = static_cast<uint64>(static_cast<double>(vertices) * factor);
        faces = static_cast<uint64>(static_cast<double>(faces) * factor);
        return *this;
    }
    /// Of positions and faces.
    uint64 bytes() const { return vertices * sizeof(Vector3D) + faces * sizeof(Index3); }
    /// Whether 32-bit indices number them.
    bool isIndexable() const { return vertices < foreignFlag && faces <= noIndex; }
};

/// How the making of a surface ended.
enum class BlockRoadEnd
{
    Done,
    Stopped,
    TooWide,   ///< the scene passes 2^31 steps of the lattice along an axis, or a reach 2^19 of them
    TooLarge,  ///< more bytes than granted, or more vertices or faces than a mesh can number
    NoSurface
};

/// How the mesh is to be made.
struct BlockMeshPlan
{
    bool joinsAtNodes;  ///< see joinAtNodes; sheets that touch then are cut apart
    bool turnsFaces;    ///< for samples that are smaller inside
    double bytes;       ///< that may be taken, the mesh included
    /// What the caller takes for the finished mesh, besides its positions and faces.
    double bytesPerVertex, bytesPerFace;
    uint32 threadCount;
    /// Where the first of many ranks comes to have the whole surface: what it then takes for it, besides.
    Optional<Tuple2<double, double>> bytesOfWhole = {};

    /// Bytes of a surface, the work on it included, beside `before` bytes of the scene.
    double bytesOf(const SurfaceSize& size, double before) const
    {
        const auto surface = static_cast<double>(size.bytes());
        return surface + std::max(before, static_cast<double>(size.vertices) * bytesPerVertex +
                                              static_cast<double>(size.faces) * bytesPerFace);
    }
    /// Bytes of the whole that the first rank gathers, beside its part; positions and faces come one after
    /// the other, and are there twice for a moment.
    double bytesOfGathered(const SurfaceSize& all, const SurfaceSize& part) const
    {
        return static_cast<double>(part.bytes()) + 1.5 * static_cast<double>(all.bytes()) +
               static_cast<double>(all.vertices) * bytesOfWhole->a +
               static_cast<double>(all.faces) * bytesOfWhole->b;
    }
    bool fits(const SurfaceSize& size, double before) const
    {
        return bytesOf(size, before) <= bytes && size.isIndexable();
    }
};

/// Makes the mesh of surfaces that are not empty, which it uses up: closed, 2-manifold, faces outwards. It is
/// empty unless Done.
BlockRoadEnd assembleByPlan(std::vector<BlockSurface>& surfaces, const BlockMeshPlan& plan, Polling& polling,
                            Mesh& mesh);

}  // namespace tavrix::detail
