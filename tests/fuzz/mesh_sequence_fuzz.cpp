#include <algorithm>
#include <cmath>

#include <tavrix/meshproc/Vector3Simplifier.h>

#include "Choices.h"
#include "Fuzz.h"

using namespace tavrix;
using fuzz::Choices;
using fuzz::require;

namespace
{

int polls;
int stopAt;
/// Asks to stop at the poll that a sequence chose, and is then asked no more.
int poll()
{
    require(polls <= stopAt, "no poll after the one that stopped");
    return polls++ == stopAt;
}

CancelCallback chooseCallback(Choices& choices)
{
    const uint32 b = choices.raw<uint8>();
    polls = 0;
    stopAt = b % 4 == 0 ? static_cast<int>(b / 4) : std::numeric_limits<int>::max();
    return b % 2 == 0 ? poll : nullptr;
}

/// Few different values, so that many coordinates are equal, and now and then one out of the ordinary.
double coordinate(Choices& choices)
{
    const uint32 b = choices.below(32);
    return b < 30 ? (static_cast<int>(b) - 15) / 8.0 : choices.number<double>();
}

Vector3D point(Choices& choices)
{
    const double x = coordinate(choices), y = coordinate(choices);
    return {x, y, coordinate(choices)};
}

/// What a sequence may make a mesh grow to before it is added to itself.
constexpr uint32 mostFaces = 500;

/// Whether a call may be stopped, and was not stopped without a reason.
void requireDoneOrStopped(bool done, CancelCallback callback)
{
    require(done || (callback && polls > stopAt), "done, unless it was stopped");
}

void addGeometry(Choices& choices, Mesh& mesh)
{
    const uint32 positions = choices.below(12), faces = choices.below(16);
    for (uint32 n = 0; n < positions; ++n) mesh.refPos().push_back(point(choices));
    const uint32 count = mesh.getPosSize();
    const bool hasTriples = mesh.trindexNor().size() == mesh.getFacesSize() && !mesh.nor().empty();
    if (!hasTriples) mesh.refTrindexNor().clear();
    for (uint32 n = 0; n < faces && count > 0; ++n)
    {
        const Index3 f{choices.below(count), choices.below(count), choices.below(count)};
        const uint32 normals = mesh.nor().size();
        mesh.refTrindexPos().push_back(f);
        if (hasTriples) mesh.refTrindexNor().push_back({f.a % normals, f.b % normals, f.c % normals});
    }
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

/// Indices that are not valid, which some operations answer.
void addBadFace(Choices& choices, Mesh& mesh)
{
    const uint32 bad[] = {mesh.getPosSize(), 0x7FFFFFFF, 0x80000000, noIndex};
    mesh.refTrindexPos().push_back({0, bad[choices.below(4)], bad[choices.below(4)]});
    mesh.refTrindexNor().clear();
    mesh.invalidateConnectivity();
}

/// A channel by which it can be told later whether its elements are still where they belong.
Array<Vector3F> placesOf(const Mesh& mesh)
{
    Array<Vector3F> places;
    for (const Vector3D& p : mesh.pos()) places.push_back(convert<float>(p));
    return places;
}

void addArray(Choices& choices, Mesh& mesh)
{
    static constexpr const char* names[] = {"UV_MAP_0", "Velocity", "Own", "Material"};
    const uint32 kind = choices.below(4);
    if (mesh.findArray(names[kind]) != ArrayHandle{}) return;
    if (kind == 3)
    {
        auto& array = mesh.addArray<uint32>(names[kind], MeshArrayInf::PER_FACE);
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f) array.push_back(f);
    }
    else if (kind == 2)
        mesh.addArray<double>(names[kind]).assign(mesh.getPosSize() * choices.below(3), 2.5);
    else
        mesh.addArray<Vector3F>(names[kind]) = placesOf(mesh);
}

/// Whether the channel still says for each position what it said when it was made.
bool fits(const Mesh& mesh, const char* name)
{
    const auto* array = mesh.findArray<Vector3F>(name);
    const Array<Vector3F> places = placesOf(mesh);
    return array && array->size() == places.size() &&
           (places.empty() ||
            std::memcmp(array->data(), places.data(), places.size() * sizeof(Vector3F)) == 0);
}

void clean(Choices& choices, Mesh& mesh)
{
    const double tolerance = choices.below(3) * 0.125;
    const CancelCallback callback = chooseCallback(choices);
    const bool wasValid = hasValidIndices(mesh), fitted = fits(mesh, "Velocity");
    const uint32 faces = mesh.getFacesSize(), positions = mesh.getPosSize();
    const std::string before = callback ? fuzz::recordOf(mesh) : "";
    const bool done = IsosurfaceExtractor3::mcaClean(mesh, tolerance, 1 + choices.below(3), callback);
    requireDoneOrStopped(done, callback);
    require(mesh.getFacesSize() <= faces && mesh.getPosSize() <= positions, "no more than before");
    require(!wasValid || hasValidIndices(mesh), "a valid mesh stays valid");
    require(!fitted || fits(mesh, "Velocity"), "velocities stay with their positions");
    if (!done) require(fuzz::recordOf(mesh) == before, "a stop leaves the mesh as it was");
    if (!done || !wasValid) return;
    for (const Index3& f : mesh.trindexPos())
        require(f.a != f.b && f.b != f.c && f.c != f.a, "no collapsed faces");
}

void makeNormals(Choices& choices, Mesh& mesh)
{
    const uint32 threads = 1 + choices.below(3);
    const CancelCallback callback = chooseCallback(choices);
    const uint32 how = choices.below(7);
    const double angle = choices.below(32) / 8.0 - 0.25;
    uint32 count = 0;
    bool done = true;
    if (how == 0) done = mesh.recalculateNormalsParallelized(threads, callback);
    if (how == 1) done = mesh.createNormals(angle, threads, callback);
    if (how == 2) done = mesh.confirmNormalsCalculated(threads, callback);
    if (how == 3) done = mesh.createSafe_arrNorSurface(threads, callback);
    if (how == 4) mesh.recalculateFaceNormals();
    if (how == 5) mesh.recalculateArrTrindexNor_SmoothingGroups(angle, count);
    if (how == 5) mesh.refNor().assign(count, Vector3F{0, 0, 1});
    if (how == 6) mesh.recalculateVertexesNormals();
    requireDoneOrStopped(done, callback);
    require(hasValidIndices(mesh) || mesh.nor().empty(), "valid normals");
}

void connect(Choices& choices, Mesh& mesh)
{
    mesh.createSafe_arrTrindexFacedge();
    mesh.createSafe_arrBindexFacedge();
    mesh.createSafe_PosConnectivityToPos();
    mesh.createSafe_PosConnectivityToEdges();
    mesh.createSafe_PosConnectivityToFaces();
    const MeshTopology topology = computeTopology(mesh);
    require(topology.edgeCount * 2 == mesh.bindexPos().size() && topology.faceCount <= mesh.getFacesSize(),
            "the edges of the topology");
    if (choices.below(2)) mesh.invalidateConnectivity();
}

void simplify(Choices& choices, Mesh& mesh)
{
    const Vector3Simplifier<double> simplifier;
    Array<uint32> positions, faces;
    const uint32 before = mesh.getPosSize(), facesBefore = mesh.getFacesSize();
    PolyParam<8, float> tolerances;
    for (uint32 n = choices.below(4); n > 0; --n)
        tolerances.push_back(static_cast<float>(coordinate(choices)));
    const auto mode = static_cast<V3S_SIMP_MODE>(choices.below(3));
    choices.below(2) ? simplifier.simplifyRemovingDegenerateFaces(mesh.refPos(), mesh.refTrindexPos(),
                                                                  positions, faces, tolerances, mode)
                     : simplifier.simplifyRemovingDegenerateTrindices(mesh.refPos(), mesh.refTrindexPos(),
                                                                      positions, faces, tolerances, mode);
    require(positions.size() == before && faces.size() == facesBefore, "dictionaries of everything");
    for (const uint32 p : positions) require(p < mesh.getPosSize(), "a dictionary in range");
    mesh.refTrindexNor().clear();
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

/// Takes sheets apart, or fills cavities: the second time there is nothing left to do.
void mend(Choices& choices, Mesh& mesh)
{
    const MeshTopology before = computeTopology(mesh);
    if (choices.below(2))
    {
        const PartCounts counted = countPartsAndCavities(mesh), filled = fillCavities(mesh);
        require(counted.cavities == filled.cavities && counted.parts >= filled.parts + filled.cavities,
                "what was counted is filled");
        require(filled.parts == countParts(mesh), "the parts that are left");
        return;
    }
    separateSheets(mesh, choices.below(2) ? BackToBack::Keep : BackToBack::Drop);
    const MeshTopology topology = computeTopology(mesh);
    require(topology.collapsedFaceCount == 0, "no face with a corner twice");
    if (before.inconsistentEdgeCount > 0) return;
    require(topology.isManifold() && topology.inconsistentEdgeCount == 0, "a manifold of oriented faces");
    require(topology.boundaryEdgeCount == before.boundaryEdgeCount, "borders stay as they are");
}

bool isValid(const Mesh& mesh, const Index3& f) { return std::max({f.a, f.b, f.c}) < mesh.getPosSize(); }

bool isUsable(const Mesh& mesh, uint32 face)
{
    const Index3& f = mesh.trindexPos()[face];
    return isValid(mesh, f) && isFinite(mesh.pos()[f.a] + mesh.pos()[f.b] + mesh.pos()[f.c]);
}

/// A collider's answers hold for the faces that it names, and moving it does not change them.
void collide(Choices& choices, const Mesh& mesh)
{
    for (const Vector3D& p : mesh.pos())
        if (isFinite(p) && std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}) > 1e75) return;
    MeshCollider made;
    made.create(mesh, 1 + choices.below(3));
    require(made.getTree().size() == (mesh.isEmpty() ? 0 : 2 * mesh.getFacesSize() - 1), "a node for each");
    MeshCollider collider = choices.below(2) ? std::move(made) : made;
    const Ray3D ray{point(choices), point(choices)};
    const auto hit = collider.castRay(ray);
    require(hit.has_value() == collider.isHit(ray), "a hit is a hit");
    if (hit) require(hit->face < mesh.getFacesSize() && isUsable(mesh, hit->face), "the face of a hit");
    const Vector3D p = point(choices);
    const auto nearest = collider.nearestPoint(p);
    if (nearest) require(isUsable(mesh, nearest->face) && isFinite(p), "the face of the nearest point");
    collider.isInside(p);
    Array<uint32> faces;
    Box3D box = Box3D::empty();
    for (int n = 0; n < 2; ++n) box.extend(point(choices));
    collider.findOverlapping(box, faces);
    require(std::is_sorted(faces.begin(), faces.end()), "faces in order");
    for (const uint32 f : faces) require(isUsable(mesh, f), "faces that are there");
    require(collider.transformRt(Matrix4<double>::rotationTranslation({1, 0, 0, 0}, {1, 2, 3}), mesh),
            "moved");
}

