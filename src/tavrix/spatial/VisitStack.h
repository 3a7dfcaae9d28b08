#pragma once

#include <array>

#include <tavrix/foundation/Array.h>

namespace tavrix
{

/// Pending nodes of a tree walk, each with its distance: 64 inline, then on the heap.
class VisitStack
{
public:
    void push(uint32 node, double measure)
    {
        if (_count < _first.size())
            _first[_count++] = {measure, node};
        else
            _more.push_back({measure, node});
    }
    /// The last node pushed of those that measure at most `limit`, noIndex when none is left.
    uint32 pop(double limit)
    {
        while (_count > 0)
        {
            Entry entry = _first[_count - 1];
            if (_more.empty())
                --_count;
            else
            {
                entry = _more.back();
                _more.resize(_more.size() - 1);
            }
            if (entry.measure <= limit) return entry.node;
        }
        return noIndex;
    }

private:
    struct Entry
    {
        double measure;
        uint32 node;
    };
    std::array<Entry, 64> _first;
    uint32 _count = 0;
    Array<Entry> _more;
};

}  // namespace tavrix
