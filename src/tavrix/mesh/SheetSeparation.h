#pragma once

#include <span>

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// What separateSheets did.
struct SheetSeparation
{
    uint32 edges = 0;     ///< of three and more faces, which are several edges now
    uint32 vertices = 0;  ///< that were added: one for each fan of faces around a vertex beyond its first
    uint32 faces = 0;     ///< that were dropped

    /// Whether nothing was to be done.
    bool isNone() const { return edges == 0 && vertices == 0 && faces == 0; }
};

/// What becomes of faces back to back over the same three positions, which enclose nothing.
enum class BackToBack
{
    Drop,
    Keep  ///< such as those of a pane with two sides
};

/// Makes an oriented mesh 2-manifold by cutting sheets apart where they share edges or vertices (Guéziec,
/// Taubin, Lazarus and Horn, IEEE Transactions on Visualization and Computer Graphics 7, 2001). Drops faces
/// that name a position twice, and pairs of faces back to back. Around an edge of more than two faces those
/// stay together that enclose solid between them, faces looking outwards, unless two sheets would then share
/// both its ends; a face that finds no partner gets a border. Each further fan of faces around a vertex gets
/// a vertex of its own, at the end of the positions and in the same place.
///
/// What is closed stays closed, faces keep their orientation, no position moves; those without a face stay.
/// Arrays per position and per face follow, normals too. An edge whose only two faces run along it in the
/// same direction counts as none to be cut, and around it some sheets may stay joined. Indices must be valid.
/// Stopped by the callback, it does nothing. O(positions + faces), in 65 bytes a face.
TX_GEOMETRY_API SheetSeparation separateSheets(Mesh& mesh, BackToBack backToBack = BackToBack::Drop,
                                               CancelCallback callback = nullptr);

/// The same where only the suspects, vertices in any order, and their neighbours need a look, such as those
/// that were joined: the mesh is manifold elsewhere. A few passes over the faces, or one when nothing is to
/// be done. The same bytes for every thread count.
TX_GEOMETRY_API SheetSeparation separateSheets(Mesh& mesh, std::span<const uint32> suspects,
                                               uint32 threadCount = 1);

}  // namespace tavrix
