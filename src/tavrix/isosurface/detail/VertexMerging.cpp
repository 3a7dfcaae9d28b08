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

/// Exact order along an axis; what is not a number comes last, ties keep the index order.
struct ExactOrder
{
    uint32 axis;
    bool operator()(const Record& a, const Record& b) const
    {
        const double pa = a.position[axis], pb = b.position[axis];
        if (pa < pb) return true;
        if (pb < pa) return false;
        const bool nanA = pa != pa, nanB = pb != pb;
        if (nanA != nanB) return nanB;
        return a.index < b.index;
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
    RecordSorter(double tolerance, Polling& polling)
        : _tolerance(tolerance), _polling(polling), _records(polling, recordsPerPoll)
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

    /// Orders one run of records that is sorted exactly along the axis.
    void sortRun(Record* begin, Record* end, uint32 axis)
    {
        if (end - begin < 2 || axis == 2) return;
        if (within(begin->position[axis], end[-1].position[axis], _tolerance))
            sortFrom(begin, end, axis + 1);
        else
            sortTolerantly(begin, end, axis);
    }

    /// Sorts records by the exact coordinate. They mostly come nearly sorted: an insertion sort does it,
    /// unless it has to move too much.
    void sortExactly(Record* begin, Record* end, uint32 axis)
    {
        if (!_records.add(static_cast<uint64>(end - begin)) || end - begin < 2) return;
        const ExactOrder less{axis};
        std::ptrdiff_t moves = (end - begin) * movesPerRecord + 256;
        for (Record* middle = begin + 1; middle < end;)
        {
            Record* const stop = middle + std::min(end - middle, recordsPerPoll);
            const std::ptrdiff_t movesLeft = moves;
            if (!insertSorted(begin, middle, stop, less, moves)) return sortAtOnce(begin, end, less);
            if (!_records.add(static_cast<uint64>(stop - middle + movesLeft - moves))) return;
            middle = stop;
        }
    }

private:
    /// Sorts from an axis on records that are equal on the axes before it.
    void sortFrom(Record* begin, Record* end, uint32 axis)
    {
        sortExactly(begin, end, axis);
        while (begin != end && !_polling.isStopped())
        {
            Record* next = runEnd(begin, end, axis);
            sortRun(begin, next, axis);
            begin = next;
        }
    }

    /// A general sort: of blocks, and then by merging them.
    void sortAtOnce(Record* begin, Record* end, const ExactOrder& less)
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
    Polling& _polling;
    PollCounter _records;
};

/// A monotone map of x to buckets of which most hold few records.
class Buckets
{
public:
    Buckets(const Array<Vector3D>& positions, Polling& polling)
    {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        inPieces(polling, positions.size(), lightItems,
                 [&](uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                     {
                         if (!std::isfinite(positions[n].x)) continue;
                         low = std::min(low, positions[n].x);
                         high = std::max(high, positions[n].x);
                     }
                 });
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

/// The records sorted exactly along x: brought into ascending buckets, and sorted within each.
Array<Record> sortAlongX(const Array<Vector3D>& positions, uint32 workers, Polling& polling)
{
    const Buckets buckets(positions, polling);
    Array<uint32> bucketOf(positions.size());
    Array<Record> records(positions.size());
    if (!inPieces(polling, positions.size(), lightItems, workers,
                  [&](uint32, uint64 begin, uint64 end)
                  {
                      for (uint64 n = begin; n < end; ++n) bucketOf[n] = buckets(positions[n].x);
                  }))
        return records;
    const Array<uint32> ends = placeByBucket(
        positions.size(), buckets.count(), workers, polling, [&](uint32 n) { return bucketOf[n]; },
        [&](uint32 n, uint32 place) {
            records[place] = {positions[n], n};
        });
    if (polling.isStopped()) return records;
    polledFor(polling, buckets.count(), workers,
              [&](uint32, uint64 begin, uint64 end)
              {
                  RecordSorter sorter(0, polling);
                  for (uint64 b = begin; b < end && !polling.isStopped(); ++b)
                      sorter.sortExactly(records.data() + (b == 0 ? 0 : ends[b - 1]),
                                         records.data() + ends[b], 0);
              });
    return records;
}

/// Cuts the records into one range a worker, each beginning where a run along x begins.
std::vector<uint32> cutAtRuns(const Array<Record>& records, uint32 workers, double tolerance,
                              Polling& polling)
{
    std::vector<uint32> cuts(std::size_t{workers} + 1, records.size());
    PollCounter looked(polling, recordsPerPoll);
    for (uint32 w = 0; w < workers; ++w)
    {
        auto cut = static_cast<uint32>(uint64{records.size()} * w / workers);
        if (w > 0) cut = std::max(cut, cuts[w - 1]);
        while (cut > 0 && cut < records.size() &&
               within(records[cut - 1].position.x, records[cut].position.x, tolerance) && looked.add(1))
            ++cut;
        cuts[w] = cut;
    }
    return cuts;
}

/// Walks sorted records and calls open(record) for each that opens a group and join(record) for every record.
template <class Open, class Join>
void walkGroups(const Record* begin, const Record* end, double tolerance, Polling& polling, Open open,
                Join join)
{
    const Record* opener = nullptr;
    for (const Record* r = begin; r != end;)
    {
        const Record* stop = r + std::min(end - r, recordsPerPoll);
        for (; r != stop; ++r)
        {
            if (!opener || !within(r->position.x, opener->position.x, tolerance) ||
                !within(r->position.y, opener->position.y, tolerance) ||
                !within(r->position.z, opener->position.z, tolerance))
            {
                opener = r;
                open(*r);
            }
            join(*r);
        }
        if (!polling.goOn()) return;
    }
}

}  // namespace

Array<uint32> mergeVertices(Array<Vector3D>& positions, double tolerance, uint32 threadCount,
                            Polling& polling, Array<uint32>* openers)
{
    const uint32 workers = std::clamp(threadCount, 1u, positions.size() / 4096 + 1);
    Array<Record> records = sortAlongX(positions, workers, polling);
    Array<uint32> groupOf(positions.size());
    if (polling.isStopped()) return groupOf;
    const std::vector<uint32> cuts = cutAtRuns(records, workers, tolerance, polling);

    std::vector<uint32> firstGroup(std::size_t{workers} + 1, 0);
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  Record* const begin = records.data() + cuts[w];
                  Record* const end = records.data() + cuts[w + 1];
                  RecordSorter sorter(tolerance, polling);
                  uint32 count = 0;
                  for (Record *run = begin, *next; run != end && !polling.isStopped(); run = next)
                  {
                      next = sorter.runEnd(run, end, 0);
                      sorter.sortRun(run, next, 0);
                  }
                  walkGroups(
                      begin, end, tolerance, polling, [&](const Record&) { ++count; }, [](const Record&) {});
                  firstGroup[w + 1] = count;
              });
    if (polling.isStopped()) return groupOf;
    for (uint32 w = 0; w < workers; ++w) firstGroup[w + 1] += firstGroup[w];

    if (openers) openers->resize(firstGroup[workers]);
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  uint32 next = firstGroup[w];
                  walkGroups(
                      records.data() + cuts[w], records.data() + cuts[w + 1], tolerance, polling,
                      [&](const Record& r)
                      {
                          if (openers) (*openers)[next] = r.index;
                          positions[next++] = r.position;
                      },
                      [&](const Record& r) { groupOf[r.index] = next - 1; });
              });
    positions.resize(firstGroup[workers]);
    return groupOf;
}

}  // namespace tavrix::detail
