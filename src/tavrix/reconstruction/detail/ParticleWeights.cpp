#include <tavrix/reconstruction/detail/ParticleWeights.h>

#include <algorithm>
#include <vector>

#include <tavrix/reconstruction/detail/BlockSamples.h>
#include <tavrix/reconstruction/detail/DensityKernel.h>

namespace tavrix::detail
{

namespace
{

/// The particles in reach of a block, sorted by cells whose side is the reach or more.
class ReachCells
{
public:
    /// The box is that of the block.
    void sort(const Array<WeightedBall>& balls, const Array<uint32>& numbers, const Box3D& box, double reach);

    /// Calls task(number, place, points) for the particles whose numbers are in [begin, end), with the points
    /// around them.
    template <class Task>
    void forEachOf(uint32 begin, uint32 end, Task task);

private:
    static constexpr uint32 mostCells = 24;  ///< along an axis
    static constexpr float farAway = 1e18f;  ///< whose square is finite

    uint32 cellAlong(uint32 axis, double coordinate) const
    {
        const double cell = (coordinate - _origin[axis]) * _perLength[axis];
        return cell > 0 ? std::min(static_cast<uint32>(cell), _cells[axis] - 1) : 0;
    }
    uint32 cellAt(uint32 i, uint32 j, uint32 k) const { return (i * _cells[1] + j) * _cells[2] + k; }
    Points gatherAround(uint32 i, uint32 j, uint32 k);

    double _origin[3]{}, _perLength[3]{};
    uint32 _cells[3]{};
    std::vector<uint32> _starts;  ///< of the cells, and the end
    Array<uint32> _numbers;
    Array<float> _coordinates[3], _nearby[3];
};

void ReachCells::sort(const Array<WeightedBall>& balls, const Array<uint32>& numbers, const Box3D& box,
                      double reach)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double width = box.max[axis] - box.min[axis] + 2 * reach;
        _origin[axis] = box.min[axis] - reach;
        _cells[axis] = static_cast<uint32>(std::clamp(width / reach, 1.0, double{mostCells}));
        _perLength[axis] = _cells[axis] / width;
    }
    _starts.assign(std::size_t{cellAt(_cells[0], 0, 0)} + 1, 0);
    const auto cellOf = [&](const WeightedBall& b)
    { return cellAt(cellAlong(0, b.x), cellAlong(1, b.y), cellAlong(2, b.z)); };
    for (const WeightedBall& b : balls) ++_starts[cellOf(b) + 1];
    for (std::size_t c = 1; c < _starts.size(); ++c) _starts[c] += _starts[c - 1];
    _numbers.resize(balls.size());
    for (Array<float>& coordinates : _coordinates) coordinates.resize(balls.size());
    // each start moves to the end of its cell, which is the next one's start
    for (uint32 n = balls.size(); n-- > 0;)
    {
        const uint32 place = --_starts[cellOf(balls[n]) + 1];
        _numbers[place] = numbers[n];
        _coordinates[0][place] = balls[n].x;
        _coordinates[1][place] = balls[n].y;
        _coordinates[2][place] = balls[n].z;
    }
    _starts.erase(_starts.begin());
    _starts.push_back(balls.size());
}

/// The particles of a cell and of those around it, with far ones that fill the last lanes.
Points ReachCells::gatherAround(uint32 i, uint32 j, uint32 k)
{
    for (Array<float>& nearby : _nearby) nearby.clear();
    const uint32 firstK = k > 0 ? k - 1 : 0, lastK = std::min(k + 1, _cells[2] - 1);
    for (uint32 x = i > 0 ? i - 1 : 0; x <= std::min(i + 1, _cells[0] - 1); ++x)
        for (uint32 y = j > 0 ? j - 1 : 0; y <= std::min(j + 1, _cells[1] - 1); ++y)
        {
            const uint32 begin = _starts[cellAt(x, y, firstK)], end = _starts[cellAt(x, y, lastK) + 1];
            const uint32 had = _nearby[0].size();
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                _nearby[axis].makeRoom(std::size_t{had} + (end - begin));
                _nearby[axis].resize(had + (end - begin));
                std::copy(_coordinates[axis].begin() + begin, _coordinates[axis].begin() + end,
                          _nearby[axis].begin() + had);
            }
        }
    for (Array<float>& nearby : _nearby)
        while (nearby.size() % densityLanes != 0) nearby.push_back(farAway);
    return {{_nearby[0].data(), _nearby[1].data(), _nearby[2].data()}, _nearby[0].size()};
}

