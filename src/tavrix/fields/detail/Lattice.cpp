#include <tavrix/fields/detail/Lattice.h>

namespace tavrix::detail
{

template <class Coord>
Lattice::Lattice(const GridDescription3<Coord>& grid) : largestSeparation(grid.largestSeparation)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        size[axis] = grid.sizeAlong(axis);
        reciprocal[axis] = grid.reciprocalSeparation[axis];
        nodes[axis].resize(size[axis]);
        for (uint32 n = 0; n < size[axis]; ++n) nodes[axis][n] = grid.getCoordinate(axis, n);
    }
}

template Lattice::Lattice(const GridDescription3<float>&);
template Lattice::Lattice(const GridDescription3<double>&);

}  // namespace tavrix::detail
