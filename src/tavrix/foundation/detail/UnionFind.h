#pragma once

#include <algorithm>
#include <numeric>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// Disjoint sets of the indices [0, size); the smallest member stands for its set.
class UnionFind
{
public:
    explicit UnionFind(uint32 size) : _parents(size) { std::iota(_parents.begin(), _parents.end(), 0u); }

    UnionFind(uint32 size, Polling& polling) : _parents(size)
    {
        inPieces(polling, size, lightItems,
                 [&](uint64 begin, uint64 end)
                 {
                     for (auto i = static_cast<uint32>(begin); i < end; ++i) _parents[i] = i;
                 });
    }

    uint32 find(uint32 i)
    {
        while (_parents[i] != i) i = _parents[i] = _parents[_parents[i]];
        return i;
    }
    void unite(uint32 i, uint32 k)
    {
        const uint32 a = find(i);
        const uint32 b = find(k);
        _parents[std::max(a, b)] = std::min(a, b);
    }

private:
    Array<uint32> _parents;
};

}  // namespace tavrix::detail
