#include <tavrix/isosurface/detail/VertexMerging.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include <tavrix/foundation/detail/BucketSort.h>
#include <tavrix/foundation/detail/Sorting.h>

namespace tavrix::detail
{

namespace
{

struct Record
{
    Vector3D position;
    uint32 index;
};

bool within(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

/// Exact order along an axis; what is not a number comes last. Equal coordinates are ordered by rank where
/// that is asked for, or where they are no distance apart because they are infinite or not numbers.
template <uint32 axis, bool byRank>
struct ExactOrder
{
    const Rank& rank;

    bool operator()(const Record& a, const Record& b) const
    {
        const double pa = a.position[axis], pb = b.position[axis];
        if (pa < pb) return true;
        if (byRank ? pa > pb : pa - pb >= 0) return false;
        return ranksFirst(a, b);
    }

private:
    bool ranksFirst(const Record& a, const Record& b) const
    {
        const bool nanA = std::isnan(a.position[axis]), nanB = std::isnan(b.position[axis]);
        if (nanA != nanB) return nanB;
        return rank ? rank(a.index) < rank(b.index) : a.index < b.index;
    }
};

/// The tolerance comparison from an axis on. Not transitive: use it only where any answer keeps in bounds.
bool tolerantLess(const Record& a, const Record& b, uint32 axis, double tolerance)
{
    for (; axis < 3; ++axis)
        if (!within(a.position[axis], b.position[axis], tolerance))
            return a.position[axis] < b.position[axis];
    return false;
}

/// Moves that an insertion sort may make before a record costs more than it would in a general sort.
constexpr std::ptrdiff_t movesPerRecord = 24;

/// Records that are handled between two polls.
constexpr std::ptrdiff_t recordsPerPoll = 1 << 16;

/// Sorts the records of one worker. Every step ends early, in some order, once the polling has stopped.
class RecordSorter
{
public:
    RecordSorter(double tolerance, const Rank& rank, Polling& polling)
        : _tolerance(tolerance), _rank(rank), _polling(polling), _records(polling, recordsPerPoll)
    {
    }

    /// The end of the run that starts at `begin` in records sorted exactly along the axis: the next gap wider
    /// than the tolerance.
    Record* runEnd(Record* begin, Record* end, uint32 axis)
    {
        Record* next = begin + 1;
        while (next != end && within(next[-1].position[axis], next->position[axis], _tolerance))
        {
            if ((next - begin) % recordsPerPoll == 0 && !_polling.goOn()) return end;
            ++next;
        }
        return next;
    }

    /// Orders one run of records that sortAlong has sorted along the axis.
    void sortRun(Record* begin, Record* end, uint32 axis)
    {
        if (end - begin < 2 || axis == 2) return;
        if (within(begin->position[axis], end[-1].position[axis], _tolerance))
            return sortFrom(begin, end, axis + 1);
        sortExactly(begin, end, axis, true);
        sortTolerantly(begin, end, axis);
    }

    /// Sorts records by the exact coordinate. Equal ones are left in any order where the next axis decides
    /// about them, as it does unless no tolerance lets anything be equal.
    void sortAlong(Record* begin, Record* end, uint32 axis)
    {
        sortExactly(begin, end, axis, axis == 2 || !(_tolerance >= 0));
    }

private:
    /// Sorts from an axis on records that are equal on the axes before it.
    void sortFrom(Record* begin, Record* end, uint32 axis)
    {
        sortAlong(begin, end, axis);
        if (axis == 2) return;
        while (begin != end && !_polling.isStopped())
        {
            Record* next = runEnd(begin, end, axis);
            sortRun(begin, next, axis);
            begin = next;
        }
    }

    void sortExactly(Record* begin, Record* end, uint32 axis, bool byRank)
    {
        if (!_records.add(static_cast<uint64>(end - begin)) || end - begin < 2) return;
        if (axis == 0) return byRank ? sortExactly<0, true>(begin, end) : sortExactly<0, false>(begin, end);
        if (axis == 1) return byRank ? sortExactly<1, true>(begin, end) : sortExactly<1, false>(begin, end);
        return sortExactly<2, true>(begin, end);
    }

    /// Records mostly come nearly sorted: an insertion sort does it, unless it has to move too much.
    template <uint32 axis, bool byRank>
    void sortExactly(Record* begin, Record* end)
    {
        std::ptrdiff_t moves = (end - begin) * movesPerRecord + 256;
        for (Record* middle = begin + 1; middle < end;)
        {
            Record* const stop = middle + std::min(end - middle, recordsPerPoll);
            const std::ptrdiff_t movesLeft = moves;
            if (!insertSorted(begin, middle, stop, ExactOrder<axis, byRank>{_rank}, moves))
                return sortAtOnce(begin, end, ExactOrder<axis, true>{_rank});
            if (!_records.add(static_cast<uint64>(stop - middle + movesLeft - moves))) return;
            middle = stop;
        }
    }

    /// A general sort: of blocks, and then by merging them.
    template <class Less>
    void sortAtOnce(Record* begin, Record* end, const Less& less)
    {
        const std::ptrdiff_t count = end - begin;
        const std::ptrdiff_t block = _polling.hasCallback() ? recordsPerPoll / 2 : count;
        for (std::ptrdiff_t low = 0; low < count; low += block)
        {
            std::sort(begin + low, begin + std::min(low + block, count), less);
            if (!_polling.goOn()) return;
        }
        mergeSorted(begin, count, block, less);
    }

    /// Bottom-up merge sort with the tolerance comparison; in bounds and deterministic for any answers it
    /// gives.
    void sortTolerantly(Record* begin, Record* end, uint32 axis)
    {
        mergeSorted(begin, end - begin, 1,
                    [axis, tolerance = _tolerance](const Record& a, const Record& b)
                    { return tolerantLess(a, b, axis, tolerance); });
    }

    template <class Less>
    void mergeSorted(Record* begin, std::ptrdiff_t count, std::ptrdiff_t width, const Less& less)
    {
        if (width >= count) return;
        const std::unique_ptr<Record[]> scratch(new Record[static_cast<std::size_t>(count)]);
        mergeSort(begin, count, width, scratch.get(), less, recordsPerPoll,
                  [this](std::ptrdiff_t merged) { return _records.add(static_cast<uint64>(merged)); });
    }

    double _tolerance;
    const Rank& _rank;
    Polling& _polling;
    PollCounter _records;
};

/// A monotone map of x to buckets of which most hold few records: as wide as a sample of the positions.
class Buckets
{
public:
    explicit Buckets(const Array<Vector3D>& positions)
    {
        constexpr uint32 sampleSize = 4096;
        const uint32 step = positions.size() / sampleSize + 1;
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (uint64 n = 0; n < positions.size(); n += step)
        {
            if (!std::isfinite(positions[n].x)) continue;
            low = std::min(low, positions[n].x);
            high = std::max(high, positions[n].x);
        }
        _count = std::clamp<uint32>(positions.size() / 4, 1, 1u << 22);
        _low = low;
        const double width = high - low;
        _scale = std::isfinite(width) && width > 0 ? (_count - 1) / width : 0;
        if (!std::isfinite(_scale)) _scale = 0;
    }

    uint32 count() const { return _count; }

    uint32 operator()(double x) const
    {
        const double steps = (x - _low) * _scale;
        if (steps < 0) return 0;
        return steps < _count - 1 ? static_cast<uint32>(steps) : _count - 1;
    }

private:
    uint32 _count;
    double _low, _scale;
};

/// Merges the positions of one mesh; the steps in their order.
class VertexMerger
{
public:
    VertexMerger(Array<Vector3D>& positions, double tolerance, uint32 threadCount, Polling& polling,
                 Array<uint32>* openers, const Rank& rank)
        : _positions(positions),
          _tolerance(tolerance),
          _workers(threadsWorth(positions.size(), scatteredItems, threadCount)),
          _polling(polling),
          _openers(openers),
          _rank(rank)
    {
    }

    Array<uint32> run();

private:
    void sortAlongX();
    void cutAtRuns();
    template <class Visit>
    void sortRuns(uint32 worker, Visit visit);
    bool joins(const Record& record, const Record* opener) const;
    template <class Open, class Join>
    void walkGroups(const Record* begin, const Record* end, const Record*& opener, Open open, Join join);
    void takeGroups(const Record* begin, const Record* end, const Record*& opener, uint32& next);
    uint32 takeAll();
    uint32 takeShared();

    Array<Vector3D>& _positions;
    double _tolerance;
    uint32 _workers;
    Polling& _polling;
    Array<uint32>* _openers;
    const Rank& _rank;
    Array<Record> _records;
    Array<uint32> _groupOf;     ///< of every position; before that, its bucket
    std::vector<uint32> _cuts;  ///< the records of worker w begin at _cuts[w]
};

/// Brings the records into ascending buckets of x, and sorts them within each.
void VertexMerger::sortAlongX()
{
    const uint32 count = _positions.size();
    const Buckets buckets(_positions);
    _groupOf.resize(count);
    _records.resize(count);
    if (!inPieces(_polling, count, lightItems, _workers,
                  [&](uint32, uint64 begin, uint64 end)
                  {
                      for (uint64 n = begin; n < end; ++n) _groupOf[n] = buckets(_positions[n].x);
                  }))
        return;
    const Array<uint32> ends = placeByBucket(
        count, buckets.count(), _workers, _polling, [this](uint32 n) { return _groupOf[n]; },
        [this](uint32 n, uint32 place) {
            _records[place] = {_positions[n], n};
        });
    if (_polling.isStopped()) return;
    polledFor(_polling, buckets.count(), _workers,
              [&](uint32, uint64 begin, uint64 end)
              {
                  RecordSorter sorter(_tolerance, _rank, _polling);
                  for (uint64 b = begin; b < end && !_polling.isStopped(); ++b)
                      sorter.sortAlong(_records.data() + (b == 0 ? 0 : ends[b - 1]),
                                       _records.data() + ends[b], 0);
              });
}

/// Cuts the records into one range a worker, each beginning where a run along x begins.
void VertexMerger::cutAtRuns()
{
    const uint32 count = _records.size();
    _cuts.assign(std::size_t{_workers} + 1, count);
    PollCounter looked(_polling, recordsPerPoll);
    for (uint32 w = 0; w < _workers; ++w)
    {
        auto cut = static_cast<uint32>(uint64{count} * w / _workers);
        if (w > 0) cut = std::max(cut, _cuts[w - 1]);
        while (cut > 0 && cut < count &&
               within(_records[cut - 1].position.x, _records[cut].position.x, _tolerance) && looked.add(1))
            ++cut;
        _cuts[w] = cut;
    }
}

/// Finishes the order of a worker's records, and calls visit(begin, end) after every run along x while it is
/// near.
template <class Visit>
void VertexMerger::sortRuns(uint32 worker, Visit visit)
{
    RecordSorter sorter(_tolerance, _rank, _polling);
    Record* const end = _records.data() + _cuts[worker + 1];
    for (Record *run = _records.data() + _cuts[worker], *next; run != end && !_polling.isStopped();
         run = next)
    {
        next = sorter.runEnd(run, end, 0);
        sorter.sortRun(run, next, 0);
        visit(run, next);
    }
}

bool VertexMerger::joins(const Record& record, const Record* opener) const
{
    return opener && within(record.position.x, opener->position.x, _tolerance) &&
           within(record.position.y, opener->position.y, _tolerance) &&
           within(record.position.z, opener->position.z, _tolerance);
}

/// Walks sorted records, and calls open(record) for each that opens a group and join(record) for every one.
/// `opener` is the one that opened the last group, from one call to the next.
template <class Open, class Join>
void VertexMerger::walkGroups(const Record* begin, const Record* end, const Record*& opener, Open open,
                              Join join)
{
    for (const Record* r = begin; r != end;)
    {
        const Record* stop = r + std::min(end - r, recordsPerPoll);
        for (; r != stop; ++r)
        {
            if (!joins(*r, opener))
            {
                opener = r;
                open(*r);
            }
            join(*r);
        }
        if (end - begin >= recordsPerPoll && !_polling.goOn()) return;
    }
}

/// Writes the groups of sorted records, numbered from `next` on.
void VertexMerger::takeGroups(const Record* begin, const Record* end, const Record*& opener, uint32& next)
{
    walkGroups(
        begin, end, opener,
        [&](const Record& r)
        {
            if (_openers) (*_openers)[next] = r.index;
            _positions[next++] = r.position;
        },
        [&](const Record& r) { _groupOf[r.index] = next - 1; });
}

/// All in one go, where no other worker's count of groups has to be waited for.
uint32 VertexMerger::takeAll()
{
    uint32 count = 0;
    const Record* opener = nullptr;
    if (_openers) _openers->resize(_positions.size());
    sortRuns(0, [&](const Record* begin, const Record* end) { takeGroups(begin, end, opener, count); });
    return count;
}

/// Counts the groups of all workers first, and then writes them.
uint32 VertexMerger::takeShared()
{
    std::vector<uint32> firstGroup(std::size_t{_workers} + 1, 0);
    polledFor(_polling, _workers, _workers,
              [&](uint32, uint64 w, uint64)
              {
                  uint32 count = 0;
                  const Record* opener = nullptr;
                  sortRuns(static_cast<uint32>(w),
                           [&](const Record* begin, const Record* end)
                           {
                               walkGroups(
                                   begin, end, opener, [&](const Record&) { ++count; }, [](const Record&) {});
                           });
                  firstGroup[w + 1] = count;
              });
    for (uint32 w = 0; w < _workers; ++w) firstGroup[w + 1] += firstGroup[w];
    if (_openers) _openers->resize(firstGroup[_workers]);
    if (!_polling.isStopped())
        polledFor(_polling, _workers, _workers,
                  [&](uint32, uint64 w, uint64)
                  {
                      const Record* opener = nullptr;
                      uint32 next = firstGroup[w];
                      takeGroups(_records.data() + _cuts[w], _records.data() + _cuts[w + 1], opener, next);
                  });
    return firstGroup[_workers];
}

Array<uint32> VertexMerger::run()
{
    sortAlongX();
    if (_polling.isStopped()) return {};
    cutAtRuns();
    const uint32 count = _workers == 1 ? takeAll() : takeShared();
    _positions.resize(count);
    if (_openers) _openers->resize(count);
    return std::move(_groupOf);
}

}  // namespace

Array<uint32> mergeVertices(Array<Vector3D>& positions, double tolerance, uint32 threadCount,
                            Polling& polling, Array<uint32>* openers, const Rank& rank)
{
    return VertexMerger(positions, tolerance, threadCount, polling, openers, rank).run();
}

}  // namespace tavrix::detail
