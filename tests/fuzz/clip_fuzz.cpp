#include <algorithm>
#include <cmath>

#include "Choices.h"
#include "Fuzz.h"

using namespace tavrix;
using fuzz::Choices;
using fuzz::require;

namespace
{

/// Few different values, so that many corners lie on the sides of the box, and now and then one out of the
/// ordinary.
double coordinate(Choices& choices)
{
    const uint32 b = choices.below(32);
    return b < 31 ? (static_cast<int>(b) - 15) / 4.0 : choices.number<double>();
}

Vector3D point(Choices& choices)
{
    const double x = coordinate(choices), y = coordinate(choices);
    return {x, y, coordinate(choices)};
}

/// Faces between any positions.
void addFaces(Choices& choices, Mesh& mesh)
{
    const uint32 positions = 1 + choices.below(12), faces = choices.below(16);
    for (uint32 n = 0; n < positions; ++n) mesh.refPos().push_back(point(choices));
    const uint32 count = mesh.getPosSize();
    for (uint32 n = 0; n < faces; ++n)
    {
        const uint32 a = choices.below(count), b = choices.below(count);
        mesh.refTrindexPos().push_back({a, b, choices.below(count)});
    }
}

/// A closed surface whose vertices lie anywhere.
void addClosed(Choices& choices, Mesh& mesh)
{
    Mesh cube;
    cube.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    if (choices.flag()) turnFaces(cube);
    for (Vector3D& p : cube.refPos())
        p = choices.flag() ? point(choices) : p * (1 + choices.below(4) / 2.0) + Vector3D{0, 0, 0.5};
    dropNormals(cube);
    mesh.addMesh(cube);
}

void addArrays(Choices& choices, Mesh& mesh)
{
    if (choices.flag()) mesh.createNormals(choices.flag() ? 4 : 0.5);
    if (choices.flag()) mesh.createSafe_arrNorSurface();
    if (choices.flag()) mesh.addArray<Vector3F>("Velocity").assign(mesh.getPosSize(), {1, 2, 3});
    if (choices.flag()) mesh.addArray<uint32>("Own").assign(2 * mesh.getPosSize(), 7);
    if (choices.flag()) mesh.addArray<uint32>("Faces", MeshArrayInf::PER_FACE).assign(mesh.getFacesSize(), 9);
}

void requireArrays(const Mesh& mesh)
{
    if (const auto* velocity = mesh.findArray<Vector3F>("Velocity"); velocity && !velocity->empty())
    {
        require(velocity->size() == mesh.getPosSize(), "a velocity a position");
        for (const Vector3F& v : *velocity) require(length(v - Vector3F{1, 2, 3}) < 1e-5F, "velocities");
    }
    const auto* own = mesh.findArray<uint32>("Own");
    require(!own || own->size() == 2 * mesh.getPosSize(), "two values a position");
    const auto* faces = mesh.findArray<uint32>("Faces");
    require(!faces || faces->size() == mesh.getFacesSize(), "a value a face");
}

}  // namespace

// Clips any mesh to any box, twice: indices stay valid, nothing lies outside, what was closed and oriented
// stays so unless the report tells otherwise, and the second time there is nothing left to cut.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Choices choices(data, size);
    Mesh mesh;
    for (uint32 parts = 1 + choices.below(3); parts > 0; --parts)
        choices.below(4) == 0 ? addFaces(choices, mesh) : addClosed(choices, mesh);
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
    addArrays(choices, mesh);
    const MeshTopology before = computeTopology(mesh);
    Mesh separated = mesh;  // faces back to back are no solid
    const bool isManifold = before.isManifold() && separateSheets(separated).isNone();
    const bool isClosed = before.inconsistentEdgeCount == 0 && before.boundaryEdgeCount == 0;

    Box3D box{point(choices), point(choices)};
    if (choices.below(8) != 0)
        for (uint32 axis = 0; axis < 3; ++axis)
            if (box.min[axis] > box.max[axis]) std::swap(box.min[axis], box.max[axis]);
    const ClipCut cut = choices.flag() ? ClipCut::Closed : ClipCut::Open;
    const ClipReport report = clipMesh(mesh, box, cut);
    require(hasValidIndices(mesh), "indices");
    require(report.facesOfCaps == 0 || cut == ClipCut::Closed, "caps of solids only");
    for (const Vector3D& p : mesh.pos()) require(box.contains(p), "positions in the box");
    if (mesh.getPosSize() > 0) requireArrays(mesh);
    if (cut == ClipCut::Closed && isClosed && report.unusableFaces == 0)
    {
        const MeshTopology topology = computeTopology(mesh);
        require(report.openLoops == 0, "closed loops of closed meshes");
        require(topology.boundaryEdgeCount == 0 && topology.inconsistentEdgeCount == 0, "closed");
        require(!isManifold || topology.isManifold(), "manifold");
    }
    Mesh again = mesh;
    const ClipReport second = clipMesh(again, box, cut);
    require(second.facesCut == 0 && again.getFacesSize() == mesh.getFacesSize(), "nothing left to cut");
    return 0;
}
