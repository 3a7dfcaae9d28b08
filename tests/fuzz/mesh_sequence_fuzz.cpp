#include <algorithm>
#include <cmath>
#include <limits>

#include <tavrix/meshproc/Vector3Simplifier.h>

#include "Fuzz.h"

using namespace tavrix;
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

/// The numbers that a sequence consists of; 0 when they are used up.
class Source
{
public:
    Source(const unsigned char* data, std::size_t size) : _next(data), _end(data + size) {}

    bool isEmpty() const { return _next == _end; }
    uint32 byte() { return _next == _end ? 0 : *_next++; }
    uint32 below(uint32 limit) { return limit == 0 ? 0 : byte() % limit; }
    /// Few different values, so that many coordinates are equal, and now and then one out of the ordinary.
    double coordinate()
    {
        static constexpr double strange[] = {std::numeric_limits<double>::quiet_NaN(),
                                             std::numeric_limits<double>::infinity(),
                                             -std::numeric_limits<double>::infinity(),
                                             1e300,
                                             -1e-300,
                                             -0.0,
                                             1e30,
                                             1 / 3.0};
        const uint32 b = byte();
        return b < 248 ? (static_cast<int>(b % 31) - 15) / 8.0 : strange[b - 248];
    }
    Vector3D point()
    {
        const double x = coordinate(), y = coordinate();
        return {x, y, coordinate()};
    }
    CancelCallback callback()
    {
        const uint32 b = byte();
        polls = 0;
        stopAt = b % 4 == 0 ? static_cast<int>(b / 4) : std::numeric_limits<int>::max();
        return b % 2 == 0 ? poll : nullptr;
    }

private:
    const unsigned char* _next;
    const unsigned char* _end;
};

/// What a sequence may make a mesh grow to before it is added to itself.
constexpr uint32 mostFaces = 500;

/// Whether a call may be stopped, and was not stopped without a reason.
void requireDoneOrStopped(bool done, CancelCallback callback)
{
    require(done || (callback && polls > stopAt), "done, unless it was stopped");
}

void addGeometry(Source& source, Mesh& mesh)
{
    const uint32 positions = source.below(12), faces = source.below(16);
    for (uint32 n = 0; n < positions; ++n) mesh.refPos().push_back(source.point());
    const uint32 count = mesh.getPosSize();
    const bool hasTriples = mesh.trindexNor().size() == mesh.getFacesSize();
    for (uint32 n = 0; n < faces && count > 0; ++n)
    {
        const Index3 face{source.below(count), source.below(count), source.below(count)};
        mesh.refTrindexPos().push_back(face);
        if (hasTriples && mesh.nor().size() > 0)
        {
            const uint32 normals = mesh.nor().size();
            mesh.refTrindexNor().push_back({face.a % normals, face.b % normals, face.c % normals});
        }
    }
    if (!hasTriples || mesh.nor().empty()) mesh.refTrindexNor().clear();
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

/// Indices that are not valid, which some operations answer.
void addBadFace(Source& source, Mesh& mesh)
{
    const uint32 bad[] = {mesh.getPosSize(), 0x7FFFFFFF, 0x80000000, noIndex};
    mesh.refTrindexPos().push_back({0, bad[source.below(4)], bad[source.below(4)]});
    mesh.refTrindexNor().clear();
    mesh.invalidateConnectivity();
}

void addArray(Source& source, Mesh& mesh)
{
    static constexpr const char* names[] = {"UV_MAP_0", "Velocity", "Own", "Material"};
    const uint32 kind = source.below(4);
    if (mesh.findArray(names[kind]) != ArrayHandle{}) return;
    if (kind == 3)
    {
        auto& array = mesh.addArray<uint32>(names[kind], MeshArrayInf::PER_FACE);
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f) array.push_back(f);
    }
    else if (kind == 2)
        mesh.addArray<double>(names[kind]).assign(mesh.getPosSize() * source.below(3), 2.5);
    else
    {
        auto& array = mesh.addArray<Vector3F>(names[kind]);
        // of a position, so that it can be told later whether an element is still where it belongs
        for (const Vector3D& p : mesh.pos()) array.push_back(convert<float>(p));
    }
}

