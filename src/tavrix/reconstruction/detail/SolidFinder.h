#pragma once

#include <memory>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/reconstruction/detail/BlockMarching.h>
#include <tavrix/reconstruction/detail/SolidDistance.h>

// The surface of a reshaped solid, from blocks. No distance grows faster than the way, so a cube whose middle
// is further from the surface than its corners are from the middle has none of it. Cubes are looked at from
// the whole scene down to a few cells; only what is left gets samples.

namespace tavrix::detail
{

/// The blocks that the reshaped surface may cross, among those up to the last, ascending. Means nothing once
/// the polling has stopped.
std::vector<BlockIndex> findSolidBlocks(const SolidDistance& distance, const SolidShape& shape,
                                        const BlockLattice& lattice, const BlockIndex& last,
                                        uint32 threadCount, Polling& polling);

/// Finds the surface in one block at a time, for one worker. Its faces look inwards.
class SolidFinder
{
public:
    SolidFinder(const SolidDistance& distance, const SolidShape& shape, const BlockLattice& lattice);

    /// Whether the block has a surface, which then is in the marching.
    bool operator()(const BlockIndex& block, BlockMarching& marching);

private:
    /// Cubes of cells, of which those near the surface get samples of their own.
    static constexpr uint32 brickEdge = 4, bricksAlong = blockEdge / brickEdge;
    static constexpr float level = 1;  ///< samples are that and the distance in steps
    static constexpr double far = 2;   ///< steps that stand for all more than one

    /// What is known of a node.
    struct Node
    {
        /// The shaped distance in steps, below 0 inside, or one nearer to 0.
        double bound;
        bool isProbed;
        DistanceProbe probe;
    };

    void placeRoom(const BlockIndex& block);
    bool probeBricks();
    void probeNodes();
    const DistanceProbe* lookAround(uint32 i, uint32 j, uint32 k, Node& node);
    double stepsAt(const DistanceProbe& probe) const;
    static float sampleOf(double steps);
    Node& node(uint32 i, uint32 j, uint32 k) { return _nodes[((i & 1) * blockNodes + j) * blockNodes + k]; }
    DistanceProbe& brick(uint32 i, uint32 j, uint32 k)
    {
        return _bricks[(i * bricksAlong + j) * bricksAlong + k];
    }

    const SolidDistance* _distance;
    SolidShape _shape;
    const BlockLattice* _lattice;
    std::unique_ptr<BlockRoom> _room = std::make_unique<BlockRoom>();
    std::vector<DistanceProbe> _bricks;                   ///< at their middles
    std::vector<Node> _nodes;                             ///< of two planes
    std::vector<std::array<uint64, blockNodes>> _needed;  ///< the nodes to be sampled, a bit each along z
};

}  // namespace tavrix::detail
