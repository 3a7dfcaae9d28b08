#pragma once

#include <tavrix/platform/Types.h>

// Vertices of the blocks of all ranks by name: by the number that one has where these stand behind each other
// in the blocks' order, as in the mesh of one process before any are joined. Added vertices come behind all.

namespace tavrix::detail
{

/// A vertex by its number, and the rank that has it.
struct VertexName
{
    uint32 number, owner;

    // NOLINTNEXTLINE(modernize-use-nullptr): there is no pointer
    friend auto operator<=>(const VertexName&, const VertexName&) = default;
};

/// What becomes of an own vertex that lies where others do: it is joined into another, or others into it.
struct JoinedVertex
{
    uint32 vertex;
    VertexName to;

    bool isGone() const { return to.number != vertex; }
};

/// A vertex that was added in the place of another of the same rank.
struct AddedVertex
{
    uint32 number, copyOf;
};

}  // namespace tavrix::detail
