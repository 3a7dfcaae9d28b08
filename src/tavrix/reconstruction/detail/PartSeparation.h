#pragma once

#include <tavrix/reconstruction/detail/NamedFaces.h>

namespace tavrix::detail
{

/// What separateSheets did over ranks.
struct PartSeparation
{
    uint32 vertices = 0;  ///< that were added
    bool dropsFaces = false;
};

/// separateSheets where vertices have been joined, as in the mesh of one process: the first rank gets the
/// faces within two rings of them, a few or none, and tells the others what becomes of theirs. Collective.
PartSeparation separateSheets(RankGroup& ranks, NamedFaces& faces);

}  // namespace tavrix::detail
