#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{
class Mesh;
}

namespace tavrix::detail
{

/// The process-wide merge tolerance: set by every clean-up, read by the merge.
double& mergeTolerance();

/// Merges positions within the process-wide tolerance of one another and renumbers the faces; the order is
/// that of IsosurfaceExtractor3::mcaClean. The same result for every thread count.
void mergePositions(Mesh& mesh, uint32 threadCount);

/// Removes the faces that name a position twice, keeping the order of the others.
void dropCollapsedFaces(Mesh& mesh, uint32 threadCount);

/// Sets the tolerance and does both.
void cleanMesh(Mesh& mesh, double tolerance, uint32 threadCount);

}  // namespace tavrix::detail