/// Written and read back, as a record all that it holds and as a file the faces that have all their corners.
void writeAndRead(Choices& choices, const Mesh& mesh)
{
    const std::string record = fuzz::recordOf(mesh);
    Mesh again;
    FileRam ram(record.data(), record.size());
    again.loadBasic(ram);
    require(fuzz::recordOf(again) == record, "a record that reads back");

    const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
    const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    const fuzz::MemoryFile file(nullptr, 0);
    const TX_String& path = file.path();
    const uint32 format = choices.below(4);
    const auto encoding = static_cast<MeshSTLFileParser::Encoding>(format % 2);
    const CancelCallback callback = chooseCallback(choices);
    const int written = format == 0   ? bin.write(path, mesh, callback)
                        : format == 1 ? obj.write(path, mesh, callback)
                                      : stl.write(path, mesh, encoding, callback);
    requireDoneOrStopped(written >= 0, callback);
    if (written < 0) return;
    ArrayOfPtr<Mesh> read;
    const int result = format == 0   ? bin.read(path, read)
                       : format == 1 ? obj.read(path, read, Mesh_OBJ_FileParser::ReadingMode::oneGroup)
                                     : stl.read(path, read, encoding);
    require(result == written, "a file that reads back");
    Array<Index3> valid;
    for (const Index3& f : mesh.trindexPos())
        if (isValid(mesh, f)) valid.push_back(f);
    require((read.empty() ? 0 : read[0]->getFacesSize()) == valid.size(), "the faces of the file");
    if (format == 1) return;  // OBJ has six decimals
    for (uint32 n = 0; n < 9 * valid.size(); ++n)
    {
        const uint32 f = n / 9, c = n / 3 % 3, axis = n % 3;
        const auto a = static_cast<float>(mesh.pos()[valid[f][c]][axis]);
        const auto b = static_cast<float>(read[0]->pos()[read[0]->trindexPos()[f][c]][axis]);
        require(a == b || (a != a && b != b), "the corners of a face");
    }
    if (format == 0 && fits(mesh, "Velocity") && mesh.getPosSize() > 0)
        require(read[0]->findArray<Vector3F>("Velocity") != nullptr, "velocities");
}

