#pragma once

#include <span>
#include <vector>

#include <tavrix/foundation/BitArray.h>
#include <tavrix/foundation/RankGroup.h>

namespace tavrix::detail
{

/// A vertex of a part of a mesh that another rank owns.
struct CopiedVertex
{
    uint32 vertex, owner;
};

/// Where the part of a mesh that one rank has meets those of others. Every vertex belongs to one rank, which
/// has all faces around it; of the other corners of these faces it has copies. A mesh that is no part has no
/// copies, and every call leaves it as it is. Calls are collective.
class MeshBorder
{
public:
    MeshBorder() = default;
    /// The copies ascend. numbers[v] is that of the vertex in the whole mesh, which ascend as well; each
    /// owner has a vertex of that number. The ranks must outlive the border.
    MeshBorder(RankGroup& ranks, const std::vector<CopiedVertex>& copies, const Array<uint32>& numbers);

    bool isCopy(uint32 vertex) const { return vertex < _isCopy.size() && _isCopy.test(vertex); }
    /// Null for a mesh that is no part.
    RankGroup* ranks() const { return _ranks; }

    /// Gives the copies the values that their owners have; one value a vertex.
    template <class T>
    void update(Array<T>& values) const;
    /// Whether it is so for all ranks.
    bool all(bool isSo) const;
    /// Makes numbers the sums, or the largest, of what the ranks have in their place.
    /// @{
    void combine(std::span<int64> numbers) const;
    void combine(std::span<double> numbers) const;
    /// @}

    /// The vertices that others have copies of, by rank; and the copies here, by owner.
    /// @{
    const Array<uint32>& lent() const { return _lent; }
    const Array<uint32>& copies() const { return _copies; }
    /// @}

private:
    RankGroup* _ranks = nullptr;
    BitArray _isCopy;
    Array<uint32> _lent, _copies;
    std::vector<uint32> _lentCounts, _copyCounts;
};

template <class T>
void MeshBorder::update(Array<T>& values) const
{
    if (!_ranks) return;
    Array<T> outgoing(_lent.size()), incoming(_copies.size());
    for (uint32 n = 0; n < _lent.size(); ++n) outgoing[n] = values[_lent[n]];
    _ranks->exchange(outgoing.data(), _lentCounts.data(), incoming.data(), _copyCounts.data(), sizeof(T));
    for (uint32 n = 0; n < _copies.size(); ++n) values[_copies[n]] = incoming[n];
}

}  // namespace tavrix::detail
