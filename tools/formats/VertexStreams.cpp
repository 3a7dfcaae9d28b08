#include "formats/VertexStreams.h"

#include <algorithm>

#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

bool isInSlot(const Mesh& mesh, ArrayHandle handle)
{
    for (uint32 slot = 0; slot < meshSlotCount; ++slot)
        if (mesh.handleOf(static_cast<Mesh::Slot>(slot)) == handle) return true;
    return false;
}

bool isInRange(const Index3& triple, std::size_t count)
{
    return std::max({triple.a, triple.b, triple.c}) < count;
}

bool isNamed(const VertexAttribute& attribute, std::string_view small, uint32 components)
{
    return attribute.components == components && equalsWord(attribute.name, small);
}

}  // namespace

std::vector<VertexAttribute> vertexAttributes(const Mesh& mesh)
{
    std::vector<VertexAttribute> attributes;
    const ArraySet<MeshArrayInf>& set = mesh.getArraySet();
    for (uint32 n = 0; n < set.size(); ++n)
    {
        const std::string name(set.inf(n).name.view());
        if (!(set.inf(n).flags & MeshArrayInf::PER_POSITION) || isInSlot(mesh, set.handle(n))) continue;
        if (const auto* numbers = TX_ArrayServer::instance().get<Array<float>>(set.handle(n)))
        {
            if (numbers->size() == mesh.getPosSize())
                attributes.push_back({name, 1, numbers->data(), set.handle(n)});
        }
        else if (const auto* vectors = TX_ArrayServer::instance().get<Array<Vector3F>>(set.handle(n)))
        {
            if (vectors->size() == mesh.getPosSize())
                attributes.push_back(
                    {name, 3, reinterpret_cast<const float*>(vectors->data()), set.handle(n)});
        }
    }
    return attributes;
}

bool isTexture(const VertexAttribute& attribute) { return isNamed(attribute, "uv_map_0", 3); }
bool isColor(const VertexAttribute& attribute) { return isNamed(attribute, "color", 3); }
bool isVelocity(const VertexAttribute& attribute) { return isNamed(attribute, "velocity", 3); }

uint32 componentsOf(const VertexAttribute& attribute)
{
    return isTexture(attribute) ? 2 : attribute.components;
}

VertexStreams::VertexStreams(const Mesh& mesh)
    : _mesh(&mesh), _hasNormals(!mesh.nor().empty() && mesh.trindexNor().size() == mesh.getFacesSize())
{
    const auto isValid = [&](const Index3& face) { return isInRange(face, mesh.getPosSize()); };
    _isAsMesh =
        std::all_of(mesh.trindexPos().begin(), mesh.trindexPos().end(), isValid) &&
        (!_hasNormals || (mesh.trindexNor() == mesh.trindexPos() && mesh.nor().size() >= mesh.getPosSize()));
    if (!_isAsMesh) split();
}

std::span<const Index3> VertexStreams::triangles() const
{
    const Array<Index3>& all = _isAsMesh ? _mesh->trindexPos() : _triangles;
    return {all.data(), all.size()};
}

Vector3F VertexStreams::normal(uint32 vertex) const
{
    const uint32 index = _isAsMesh ? vertex : _normals[vertex];
    const Vector3F normal = index < _mesh->nor().size() ? unitOrZero(_mesh->nor()[index]) : Vector3F{0, 0, 0};
    return normal == Vector3F{0, 0, 0} ? Vector3F{0, 0, 1} : normal;
}

/// Gives every pair of position and normal a vertex. Those of a position form a list, `next` by `next`.
void VertexStreams::split()
{
    const uint32 positionCount = _mesh->getPosSize();
    std::vector<uint32> next(positionCount, noIndex);
    _normals.assign(positionCount, noIndex);
    const auto vertexOf = [&](uint32 position, uint32 normal)
    {
        if (_normals[position] == noIndex) _normals[position] = normal;
        uint32 vertex = position;
        while (_normals[vertex] != normal && next[vertex] != noIndex) vertex = next[vertex];
        if (_normals[vertex] == normal) return vertex;
        const auto fresh = Array<uint32>::checkedSize(_normals.size());
        next[vertex] = fresh;
        next.push_back(noIndex);
        _normals.push_back(normal);
        _furtherPositions.push_back(position);
        return fresh;
    };
    const Array<Index3>& faces = _mesh->trindexPos();
    _triangles.reserve(faces.size());
    for (uint32 f = 0; f < faces.size(); ++f)
    {
        const Index3& face = faces[f];
        if (!isInRange(face, positionCount)) continue;
        const Index3 normals = _hasNormals ? _mesh->trindexNor()[f] : Index3{0, 0, 0};
        _triangles.push_back(
            {vertexOf(face.a, normals.a), vertexOf(face.b, normals.b), vertexOf(face.c, normals.c)});
    }
}

JoinedStreams::JoinedStreams(const ArrayOfPtr<Mesh>& meshes)
{
    parts.reserve(meshes.size());
    for (const Mesh* mesh : meshes)
    {
        if (!mesh) continue;
        const VertexStreams& part = parts.emplace_back(*mesh);
        haveNormals &= part.hasNormals();
        vertexCount += part.size();
        triangleCount += part.triangles().size();
        for (VertexAttribute& attribute : vertexAttributes(*mesh))
        {
            attribute.data = nullptr;
            const bool isKnown = std::any_of(
                attributes.begin(), attributes.end(),
                [&](const VertexAttribute& known)
                { return known.name == attribute.name && known.components == attribute.components; });
            if (!isKnown) attributes.push_back(attribute);
        }
    }
    haveNormals &= !parts.empty();
}

VertexAttribute JoinedStreams::attributeOf(const VertexStreams& part, const VertexAttribute& attribute)
{
    for (const VertexAttribute& own : vertexAttributes(part.mesh()))
        if (own.name == attribute.name && own.components == attribute.components) return own;
    return attribute;
}

}  // namespace tavrix::formats
