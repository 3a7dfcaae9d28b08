#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// How numbers stand in an OBJ file: with a fixed number of decimals, or as the shortest text that reads back
/// as the same number, in double precision for positions.
struct ObjNumbers
{
    int decimals = 6;          ///< from 0 to 17; others count as the nearest of these
    bool areShortest = false;  ///< the shortest that read back as the same, whatever `decimals` says
};

/// How many different positions of the mesh would become equal to another one in a file of such numbers; 0
/// for shortest ones. Numbers that lie halfway between two texts may be taken for either. O(n log n).
TX_GEOMETRY_API uint32 countPositionsMerged(const Mesh& mesh, const ObjNumbers& numbers);

}  // namespace tavrix