bool isOwn(const Vector3F& carried, const Vector3D& p)
{
    const auto own = convert<float>(p);
    return std::memcmp(&carried, &own, sizeof own) == 0;
}

/// Whether the channel still says for each position what it said when it was made.
bool fits(const Mesh& mesh, const char* name)
{
    const auto* array = mesh.findArray<Vector3F>(name);
    if (!array || array->size() != mesh.getPosSize()) return false;
    for (uint32 n = 0; n < array->size(); ++n)
        if (!isOwn((*array)[n], mesh.pos()[n])) return false;
    return true;
}

void clean(Source& source, Mesh& mesh)
{
    const double tolerance = source.below(3) * 0.125;
    const CancelCallback callback = source.callback();
    const bool wasValid = hasValidIndices(mesh), fitted = fits(mesh, "Velocity");
    const uint32 faces = mesh.getFacesSize(), positions = mesh.getPosSize();
    const std::string before = callback ? fuzz::recordOf(mesh) : "";
    const bool done = IsosurfaceExtractor3::mcaClean(mesh, tolerance, 1 + source.below(3), callback);
    requireDoneOrStopped(done, callback);
    require(mesh.getFacesSize() <= faces && mesh.getPosSize() <= positions, "no more than before");
    require(!wasValid || hasValidIndices(mesh), "a valid mesh stays valid");
    require(!fitted || fits(mesh, "Velocity"), "velocities stay with their positions");
    if (!done) require(fuzz::recordOf(mesh) == before, "a stop leaves the mesh as it was");
    if (!done || !wasValid) return;
    for (const Index3& f : mesh.trindexPos())
        require(f.a != f.b && f.b != f.c && f.c != f.a, "no collapsed faces");
}

void makeNormals(Source& source, Mesh& mesh)
{
    const uint32 threads = 1 + source.below(3);
    const CancelCallback callback = source.callback();
    bool done = true;
    switch (source.below(7))
    {
        case 0:
            done = mesh.recalculateNormalsParallelized(threads, callback);
            break;
        case 1:
            done = mesh.createNormals(source.below(32) / 8.0 - 0.25, threads, callback);
            break;
        case 2:
            done = mesh.confirmNormalsCalculated(threads, callback);
            break;
        case 3:
            done = mesh.createSafe_arrNorSurface(threads, callback);
            break;
        case 4:
            mesh.recalculateFaceNormals();
            break;
        case 5:
        {
            uint32 count = 0;
            mesh.recalculateArrTrindexNor_SmoothingGroups(source.below(32) / 8.0, count);
            mesh.refNor().assign(count, Vector3F{0, 0, 1});
            break;
        }
        default:
            mesh.recalculateVertexesNormals();
    }
    requireDoneOrStopped(done, callback);
    require(hasValidIndices(mesh) || mesh.nor().empty(), "valid normals");
}

void connect(Source& source, Mesh& mesh)
{
    mesh.createSafe_arrTrindexFacedge();
    mesh.createSafe_arrBindexFacedge();
    mesh.createSafe_PosConnectivityToPos();
    mesh.createSafe_PosConnectivityToEdges();
    mesh.createSafe_PosConnectivityToFaces();
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        for (uint32 e = 0; e < 3; ++e)
        {
            const IndexFacedge other = mesh.trindexFacedge()[f][e];
            require(
                other.isNone() || mesh.trindexFacedge()[other.face()][other.edge()] == IndexFacedge::of(f, e),
                "neighbours of each other");
        }
    const MeshTopology topology = computeTopology(mesh);
    require(topology.edgeCount * 2 == mesh.bindexPos().size() && topology.faceCount <= mesh.getFacesSize(),
            "the edges of the topology");
    if (source.below(2)) mesh.invalidateConnectivity();
}

