#pragma once

#include <vector>

#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/detail/RefinedFaces.h>

namespace tavrix::detail
{

/// What the rules of subdivision see in a point.
enum class LoopPoint : uint8
{
    Smooth,  ///< also where a crease ends, and edges that lie on it there follow the smooth rule
    Crease,  ///< on one
    Corner   ///< where creases meet or bend, or the surface is no manifold: it stays
};

/// Points and faces under Loop's scheme. Creases follow the rule of cubic B-splines, as Hoppe et al. have it
/// (Piecewise Smooth Surface Reconstruction, SIGGRAPH 1994). Beside a crease's point with other than three
/// faces on that side, edges are divided as Biermann, Levin and Zorin say (Piecewise Smooth Subdivision
/// Surfaces with Normal Control, SIGGRAPH 2000), so that normals exist there, and at corners by the angle
/// that the faces between two creases have together: re-entrant ones do not fold.
///
/// What lies in the limit is found one level finer, where every ring is regular next to its middle, so that
/// the masks hold beside creases, too.
class LoopSubdivision
{
public:
    /// Edges whose number `isCrease` answers with true are creases, and all that are not of two faces that
    /// run along them in opposite directions. Where a crease turns by an angle of a smaller cosine than
    /// `bend`, it has a corner. Means nothing once the polling has stopped.
    LoopSubdivision(Array<Vector3D> points, RefinedFaces faces, std::vector<bool> isCrease, double bend,
                    uint32 threadCount, Polling& polling);

    const Array<Vector3D>& points() const { return _points; }
    const RefinedFaces& faces() const { return _faces; }

    /// One level; false when stopped.
    bool refine();
    /// Moves the points to where the surface has them in the limit; with `normals` also makes the surface's
    /// normals there, one a point and further ones behind for the other sides of creases, and the faces'
    /// triples of them. Nothing else can follow. False when stopped.
    bool moveToLimit(bool movesPoints, Array<Vector3F>* normals, Array<Index3>* normalTriples);

private:
    /// The faces at a point between two creases; or those around a corner.
    struct Sector
    {
        uint32 start;  ///< the first face's half-edge from the point
        uint32 faceCount;
        double weight;           ///< of the other end of an edge that leaves it
        bool isClosed, isFirst;  ///< the first of its point
        bool isConcave;          ///< at a corner of more than half a turn
    };
    /// Of a point, or of a sector: the ends of its edges, counter-clockwise, one level finer.
    using Ring = std::vector<Vector3D>;

    void findKinds(double bend);
    void findSectors(const Array<uint32>& cornerCounts);
    void weigh(Sector& sector) const;
    double angleAt(uint32 halfEdge) const;
    bool isSmooth(uint32 point) const { return _kinds[point] == LoopPoint::Smooth; }
    bool followsCrease(uint32 edge) const;
    template <class Work>
    bool forEach(std::size_t count, Work work) const;

    Vector3D edgePoint(uint32 edge, double weightA, double weightB) const;
    Vector3D smoothPoint(uint32 point) const;
    void divideSector(const Sector& sector, Array<Vector3D>& next) const;
    bool refinePoints(Array<Vector3D>& next) const;

    void collectRing(uint32 start, bool isClosed, const Array<Vector3D>& next, Ring& ring) const;
    Vector3F sectorNormal(const Sector& sector, const Vector3D& middle, const Ring& ring) const;
    void nameNormals(uint32 first, Array<Index3>& normalTriples) const;

    Array<Vector3D> _points;
    RefinedFaces _faces;
    std::vector<bool> _isCrease;
    Array<LoopPoint> _kinds;
    Array<uint32> _starts;  ///< a half-edge from every point; noIndex without faces
    std::vector<Sector> _sectors;
    const uint32 _threadCount;
    Polling& _polling;
};

}  // namespace tavrix::detail
