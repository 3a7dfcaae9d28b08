#pragma once

#include <span>
#include <string>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::formats
{

/// A quantity of a mesh's positions: an extra array of floats, or of vectors of three, one element a
/// position.
struct VertexAttribute
{
    std::string name;
    uint32 components;     ///< 1 or 3
    const float* data;     ///< all components of a position beside each other; null where a mesh lacks it
    ArrayHandle handle{};  ///< of the array
};

/// The quantities of the mesh's positions, in the order in which they were added.
std::vector<VertexAttribute> vertexAttributes(const Mesh& mesh);

/// Whether it is that of texture coordinates, of colours, or of velocities.
/// @{
bool isTexture(const VertexAttribute& attribute);
bool isColor(const VertexAttribute& attribute);
bool isVelocity(const VertexAttribute& attribute);
/// @}

/// The numbers of an element in a file: texture coordinates have two there.
uint32 componentsOf(const VertexAttribute& attribute);

/// The vertices of a mesh for formats that give each one normal: a position with several normals becomes
/// several vertices, the first in its place and the others behind all. Faces with a corner that is not there
/// are left out. The mesh must stay as it is meanwhile. O(positions + faces).
class VertexStreams
{
public:
    explicit VertexStreams(const Mesh& mesh);

    uint32 size() const { return _mesh->getPosSize() + static_cast<uint32>(_furtherPositions.size()); }
    bool hasNormals() const { return _hasNormals; }
    std::span<const Index3> triangles() const;

    uint32 positionIndex(uint32 vertex) const
    {
        const uint32 count = _mesh->getPosSize();
        return vertex < count ? vertex : _furtherPositions[vertex - count];
    }
    const Vector3D& position(uint32 vertex) const { return _mesh->pos()[positionIndex(vertex)]; }
    /// A unit vector; (0, 0, 1) where no face says, or the mesh has no direction.
    Vector3F normal(uint32 vertex) const;
    const Mesh& mesh() const { return *_mesh; }

private:
    void split();

    const Mesh* _mesh;
    bool _hasNormals, _isAsMesh;
    std::vector<uint32> _furtherPositions, _normals;
    Array<Index3> _triangles;
};

/// The vertices of several meshes one after another, as formats of one mesh have them.
struct JoinedStreams
{
    explicit JoinedStreams(const ArrayOfPtr<Mesh>& meshes);

    std::vector<VertexStreams> parts;
    /// Of all meshes, by name and size; `data` is that of no mesh. Parts that lack one have zeros.
    std::vector<VertexAttribute> attributes;
    bool haveNormals = true;  ///< all of them
    uint64 vertexCount = 0, triangleCount = 0;

    /// The attribute's values in a part, of which `data` is null when it lacks it.
    static VertexAttribute attributeOf(const VertexStreams& part, const VertexAttribute& attribute);
};

}  // namespace tavrix::formats