void simplify(Source& source, Mesh& mesh)
{
    const Vector3Simplifier<double> simplifier;
    Array<uint32> positions, faces;
    const uint32 before = mesh.getPosSize(), facesBefore = mesh.getFacesSize();
    PolyParam<8, float> tolerances;
    for (uint32 n = source.below(4); n > 0; --n)
        tolerances.push_back(static_cast<float>(source.coordinate()));
    const auto mode = static_cast<V3S_SIMP_MODE>(source.below(3));
    source.below(2) ? simplifier.simplifyRemovingDegenerateFaces(mesh.refPos(), mesh.refTrindexPos(),
                                                                 positions, faces, tolerances, mode)
                    : simplifier.simplifyRemovingDegenerateTrindices(mesh.refPos(), mesh.refTrindexPos(),
                                                                     positions, faces, tolerances, mode);
    require(positions.size() == before && faces.size() == facesBefore, "dictionaries of everything");
    for (const uint32 p : positions) require(p < mesh.getPosSize(), "a dictionary in range");
    mesh.refTrindexNor().clear();
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

bool isUsable(const Mesh& mesh, uint32 face)
{
    for (uint32 c = 0; c < 3; ++c)
    {
        const uint32 p = mesh.trindexPos()[face][c];
        if (p >= mesh.getPosSize() || !isFinite(mesh.pos()[p]) ||
            std::max({std::fabs(mesh.pos()[p].x), std::fabs(mesh.pos()[p].y), std::fabs(mesh.pos()[p].z)}) >
                1e75)
            return false;
    }
    return true;
}

/// A collider's answers hold for the faces that it names, and moving it does not change them.
void collide(Source& source, const Mesh& mesh)
{
    for (const Vector3D& p : mesh.pos())
        if (isFinite(p) && std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}) > 1e75) return;
    MeshCollider made;
    made.create(mesh, 1 + source.below(3));
    require(made.getTree().size() == (mesh.isEmpty() ? 0 : 2 * mesh.getFacesSize() - 1), "a node for each");
    MeshCollider collider = source.below(2) ? std::move(made) : made;
    const Ray3D ray{source.point(), source.point()};
    const auto hit = collider.castRay(ray);
    require(hit.has_value() == collider.isHit(ray), "a hit is a hit");
    if (hit) require(hit->face < mesh.getFacesSize() && isUsable(mesh, hit->face), "the face of a hit");
    const Vector3D point = source.point();
    const auto nearest = collider.nearestPoint(point);
    if (nearest)
        require(isUsable(mesh, nearest->face) && nearest->distance >= 0 && isFinite(point),
                "the face of the nearest point");
    collider.isInside(point);
    Array<uint32> faces;
    Box3D box = Box3D::empty();
    box.extend(source.point());
    box.extend(source.point());
    collider.findOverlapping(box, faces);
    require(std::is_sorted(faces.begin(), faces.end()), "faces in order");
    for (const uint32 f : faces) require(isUsable(mesh, f), "faces that are there");
    collider.recalculateTree();
    require(collider.transformRt(Matrix4<double>::rotationTranslation({1, 0, 0, 0}, {1, 2, 3}), mesh),
            "moved");
}

float single(double value) { return static_cast<float>(value); }
bool sameBits(float a, float b) { return (a != a && b != b) || a == b; }

/// Whether the positions are those of the other mesh in single precision.
bool samePositions(const Mesh& a, const Mesh& b)
{
    if (a.getPosSize() != b.getPosSize()) return false;
    for (uint32 p = 0; p < a.getPosSize(); ++p)
        for (uint32 axis = 0; axis < 3; ++axis)
            if (!sameBits(single(a.pos()[p][axis]), single(b.pos()[p][axis]))) return false;
    return true;
}

uint32 validFaces(const Mesh& mesh)
{
    uint32 count = 0;
    for (const Index3& f : mesh.trindexPos()) count += std::max({f.a, f.b, f.c}) < mesh.getPosSize();
    return count;
}

