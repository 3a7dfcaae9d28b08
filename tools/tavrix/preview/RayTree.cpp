#include "preview/RayTree.h"

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::tool
{

namespace
{

constexpr uint32 leafSize = 4;
constexpr uint32 binCount = 16;
/// Below this depth ranges are halved by count, which bounds the depth of the tree, and with it the stack of
/// a walk, whatever the shapes.
constexpr uint32 depthOfHalving = 40;
constexpr float smallestExtent = 1e-30f;  ///< of centres that bins can tell apart
constexpr uint32 smallestJob = 4096;      ///< shapes
constexpr uint32 jobCount = 64;

float halfArea(const Box3F& box)
{
    const Vector3F d = box.max - box.min;
    return d.x * d.y + d.y * d.z + d.z * d.x;
}

float nonZero(float x) { return std::fabs(x) > 1e-12f ? x : std::copysign(1e-12f, x); }

struct Range
{
    uint32 begin, end;
    Box3F box;
    uint32 size() const { return end - begin; }
};

}  // namespace

Ray::Ray(const Vector3F& start, const Vector3F& towards, float length)
    : origin(start), direction{nonZero(towards.x), nonZero(towards.y), nonZero(towards.z)}, far(length)
{
}

/// Builds from the root down: a range of shapes is split where the surface area heuristic, on bins of box
/// centres, finds the expected work of a ray least. Ranges below a certain size are put off as jobs and built
/// in parallel, each into nodes of its own that are then appended in order.
class RayTreeBuilder
{
public:
    RayTreeBuilder(std::span<const Box3F> boxes, std::vector<uint32>& order) : _boxes(boxes), _order(order) {}

    std::vector<RayTree::Node> build(uint32 threads);

private:
    using Nodes = std::vector<RayTree::Node>;
    struct Job
    {
        Range range;
        uint32 depth, parent, branch;
        Nodes nodes;
    };

    Range rangeOf(uint32 begin, uint32 end) const;
    uint32 split(const Range& range, uint32 depth);
    std::vector<Range> branchesOf(const Range& range, uint32 depth);
    /// Appends the nodes of a range and returns the first one's number.
    uint32 buildNode(Nodes& nodes, const Range& range, uint32 depth, uint32 largestJob,
                     std::vector<Job>* jobs);

    std::span<const Box3F> _boxes;
    std::vector<uint32>& _order;
};

Range RayTreeBuilder::rangeOf(uint32 begin, uint32 end) const
{
    Range range{begin, end, Box3F::empty()};
    for (uint32 i = begin; i < end; ++i) range.box.extend(_boxes[_order[i]]);
    return range;
}

/// Reorders the range into two and returns where the second begins; neither is empty.
uint32 RayTreeBuilder::split(const Range& range, uint32 depth)
{
    const uint32 half = range.begin + range.size() / 2;
    Box3F centers = Box3F::empty();
    for (uint32 i = range.begin; i < range.end; ++i) centers.extend(_boxes[_order[i]].center());
    const Vector3F extent = centers.max - centers.min;
    const uint32 axis = extent.x >= extent.y && extent.x >= extent.z ? 0 : extent.y >= extent.z ? 1 : 2;
    if (!(extent[axis] > smallestExtent) || depth > depthOfHalving) return half;

    const float factor = binCount * 0.999f / extent[axis];
    const auto binOf = [&](uint32 shape)
    { return static_cast<uint32>((_boxes[shape].center()[axis] - centers.min[axis]) * factor); };
    std::array<Box3F, binCount> boxes;
    std::array<uint32, binCount> counts{};
    boxes.fill(Box3F::empty());
    for (uint32 i = range.begin; i < range.end; ++i)
    {
        const uint32 bin = std::min(binOf(_order[i]), binCount - 1);
        boxes[bin].extend(_boxes[_order[i]]);
        ++counts[bin];
    }

    std::array<float, binCount> costBelow{};
    Box3F sweep = Box3F::empty();
    uint32 count = 0;
    for (uint32 bin = 0; bin + 1 < binCount; ++bin)
    {
        sweep.extend(boxes[bin]);
        count += counts[bin];
        costBelow[bin + 1] = count > 0 ? halfArea(sweep) * static_cast<float>(count) : 0;
    }
    sweep = Box3F::empty();
    count = 0;
    uint32 best = 0;
    float leastCost = std::numeric_limits<float>::infinity();
    for (uint32 bin = binCount - 1; bin > 0; --bin)
    {
        sweep.extend(boxes[bin]);
        count += counts[bin];
        if (count == 0 || count == range.size()) continue;
        const float cost = costBelow[bin] + halfArea(sweep) * static_cast<float>(count);
        if (cost < leastCost)
        {
            leastCost = cost;
            best = bin;
        }
    }
    if (best == 0) return half;
    const auto begin = _order.begin();
    const auto middle = std::partition(begin + range.begin, begin + range.end,
                                       [&](uint32 shape) { return binOf(shape) < best; });
    const auto place = static_cast<uint32>(middle - begin);
    return place > range.begin && place < range.end ? place : half;
}

/// Splits the largest range until there is one for every branch.
std::vector<Range> RayTreeBuilder::branchesOf(const Range& range, uint32 depth)
{
    std::vector<Range> branches{range};
    while (branches.size() < RayTree::width)
    {
        const auto largest =
            std::max_element(branches.begin(), branches.end(),
                             [](const Range& a, const Range& b) { return a.size() < b.size(); });
        if (largest->size() <= leafSize) break;
        const uint32 end = largest->end, middle = split(*largest, depth);
        *largest = rangeOf(largest->begin, middle);
        branches.push_back(rangeOf(middle, end));
    }
    return branches;
}

uint32 RayTreeBuilder::buildNode(Nodes& nodes, const Range& range, uint32 depth, uint32 largestJob,
                                 std::vector<Job>* jobs)
{
    const auto number = static_cast<uint32>(nodes.size());
    RayTree::Node& fresh = nodes.emplace_back();
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        fresh.low[axis].fill(std::numeric_limits<float>::infinity());
        fresh.high[axis].fill(-std::numeric_limits<float>::infinity());
    }
    const std::vector<Range> branches = branchesOf(range, depth);
    for (uint32 n = 0; n < branches.size(); ++n)
    {
        const Range& branch = branches[n];
        const bool isLeaf = branch.size() <= leafSize, isJob = jobs && branch.size() <= largestJob;
        uint32 first = branch.begin;
        if (!isLeaf && isJob)
            jobs->push_back({branch, depth + 1, number, n, {}});
        else if (!isLeaf)
            first = buildNode(nodes, branch, depth + 1, largestJob, jobs);
        RayTree::Node& node = nodes[number];
        node.first[n] = first;
        node.count[n] = isLeaf ? branch.size() : 0;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            node.low[axis][n] = branch.box.min[axis];
            node.high[axis][n] = branch.box.max[axis];
        }
    }
    return number;
}

