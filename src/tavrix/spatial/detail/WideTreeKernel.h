#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/spatial/detail/WideNode.h>

namespace tavrix::detail
{

/// A ray for boxes in single precision. `near` and `far` are the origin, moved by what rounding may come to
/// so that boxes count as larger; `nearSides` and `farSides` are which of WideNode::sides the ray comes to
/// first and last.
struct WideRay
{
    float near[3], far[3], inverse[3];
    uint32 nearSides[3], farSides[3];
    double start;  ///< where the origin lies on the ray that limits are told along
};

/// A point for boxes in single precision, rounded down and up by what rounding may come to.
struct WidePoint
{
    float low[3], high[3];
};

/// A box in single precision, rounded outwards.
struct WideBox
{
    float min[3], max[3];
};

/// Who is told of the faces whose boxes a query comes to: visit(context, slot, limit) returns the limit to go
/// on with, the same or a smaller one; below 0 ends the query.
struct FaceVisitor
{
    double (*visit)(void* context, uint32 slot, double limit);
    void* context;
};

/// Queries from the root downwards: faces whose boxes the ray meets within the limit (in lengths
/// of its direction), are within the limit (a squared distance), or overlap; near boxes first but for the
/// last. No box that is met in exact arithmetic is left out. Nothing is allocated.
TX_DECLARE_KERNEL(
    void visitRay(const WideTree& tree, const WideRay& ray, double limit, const FaceVisitor& visitor);
    void visitNearest(const WideTree& tree, const WidePoint& point, double limit, const FaceVisitor& visitor);
    void visitOverlapping(const WideTree& tree, const WideBox& box, const FaceVisitor& visitor);)

}  // namespace tavrix::detail
