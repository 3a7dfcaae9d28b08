#include <tavrix/spatial/detail/WideTreeBuilder.h>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <stdexcept>
#include <vector>

namespace tavrix::detail
{

namespace
{

/// Four numbers side by side, of which the last is free for other use; compilers make one instruction of it.
struct alignas(16) Four
{
    float v[4];

    static Four all(float value) { return {{value, value, value, value}}; }
};

Four smaller(const Four& a, const Four& b)
{
    Four c;
    for (uint32 n = 0; n < 4; ++n) c.v[n] = a.v[n] < b.v[n] ? a.v[n] : b.v[n];
    return c;
}

Four larger(const Four& a, const Four& b)
{
    Four c;
    for (uint32 n = 0; n < 4; ++n) c.v[n] = a.v[n] > b.v[n] ? a.v[n] : b.v[n];
    return c;
}

/// Sides beyond are cut off: the costs of what is left are finite.
constexpr float farAway = 1e14f;

struct FourBox
{
    Four min, max;

    static FourBox empty() { return {Four::all(farAway), Four::all(-farAway)}; }

    void extend(const FourBox& other)
    {
        min = smaller(min, other.min);
        max = larger(max, other.max);
    }
    void extend(const Four& point)
    {
        min = smaller(min, point);
        max = larger(max, point);
    }

    /// Half the surface, 0 for no points.
    float area() const
    {
        const float x = max.v[0] - min.v[0], y = max.v[1] - min.v[1], z = max.v[2] - min.v[2];
        return x < 0 ? 0 : x * y + (y + x) * z;
    }
};

/// A face's box, and the face's number in place of the fourth coordinate, as a number above 2 or none.
class Item
{
public:
    static constexpr uint32 mostFaces = 1u << 30;

    Item() = default;
    Item(const Box3D& box, uint32 face)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            _box.min.v[axis] = static_cast<float>(std::clamp<double>(box.min[axis], -farAway, farAway));
            _box.max.v[axis] = static_cast<float>(std::clamp<double>(box.max[axis], -farAway, farAway));
        }
        _box.min.v[3] = std::bit_cast<float>(face | mostFaces);
        _box.max.v[3] = 0;
    }

    const FourBox& box() const { return _box; }
    uint32 face() const { return std::bit_cast<uint32>(_box.min.v[3]) & (mostFaces - 1); }

    /// Twice the box's centre.
    Four place() const
    {
        Four sum;
        for (uint32 n = 0; n < 4; ++n) sum.v[n] = _box.min.v[n] + _box.max.v[n];
        return sum;
    }

private:
    FourBox _box;
};

static_assert(sizeof(Item) == 32);

/// A run of items, with the box around them and that around their places.
struct Run
{
    uint32 begin, end;
    uint32 depth;  ///< halvings above it
    FourBox box, places;

    uint32 size() const { return end - begin; }
};

constexpr uint32 mostCuts = 16;

/// After so many halvings that saw to the cost those that halve the number begin, of which there are 31 at
/// most; so no path is longer than wideTreeDepth.
constexpr uint32 deepestFreely = wideTreeDepth - 32;

/// The slices of a run along the three axes; of a small run along its longest, where it matters less than it
/// takes.
class Slices
{
public:
    explicit Slices(const Run& run) : _low(run.places.min)
    {
        constexpr uint32 smallRun = 512;
        Four extent;
        for (uint32 axis = 0; axis < 4; ++axis)
            extent.v[axis] = run.places.max.v[axis] - run.places.min.v[axis];
        if (run.size() < smallRun)
        {
            _count = mostCuts / 2;
            const float x = extent.v[0], y = extent.v[1], z = extent.v[2];
            _firstAxis = x >= y && x >= z ? 0 : y >= z ? 1 : 2;
            _endAxis = _firstAxis + 1;
        }
        for (uint32 axis = _firstAxis; axis < _endAxis; ++axis)
        {
            // a little less, so that the last place lies in the last slice
            _scale.v[axis] =
                extent.v[axis] > 1e-30f ? static_cast<float>(_count) * 0.99999f / extent.v[axis] : 0;
            for (uint32 n = 0; n < _count; ++n)
            {
                _boxes[axis][n] = FourBox::empty();
                _sizes[axis][n] = 0;
            }
        }
    }

