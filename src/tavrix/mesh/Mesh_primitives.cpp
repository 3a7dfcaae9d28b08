#include <utility>

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

void Mesh::assign(const TX_String& name, const Array<Vector3D>& positions, const Array<Index3>& triples,
                  double creaseAngle)
{
    TX_String newName = name;
    Array<Vector3D> newPositions = positions;
    Array<Index3> newTriples = triples;
    unreserve();
    _name = std::move(newName);
    fillOrRelease(
        [&]
        {
            refPos().swap(newPositions);
            refTrindexPos().swap(newTriples);
            createNormals(creaseAngle);
        });
}

void Mesh::createCubePrimitive(const Box3D& box)
{
    const Array<Index3> faces{{2, 1, 0}, {2, 3, 1}, {3, 5, 1}, {3, 7, 5}, {6, 2, 4}, {2, 0, 4},
                              {4, 5, 6}, {5, 7, 6}, {6, 3, 2}, {6, 7, 3}, {0, 1, 4}, {1, 5, 4}};
    refPos() = Array<Vector3D>(Box3Points_ex<double>(box).points);
    refNor().resize(8);
    refTrindexPos() = faces;
    refTrindexNor() = faces;
    refTrindexFacedge().clear();
    invalidateConnectivityDerived();
    recalculateNormals();
    invalidateBox();
}

}  // namespace tavrix
