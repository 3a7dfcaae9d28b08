#pragma once

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/FaceRegion.h>

namespace tavrix::detail
{

/// What of a sheet runs through an edge: the half-edges of one face or two, in opposite directions.
struct Strand
{
    uint32 up = noIndex, down = noIndex;  ///< from the edge's lower vertex to the higher, and back

    bool isPair() const { return up != noIndex && down != noIndex; }
};

/// An edge of more than two faces.
struct CrowdedEdge
{
    uint32 low, high;
    std::vector<Strand> strands;
    bool isUntangled = false;
};

/// The sheets of a region: which faces go, how the others are paired around crowded edges, and which fan of
/// faces gets which vertex. The whole work of separateSheets but for the change of the mesh.
class Sheets
{
public:
    /// What comes by reference must outlive it. It means nothing once the polling has stopped.
    Sheets(const Array<Vector3D>& positions, const FaceRegion& region, bool dropsBackToBack,
           Polling& polling);

    bool isDropped(uint32 face) const { return _isDropped[face] != 0; }
    /// Edges of more than two faces at a whole vertex, with what was dropped away.
    uint32 crowdedEdges() const { return _crowdedCount; }
    /// Whether there is nothing to be done.
    bool areApart() const
    {
        return _crowdedCount == 0 && _added.empty() &&
               std::find(_isDropped.begin(), _isDropped.end(), uint8{1}) == _isDropped.end();
    }
    /// The vertex that a corner gets: its own, or for values from the region's vertices on an added one.
    uint32 vertexOf(uint32 corner) { return _vertexOfFan[_fans.fanOf(corner)]; }
    /// The region's vertices of which those that are added are copies.
    const Array<uint32>& added() const { return _added; }

private:
    PolledNumbers halfEdges() const { return {3 * _faces.size(), scatteredItems, _polling}; }
    uint32 thirdCorner(uint32 h) const { return vertexAt(_faces, nextCorner(nextCorner(h))); }
    bool runsUp(uint32 h) const { return vertexAt(_faces, h) < vertexAt(_faces, nextCorner(h)); }
    const Vector3D& positionOf(uint32 vertex) const { return _positions[_region.vertexNumbers[vertex]]; }

    std::vector<uint32> usesOfCrowdedEdges() const;
    template <class Visit>
    void forEachEdge(const std::vector<uint32>& uses, Visit visit) const;
    void dropCollapsedFaces();
    void dropOppositeFaces(const std::vector<uint32>& crowded);
    void dropOppositeFacesAt(std::span<const uint32> uses);
    void pairAroundEdges(const std::vector<uint32>& crowded);
    void pairAround(const std::vector<uint32>& uses);
    std::vector<uint32> sortedAround(const std::vector<uint32>& uses, uint32 low, uint32 high) const;
    std::vector<Strand> strandsOf(const std::vector<uint32>& sorted) const;
    void link(uint32 g, uint32 h);
    void unlink(const Strand& strand);
    void untangle();
    std::pair<uint32, uint32> fansOf(const Strand& strand);
    std::vector<std::vector<Strand>> tanglesOf(const CrowdedEdge& edge);
    void pairAnew(const std::vector<std::vector<Strand>>& tangles);
    void pairByFans(const std::vector<Strand>& tangle);
    void numberFans();

    const Array<Vector3D>& _positions;
    const FaceRegion& _region;
    const Array<Index3>& _faces;
    Polling& _polling;
    EdgeTable _edges;
    Array<FacedgeTriple> _neighbours;
    Array<uint8> _isDropped;
    std::vector<CrowdedEdge> _crowded;
    CornerFans _fans;
    Array<uint32> _vertexOfFan;  ///< by the fan's first corner
    Array<uint32> _added;
    uint32 _crowdedCount = 0;
};

}  // namespace tavrix::detail