    uint32 sliceOf(const Item& item, uint32 axis) const
    {
        const float place = item.box().min.v[axis] + item.box().max.v[axis];
        return static_cast<uint32>(static_cast<int32>((place - _low.v[axis]) * _scale.v[axis]));
    }

    void add(const Item& item)
    {
        for (uint32 axis = _firstAxis; axis < _endAxis; ++axis)
        {
            const uint32 slice = sliceOf(item, axis);
            _boxes[axis][slice].extend(item.box());
            ++_sizes[axis][slice];
        }
    }

    void add(const Slices& other)
    {
        for (uint32 axis = _firstAxis; axis < _endAxis; ++axis)
            for (uint32 n = 0; n < _count; ++n)
            {
                _boxes[axis][n].extend(other._boxes[axis][n]);
                _sizes[axis][n] += other._sizes[axis][n];
            }
    }

    /// The cheapest cut: items of the slices before `slice` go to the low side. On no axis when all places
    /// are equal.
    struct Cut
    {
        uint32 axis = 3, slice = 0;
        FourBox low, high;
    };

    Cut cheapestCut() const
    {
        Cut best;
        float lowestCost = std::numeric_limits<float>::infinity();
        for (uint32 axis = _firstAxis; axis < _endAxis; ++axis)
        {
            if (_scale.v[axis] == 0) continue;
            std::array<FourBox, mostCuts> high;
            FourBox box = FourBox::empty();
            for (uint32 n = _count; n-- > 1;)
            {
                box.extend(_boxes[axis][n]);
                high[n] = box;
            }
            FourBox low = FourBox::empty();
            uint32 lowSize = 0, allSize = 0;
            for (uint32 n = 0; n < _count; ++n) allSize += _sizes[axis][n];
            for (uint32 n = 1; n < _count; ++n)
            {
                low.extend(_boxes[axis][n - 1]);
                lowSize += _sizes[axis][n - 1];
                if (lowSize == 0 || lowSize == allSize) continue;
                const float cost = low.area() * static_cast<float>(lowSize) +
                                   high[n].area() * static_cast<float>(allSize - lowSize);
                if (!(cost < lowestCost)) continue;
                lowestCost = cost;
                best = {axis, n, low, high[n]};
            }
        }
        return best;
    }

private:
    uint32 _count = mostCuts, _firstAxis = 0, _endAxis = 3;
    Four _low, _scale;
    FourBox _boxes[3][mostCuts];
    uint32 _sizes[3][mostCuts];
};

/// Builds what is below one node after the other, on a part of the items that is its own.
class WideTreeBuilder
{
public:
    /// Once the polling has stopped, runs hold any items.
    WideTreeBuilder(Item* items, uint32 threadCount, Polling& polling)
        : _items(items), _threadCount(threadCount), _polling(polling)
    {
    }

    /// The run of some items.
    Run runOf(uint32 begin, uint32 end) const
    {
        Run run{begin, end, 0, FourBox::empty(), FourBox::empty()};
        forEach(run,
                [&](uint32 n)
                {
                    run.box.extend(_items[n].box());
                    run.places.extend(_items[n].place());
                });
        return run;
    }