/// A copy is equal, and adding it doubles the mesh.
void copyAndAdd(Choices& choices, Mesh& mesh)
{
    Mesh copy;
    choices.below(2) ? copy.copyFrom(mesh, true) : copy.copyAllFrom(mesh, true);
    require(fuzz::recordOf(copy) == fuzz::recordOf(mesh), "an equal copy");
    const bool wasValid = hasValidIndices(mesh);
    const uint32 positions = mesh.getPosSize(), faces = mesh.getFacesSize();
    if (faces > mostFaces || positions > mostFaces) return;
    mesh.addMesh(choices.below(2) ? copy : mesh);
    require(mesh.getPosSize() == 2 * positions && mesh.getFacesSize() == 2 * faces, "twice the mesh");
    require(!wasValid || hasValidIndices(mesh), "valid meshes make a valid mesh");
    Array<uint32> sources;
    if (wasValid) copy.copyPartialFrom(mesh, choices.below(64), sources);
}

}  // namespace

// A sequence of calls on one mesh. What needs valid indices gets them; the rest has to answer for others.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Choices choices(data, size);
    Mesh mesh;
    for (uint32 calls = 0; calls < 40 && choices.areLeft(); ++calls)
    {
        bool allValid = true;
        for (const Index3& f : mesh.trindexPos()) allValid &= isValid(mesh, f);
        const bool isSmall = mesh.getFacesSize() < mostFaces;
        const uint32 call = choices.below(13);
        if (call <= 1 && isSmall) addGeometry(choices, mesh);
        if (call == 2 && isSmall && choices.below(8) == 0) addBadFace(choices, mesh);
        if (call == 3) addArray(choices, mesh);
        if (call == 4) clean(choices, mesh);
        if (call == 5 && allValid) makeNormals(choices, mesh);
        if (call == 6 && allValid) connect(choices, mesh);
        if (call == 7) simplify(choices, mesh);
        if (call == 8) collide(choices, mesh);
        if (call == 9) writeAndRead(choices, mesh);
        if (call == 10) copyAndAdd(choices, mesh);
        if (call == 12 && allValid) mend(choices, mesh);
        if (call == 11) mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1 + choices.below(4) / 4.0}});
        mesh.getBox();
    }
    return 0;
}
