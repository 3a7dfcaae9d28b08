#pragma once

#include <vector>

#include <tavrix/fields/detail/ParticleChange.h>
#include <tavrix/fields/detail/Splatting.h>
#include <tavrix/fields/detail/TileBricks.h>

// Particles to a tiled field. The particles are sorted and grouped as for a dense field, then listed for
// every brick of tiles that they may reach. Each brick is splatted into a dense block, by the same functions,
// so that a node gets the same particles in the same order as in a dense field, and the tiles whose values it
// changes are collected. When all is done they go into the field, in the order of the bricks.
//
// Workers take light bricks in turn; on a heavy one all of them work.

namespace tavrix::detail
{

/// The sorted particles that may reach a brick.
struct BrickLoad
{
    uint32 brick;
    std::vector<uint32> particles;
    NodeBox reached;    ///< holds the brick's nodes that they may reach
    double visits = 0;  ///< of nodes

    void add(uint32 particle, const NodeBox& nodes)
    {
        if (particles.empty()) reached = nodes;
        particles.push_back(particle);
        double volume = 1;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            reached.low[axis] = std::min(reached.low[axis], nodes.low[axis]);
            reached.high[axis] = std::max(reached.high[axis], nodes.high[axis]);
            volume *= nodes.high[axis] - nodes.low[axis];
        }
        visits += volume;
    }
};

/// The loads of the bricks that particles may reach, in the order of the bricks.
template <class Kernel>
std::vector<BrickLoad> loadBricks(const Splatting<Kernel>& s, const TileBricks& bricks)
{
    std::vector<BrickLoad> loads(bricks.size());
    PollCounter looked(s.polling, scatteredItems / 8);
    for (uint32 n = 0; n < s.particles.size() && looked.add(1); ++n)
    {
        const auto& p = s.particles[n];
        const float center[] = {p.x, p.y, p.z};
        NodeBox box;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint32 cell = s.lattice.clampedCell(axis, center[axis]), reach = s.reach(p, axis);
            box.low[axis] = cell > reach ? cell - reach : 0;
            box.high[axis] =
                static_cast<uint32>(std::min<uint64>(uint64{cell} + reach + 1, s.lattice.size[axis]));
        }
        bricks.forEachIn(box, [&](uint32 brick, const NodeBox& nodes) { loads[brick].add(n, nodes); });
    }
    for (uint32 brick = 0; brick < loads.size(); ++brick) loads[brick].brick = brick;
    std::erase_if(loads, [](const BrickLoad& load) { return load.particles.empty(); });
    return loads;
}

/// Visits of a load that keeps one worker busy while the others have nothing left.
inline constexpr double heavyVisits = 3e7;

/// Calls work(n, worker, threadCount), which returns false when the polling stopped it, for every load. Each
/// worker takes one light load after the other.
template <class Work>
bool forEachLoad(const std::vector<BrickLoad>& loads, uint32 threadCount, Polling& polling, Work work)
{
    const auto isHeavy = [&](uint32 n) { return loads[n].visits > heavyVisits; };
    double visits = 0;
    for (const BrickLoad& load : loads) visits += load.visits;
    const uint32 threads = threadsWorth(static_cast<uint64>(std::min(visits, 1e18)),
                                        static_cast<uint64>(visitsPerPoll), threadCount);
    for (uint32 first = 0, last; first < loads.size(); first = last)
    {
        last = first + 1;
        if (isHeavy(first))
        {
            if (!work(first, 0, threadCount)) return false;
            continue;
        }
        while (last < loads.size() && !isHeavy(last)) ++last;
        const auto workOnLight = [&](uint32 worker, uint64 n)
        { work(first + static_cast<uint32>(n), worker, 1u); };
        if (!inTurns(polling, last - first, threads, workOnLight)) return false;
    }
    return !polling.isStopped();
}

/// Copies of some of the sorted particles, with their groups.
template <class Kernel>
struct GroupedParticles
{
    Array<typename Kernel::Particle> particles;
    std::vector<ParticleGroup> groups;

    GroupedParticles(const Splatting<Kernel>& s, const std::vector<ParticleGroup>& allGroups,
                     const std::vector<uint32>& numbers)
        : particles(static_cast<uint32>(numbers.size()))
    {
        for (uint32 n = 0; n < particles.size(); ++n) particles[n] = s.particles[numbers[n]];
        const auto countBefore = [&](uint32 number) {
            return static_cast<uint32>(std::lower_bound(numbers.begin(), numbers.end(), number) -
                                       numbers.begin());
        };
        for (const ParticleGroup& group : allGroups)
        {
            const uint32 first = countBefore(group.first), last = countBefore(group.last);
            if (first != last) groups.push_back({first, last, group.nodes});
        }
    }
};

/// A tile's new values.
template <class Value>
struct TileChange
{
    uint32 tile;
    Array<Value> values;
};

