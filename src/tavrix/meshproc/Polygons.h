#pragma once

#include <vector>

#include <tavrix/meshproc/Polygonum.h>

namespace tavrix
{

/// Loops in the plane and what they enclose: holes are told from outer loops by how deep they are nested.
///
/// A loop that lies in none, or in an even number of others, is an outer one and runs counter-clockwise; one
/// in an odd number is a hole and runs clockwise, whichever way they ran before. Loops may touch at points
/// and along edges. Of two that cross, one lies in the other when its box does and the area near its lowest
/// point is in the other.
class TX_GEOMETRY_API Polygons
{
public:
    /// No loops.
    Polygons() = default;
    /// Takes over the loops, in their order, and finds how they are nested: O(n log n) for n points, and for
    /// every loop the edges beside its lowest point.
    explicit Polygons(std::vector<Polygonum> loops);

    /// The loops, in the order in which they were given.
    /// @{
    uint32 size() const { return static_cast<uint32>(_loops.size()); }
    const Polygonum& operator[](uint32 n) const { return _loops[n]; }
    auto begin() const { return _loops.begin(); }
    auto end() const { return _loops.end(); }
    /// @}

    /// The smallest loop that a loop lies in; noIndex for one that lies in none.
    uint32 parent(uint32 loop) const { return _parents[loop]; }
    /// How many loops a loop lies in.
    uint32 depth(uint32 loop) const { return _depths[loop]; }
    /// Whether that number is odd.
    bool isHole(uint32 loop) const { return _depths[loop] % 2 == 1; }

    /// The areas of the outer loops without those of the holes.
    double area() const;
    /// The smallest box around all loops; Box2D::empty() without any.
    Box2D box() const;
    /// Where a point lies, exactly: on a loop, or inside when it is inside of an odd number of loops. Linear.
    PointPlace locate(const Vector2D& point) const;
    /// The same loops with fewer points, as polylinetools::simplifyLoops makes them.
    Polygons simplified(double tolerance) const;

private:
    std::vector<Polygonum> _loops;
    std::vector<uint32> _parents, _depths;
};

}  // namespace tavrix