    /// Cuts a run into up to eight, that of the largest surface first; those of eight items at most stay.
    uint32 cutToChildren(const Run& run, Run (&children)[WideNode::width]) const
    {
        children[0] = run;
        uint32 count = 1;
        while (count < WideNode::width)
        {
            Run* largest = nullptr;
            for (Run* child = children; child != children + count; ++child)
                if (child->size() > WideNode::width && (!largest || child->box.area() > largest->box.area()))
                    largest = child;
            if (!largest) break;
            children[count++] = halve(*largest);
        }
        return count;
    }

private:
    /// Calls each(n) for the items of a run, and polls in between. For none once it has stopped: boxes that
    /// lack items then meet no items that they lack.
    template <class Each>
    void forEach(const Run& run, Each each) const
    {
        for (uint32 begin = run.begin; begin < run.end && !_polling.isStopped();)
        {
            const uint32 end = begin + std::min<uint32>(scatteredItems, run.end - begin);
            for (uint32 n = begin; n < end; ++n) each(n);
            if (end - begin == scatteredItems) _polling.goOn();
            begin = end;
        }
    }

    /// Leaves the low half, and returns the high one.
    Run halve(Run& run) const
    {
        Slices slices(run);
        fill(slices, run);
        const Slices::Cut cut = slices.cheapestCut();
        ++run.depth;
        if (cut.axis == 3 || run.depth > deepestFreely) return halveByNumber(run);
        // a swap for every item costs less than a guess whether one is needed
        FourBox places[2] = {FourBox::empty(), FourBox::empty()};
        uint32 middle = run.begin;
        forEach(run,
                [&](uint32 n)
                {
                    const Item item = _items[n];
                    const bool isHigh = slices.sliceOf(item, cut.axis) >= cut.slice;
                    places[isHigh].extend(item.place());
                    _items[n] = _items[middle];
                    _items[middle] = item;
                    middle += !isHigh;
                });
        const Run high{middle, run.end, run.depth, cut.high, places[1]};
        run = {run.begin, middle, run.depth, cut.low, places[0]};
        return high;
    }

    Run halveByNumber(Run& run) const
    {
        const uint32 middle = run.begin + run.size() / 2, depth = run.depth;
        Run high = runOf(middle, run.end);
        run = runOf(run.begin, middle);
        run.depth = high.depth = depth;
        return high;
    }

    void fill(Slices& slices, const Run& run) const
    {
        constexpr uint32 itemsOfThread = 1 << 16;
        const uint32 threads = std::min(_threadCount, run.size() / itemsOfThread);
        if (threads < 2)
        {
            forEach(run, [&](uint32 n) { slices.add(_items[n]); });
            return;
        }
        std::vector<Slices> parts(threads, slices);
        polledFor(_polling, threads, threads,
                  [&](uint32, uint64 part, uint64)
                  {
                      Run share = run;
                      share.begin = static_cast<uint32>(run.begin + uint64{run.size()} * part / threads);
                      share.end = static_cast<uint32>(run.begin + uint64{run.size()} * (part + 1) / threads);
                      Slices own = slices;
                      forEach(share, [&](uint32 n) { own.add(_items[n]); });
                      parts[part] = own;
                  });
        for (const Slices& part : parts) slices.add(part);
    }

    Item* _items;
    uint32 _threadCount;
    Polling& _polling;
};

WideLinks noLinks()
{
    WideLinks links;
    links.fill(WideNode::noChild);
    return links;
}

/// The nodes below a run, the run's own first.
void buildBelow(const WideTreeBuilder& builder, const Run& run, std::vector<WideLinks>& nodes)
{
    const std::size_t own = nodes.size();
    nodes.push_back(noLinks());
    if (run.size() <= WideNode::width)
    {
        for (uint32 n = 0; n < run.size(); ++n) nodes[own][n] = (run.begin + n) | WideNode::faceBit;
        return;
    }
    Run children[WideNode::width];
    const uint32 count = builder.cutToChildren(run, children);
    for (uint32 n = 0; n < count; ++n)
    {
        nodes[own][n] = static_cast<uint32>(nodes.size());
        buildBelow(builder, children[n], nodes);
    }
}

/// A run, and the child that it is.
struct Branch
{
    Run run;
    uint32 parent, child;
};

/// Runs of more items are cut before the others, with all threads on each.
constexpr uint32 itemsOfBranch = 1 << 14;

