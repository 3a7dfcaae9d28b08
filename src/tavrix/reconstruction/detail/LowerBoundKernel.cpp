#include <tavrix/reconstruction/detail/LowerBoundKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

/// A kernel's centre and the nodes in its box, half open; in the unit and from the origin of the lattice.
struct BoundBox
{
    double center[3];
    uint32 low[3], high[3];

    /// False when it holds no node.
    bool place(const BoundLattice& lattice, const double (&at)[3], const double (&extent)[3])
    {
        const double end = lattice.nodes;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            center[axis] = (at[axis] - lattice.origin[axis]) * lattice.reciprocal;
            const double reach = extent[axis] * lattice.reciprocal;
            const double first = larger(ceilOf(center[axis] - reach), 0.0);
            const double last = smaller(floorOf(center[axis] + reach) + 1, end);
            if (!(first < last)) return false;
            low[axis] = static_cast<uint32>(first);
            high[axis] = static_cast<uint32>(last);
        }
        return true;
    }
};

/// The kernel of a ball. `set` prepares a row of nodes; false when it is out of reach.
struct BallForm
{
    float amplitude, squaredReach, reciprocal;
    float dx, dy, rowPart;

    bool set(float x, float y)
    {
        dx = x;
        dy = y;
        rowPart = x * x + y * y;
        return rowPart < squaredReach;
    }

    void add(BoundSums& sums, const float* __restrict dz) const
    {
        for (uint32 n = 0; n < lanes; ++n)
        {
            const float t = larger(1.0f - (rowPart + dz[n] * dz[n]) * reciprocal, 0.0f);
            const float squared = amplitude * t * t, w = 3.0f * reciprocal * squared;
            sums.value[n] += squared * t;
            sums.weight[n] += 3.0f * w;
            sums.slope[0][n] += w * dx;
            sums.slope[1][n] += w * dy;
            sums.slope[2][n] += w * dz[n];
        }
    }
};

/// The same of an ellipsoid.
struct EllipsoidForm
{
    float amplitude, xx, xy, xz, yy, yz, zz, entries;
    float ax, ay, az, rowPart;  ///< A d where dz = 0, and q there

    bool set(float x, float y)
    {
        ax = xx * x + xy * y;
        ay = xy * x + yy * y;
        az = xz * x + yz * y;
        rowPart = ax * x + ay * y;
        return (rowPart - 1) * zz < az * az;
    }

    void add(BoundSums& sums, const float* __restrict dz) const
    {
        for (uint32 n = 0; n < lanes; ++n)
        {
            const float z = dz[n], slope = az + zz * z;
            const float t = larger(1.0f - (rowPart + (az + slope) * z), 0.0f);
            const float squared = amplitude * t * t, w = 3.0f * squared;
            sums.value[n] += squared * t;
            sums.weight[n] += w * entries;
            sums.slope[0][n] += w * (ax + xz * z);
            sums.slope[1][n] += w * (ay + yz * z);
            sums.slope[2][n] += w * slope;
        }
    }
};

template <class Form>
inline void addKernel(const BoundLattice& lattice, const BoundBox& box, Form form)
{
    float dz[BoundLattice::mostNodes];
    const uint32 firstGroup = box.low[2] / lanes, endGroup = (box.high[2] + lanes - 1) / lanes;
    for (uint32 n = firstGroup * lanes; n < endGroup * lanes; ++n)
        dz[n] = static_cast<float>(n - box.center[2]);
    for (uint32 i = box.low[0]; i < box.high[0]; ++i)
    {
        const auto dx = static_cast<float>(i - box.center[0]);
        BoundSums* row = lattice.sums + (std::size_t{i} * lattice.nodes + box.low[1]) * lattice.rowLength;
        for (uint32 j = box.low[1]; j < box.high[1]; ++j, row += lattice.rowLength)
        {
            if (!form.set(dx, static_cast<float>(j - box.center[1]))) continue;
            for (std::size_t g = firstGroup; g < endGroup; ++g) form.add(row[g], dz + g * lanes);
        }
    }
}

inline void addBall(const BoundLattice& lattice, const double (&place)[3], double reach, float amplitude)
{
    BoundBox box;
    if (!box.place(lattice, place, {reach, reach, reach})) return;
    const double steps = reach * lattice.reciprocal, square = steps * steps;
    addKernel(lattice, box,
              BallForm{amplitude, static_cast<float>(square), static_cast<float>(1 / square), 0, 0, 0});
}

void addToBounds(const BoundLattice& lattice, float reach, const Particle* particles, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const Particle& p = particles[n];
        addBall(lattice, {p.x, p.y, p.z}, double{p.r} * reach, 1);
    }
}

void addToBounds(const BoundLattice& lattice, float reach, const WeightedBall* balls, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
        addBall(lattice, {balls[n].x, balls[n].y, balls[n].z}, reach, balls[n].weight);
}

void addToBounds(const BoundLattice& lattice, const Ellipsoid* ellipsoids, std::size_t count)
{
    const double square = 1 / (lattice.reciprocal * lattice.reciprocal);
    const auto scaled = [square](float entry) { return static_cast<float>(entry * square); };
    BoundBox box;
    for (std::size_t n = 0; n < count; ++n)
    {
        const Ellipsoid& e = ellipsoids[n];
        if (!box.place(lattice, {e.x, e.y, e.z}, {e.extent[0], e.extent[1], e.extent[2]})) continue;
        const float xx = scaled(e.xx), xy = scaled(e.xy), xz = scaled(e.xz);
        const float yy = scaled(e.yy), yz = scaled(e.yz), zz = scaled(e.zz);
        const float entries = xx + yy + zz + 2 * (absolute(xy) + absolute(xz) + absolute(yz));
        addKernel(lattice, box, EllipsoidForm{e.amplitude, xx, xy, xz, yy, yz, zz, entries, 0, 0, 0, 0});
    }
}

}  // namespace tavrix::detail::TX_KERNEL
