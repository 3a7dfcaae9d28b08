#include <tavrix/implicit/detail/EikonalSweepKernel.h>

#include <bit>
#include <cstddef>
#include <limits>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

/// Rows that are visited side by side, each one node behind the one before it, so that their nodes, each of
/// which waits for the node before it, are computed at the same time.
constexpr uint32 rowCount = sweptRows;

template <class T>
struct Row
{
    T* own;
    const T *upwindX, *upwindY;
};

/// The upwind solution, when it is below the sample; the sample otherwise.
template <class T>
inline T solve(T sample, T x, T y, T z, const EikonalPlane<T>& plane)
{
    const T low = x < y ? x : y, high = x < y ? y : x;
    const T a = low < z ? low : z, rest = low < z ? z : low;
    const T b = rest < high ? rest : high, c = rest < high ? high : rest;
    if (!(sample > a)) return sample;
    const T limit = plane.bandLimit;
    if (absolute(a) > limit && absolute(b) > limit && absolute(c) > limit) return sample;
    const double h = plane.h, da = a, db = b, dc = c;
    auto u = static_cast<T>(da + h);
    if (absolute(b) <= absolute(u))
    {
        const double ab = da - db;
        u = static_cast<T>((da + db + sqrt(2 * h * h - ab * ab)) / 2);
        if (absolute(c) <= absolute(u))
        {
            const double ac = da - dc, bc = db - dc;
            u = static_cast<T>((da + db + dc + sqrt(3 * h * h - ab * ab - ac * ac - bc * bc)) / 3);
        }
    }
    return sample > u ? u : sample;
}

/// Half the step from a positive number to the next lower one: a solution that is not further below the
/// number rounds to it and so does not lower it. Finite also for infinity, which every solution lowers.
template <class T>
inline T slackOf(T v)
{
    constexpr T largest = std::numeric_limits<T>::max();
    const T next = std::bit_cast<T>(std::bit_cast<SweepMark<T>>(v) - 1);
    const T slack = (v - next) * T(0.5);
    return slack < largest ? slack : largest;
}

/// What the sum of squares in markRow exceeds where a sample may fall: h^2, a little lower for the rounding
/// of the sum. Where T cannot hold h^2 it is a number that every sum exceeds.
template <class T>
inline T squareLimit(double h)
{
    const double square = h * h;
    constexpr double least = std::numeric_limits<T>::min() * 1e8, most = std::numeric_limits<T>::max() * 1e-8;
    return square > least && square < most ? static_cast<T>(square * (1 - 5e-7)) : T(-1);
}

/// Adds a row's bit to the marks of those of its nodes whose sample v may be above the upwind solution: that
/// is so when the sum of (v - neighbour)^2 over the neighbours below v exceeds h^2; see squareLimit.
template <class T>
inline void markRow(const Row<T>& row, uint32 sizeZ, bool upZ, T limit, SweepMark<T> bit,
                    SweepMark<T>* __restrict marks)
{
    const T* __restrict own = row.own;
    const T* __restrict upwindX = row.upwindX;
    const T* __restrict upwindY = row.upwindY;
    const T* upwindZ = upZ ? own - 1 : own + 1;
    const auto squareAbove = [](T v, T slack, T neighbour)
    {
        const T d = (v - neighbour) - slack;
        const T above = d > 0 ? d : 0;
        return above * above;
    };
    // The first node on the way is its own neighbour along z.
    const uint32 first = upZ ? 0 : sizeZ - 1;
    const T v = own[first], slack = slackOf(v);
    if (squareAbove(v, slack, upwindX[first]) + squareAbove(v, slack, upwindY[first]) > limit)
        marks[first] |= bit;
    const uint32 begin = upZ ? 1 : 0, end = upZ ? sizeZ : sizeZ - 1;
    for (uint32 k = begin; k < end; ++k)
    {
        const T slack = slackOf(own[k]);
        const T sum = squareAbove(own[k], slack, upwindX[k]) + squareAbove(own[k], slack, upwindY[k]) +
                      squareAbove(own[k], slack, upwindZ[k]);
        marks[k] |= sum > limit ? bit : 0;
    }
}

/// Visits rows that follow each other on the way. The nodes k = m - offset(row) of the rows do not depend on
/// each other; marks[m] has the bits of those that may change.
template <class T>
inline T visitRows(const Row<T>* rows, uint32 count, const EikonalPlane<T>& plane, SweepMark<T>* marks)
{
    const uint32 sizeZ = plane.sizeZ, steps = sizeZ + rowCount - 1;
    const auto offset = [&](uint32 r) { return plane.upZ ? r : rowCount - 1 - r; };
    const T limit = squareLimit<T>(plane.h);
    for (uint32 m = 0; m < steps; ++m) marks[m] = 0;
    for (uint32 r = 0; r < count; ++r)
        markRow(rows[r], sizeZ, plane.upZ, limit, SweepMark<T>{1} << r, marks + offset(r));

    const uint32 firstNode = plane.upZ ? 0 : sizeZ - 1;
    const std::ptrdiff_t back = plane.upZ ? -1 : 1;
    SweepMark<T> woken = 0;  // nodes whose upwind neighbour has just changed
    T maxChange = static_cast<T>(noChange);
    for (uint32 t = 0; t < steps; ++t)
    {
        const uint32 m = plane.upZ ? t : steps - 1 - t;
        SweepMark<T> waiting = marks[m] | woken;
        woken = 0;
        for (; waiting != 0; waiting &= waiting - 1)
        {
            const auto r = static_cast<uint32>(std::countr_zero(waiting));
            const uint32 k = m - offset(r);
            if (k >= sizeZ || r >= count) continue;
            const Row<T>& row = rows[r];
            T* sample = row.own + k;
            const T old = *sample, z = k == firstNode ? old : sample[back];
            const T u = solve(old, row.upwindX[k], row.upwindY[k], z, plane);
            if (!(u < old)) continue;
            *sample = u;
            maxChange = old - u > maxChange ? old - u : maxChange;
            woken |= SweepMark<T>{3} << r;
        }
    }
    return maxChange;
}

template <class T>
T sweepPlane(const EikonalPlane<T>& plane, SweepMark<T>* scratch)
{
    T maxChange = static_cast<T>(noChange);
    Row<T> rows[rowCount];
    for (uint32 t = plane.firstRow; t < plane.endRow; t += rowCount)
    {
        const uint32 count = plane.endRow - t < rowCount ? plane.endRow - t : rowCount;
        for (uint32 r = 0; r < count; ++r)
        {
            const uint32 j = plane.upY ? t + r : plane.sizeY - 1 - t - r;
            const std::size_t start = std::size_t{j} * plane.sizeZ;
            T* own = plane.samples + start;
            const std::ptrdiff_t back = plane.upY ? -static_cast<std::ptrdiff_t>(plane.sizeZ) : plane.sizeZ;
            rows[r] = {own, plane.upwindX + start, t + r == 0 ? own : own + back};
        }
        const T change = visitRows(rows, count, plane, scratch);
        maxChange = change > maxChange ? change : maxChange;
    }
    return maxChange;
}

template float sweepPlane(const EikonalPlane<float>&, SweepMark<float>*);
template double sweepPlane(const EikonalPlane<double>&, SweepMark<double>*);

}  // namespace tavrix::detail::TX_KERNEL