/// Written and read back, as a record all that it holds and as files all that they can hold.
void writeAndRead(Source& source, const Mesh& mesh)
{
    const fuzz::MemoryFile file(nullptr, 0);
    const CancelCallback callback = source.callback();
    ArrayOfPtr<Mesh> read;
    switch (source.below(4))
    {
        case 0:
        {
            const std::string record = fuzz::recordOf(mesh);
            Mesh again;
            FileRam ram(record.data(), record.size());
            again.loadBasic(ram);
            require(fuzz::recordOf(again) == record, "a record that reads back");
            return;
        }
        case 1:
        {
            const auto& bin = MeshFileParser<Mesh_BIN_FileParser>::instance();
            const int result = bin.write(file.path(), mesh, callback);
            requireDoneOrStopped(result == 0, callback);
            if (result != 0) return;
            require(bin.read(file.path(), read) == 0, "BIN that reads back");
            require(samePositions(*read[0], mesh) && read[0]->getFacesSize() == validFaces(mesh),
                    "the BIN mesh");
            if (fits(mesh, "Velocity") && mesh.getPosSize() > 0)
                require(read[0]->findArray<Vector3F>("Velocity") != nullptr, "velocities");
            return;
        }
        case 2:
        {
            const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
            const auto encoding = static_cast<MeshSTLFileParser::Encoding>(source.below(2));
            const int result = stl.write(file.path(), mesh, encoding, callback);
            requireDoneOrStopped(result == 1, callback);
            if (result != 1) return;
            require(stl.read(file.path(), read, encoding) == 1 && read[0]->getFacesSize() == validFaces(mesh),
                    "STL that reads back");
            uint32 facet = 0;
            for (const Index3& f : mesh.trindexPos())
            {
                if (std::max({f.a, f.b, f.c}) >= mesh.getPosSize()) continue;
                for (uint32 c = 0; c < 3; ++c)
                    for (uint32 axis = 0; axis < 3; ++axis)
                        require(sameBits(single(mesh.pos()[f[c]][axis]),
                                         single(read[0]->pos()[3 * facet + c][axis])),
                                "the corners of an STL facet");
                ++facet;
            }
            return;
        }
        default:
        {
            const auto& obj = MeshFileParser<Mesh_OBJ_FileParser>::instance();
            const int result = obj.write(file.path(), mesh, callback);
            requireDoneOrStopped(result == 0, callback);
            if (result != 0) return;
            require(obj.read(file.path(), read, Mesh_OBJ_FileParser::ReadingMode::oneGroup) == 0,
                    "OBJ that reads back");
            require((read.empty() ? 0 : read[0]->getFacesSize()) == validFaces(mesh), "the faces of the OBJ");
        }
    }
}

/// A copy is equal, and adding it doubles the mesh.
void copyAndAdd(Source& source, Mesh& mesh)
{
    Mesh copy;
    source.below(2) ? copy.copyFrom(mesh, true) : copy.copyAllFrom(mesh, true);
    require(fuzz::recordOf(copy) == fuzz::recordOf(mesh), "an equal copy");
    const bool wasValid = hasValidIndices(mesh);
    const uint32 positions = mesh.getPosSize(), faces = mesh.getFacesSize();
    if (faces > mostFaces || positions > mostFaces) return;
    mesh.addMesh(source.below(2) ? copy : mesh);
    require(mesh.getPosSize() == 2 * positions && mesh.getFacesSize() == 2 * faces, "twice the mesh");
    require(!wasValid || hasValidIndices(mesh), "valid meshes make a valid mesh");
    Array<uint32> sources;
    if (wasValid) copy.copyPartialFrom(mesh, source.below(64), sources);
}

}  // namespace

// A sequence of calls on one mesh. What needs valid indices gets them; the rest has to answer for others.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Source source(data, size);
    Mesh mesh;
    for (uint32 calls = 0; calls < 40 && !source.isEmpty(); ++calls)
    {
        bool isValid = true;
        for (const Index3& f : mesh.trindexPos()) isValid &= std::max({f.a, f.b, f.c}) < mesh.getPosSize();
        switch (source.below(12))
        {
            case 0:
            case 1:
                if (mesh.getFacesSize() < mostFaces) addGeometry(source, mesh);
                break;
            case 2:
                if (source.below(8) == 0 && mesh.getFacesSize() < mostFaces) addBadFace(source, mesh);
                break;
            case 3:
                addArray(source, mesh);
                break;
            case 4:
                clean(source, mesh);
                break;
            case 5:
                if (isValid) makeNormals(source, mesh);
                break;
            case 6:
                if (isValid) connect(source, mesh);
                break;
            case 7:
                simplify(source, mesh);
                break;
            case 8:
                collide(source, mesh);
                break;
            case 9:
                writeAndRead(source, mesh);
                break;
            case 10:
                copyAndAdd(source, mesh);
                break;
            default:
                mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1 + source.below(4) / 4.0}});
        }
        mesh.getBox();
    }
    return 0;
}