std::vector<RayTree::Node> RayTreeBuilder::build(uint32 threads)
{
    Nodes nodes;
    const auto count = static_cast<uint32>(_order.size());
    if (count == 0) return nodes;
    std::vector<Job> jobs;
    buildNode(nodes, rangeOf(0, count), 0, std::max(count / jobCount, smallestJob), &jobs);
    parallelFor(jobs.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (Job* job = &jobs[begin]; job != jobs.data() + end; ++job)
                        buildNode(job->nodes, job->range, job->depth, 0, nullptr);
                });
    for (Job& job : jobs)
    {
        const auto offset = static_cast<uint32>(nodes.size());
        nodes[job.parent].first[job.branch] = offset;
        for (RayTree::Node& node : job.nodes)
            for (uint32 n = 0; n < RayTree::width; ++n)
                if (node.count[n] == 0) node.first[n] += offset;
        nodes.insert(nodes.end(), job.nodes.begin(), job.nodes.end());
        Nodes().swap(job.nodes);
    }
    return nodes;
}

RayTree::RayTree(std::span<const Box3F> boxes, uint32 threads) : _order(boxes.size())
{
    for (uint32 i = 0; i < _order.size(); ++i) _order[i] = i;
    _nodes = RayTreeBuilder(boxes, _order).build(threads);
}

}  // namespace tavrix::tool