/// Builds the nodes above the branches, which it returns.
std::vector<Branch> buildTop(const WideTreeBuilder& builder, const Run& all, Polling& polling,
                             std::vector<WideLinks>& nodes)
{
    std::vector<Branch> open{{all, noIndex, 0}}, branches;
    while (!open.empty() && !polling.isStopped())
    {
        const Branch branch = open.back();
        open.pop_back();
        if (branch.run.size() <= itemsOfBranch)
        {
            branches.push_back(branch);
            continue;
        }
        const auto own = static_cast<uint32>(nodes.size());
        nodes.push_back(noLinks());
        if (branch.parent != noIndex) nodes[branch.parent][branch.child] = own;
        Run children[WideNode::width];
        for (uint32 n = builder.cutToChildren(branch.run, children); n-- > 0;)
            open.push_back({children[n], own, n});
    }
    return branches;
}

/// The nodes of the top, then those of one branch after the other.
Array<WideLinks> joined(std::vector<WideLinks>& top, const std::vector<Branch>& branches,
                        const std::vector<std::vector<WideLinks>>& below, uint32 threadCount,
                        Polling& polling)
{
    std::vector<uint32> first;
    std::size_t count = top.size();
    for (std::size_t b = 0; b < branches.size(); ++b)
    {
        first.push_back(Array<WideLinks>::checkedSize(count));
        count += below[b].size();
        if (branches[b].parent != noIndex) top[branches[b].parent][branches[b].child] = first[b];
    }
    Array<WideLinks> nodes(Array<WideLinks>::checkedSize(count));
    std::copy(top.begin(), top.end(), nodes.begin());
    polledFor(polling, branches.size(), threadsWorth(count, scatteredItems, threadCount),
              [&](uint32, uint64 begin, uint64 end)
              {
                  PollCounter copied(polling, scatteredItems);
                  for (uint64 b = begin; b < end && copied.add(below[b].size()); ++b)
                  {
                      WideLinks* to = nodes.data() + first[b];
                      for (const WideLinks& links : below[b])
                      {
                          *to = links;
                          for (uint32& child : *to++)
                              if (!WideNode::isFace(child)) child += first[b];
                      }
                  }
              });
    return nodes;
}

Array<WideLinks> buildNodes(Array<Item>& items, uint32 threadCount, Polling& polling)
{
    const WideTreeBuilder together(items.data(), threadCount, polling), alone(items.data(), 1, polling);
    std::vector<WideLinks> top;
    const std::vector<Branch> branches = buildTop(together, together.runOf(0, items.size()), polling, top);
    if (polling.isStopped()) return {};
    std::vector<std::vector<WideLinks>> below(branches.size());
    if (!inTurns(polling, branches.size(), threadCount,
                 [&](uint32, uint64 b) { buildBelow(alone, branches[b].run, below[b]); }))
        return {};
    return joined(top, branches, below, threadCount, polling);
}

}  // namespace

WideTopology buildWideTree(const MeshFaces& faces, uint32 threadCount, Polling& polling)
{
    if (faces.faceCount > Item::mostFaces) throw std::length_error("tavrix::MeshCollider: too many faces");
    WideTopology tree;
    if (faces.faceCount == 0) return tree;
    Array<Item> items(faces.faceCount);
    const auto forAll = [&](auto each)
    {
        return inPieces(polling, items.size(), scatteredItems, threadCount,
                        [&](uint32, uint64 begin, uint64 end)
                        {
                            for (uint64 n = begin; n < end; ++n) each(static_cast<uint32>(n));
                        });
    };
    if (!forAll([&](uint32 n) { items[n] = Item(faces.box(n), n); })) return tree;
    tree.nodes = buildNodes(items, threadCount, polling);
    if (polling.isStopped()) return tree;
    tree.order.resize(items.size());
    forAll([&](uint32 n) { tree.order[n] = items[n].face(); });
    return tree;
}

}  // namespace tavrix::detail
