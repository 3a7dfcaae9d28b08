#pragma once

#include <span>
#include <vector>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/Polygons.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

class Mesh;

/// How slices lie: right-handed unit vectors. Heights are measured along `up`, from the origin, and slices
/// are seen from its tip, with x to the right.
struct SliceFrame
{
    /// The frame's axes.
    /// @{
    Vector3D x, y, up;
    /// @}

    /// Up along the axis 0, 1 or 2; x and y are the two that follow it, so that coordinates are the mesh's.
    TX_GEOMETRY_API static SliceFrame alongAxis(uint32 axis);
    /// Up along any direction but 0. Along an axis, the same as above; else y points up that axis of the mesh
    /// from which the direction is furthest, as far as it can.
    TX_GEOMETRY_API static SliceFrame along(const Vector3D& direction);
};

/// From where to where a mesh reaches.
struct HeightRange
{
    double low;   ///< of the lowest corner
    double high;  ///< of the highest

    /// Whether there is a height.
    bool isEmpty() const { return !(low <= high); }
};

/// The heights of the faces' corners that are finite; empty without any. Indices must be valid. Linear.
TX_GEOMETRY_API HeightRange heightsOf(const Mesh& mesh, const SliceFrame& frame);

/// How a mesh is sliced.
struct SliceSettings
{
    double gap = 0;          ///< ends of open chains this near are joined (polylinetools::joinPolylines)
    double tolerance = 0;    ///< above 0: loops and chains are simplified by it (polylinetools)
    uint32 threadCount = 0;  ///< 0: one a processor
};

/// What a plane cuts out of a mesh.
struct MeshSlice
{
    double height;                     ///< of the plane, as it was asked for
    Polygons polygons;                 ///< what the cuts that close enclose
    std::vector<Polyline> openChains;  ///< cuts that end at borders of the mesh, and enclose nothing
};

/// The slices of a mesh.
struct MeshSlices
{
    std::vector<MeshSlice> slices;  ///< one for each height, in the order asked for; none when stopped
    uint32 flatLoops = 0;      ///< left out: they come to a point or a line, as where a plane meets a tip
    uint32 unusableFaces = 0;  ///< left out: a corner is not finite, or further than 1e100 from the origin
    bool isStopped = false;    ///< by the callback
};

/// Cuts a mesh with parallel planes into polygons.
///
/// A vertex on a plane counts as above it, so every face crosses a plane at two edges or not at all, and
/// where each edge has an even number of faces all cuts close, wherever planes run through vertices, along
/// edges and through faces. A slice thus is what a plane just below cuts out: all of a box's top, nothing at
/// its bottom. Where more than two faces share an edge, those with solid between them belong together. Cuts
/// that end at borders are joined where others begin to the bit, as in triangle soups, or within the gap.
///
/// Points lie on the edges that are cut, exactly at vertices on the plane, and do not depend on the direction
/// in which a face uses an edge; repeated points and spikes are dropped. Indices must be valid. The same
/// bytes for every thread count. Linear in faces and output, but for O(n log n) of the points of a slice;
/// about 40 bytes a face, 4 a face and thread, and 4 a vertex besides the output.
TX_GEOMETRY_API MeshSlices sliceMesh(const Mesh& mesh, const SliceFrame& frame,
                                     std::span<const double> heights, const SliceSettings& settings = {},
                                     CancelCallback callback = nullptr);

}  // namespace tavrix
