#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/reconstruction/detail/BlockOwners.h>

namespace tavrix::detail
{

/// The ranks to which a place matters: those that own a block with it, or so many cells beside it.
class RanksAround
{
public:
    RanksAround(const BlockLattice& lattice, const BlockOwners& owners, const uint32 (&margin)[3])
        : _lattice(lattice), _owners(owners)
    {
        std::copy_n(margin, 3, _margin);
    }

    using Cell = std::array<uint32, 3>;

    /// The owner of the block in which a cell lies.
    uint32 homeOf(const Cell& cell) const
    {
        return ownerOf({cell[0] >> blockShift, cell[1] >> blockShift, cell[2] >> blockShift});
    }
    /// All of them, ascending.
    const std::vector<uint32>& of(const Cell& cell)
    {
        BlockIndex first, last;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            first[axis] = cell[axis] > _margin[axis] ? (cell[axis] - _margin[axis] - 1) >> blockShift : 0;
            last[axis] = (cell[axis] + _margin[axis]) >> blockShift;
        }
        if (!_ranks.empty() && first == _first && last == _last) return _ranks;
        _first = first;
        _last = last;
        _ranks.clear();
        for (uint32 i = first[0]; i <= last[0]; ++i)
            for (uint32 j = first[1]; j <= last[1]; ++j)
                for (uint32 k = first[2]; k <= last[2]; ++k) _ranks.push_back(ownerOf({i, j, k}));
        sortOnce(_ranks);
        return _ranks;
    }

private:
    uint32 ownerOf(const BlockIndex& block) const { return _owners.ownerOf(placeOf(_lattice, block)); }

    const BlockLattice& _lattice;
    const BlockOwners& _owners;
    uint32 _margin[3];
    BlockIndex _first{}, _last{};  ///< of the blocks that were looked at last
    std::vector<uint32> _ranks;    ///< that own them
};

}  // namespace tavrix::detail