/// What a worker keeps from brick to brick.
template <class Value>
struct BrickRooms
{
    Array<Value> target, own;
};

/// A block over a box of nodes in a room. Its rows are as long as whole groups of lanes, which is the quick
/// case for the kernels; samples past the box are of no meaning.
template <class Value>
Block<Value> blockOver(const NodeBox& box, Array<Value>& room)
{
    constexpr uint32 lanes = 8;
    Block<Value> block{nullptr, box};
    block.nodes.high[2] = box.low[2] + (block.extent(2) + lanes - 1) / lanes * lanes;
    const auto count = static_cast<uint32>(block.extent(0) * block.strideX());
    if (count > room.capacity()) room.reserve(count, false);
    room.resize(count);
    block.samples = room.data();
    return block;
}

/// Gives the block the field's samples.
template <class Value, class Coord>
void readSamples(const TileStore<Value, Coord>& field, const NodeBox& box, const Block<Value>& block)
{
    std::fill_n(block.samples, block.extent(0) * block.strideX(), field.getDefaultValue());
    if (field.isEmpty()) return;
    for (uint32 i = box.low[0]; i < box.high[0]; ++i)
        for (uint32 j = box.low[1]; j < box.high[1]; ++j)
            field.copySamples(field.getGrid().getMonoindex(i, j, box.low[2]), box.high[2] - box.low[2],
                              block.samples + block.placeOf({i, j, box.low[2]}));
}

/// The rows along z of the nodes of a tile that lie in a box.
template <class Value, class Coord>
class TileRows
{
public:
    TileRows(const TileGrid3<Coord>& tileGrid, const uint32 (&tile)[3], const NodeBox& box)
        : _tileGrid(tileGrid)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            _origin[axis] = tile[axis] * tileGrid.step();
            _low[axis] = std::max(box.low[axis], _origin[axis]);
            _high[axis] = std::min(box.high[axis] - _origin[axis], tileGrid.edge) + _origin[axis];
        }
    }

    /// Whether they are all of the tile's.
    bool areAll() const
    {
        bool are = true;
        for (uint32 axis = 0; axis < 3; ++axis) are &= _high[axis] - _low[axis] == _tileGrid.edge;
        return are;
    }

    /// Calls visit(row of the block, place of the row in the tile, length) until one returns false.
    template <class Visit>
    bool forEach(const Block<Value>& block, Visit visit) const
    {
        for (uint32 i = _low[0]; i < _high[0]; ++i)
            for (uint32 j = _low[1]; j < _high[1]; ++j)
                if (!visit(block.samples + block.placeOf({i, j, _low[2]}),
                           _tileGrid.valueAt(i - _origin[0], j - _origin[1], _low[2] - _origin[2]),
                           _high[2] - _low[2]))
                    return false;
        return true;
    }

private:
    const TileGrid3<Coord>& _tileGrid;
    uint32 _origin[3], _low[3], _high[3];
};

/// Whether a row has a sample other than the one given for each.
template <class Value, class Before>
bool differs(const Value* row, uint32 length, Before before)
{
    constexpr uint32 usual = 8;  // a whole row of a tile, of which the compiler makes a few instructions
    uint32 count = 0;
    if (length == usual)
        for (uint32 n = 0; n < usual; ++n) count += row[n] != before(n) ? 1 : 0;
    else
        for (uint32 n = 0; n < length; ++n) count += row[n] != before(n) ? 1 : 0;
    return count > 0;
}

/// Whether none of a tile's rows differs in the block from what it was; null for the default value.
template <class Value, class Coord>
bool isUnchanged(const TileRows<Value, Coord>& rows, const Block<Value>& block, const Array<Value>* before,
                 Value defaultValue)
{
    if (!before)
        return rows.forEach(block, [&](const Value* row, uint32, uint32 length)
                            { return !differs(row, length, [&](uint32) { return defaultValue; }); });
    return rows.forEach(block,
                        [&](const Value* row, uint32 place, uint32 length)
                        {
                            const Value* old = before->data() + place;
                            return !differs(row, length, [old](uint32 n) { return old[n]; });
                        });
}

/// A tile's new values: those of the block, and around them what it was.
template <class Value, class Coord>
Array<Value> changedTile(const TileRows<Value, Coord>& rows, const Block<Value>& block,
                         const Array<Value>* before, uint32 count, Value defaultValue)
{
    Array<Value> values(count);
    if (!rows.areAll() && before)
        values = *before;
    else if (!rows.areAll())
        values.assign(count, defaultValue);
    rows.forEach(block,
                 [&](const Value* row, uint32 place, uint32 length)
                 {
                     std::copy_n(row, length, values.data() + place);
                     return true;
                 });
    return values;
}

