#pragma once

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/RankGroup.h>

// What ranks say to one another, with types.

namespace tavrix::detail
{

/// What came in: the records of one rank behind those of the other, and how many each sent.
template <class T>
struct Incoming
{
    Array<T> records;
    std::vector<uint32> counts;
};

/// Reads what came in one by one, each rank's in the order in which it sent them.
template <class T>
class FromEachRank
{
public:
    explicit FromEachRank(const Incoming<T>& incoming)
        : _records(incoming.records), _next(incoming.counts.size())
    {
        std::exclusive_scan(incoming.counts.begin(), incoming.counts.end(), _next.begin(), 0u);
    }

    const T& next(uint32 rank) { return _records[_next[rank]++]; }

private:
    const Array<T>& _records;
    std::vector<uint32> _next;
};

inline uint32 totalOf(const std::vector<uint32>& counts)
{
    const uint64 total = std::accumulate(counts.begin(), counts.end(), uint64{0});
    if (total > noIndex) throw std::length_error("tavrix: more than 2^32 - 1 records at one rank");
    return static_cast<uint32>(total);
}

/// Sends so many of the outgoing records to each rank, which stand in the order of the ranks.
template <class T>
Incoming<T> exchangeRuns(RankGroup& ranks, const Array<T>& outgoing, const std::vector<uint32>& counts)
{
    const std::vector<uint32> ones(ranks.size(), 1u);
    Incoming<T> incoming{{}, std::vector<uint32>(ranks.size())};
    ranks.exchange(counts.data(), ones.data(), incoming.counts.data(), ones.data(), sizeof(uint32));
    incoming.records.resize(totalOf(incoming.counts));
    ranks.exchange(outgoing.data(), counts.data(), incoming.records.data(), incoming.counts.data(),
                   sizeof(T));
    return incoming;
}

/// Sends records: forEach(send) calls send(rank, record) for each, twice and in the same order, which those
/// for one rank keep.
template <class T, class ForEach>
Incoming<T> exchangeRecords(RankGroup& ranks, ForEach forEach)
{
    std::vector<uint32> counts(ranks.size(), 0u), places(ranks.size(), 0u);
    forEach([&](uint32 rank, const T&) { ++counts[rank]; });
    Array<T> outgoing(totalOf(counts));
    std::exclusive_scan(counts.begin(), counts.end(), places.begin(), 0u);
    forEach([&](uint32 rank, const T& record) { outgoing[places[rank]++] = record; });
    return exchangeRuns(ranks, outgoing, counts);
}

/// Which items go to which ranks, where that takes a while to find out or several things are to be sent.
class Routes
{
public:
    /// forEach(add) calls add(rank, item) for each that is to be sent.
    template <class ForEach>
    Routes(const RankGroup& ranks, ForEach forEach) : _items(ranks.size())
    {
        forEach([this](uint32 rank, uint32 item) { _items[rank].push_back(item); });
    }

    /// Sends valueOf(item) of each; what goes to one rank in the order in which the items were added.
    template <class T, class ValueOf>
    Incoming<T> send(RankGroup& ranks, ValueOf valueOf) const
    {
        std::vector<uint32> counts;
        counts.reserve(_items.size());
        for (const std::vector<uint32>& items : _items) counts.push_back(static_cast<uint32>(items.size()));
        Array<T> outgoing(totalOf(counts));
        T* next = outgoing.data();
        for (const std::vector<uint32>& items : _items)
            for (const uint32 item : items) *next++ = valueOf(item);
        return exchangeRuns(ranks, outgoing, counts);
    }

private:
    std::vector<std::vector<uint32>> _items;
};

/// Answers the records that came in: each rank gets answer(record, rank) for what it sent, in the order in
/// which it did.
template <class A, class T, class Answer>
Incoming<A> answerRecords(RankGroup& ranks, const Incoming<T>& told, Answer answer)
{
    return exchangeRecords<A>(ranks,
                              [&](const auto& send)
                              {
                                  const T* next = told.records.data();
                                  for (uint32 r = 0; r < ranks.size(); ++r)
                                      for (uint32 n = 0; n < told.counts[r]; ++n) send(r, answer(*next++, r));
                              });
}

/// Sends records to all ranks; forEach as for exchangeRecords.
template <class T, class ForEach>
Array<T> shareRecords(RankGroup& ranks, ForEach forEach)
{
    return exchangeRecords<T>(ranks,
                              [&](const auto& send)
                              {
                                  for (uint32 r = 0; r < ranks.size(); ++r)
                                      forEach([&](const T& record) { send(r, record); });
                              })
        .records;
}

inline int64 sumOver(RankGroup& ranks, int64 number)
{
    ranks.sum({&number, 1});
    return number;
}

inline double largestOf(RankGroup& ranks, double number)
{
    ranks.largest({&number, 1});
    return number;
}

/// The box around those of all ranks.
inline Box3D boxOver(RankGroup& ranks, const Box3D& box)
{
    double ends[] = {-box.min.x, -box.min.y, -box.min.z, box.max.x, box.max.y, box.max.z};
    ranks.largest(ends);
    return {{-ends[0], -ends[1], -ends[2]}, {ends[3], ends[4], ends[5]}};
}

/// Where the numbers of each rank's items start when those of all are counted on, rank after rank; and their
/// total.
inline std::vector<int64> startsOver(RankGroup& ranks, int64 count)
{
    std::vector<int64> starts(ranks.size() + std::size_t{1}, 0);
    starts[ranks.rank() + std::size_t{1}] = count;
    ranks.sum(starts);
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    return starts;
}

}  // namespace tavrix::detail
