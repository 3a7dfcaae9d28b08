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
    /// What lowestValue finds.
    struct Lowest
    {
        double value;
        double square;  ///< of the distance
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
    /// Solves (A + s) x = y, where a small stiffness s bounds x; 0 where A is.
    struct Solver
    {
        double stiffness;
        Vector3D r0, r1, r2;  ///< the rows of the adjugate over the determinant

        explicit constexpr Solver(const Quadric& q) : stiffness(1e-6 * q.weight())
        {
            const double ax = q.xx + stiffness, ay = q.yy + stiffness, az = q.zz + stiffness;
            r0 = {ay * az - q.yz * q.yz, q.xz * q.yz - q.xy * az, q.xy * q.yz - ay * q.xz};
            r1 = {r0.y, ax * az - q.xz * q.xz, q.xy * q.xz - ax * q.yz};
            r2 = {r0.z, r1.z, ax * ay - q.xy * q.xy};
            const double determinant = ax * r0.x + q.xy * r0.y + q.xz * r0.z;
            const double inverse = determinant > 0 ? 1 / determinant : 0;
            r0 *= inverse;
            r1 *= inverse;
            r2 *= inverse;
        }
        constexpr Vector3D solve(const Vector3D& y) const { return {dot(r0, y), dot(r1, y), dot(r2, y)}; }
    };

    constexpr Vector3D timesA(const Vector3D& p) const
    {
        return {xx * p.x + xy * p.y + xz * p.z, xy * p.x + yy * p.y + yz * p.z,
                xz * p.x + yz * p.y + zz * p.z};
    }
};

}  // namespace tavrix