/// Collects the tiles of a brick in which the block's samples are no longer the field's.
template <class Value, class Coord>
void collectChanges(const TileStore<Value, Coord>& field, const NodeBox& tiles, const NodeBox& box,
                    const Block<Value>& block, std::vector<TileChange<Value>>& changes)
{
    const TileGrid3<Coord>& tileGrid = field.getTileGrid();
    const Value defaultValue = field.getDefaultValue();
    uint32 tile[3];
    for (tile[0] = tiles.low[0]; tile[0] < tiles.high[0]; ++tile[0])
        for (tile[1] = tiles.low[1]; tile[1] < tiles.high[1]; ++tile[1])
            for (tile[2] = tiles.low[2]; tile[2] < tiles.high[2]; ++tile[2])
            {
                const uint32 monoindex = tileGrid.tiles.getMonoindex(tile[0], tile[1], tile[2]);
                const Array<Value>* before = field.getTile(monoindex);
                const TileRows<Value, Coord> rows(tileGrid, tile, box);
                if (isUnchanged(rows, block, before, defaultValue)) continue;
                changes.push_back(
                    {monoindex, changedTile(rows, block, before, tileGrid.valuesPerTile(), defaultValue)});
            }
}

/// Changes the field brick by brick: splatBrick(splatting, groups, block, room) changes the samples of a
/// block by the particles of the splatting, and returns false when the callback stopped it. Returns false,
/// and leaves the field as it was, in that case.
template <class Value, class Coord, class Kernel, class Make, class SplatBrick>
bool changeTiles(TileStore<Value, Coord>& field, const Kernel& kernel, uint32 count, float margin,
                 uint32 threadCount, CancelCallback callback, Make make, SplatBrick splatBrick)
{
    const LatticeNodes lattice(field.getGrid());
    Polling polling(callback);
    if (!polling.goOn()) return false;
    const auto particles = sortParticles(lattice, kernel, count, threadCount, polling, make);
    if (polling.isStopped()) return false;
    const auto groups = groupParticles(lattice, particles, margin, threadCount, polling);
    const Splatting<Kernel> all{lattice, particles, kernel, threadCount, polling};
    const TileBricks bricks(lattice, field.getTileGrid().step());
    const std::vector<BrickLoad> loads = loadBricks(all, bricks);
    if (polling.isStopped()) return false;
    std::vector<std::vector<TileChange<Value>>> changes(loads.size());
    std::vector<BrickRooms<Value>> rooms(std::min<std::size_t>(loads.size(), std::max(threadCount, 1u)));
    const auto work = [&](uint32 n, uint32 worker, uint32 threads)
    {
        const BrickLoad& load = loads[n];
        const GroupedParticles<Kernel> own(all, groups, load.particles);
        const Block<Value> block = blockOver(load.reached, rooms[worker].target);
        readSamples(field, load.reached, block);
        const Splatting<Kernel> splatting{lattice, own.particles, kernel, threads, polling};
        if (!splatBrick(splatting, own.groups, block, rooms[worker].own)) return false;
        collectChanges(field, bricks.tilesIn(load.brick, load.reached), load.reached, block, changes[n]);
        return true;
    };
    if (!forEachLoad(loads, std::max(threadCount, 1u), polling, work)) return false;
    for (auto& ofBrick : changes)
        for (TileChange<Value>& change : ofBrick) field.setTile(change.tile, std::move(change.values));
    return true;
}

/// As for dense samples, in a field without tiles; only those that get a sample other than 0 are made.
template <class Value, class Coord, class Kernel, class Make>
bool buildTiles(TileStore<Value, Coord>& field, const Kernel& kernel, uint32 count, float margin,
                uint32 threadCount, CancelCallback callback, Make make)
{
    return changeTiles(field, kernel, count, margin, threadCount, callback, make,
                       [](const Splatting<Kernel>& splatting, const std::vector<ParticleGroup>& groups,
                          const Block<Value>& block, Array<Value>&)
                       { return splatIntoBlock(splatting, groups, block); });
}

/// As for dense samples; only tiles that get a sample other than the default value are made.
template <class Value, class Coord, class Kernel, class Make, class Merge>
bool carveTiles(TileStore<Value, Coord>& field, const Kernel& kernel, uint32 count, float margin,
                uint32 threadCount, CancelCallback callback, Make make, Merge merge)
{
    const auto carveBrick = [&](const Splatting<Kernel>& splatting, const std::vector<ParticleGroup>& groups,
                                const Block<Value>& block, Array<Value>& room)
    {
        for (const ParticleGroup& group : groups)
        {
            const Block<Value> own = blockOver(block.nodes, room);
            if (!fillZero(own, splatting.threadCount, splatting.polling) ||
                !splatIntoBlock(splatting, {group}, own) ||
                !mergeBlock(block, own, splatting.threadCount, splatting.polling, merge))
                return false;
        }
        return true;
    };
    return changeTiles(field, kernel, count, margin, threadCount, callback, make, carveBrick);
}

}  // namespace tavrix::detail
