#pragma once

#include <tavrix/foundation/Tuple.h>

namespace tavrix
{

/// One edge of one face in 32 bits: face * 4 + edge, so faces up to 2^30 - 2. Edge e of a face runs from its
/// corner e to its corner (e + 1) mod 3. All ones means none.
struct IndexFacedge
{
    /// 4 face + edge, or all ones.
    uint32 value;

    /// No edge; and edge 0, 1 or 2 of a face.
    /// @{
    static constexpr IndexFacedge none() { return {noIndex}; }
    static constexpr IndexFacedge of(uint32 face, uint32 edge) { return {face * 4 + edge}; }
    /// @}

    /// Whether it is none; otherwise the face, and which of its edges.
    /// @{
    constexpr bool isNone() const { return value == noIndex; }
    constexpr uint32 face() const { return value >> 2; }
    constexpr uint32 edge() const { return value & 3; }
    /// @}

    /// The same edge after `faceOffset` faces were put before its face; none stays none.
    constexpr IndexFacedge moved(uint32 faceOffset) const
    {
        return isNone() ? *this : IndexFacedge{(face() + faceOffset) * 4 | edge()};
    }

    /// The same edge of the same face, or both none.
    friend constexpr bool operator==(const IndexFacedge&, const IndexFacedge&) = default;
};

/// The face-edges on the other side of a face's three edges.
using FacedgeTriple = Tuple3<IndexFacedge, IndexFacedge, IndexFacedge>;

static_assert(sizeof(IndexFacedge) == 4 && sizeof(FacedgeTriple) == 12);

}  // namespace tavrix