template <class Task>
void ReachCells::forEachOf(uint32 begin, uint32 end, Task task)
{
    for (uint32 i = 0; i < _cells[0]; ++i)
        for (uint32 j = 0; j < _cells[1]; ++j)
            for (uint32 k = 0; k < _cells[2]; ++k)
            {
                Points points{{}, 0};
                for (uint32 n = _starts[cellAt(i, j, k)]; n < _starts[cellAt(i, j, k) + 1]; ++n)
                {
                    if (_numbers[n] < begin || _numbers[n] >= end) continue;
                    if (points.count == 0) points = gatherAround(i, j, k);
                    const float place[] = {_coordinates[0][n], _coordinates[1][n], _coordinates[2][n]};
                    task(_numbers[n], place, points);
                }
            }
}

/// Weighs the particles of one home after the other, for one worker.
class HomeWeigher
{
public:
    HomeWeigher(const ParticleBlocks<WeightedBallKernel>& blocks, const WeightedBallKernel& kernel,
                const EvenFilling& filling, Polling& polling)
        : _blocks(blocks), _reach(kernel.reach), _filling(filling), _sampler(blocks, kernel, polling)
    {
    }

    void weigh(std::size_t h, Array<float>& weights)
    {
        const HomeBlock& home = _blocks.homes[h];
        _sampler.find(home.block);
        _sampler.copyFound(_balls, _numbers);
        _cells.sort(_balls, _numbers, boxOf(home.block), _reach);
        const float reciprocal = 1 / (_reach * _reach);
        _cells.forEachOf(_blocks.firstOf(h), _blocks.firstOf(h + 1),
                         [&](uint32 number, const float(&place)[3], const Points& points)
                         {
                             const float sum = TX_RUN_KERNEL(sumOfKernels, points, place, reciprocal);
                             weights[number] = static_cast<float>(_filling.weightAt(sum / _filling.value()));
                         });
    }

private:
    Box3D boxOf(const BlockIndex& block) const
    {
        Box3D box;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const auto first = static_cast<double>(_blocks.lattice.nodeOf(block, axis));
            box.min[axis] = first * _blocks.lattice.spacing;
            box.max[axis] = (first + blockEdge) * _blocks.lattice.spacing;
        }
        return box;
    }

    const ParticleBlocks<WeightedBallKernel>& _blocks;
    float _reach;
    const EvenFilling& _filling;
    BlockSampler<WeightedBallKernel> _sampler;
    Array<WeightedBall> _balls;
    Array<uint32> _numbers;
    ReachCells _cells;
};

}  // namespace

bool weighParticles(ParticleBlocks<WeightedBallKernel>& blocks, const WeightedBallKernel& kernel,
                    const EvenFilling& filling, const BlockShare& share, uint32 threadCount, Polling& polling)
{
    Array<float> weights(blocks.particles.size());
    const uint32 threads = blocks.threadsWorth(threadCount);
    std::vector<HomeWeigher> workers(threads, HomeWeigher(blocks, kernel, filling, polling));
    const LongStep step(polling, blocks.homeCount());
    const auto weigh = [&](uint32 worker, uint64 h)
    {
        if (share.isOwn(blocks.lattice, blocks.homes[h].block))
            workers[worker].weigh(h, weights);
        else
            std::fill(weights.begin() + blocks.firstOf(h), weights.begin() + blocks.firstOf(h + 1), 1.0f);
    };
    const bool isDone = inTurns(polling, blocks.homeCount(), threads, weigh);
    share.tellOthers(blocks, [&](uint32 n) -> float& { return weights[n]; });
    return isDone && inPieces(polling, weights.size(), lightItems, threadCount,
                              [&](uint32, uint64 begin, uint64 end)
                              {
                                  for (uint64 n = begin; n < end; ++n)
                                      blocks.particles[n].weight = weights[n];
                              });
}

}  // namespace tavrix::detail
