#pragma once

#include <array>
#include <functional>
#include <optional>
#include <span>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// A cell of an octree field: the values at its corners, and the cells that it is divided into.
template <class Value>
struct OctreeVoxelScalar
{
    /// Bits 2, 1 and 0 of a corner's number tell whether it is at the upper end of x, y and z.
    std::array<Value, 8> corners;
    uint32 children = 0;  ///< the number of the first of eight, which follow as the corners do; 0 for none
};

/// How a field is refined.
struct OctreeSettings
{
    double coarsest = 0;          ///< the edge of the largest cells, above 0
    uint32 levels = 0;            ///< how often a cell may be halved, at most ScalarField3Octree::mostLevels
    uint32 mostCells = 1u << 26;  ///< where building gives up
    uint32 threadCount = 1;       ///< worker threads
    CancelCallback callback = nullptr;  ///< polled every few milliseconds
};

/// How building ended.
enum class OctreeStatus
{
    Done,
    Stopped,     ///< by the callback
    TooLarge,    ///< there would be more than the most cells
    BadSettings  ///< the box is empty or not finite, or a setting is out of its range
};

/// A scalar field that is fine only where it has to be: cubes over a box, halved along each axis where values
/// between their corners are not what the corners tell, trilinear in each (Frisken, Perry, Rockwood and
/// Jones, Adaptively Sampled Distance Fields, SIGGRAPH 2000).
///
/// Where cells of different sizes meet, values may jump, by no more than they are wrong by. A cell takes 36
/// bytes in single precision; a value takes a step a level. Copies are deep. In single or double precision.
template <class Value>
class ScalarField3Octree
{
public:
    /// A cell may be halved so often.
    static constexpr uint32 mostLevels = 16;

    /// Gives the values at points; called with many at once. False stops the building.
    using Sampler = std::function<bool(std::span<const Vector3D> points, std::span<Value> values)>;
    /// Whether a cell with these values at its corners is fine enough. Several threads call it at once.
    using IsFine = std::function<bool(const Box3D& cell, const std::array<Value, 8>& corners)>;

    /// Covers the box, from its lowest corner on, with cubes of the coarsest edge, and halves those that are
    /// not fine enough, level by level. Unless Done, the field is left empty. Each level's new corners are
    /// sampled once; the cells do not depend on the thread count.
    OctreeStatus build(const Box3D& box, const OctreeSettings& settings, const Sampler& sample,
                       const IsFine& isFine);

    /// The value at a point; none outside the cubes, and where the field is empty. Several threads may ask.
    std::optional<Value> evaluate(const Vector3D& point) const;

    /// All cells; those of the coarsest level first, z fastest.
    const Array<OctreeVoxelScalar<Value>>& cells() const { return _cells; }
    /// What the cubes cover; Box3D::empty() for an empty field.
    const Box3D& box() const { return _box; }
    /// The bytes that the cells take.
    uint64 getMemoryUsage() const { return uint64{_cells.capacity()} * sizeof(OctreeVoxelScalar<Value>); }

private:
    Array<OctreeVoxelScalar<Value>> _cells;
    Box3D _box = Box3D::empty();
    double _coarsest = 1;
    std::array<uint32, 3> _sizes{};  ///< cubes along each axis
};

TX_GEOMETRY_INSTANCE(ScalarField3Octree<float>);
TX_GEOMETRY_INSTANCE(ScalarField3Octree<double>);

}  // namespace tavrix
