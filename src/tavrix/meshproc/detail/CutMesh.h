#pragma once

#include <array>
#include <tuple>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/meshproc/detail/BoxSide.h>
#include <tavrix/meshproc/detail/RimLoops.h>

namespace tavrix::detail
{

/// A vertex that a cut made: the part `t` of the way from one vertex to another, both made before.
struct CutVertex
{
    uint32 low, high;
    double t;
    Vector3D place;
};

/// A face of a mesh, or what a cut left of one.
struct CutFace
{
    Index3 corners, normals;
    uint32 source;  ///< the number that the face had in the mesh
};

/// The faces of a mesh that reach the sides of a box, cut by one side after the other.
///
/// Vertices on a side count as both within and outside, so a cut through a vertex makes no other one beside
/// it. Where a solid is cut, the rims along which it is open are kept, one a side, and cut by the later
/// sides like the faces that are to close them: where two sides of the box meet, both rims get the same new
/// edges. So rims always consist of loops, and closing all of them closes the solid.
class CutMesh
{
public:
    /// Normals are cut when there are some.
    CutMesh(const Array<Vector3D>& positions, const Array<Vector3F>& normals, bool isSolid)
        : _positions(positions), _normals(normals), _isSolid(isSolid)
    {
    }

    void addFace(const CutFace& face) { _faces.push_back(face); }
    /// Drops what lies outside of a side; false when stopped.
    bool cut(uint32 sideNumber, const BoxSide& side, Polling& polling);

    const Vector3D& placeOf(uint32 vertex) const
    {
        return vertex < _positions.size() ? _positions[vertex] : _made[vertex - _positions.size()].place;
    }
    /// In coordinates of magnitudes up to 1.
    RimPoints rimPoints(const std::vector<RimEdge>& rim, const BoxSide& side) const;

    const Array<CutFace>& faces() const { return _faces; }
    const Array<CutVertex>& made() const { return _made; }
    const Array<Vector3F>& madeNormals() const { return _madeNormals; }
    const std::vector<RimEdge>& rim(uint32 sideNumber) const { return _rims[sideNumber].edges; }
    uint32 facesCut() const { return _facesCut; }
    uint32 openChains() const { return _openChains; }

private:
    /// An edge that a side crosses, and the normals at its ends.
    struct Crossing
    {
        uint32 low, high, lowNormal, highNormal;

        auto key() const { return std::tuple(low, high, lowNormal, highNormal); }
        bool operator<(const Crossing& other) const { return key() < other.key(); }
        bool operator==(const Crossing& other) const { return key() == other.key(); }
    };
    /// The edge of a face that lies on a side.
    struct SeamEdge
    {
        uint32 low, high;
        bool isDropped;
        uint32 source;
        int32 direction;  ///< 1 when the face runs along it from low to high, else -1

        auto key() const { return std::tuple(low, high, isDropped, source, direction); }
        bool operator<(const SeamEdge& other) const { return key() < other.key(); }
    };
    struct Rim
    {
        std::vector<RimEdge> edges;
        std::vector<BoxSide> side;  ///< none until the side was cut
    };

    static Crossing crossingOf(uint32 a, uint32 b, uint32 normalA, uint32 normalB);
    int sideOf(uint32 vertex) const { return _side->sideOf(placeOf(vertex)); }
    std::array<int, 3> sidesOf(const CutFace& face) const;

    bool findCrossings(Polling& polling);
    void makeVertices();
    void makeNormals();
    Vector3F normalOf(uint32 number) const;
    uint32 vertexAt(uint32 a, uint32 b) const;
    uint32 normalAt(const Crossing& crossing) const;

    bool cutFaces(Polling& polling);
    void cutFace(const CutFace& face, const std::array<int, 3>& sides, std::vector<CutFace>& pieces);
    bool staysOnSide(const CutFace& face) const;
    void addSeams(const CutFace& face, const std::array<int, 3>& sides, bool isDropped);
    void addSeam(uint32 from, uint32 to, bool isDropped, uint32 source);

    void cutRim(Rim& rim);
    bool staysOnLine(const RimEdge& edge, const BoxSide& side) const;
    void closeRim(Rim& rim);
    void makeRim(Rim& rim);

    const Array<Vector3D>& _positions;
    const Array<Vector3F>& _normals;
    const bool _isSolid;
    Array<CutFace> _faces;
    Array<CutVertex> _made;
    Array<Vector3F> _madeNormals;
    std::array<Rim, 6> _rims;
    uint32 _facesCut = 0, _openChains = 0;

    const BoxSide* _side = nullptr;  ///< by which is cut, and what that needs
    std::vector<Crossing> _crossings;
    std::vector<std::array<uint32, 2>> _crossedEdges;
    std::vector<Crossing> _crossedNormals;
    uint32 _firstVertex = 0, _firstNormal = 0;
    std::vector<SeamEdge> _seams;
};

}  // namespace tavrix::detail
