#include <tavrix/mesh/detail/MeshBorder.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>

namespace tavrix::detail
{

MeshBorder::MeshBorder(RankGroup& ranks, const std::vector<CopiedVertex>& copies,
                       const Array<uint32>& numbers)
    : _ranks(&ranks), _isCopy(numbers.size())
{
    for (const CopiedVertex& copy : copies) _isCopy.set(copy.vertex);
    std::vector<CopiedVertex> byOwner = copies;
    std::stable_sort(byOwner.begin(), byOwner.end(),
                     [](const CopiedVertex& a, const CopiedVertex& b) { return a.owner < b.owner; });
    _copyCounts.resize(ranks.size());
    for (const CopiedVertex& copy : byOwner)
    {
        _copies.push_back(copy.vertex);
        ++_copyCounts[copy.owner];
    }
    const auto wanted = exchangeRecords<uint32>(ranks,
                                                [&](const auto& send)
                                                {
                                                    for (const CopiedVertex& copy : byOwner)
                                                        send(copy.owner, numbers[copy.vertex]);
                                                });
    _lentCounts = wanted.counts;
    for (const uint32 number : wanted.records)
    {
        const auto place = std::lower_bound(numbers.begin(), numbers.end(), number) - numbers.begin();
        _lent.push_back(static_cast<uint32>(place));
    }
}

bool MeshBorder::all(bool isSo) const { return _ranks ? largestOf(*_ranks, isSo ? 0 : 1) == 0 : isSo; }

void MeshBorder::combine(std::span<int64> numbers) const
{
    if (_ranks) _ranks->sum(numbers);
}

void MeshBorder::combine(std::span<double> numbers) const
{
    if (_ranks) _ranks->largest(numbers);
}

}  // namespace tavrix::detail
