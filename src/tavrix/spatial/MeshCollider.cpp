#include <tavrix/spatial/MeshCollider.h>

#include <tavrix/mesh/detail/IndexTriples.h>
#include <tavrix/meshio/MeshImporter.h>

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
bool hasAllCorners(const Mesh& mesh) { return detail::neededEntries(mesh.trindexPos()) <= mesh.getPosSize(); }

}  // namespace

MeshCollider::MeshCollider() = default;
MeshCollider::MeshCollider(const MeshCollider& other) = default;
MeshCollider& MeshCollider::operator=(const MeshCollider& other)
{
    copyFrom(other);
    return *this;
}
MeshCollider::MeshCollider(MeshCollider&& other) noexcept = default;
MeshCollider& MeshCollider::operator=(MeshCollider&& other) noexcept = default;
MeshCollider::~MeshCollider() = default;

/// Leaves no tree, rather than that of another mesh or part of one, when filling fails.
template <class Fill>
void MeshCollider::fillOrClearTree(const Fill& fill)
{
    try
    {
        fill();
    }
    catch (...)
    {
        _tree.clear();
        throw;
    }
}

void MeshCollider::copyFrom(const MeshCollider& other)
{
    fillOrClearTree(
        [&]
        {
            _mesh.copyFrom(other._mesh, true);
            _tree.assign(other._tree);
        });
}

void MeshCollider::create(const Mesh& mesh, uint32 threadCount)
{
    fillOrClearTree(
        [&]
        {
            _mesh.copyFrom(mesh, true);
            if (hasAllCorners(_mesh)) _mesh.createSafe_arrNorSurface(threadCount);
            _tree.clear();
            _tree.integrateMesh(_mesh.trindexPos(), _mesh.pos(), true, threadCount);
        });
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
    _tree.recalculateMesh(_mesh.trindexPos(), _mesh.pos(), refitMargin);
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
