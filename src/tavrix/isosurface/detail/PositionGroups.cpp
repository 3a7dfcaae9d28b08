#include <tavrix/isosurface/detail/PositionGroups.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <tavrix/foundation/detail/BucketSort.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

namespace
{

struct Record
{
    Vector3D position;
    uint32 index;
};

using Records = std::pair<Record*, Record*>;

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

/// Sorts records by the exact coordinate. They mostly come nearly sorted: an insertion sort does it, unless
/// it has to move too much.
void sortExactly(Record* begin, Record* end, uint32 axis)
{
    if (end - begin < 2) return;
    const ExactOrder less{axis};
    std::ptrdiff_t budget = (end - begin) * movesPerRecord + 256;
    for (Record* next = begin + 1; next < end; ++next)
    {
        if (!less(*next, next[-1])) continue;
        const Record moved = *next;
        Record* hole = next;
        for (; hole != begin && less(moved, hole[-1]); --hole) *hole = hole[-1];
        *hole = moved;
        budget -= next - hole;
        if (budget < 0) return std::sort(begin, end, less);
    }
}

/// Bottom-up merge sort with the tolerance comparison; in bounds and deterministic for any answers it gives.
void sortTolerantly(Record* begin, Record* end, uint32 axis, double tolerance)
{
    const std::ptrdiff_t count = end - begin;
    std::vector<Record> other(begin, end);
    Record* from = begin;
    Record* to = other.data();
    for (std::ptrdiff_t width = 1; width < count; width *= 2)
    {
        for (std::ptrdiff_t low = 0; low < count; low += 2 * width)
        {
            const std::ptrdiff_t middle = std::min(low + width, count),
                                 high = std::min(low + 2 * width, count);
            std::ptrdiff_t a = low, b = middle;
            for (std::ptrdiff_t n = low; n < high; ++n)
            {
                const bool second =
                    a == middle || (b < high && tolerantLess(from[b], from[a], axis, tolerance));
                to[n] = from[second ? b++ : a++];
            }
        }
        std::swap(from, to);
    }
    if (from != begin) std::copy(from, from + count, begin);
}

/// The end of the run that starts at `begin` in records sorted exactly along the axis: the next gap wider
/// than the tolerance.
const Record* runEnd(const Record* begin, const Record* end, uint32 axis, double tolerance)
{
    const Record* next = begin + 1;
    while (next != end && within(next[-1].position[axis], next->position[axis], tolerance)) ++next;
    return next;
}

void sortRun(Record* begin, Record* end, uint32 axis, double tolerance);

/// Sorts from an axis on records that are equal on the axes before it.
void sortFrom(Record* begin, Record* end, uint32 axis, double tolerance)
{
    sortExactly(begin, end, axis);
    while (begin != end)
    {
        Record* next = begin + (runEnd(begin, end, axis, tolerance) - begin);
        sortRun(begin, next, axis, tolerance);
        begin = next;
    }
}

/// Orders one run of records that is sorted exactly along the axis.
void sortRun(Record* begin, Record* end, uint32 axis, double tolerance)
{
    if (end - begin < 2 || axis == 2) return;
    if (within(begin->position[axis], end[-1].position[axis], tolerance))
        sortFrom(begin, end, axis + 1, tolerance);
    else
        sortTolerantly(begin, end, axis, tolerance);
}

/// A monotone map of x to buckets of which most hold few records.
class Buckets
{
public:
    explicit Buckets(const Array<Vector3D>& positions)
    {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (const Vector3D& p : positions)
        {
            if (!std::isfinite(p.x)) continue;
            low = std::min(low, p.x);
            high = std::max(high, p.x);
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

/// The records sorted exactly along x: brought into ascending buckets, and sorted within each.
Array<Record> sortAlongX(const Array<Vector3D>& positions, uint32 workers)
{
    const Buckets buckets(positions);
    Array<uint32> bucketOf(positions.size());
    parallelFor(positions.size(), workers,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n) bucketOf[n] = buckets(positions[n].x);
                });
    Array<Record> records(positions.size());
    const Array<uint32> ends = placeByBucket(
        positions.size(), buckets.count(), workers, [&](uint32 n) { return bucketOf[n]; },
        [&](uint32 n, uint32 place) {
            records[place] = {positions[n], n};
        });
    parallelFor(buckets.count(), workers,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 b = begin; b < end; ++b)
                        sortExactly(records.data() + (b == 0 ? 0 : ends[b - 1]), records.data() + ends[b], 0);
                });
    return records;
}

/// Cuts the records into one range a worker, each beginning where a run along x begins.
std::vector<uint32> cutAtRuns(const Array<Record>& records, uint32 workers, double tolerance)
{
    std::vector<uint32> cuts(std::size_t{workers} + 1, records.size());
    for (uint32 w = 0; w < workers; ++w)
    {
        auto cut = static_cast<uint32>(uint64{records.size()} * w / workers);
        if (w > 0) cut = std::max(cut, cuts[w - 1]);
        while (cut > 0 && cut < records.size() &&
               within(records[cut - 1].position.x, records[cut].position.x, tolerance))
            ++cut;
        cuts[w] = cut;
    }
    return cuts;
}

/// Walks sorted records and calls open(record) for each that opens a group and join(record) for every record.
template <class Open, class Join>
void walkGroups(const Record* begin, const Record* end, double tolerance, Open open, Join join)
{
    const Record* opener = nullptr;
    for (const Record* r = begin; r != end; ++r)
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
}

}  // namespace

Array<uint32> groupPositions(Array<Vector3D>& positions, double tolerance, uint32 threadCount)
{
    const uint32 workers = std::clamp(threadCount, 1u, positions.size() / 4096 + 1);
    Array<Record> records = sortAlongX(positions, workers);
    const std::vector<uint32> cuts = cutAtRuns(records, workers, tolerance);

    std::vector<uint32> firstGroup(std::size_t{workers} + 1, 0);
    const auto range = [&](uint64 w) {
        return Records{records.data() + cuts[w], records.data() + cuts[w + 1]};
    };
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    auto [begin, end] = range(w);
                    uint32 count = 0;
                    for (Record *run = begin, *next; run != end; run = next)
                    {
                        next = run + (runEnd(run, end, 0, tolerance) - run);
                        sortRun(run, next, 0, tolerance);
                    }
                    walkGroups(
                        begin, end, tolerance, [&](const Record&) { ++count; }, [](const Record&) {});
                    firstGroup[w + 1] = count;
                });
    for (uint32 w = 0; w < workers; ++w) firstGroup[w + 1] += firstGroup[w];

    Array<uint32> groupOf(positions.size());
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const auto [begin, end] = range(w);
                    uint32 next = firstGroup[w];
                    walkGroups(
                        begin, end, tolerance, [&](const Record& r) { positions[next++] = r.position; },
                        [&](const Record& r) { groupOf[r.index] = next - 1; });
                });
    positions.resize(firstGroup[workers]);
    return groupOf;
}

}  // namespace tavrix::detail
