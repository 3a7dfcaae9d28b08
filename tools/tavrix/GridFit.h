#pragma once

#include <string>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>

namespace tavrix::tool
{

/// A grid over particles or a mesh: the nodes' count and the centre of their box. Its nodes lie on whole
/// multiples of the spacing, so that the grids of a sequence of frames share one lattice.
struct GridFit
{
    uint32 sizeX, sizeY, sizeZ;
    Vector3D center;
    double spacing;

    uint64 nodeCount() const { return uint64{sizeX} * sizeY * sizeZ; }
    std::string text() const;
};

/// The smallest box around the particles.
Box3D boundingBox(const Array<Vector3F>& positions);

/// The grid over the box, widened by the reach and a layer of nodes more, for work that takes so many bytes
/// a node. Throws Failure, before
/// anything is allocated, when it would pass 2^32 - 1 nodes or the memory that the machine has left; the
/// message names the file and the smallest spacing that would fit.
GridFit fitGrid(const Box3D& box, double reach, double spacing, double bytesPerNode, const std::string& file);

/// Throws Failure, naming the file, when a grid of so many nodes would pass the memory that the machine has
/// left.
void confirmFits(double nodes, double bytesPerNode, const std::string& file);

}  // namespace tavrix::tool
