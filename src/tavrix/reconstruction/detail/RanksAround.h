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
        for (Known& known : _known) known.owner = noIndex;
    }

    using Cell = std::array<uint32, 3>;

    /// The owner of the block in which a cell lies.
    uint32 homeOf(const Cell& cell)
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
        if (!_ranks.empty() && isSame(first, _first) && isSame(last, _last)) return _ranks;
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
    struct Known
    {
        BlockIndex block;
        uint32 owner;
    };
    static constexpr uint32 knownBits = 5;  ///< of an index

    /// Compilers call a function to compare arrays.
    static bool isSame(const BlockIndex& a, const BlockIndex& b)
    {
        return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
    }
    /// Asks once for most blocks, for the places on a curve take a while.
    uint32 ownerOf(const BlockIndex& block)
    {
        constexpr uint32 mask = (1u << knownBits) - 1;
        Known& known =
            _known[((block[0] & mask) << knownBits | (block[1] & mask)) << knownBits | (block[2] & mask)];
        if (known.owner == noIndex || !isSame(known.block, block))
            known = {block, _owners.ownerOf(placeOf(_lattice, block))};
        return known.owner;
    }

    const BlockLattice& _lattice;
    const BlockOwners& _owners;
    uint32 _margin[3];
    BlockIndex _first{}, _last{};  ///< of the blocks that were looked at last
    std::vector<uint32> _ranks;    ///< that own them
    std::vector<Known> _known = std::vector<Known>(std::size_t{1} << 3 * knownBits);
};

}  // namespace tavrix::detail
