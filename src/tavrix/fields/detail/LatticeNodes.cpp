#include <tavrix/fields/detail/LatticeNodes.h>

namespace tavrix::detail
{

template <class Coord>
LatticeNodes::LatticeNodes(const GridDescription3<Coord>& grid)
{
    largestSeparation = grid.largestSeparation;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        size[axis] = grid.sizeAlong(axis);
        reciprocal[axis] = grid.reciprocalSeparation[axis];
        nodes[axis].resize(size[axis]);
        for (uint32 n = 0; n < size[axis]; ++n) nodes[axis][n] = grid.getCoordinate(axis, n);
    }
}

template LatticeNodes::LatticeNodes(const GridDescription3<float>&);
template LatticeNodes::LatticeNodes(const GridDescription3<double>&);

}  // namespace tavrix::detail
