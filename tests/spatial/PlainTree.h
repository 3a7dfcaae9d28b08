#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/Box3.h>

namespace tavrix::test
{

/// The tree by the plainest means: every pair is scored again for each merge. What GeometryTree::integrate
/// builds has to be this, node for node.
class PlainTree
{
public:
    struct Node
    {
        Box3F box;
        uint32 link;
    };

    explicit PlainTree(const std::vector<Box3F>& leaves)
    {
        for (uint32 n = 0; n < leaves.size(); ++n)
            _work.push_back({leaves[n], n | 0x80000000u, noIndex, noIndex});
        std::vector<uint32> entries(leaves.size());
        for (uint32 n = 0; n < leaves.size(); ++n) entries[n] = n;
        while (entries.size() >= 256) entries = pass(entries);
        integrateSubset(entries, 1);
        _nodes.resize(entries.size());
        if (!entries.empty()) writeAt(0, entries[0]);
    }

    const std::vector<Node>& nodes() const { return _nodes; }

    static Box3F unionOf(const Box3F& a, const Box3F& b)
    {
        return {{std::min(a.min.x, b.min.x), std::min(a.min.y, b.min.y), std::min(a.min.z, b.min.z)},
                {std::max(a.max.x, b.max.x), std::max(a.max.y, b.max.y), std::max(a.max.z, b.max.z)}};
    }
    static float volume(const Box3F& x)
    {
        return (x.max.x - x.min.x) * (x.max.y - x.min.y) * (x.max.z - x.min.z);
    }
    static float score(const Box3F& a, const Box3F& b)
    {
        return 0.2f * (volume(a) + volume(b)) - volume(unionOf(a, b));
    }

private:
    struct WorkNode
    {
        Box3F box;
        uint32 link, first, second;
    };

    std::vector<uint32> pass(const std::vector<uint32>& entries)
    {
        _order = entries;
        splitIntoBlocks();
        std::vector<uint32> survivors;
        for (const auto& [start, count] : _blocks)
        {
            std::vector<uint32> part(_order.begin() + start, _order.begin() + start + count);
            integrateSubset(part, 32);
            survivors.insert(survivors.end(), part.begin(), part.end());
        }
        return survivors;
    }

    void splitIntoBlocks()
    {
        _blocks.assign(1, {0, static_cast<uint32>(_order.size())});
        const auto isLarge = [](const BlockDesc& block) { return block.count > 256; };
        while (std::any_of(_blocks.begin(), _blocks.end(), isLarge))
            for (std::size_t b = 0, present = _blocks.size(); b < present; ++b)
                if (isLarge(_blocks[b])) split(b);
    }

    void split(std::size_t b)
    {
        const auto [start, count] = _blocks[b];
        const auto begin = _order.begin() + start, end = begin + count;
        Box3F box = Box3F::empty();
        for (auto n = begin; n != end; ++n) box = unionOf(box, _work[*n].box);
        uint32 straddlers[3] = {0, 0, 0};
        for (auto n = begin; n != end; ++n)
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const float c = middle(box, axis);
                straddlers[axis] += _work[*n].box.min[axis] <= c && c <= _work[*n].box.max[axis];
            }
        const auto [nx, ny, nz] = straddlers;
        const uint32 axis = nx >= ny ? (ny >= nz ? 2 : 1) : (nx >= nz ? 2 : 0);
        const float value = middle(box, axis);
        const auto low =
            std::stable_partition(begin, end, [&](uint32 n) { return middle(_work[n].box, axis) < value; });
        auto k = static_cast<uint32>(low - begin);
        if (k < count / 8 || k > count - count / 8)
        {
            k = std::clamp(k, count / 8, count - count / 8);
            std::stable_sort(begin, end, [&](uint32 m, uint32 n) { return key(m, axis) < key(n, axis); });
        }
        _blocks[b] = {start, k};
        _blocks.push_back({start + k, count - k});
    }

    static float middle(const Box3F& box, uint32 axis)
    {
        return box.min[axis] + (box.max[axis] - box.min[axis]) * 0.5f;
    }

    /// What is not a number comes last.
    std::pair<bool, float> key(uint32 node, uint32 axis) const
    {
        const float c = middle(_work[node].box, axis);
        return c == c ? std::pair(false, c) : std::pair(true, 0.0f);
    }

    /// Of several pairs of one score the first one counts, by the first and then the second of the pair.
    void integrateSubset(std::vector<uint32>& nodes, std::size_t target)
    {
        while (nodes.size() > target)
        {
            std::size_t first = 0, second = 1;  // where nothing scores
            float best = -farValue;
            for (std::size_t i = 0; i < nodes.size(); ++i)
                for (std::size_t j = i + 1; j < nodes.size(); ++j)
                    if (const float s = score(_work[nodes[i]].box, _work[nodes[j]].box); s > best)
                        best = s, first = i, second = j;
            const uint32 a = nodes[first], b = nodes[second];
            nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(second));
            nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(first));
            nodes.push_back(static_cast<uint32>(_work.size()));
            _work.push_back({unionOf(_work[a].box, _work[b].box), 0, a, b});
        }
    }

    void writeAt(std::size_t place, uint32 n)
    {
        const WorkNode& node = _work[n];
        _nodes[place] = {node.box, node.link};
        if (node.first == noIndex) return;
        const std::size_t pair = _nodes.size();
        _nodes[place].link = static_cast<uint32>(pair);
        _nodes.resize(pair + 2);
        writeAt(pair, node.first);
        writeAt(pair + 1, node.second);
    }

    std::vector<WorkNode> _work;
    std::vector<uint32> _order;
    std::vector<BlockDesc> _blocks;
    std::vector<Node> _nodes;
};

}  // namespace tavrix::test
