#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/detail/MeshParts.h>

namespace tavrix::detail
{

/// Measures of a part of a mesh.
struct PartSums
{
    double area = 0, volume = 0, squaredEdges = 0;
    int64 edges = 0;
    bool isOpen = false;

    /// That of a ball with as much volume for its area; none bounds a part that is open.
    double radius() const
    {
        return isOpen ? std::numeric_limits<double>::infinity() : 3 * std::fabs(volume) / area;
    }
    double squaredEdge() const { return edges == 0 ? 0 : squaredEdges / static_cast<double>(edges); }
};

/// Measures the parts of a mesh whose positions change. What a vertex adds is rounded to a whole multiple of
/// a small unit, which the part's first positions decide: the sums do not depend on the order, nor on who
/// adds up what. Collective where the parts lie on several ranks.
class PartMeasures
{
public:
    /// All must outlive it. Means nothing once the polling has stopped.
    PartMeasures(const Array<Vector3D>& positions, const VertexRings& rings, const MeshParts& parts,
                 uint32 threadCount, Polling& polling);

    /// By the positions as they are. Not a number where positions are not finite.
    std::vector<PartSums> measure() const;
    /// The sum of the area vectors of the faces at a vertex.
    Vector3D areaVectorAt(uint32 vertex) const;

private:
    /// What a vertex adds: to the area, the volume and the squared lengths of the edges.
    static constexpr std::size_t measureCount = 3;
    using Measures = std::array<double, measureCount>;
    struct Rounding
    {
        Measures perUnit;  ///< the units that make 1
        double most;       ///< of them that a vertex may add
    };

    Measures measuresAt(uint32 vertex) const;
    double squaredEdgesAt(uint32 vertex) const;
    void chooseRoundings();

    const Array<Vector3D>& _positions;
    const VertexRings& _rings;
    const MeshParts& _parts;
    const uint32 _threadCount;
    Polling& _polling;
    std::vector<Vector3D> _origins;    ///< of the parts, for their volumes
    std::vector<Rounding> _roundings;  ///< of what their vertices add
};

}  // namespace tavrix::detail
