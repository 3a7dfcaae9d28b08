#include <tavrix/spatial/MeshCollider.h>

#include <utility>

#include <tavrix/mesh/detail/IndexTriples.h>
#include <tavrix/meshio/MeshImporter.h>
#include <tavrix/spatial/detail/FaceTree.h>

namespace tavrix
{

namespace
{

/// The margin of a refit, 2^-23.
constexpr float refitMargin = std::numeric_limits<float>::epsilon();

/// Turns normals into others, when there are as many.
template <class Normal>
void turn(const Matrix4<double>& matrix, const Array<Normal>& from, Array<Normal>& to)
{
    if (from.size() != to.size()) return;
    for (uint32 n = 0; n < from.size(); ++n)
    {
        const Normal normal = from[n];
        const auto turned = convert<float>(matrix.transformDirection({normal.x, normal.y, normal.z}));
        to[n] = normal;
        to[n].x = turned.x;
        to[n].y = turned.y;
        to[n].z = turned.z;
    }
}

/// Whether every corner of every face exists, without which no smoothed normals can be computed.
bool hasAllCorners(const Mesh& mesh, uint32 threadCount, detail::Polling& polling)
{
    return detail::neededEntries(mesh.trindexPos(), threadCount, polling) <= mesh.getPosSize();
}

bool hasAllCorners(const Mesh& mesh) { return detail::neededEntries(mesh.trindexPos()) <= mesh.getPosSize(); }

/// Faces of which each has three corners of its own, one after the other.
Array<Index3> separateTriangles(uint32 cornerCount)
{
    Array<Index3> triangles(cornerCount / 3);
    for (uint32 t = 0; t < triangles.size(); ++t) triangles[t] = {3 * t, 3 * t + 1, 3 * t + 2};
    return triangles;
}

}  // namespace

MeshCollider::MeshCollider() = default;
MeshCollider::MeshCollider(const MeshCollider& other) : MeshCollider() { copyFrom(other); }
MeshCollider& MeshCollider::operator=(const MeshCollider& other)
{
    copyFrom(other);
    return *this;
}
MeshCollider::MeshCollider(MeshCollider&& other) noexcept : MeshCollider() { *this = std::move(other); }
MeshCollider& MeshCollider::operator=(MeshCollider&& other) noexcept
{
    if (this == &other) return *this;
    _mesh = std::move(other._mesh);
    _faces = std::move(other._faces);
    _threadCount = other._threadCount;
    _isTreeBuilt = other._isTreeBuilt.exchange(true);
    _tree = std::move(other._tree);
    _cornersOfTree = std::exchange(other._cornersOfTree, {});
    return *this;
}
MeshCollider::~MeshCollider() = default;

void MeshCollider::clearTrees()
{
    _faces.reset();
    _isTreeBuilt = true;
    _tree.clear();
    _cornersOfTree.reserve(0);
}

/// Leaves no trees, rather than those of another mesh or parts of them, when filling fails.
template <class Fill>
void MeshCollider::fillOrClear(const Fill& fill)
{
    try
    {
        fill();
    }
    catch (...)
    {
        clearTrees();
        throw;
    }
}

void MeshCollider::copyFrom(const MeshCollider& other)
{
    if (this == &other) return;
    fillOrClear(
        [&]
        {
            _mesh.copyFrom(other._mesh, true);
            clearTrees();
            if (other._faces) _faces = std::make_unique<detail::FaceTree>(*other._faces);
            _threadCount = other._threadCount;
            const std::scoped_lock lock(other._treeMutex);
            _tree.assign(other._tree);
            _cornersOfTree = other._cornersOfTree;
            _isTreeBuilt = other._isTreeBuilt.load();
        });
}

bool MeshCollider::create(const Mesh& mesh, uint32 threadCount, CancelCallback callback)
{
    detail::Polling polling(callback);
    const auto build = [&]
    {
        if (!polling.goOn()) return false;
        _mesh.copyFrom(mesh, true);
        clearTrees();
        const bool isWhole = hasAllCorners(_mesh, threadCount, polling);
        if (polling.isStopped()) return false;
        if (isWhole && !_mesh.createSafe_arrNorSurface(threadCount, callback)) return false;
        _faces = std::make_unique<detail::FaceTree>(detail::MeshFaces(_mesh), threadCount, polling);
        return !polling.isStopped();
    };
    bool isDone = false;
    fillOrClear([&] { isDone = build(); });
    if (!isDone)
    {
        *this = MeshCollider();
        return false;
    }
    _threadCount = threadCount;
    _isTreeBuilt = false;
    return true;
}

const MeshCollider::Tree& MeshCollider::getTree() const
{
    if (!_isTreeBuilt.load(std::memory_order_acquire)) buildTree();
    return _tree;
}

MeshCollider::Tree& MeshCollider::getTree()
{
    std::as_const(*this).getTree();
    return _tree;
}

void MeshCollider::buildTree() const
{
    const std::scoped_lock lock(_treeMutex);
    if (_isTreeBuilt) return;
    const bool isMoved = !_cornersOfTree.empty();
    const Array<Vector3D> corners = _faces->cornersByFace();
    const Array<Index3> triangles = separateTriangles(corners.size());
    _tree.clear();
    _tree.integrateMesh(triangles, isMoved ? _cornersOfTree : corners, true, _threadCount);
    if (isMoved) _tree.recalculateMesh(triangles, corners, refitMargin, _threadCount);
    _cornersOfTree.reserve(0);
    _isTreeBuilt.store(true, std::memory_order_release);
}

bool MeshCollider::create_ASE(const TX_String& path, uint32 threadCount)
{
    ArrayOfPtr<Mesh> meshes;
    if (MeshFileParser<MeshImporter>::instance().read_ASE(path, meshes) != 0) return false;
    Mesh joined;
    for (const Mesh* mesh : meshes) joined.addMesh(*mesh);
    if (joined.isEmpty()) return false;
    joined.setName(meshes[0]->getName());
    create(joined, threadCount);
    return true;
}

void MeshCollider::recalculateTree()
{
    _mesh.invalidateBox();
    if (!_faces) return;
    if (_isTreeBuilt)
        _tree.recalculateMesh(_mesh.trindexPos(), _mesh.pos(), refitMargin);
    else if (_cornersOfTree.empty())
        _cornersOfTree = _faces->cornersByFace();
    detail::Polling none(nullptr);
    _faces->refit(detail::MeshFaces(_mesh), refitMargin, 1, none);
}

bool MeshCollider::transformRt(const Matrix4<double>& matrix, const Mesh& source)
{
    if (source.getPosSize() != _mesh.getPosSize() || source.getFacesSize() != _mesh.getFacesSize())
        return false;
    const Array<Vector3D>& from = source.pos();
    Array<Vector3D>& to = _mesh.refPos();
    for (uint32 p = 0; p < from.size(); ++p) to[p] = matrix.transformPoint(from[p]);
    recalculateTree();
    turn(matrix, source.nor(), _mesh.refNor());
    turn(matrix, source.faceNor(), _mesh.refFaceNor());
    if (auto* smoothed = _mesh.findArray<Vector3F>("NorAllSmoothed"))
    {
        if (source.norSurface().size() == smoothed->size())
            turn(matrix, source.norSurface(), *smoothed);
        else if (hasAllCorners(_mesh))
            _mesh.calculateVerticesSurfaceNormal();
    }
    return true;
}

}  // namespace tavrix
