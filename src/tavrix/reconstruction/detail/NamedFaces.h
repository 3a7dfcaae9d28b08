#pragma once

#include <span>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/reconstruction/detail/NodeJoining.h>
#include <tavrix/reconstruction/detail/SharedEdges.h>

namespace tavrix::detail
{

/// The faces of a rank's blocks with their corners by name, and what is known of the vertices.
class NamedFaces
{
public:
    /// Asks other ranks for the vertices on edges that belong to their blocks, and drops faces where there
    /// are none. With `joinsAtNodes` the vertices of each node are joined into the first of them (see
    /// joinAtNodes), and faces that lose a corner dropped. The surfaces, which ascend by block, must outlive
    /// it. Collective.
    NamedFaces(RankGroup& ranks, const BlockLattice& lattice, const BlockOwners& owners,
               const std::vector<BlockSurface>& surfaces, bool joinsAtNodes);

    /// Where the blocks' vertices and faces start among those of all ranks, and the count of all at the end.
    const std::vector<BlockCount>& starts() const { return _starts; }
    /// The faces of a block; those that were dropped have no corners (noIndex).
    std::span<Index3> facesOf(std::size_t surface)
    {
        return {_faces.data() + _firstFaces[surface], _surfaces[surface].faces.count};
    }
    static bool isDropped(const Index3& face) { return face.a == noIndex; }
    /// Frees them.
    void clearFaces() { _faces.reserve(0); }

    /// The rank that has a vertex which a face here names.
    uint32 ownerOf(uint32 number) const;
    /// Whether this rank has a vertex; and whether it has been joined into another.
    /// @{
    bool isOwn(uint32 number) const;
    bool isGone(uint32 number) const;
    /// @}
    /// The surface that an own vertex is from, unless it was added.
    std::size_t surfaceOf(uint32 number) const;
    /// Where an own vertex lies, unless it was added.
    const Vector3D& positionOf(uint32 number) const;
    /// Vertices of others, or own, into which others were joined, as far as faces here name them; ascending.
    const std::vector<uint32>& joinedInto() const { return _joinedInto; }

    /// Takes up a vertex that is added in the place of another, if that is known here.
    void add(const AddedVertex& added);
    /// Those that this rank has, ascending.
    const std::vector<AddedVertex>& added() const { return _added; }

private:
    /// What is told of the vertex on an edge that was asked for.
    struct EdgeAnswer
    {
        VertexName name;  ///< of the one into which it was joined; noIndex when there is none
        bool isJoinedInto;
    };

    EdgeAnswer answer(const OwnedEdge& edge) const;
    EdgeAnswer nameOf(uint32 number) const;
    std::vector<EdgeAnswer> askForEdges(RankGroup& ranks, const BlockLattice& lattice,
                                        const BlockOwners& owners) const;
    void nameCorners(const std::vector<EdgeAnswer>& answers);
    void know(const EdgeAnswer& answer);
    const JoinedVertex* findJoined(uint32 number) const;

    const std::vector<BlockSurface>& _surfaces;
    const uint32 _self;
    std::vector<BlockCount> _starts;
    std::vector<std::size_t> _firstFaces;
    Array<Index3> _faces;
    std::vector<JoinedVertex> _joined;  ///< own, ascending
    std::vector<VertexName> _others;    ///< vertices of other ranks, ascending
    std::vector<uint32> _joinedInto;
    std::vector<AddedVertex> _added;
};

}  // namespace tavrix::detail
