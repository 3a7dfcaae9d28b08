#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// A weighted sum of squared distances to planes, as a function of the point: p'Ap + 2 b'p + c with a
/// symmetric A, which is the symmetric 4x4 form of Garland and Heckbert (Surface Simplification Using Quadric
/// Error Metrics, SIGGRAPH 1997).
///
/// A plain aggregate of ten numbers; a fresh one is not initialised, Quadric::zero() is the sum of no planes.
/// Sums lose digits where coordinates are large beside the distances: take them around the points' middle.
struct Quadric
{
    /// What lowestValue finds: the sum there, and the square of the distance.
    struct Lowest
    {
        /// See above.
        /// @{
        double value, square;
        /// @}
    };

    /// A by its rows, b and c.
    /// @{
    double xx, xy, xz, yy, yz, zz;
    Vector3D b;
    double c;
    /// @}

    /// 0 everywhere.
    static constexpr Quadric zero() { return {0, 0, 0, 0, 0, 0, {0, 0, 0}, 0}; }

    /// The weight times the squared distance from the plane through `point` across the unit vector `normal`.
    static constexpr Quadric ofPlane(const Vector3D& normal, const Vector3D& point, double weight)
    {
        const Vector3D w = normal * weight;
        const double height = -dot(normal, point);
        return {w.x * normal.x, w.x * normal.y, w.x * normal.z, w.y * normal.y,
                w.y * normal.z, w.z * normal.z, w * height,     weight * height * height};
    }

    /// The form that has both forms' planes.
    /// @{
    constexpr Quadric& operator+=(const Quadric& q) { return *this = *this + q; }
    friend constexpr Quadric operator+(const Quadric& p, const Quadric& q)
    {
        return {p.xx + q.xx, p.xy + q.xy, p.xz + q.xz, p.yy + q.yy,
                p.yz + q.yz, p.zz + q.zz, p.b + q.b,   p.c + q.c};
    }
    /// @}

    /// The sum of the planes' weights, whose normals are unit vectors: the trace of A.
    constexpr double weight() const { return xx + yy + zz; }

    /// The sum of the weighted squares at a point; below 0 by rounding at most.
    constexpr double at(const Vector3D& p) const { return dot(p, timesA(p)) + 2 * dot(b, p) + c; }

    /// Where the sum is lowest. Along directions in which it does not change, or by less than a millionth of
    /// its weight a unit, the point stays as near to `start` as it can: for one plane it is the foot of
    /// `start` on it, without planes `start` itself. Some hundred multiplications and a division.
    constexpr Vector3D lowestPoint(const Vector3D& start) const
    {
        // each step takes what the solver holds back by the factor of its stiffness and an eigenvalue
        const Solver solver(*this);
        Vector3D p = start;
        for (int step = 0; step < 3; ++step) p -= solver.solve(timesA(p) + b);
        return p;
    }

    /// About the sum at that point, and how far from `start` it is, squared: half of the work.
    constexpr Lowest lowestValue(const Vector3D& start) const
    {
        const Solver solver(*this);
        const Vector3D slope = timesA(start) + b;
        const Vector3D way = solver.solve(slope);
        const double square = dot(way, way);
        return {dot(start, slope) + dot(start, b) + c - dot(slope, way) - solver.stiffness * square, square};
    }

private:
    /// Solves (A + s) x = y, where a small stiffness s bounds x, by the factors LDL' of the matrix; 0 without
    /// weight.
    struct Solver
    {
        double stiffness;
        double l10, l20, l21;  ///< of L, below its diagonal of ones
        Vector3D inverses;     ///< of D

        explicit constexpr Solver(const Quadric& q) : stiffness(1e-6 * q.weight())
        {
            const auto inverse = [](double pivot) { return pivot > 0 ? 1 / pivot : 0; };
            inverses.x = inverse(q.xx + stiffness);
            l10 = q.xy * inverses.x;
            l20 = q.xz * inverses.x;
            inverses.y = inverse(q.yy + stiffness - l10 * q.xy);
            const double rest = q.yz - l20 * q.xy;
            l21 = rest * inverses.y;
            inverses.z = inverse(q.zz + stiffness - l20 * q.xz - l21 * rest);
        }
        constexpr Vector3D solve(const Vector3D& y) const
        {
            const double below = y.y - l10 * y.x;
            const double z = (y.z - l20 * y.x - l21 * below) * inverses.z;
            const double middle = below * inverses.y - l21 * z;
            return {y.x * inverses.x - l10 * middle - l20 * z, middle, z};
        }
    };

    constexpr Vector3D timesA(const Vector3D& p) const
    {
        return {xx * p.x + xy * p.y + xz * p.z, xy * p.x + yy * p.y + yz * p.z,
                xz * p.x + yz * p.y + zz * p.z};
    }
};

}  // namespace tavrix
