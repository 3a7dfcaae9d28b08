#pragma once

#include <vector>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// The nodes k to k + count - 1 of the row (i, j); k is a multiple of eight. Of each eight of them, groups
/// has a byte with a bit for every node that is worked on.
struct NodeRun
{
    uint32 i, j, k, count;
    const uint8* groups;

    bool isWorkedOn(uint32 n) const { return (groups[n / 8] >> (n % 8) & 1) != 0; }
};

/// Where derivatives of a field are not zero, now or some steps later: the nodes whose differences of
/// advectionReach nodes along an axis see one whose sample differs from a neighbour's by more than a
/// tolerance, or may come to see it when what is there moves by some nodes. They come as runs of rows in
/// monoindex order, of whole groups of eight nodes, so that vectors of them have no remainder.
class VaryingNodes
{
public:
    /// What is there moves by as many nodes as `motion` until the next look; at most five.
    VaryingNodes(const GridDescription3<double>& grid, uint32 motion, float tolerance, uint32 threadCount);

    /// Looks at all samples.
    bool find(const float* samples, Polling& polling);
    /// Looks at those of the present runs alone: all else is known to be constant.
    bool follow(const float* samples, Polling& polling);

    const std::vector<NodeRun>& runs() const { return _runs; }

private:
    using Bits = std::vector<uint8>;  ///< a byte for eight nodes of a row

    struct Scratch
    {
        std::vector<float> row;
        std::vector<uint8> flags;
    };

    void mark(const float* samples, const NodeRun& run, Scratch& scratch);
    bool gather(Polling& polling);
    uint8* rowOf(Bits& bits, uint32 i, uint32 j) const
    {
        return bits.data() + i * planeSize() + std::size_t{j} * _groups;
    }
    const uint8* rowOf(const Bits& bits, uint32 i, uint32 j) const
    {
        return bits.data() + i * planeSize() + std::size_t{j} * _groups;
    }
    void widenAlongZ(const uint8* from, uint8* to, uint32 by) const;
    void widenAlongY(const Bits& from, uint32 i, uint32 j, uint32 by, uint8* to) const;
    void widenAlongX(const Bits& from, uint32 i, uint32 j, uint32 by, uint8* to) const;
    template <class RowTask>
    bool forEachRow(Polling& polling, RowTask task) const;
    void listRuns(uint32 i, std::vector<NodeRun>& runs) const;
    std::size_t planeSize() const { return std::size_t{_grid.sizeY} * _groups; }

    GridDescription3<double> _grid;
    uint32 _motion, _threadCount, _groups;
    float _tolerance;
    Bits _varying, _nearY, _near, _worked;  ///< a bit a node; what is near comes by y and then by x
    std::vector<NodeRun> _runs;
};

}  // namespace tavrix::detail
