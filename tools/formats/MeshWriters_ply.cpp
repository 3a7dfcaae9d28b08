#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "formats/Failure.h"
#include "formats/MeshLayout.h"
#include "formats/MeshWriters.h"

namespace tavrix::formats
{

namespace
{

std::string propertyName(const std::string& name)
{
    std::string word = name.empty() ? "attribute" : name;
    for (char& c : word)
        if (static_cast<unsigned char>(c) <= ' ') c = '_';
    return word;
}

/// The names of an attribute's properties.
std::vector<std::string> propertyNames(const VertexAttribute& attribute)
{
    if (isVelocity(attribute)) return {"vx", "vy", "vz"};
    if (isTexture(attribute)) return {"s", "t"};
    if (isColor(attribute)) return {"red", "green", "blue"};
    const std::string name = propertyName(attribute.name);
    if (attribute.components == 1) return {name};
    return {name + "_x", name + "_y", name + "_z"};
}

std::string headerOf(const MeshOutline& outline)
{
    std::string header = "ply\nformat binary_little_endian 1.0\ncomment written by tavrix\nelement vertex " +
                         std::to_string(outline.vertexCount) + "\n";
    const auto add = [&](const std::vector<std::string>& names, const char* type)
    {
        for (const std::string& name : names) header += std::string("property ") + type + " " + name + "\n";
    };
    add({"x", "y", "z"}, "float");
    if (outline.haveNormals) add({"nx", "ny", "nz"}, "float");
    for (const VertexAttribute& attribute : outline.attributes)
        add(propertyNames(attribute), isColor(attribute) ? "uchar" : "float");
    return header + "element face " + std::to_string(outline.triangleCount) +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

uint8 colorByte(float value) { return static_cast<uint8>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); }

void putAttribute(RecordBytes& to, const VertexAttribute& attribute, uint32 position)
{
    static constexpr std::array<float, 3> zeros{};
    const float* values =
        attribute.data ? attribute.data + std::size_t{position} * attribute.components : zeros.data();
    const uint32 count = isTexture(attribute) ? 2 : attribute.components;
    for (uint32 n = 0; n < count; ++n)
        if (isColor(attribute))
            to.put(colorByte(values[n]));
        else
            to.put(values[n]);
}

std::size_t vertexBytes(const MeshOutline& outline)
{
    std::size_t bytes = outline.haveNormals ? 24 : 12;
    for (const VertexAttribute& attribute : outline.attributes)
        bytes += propertyNames(attribute).size() * (isColor(attribute) ? 1 : sizeof(float));
    return bytes;
}

}  // namespace

FileLayout plyLayout(const MeshOutline& outline, const std::string& target)
{
    if (outline.vertexCount > std::numeric_limits<int32>::max())
        throw Failure(target + ": PLY files hold 2147483647 vertices at most; write a .vtp file");
    constexpr std::size_t faceBytes = 13;
    const auto putVertex =
        [haveNormals = outline.haveNormals](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
    {
        to.put(convert<float>(mesh.streams.position(n)));
        if (haveNormals) to.put(mesh.streams.normal(n));
        for (const VertexAttribute& attribute : mesh.attributes)
            putAttribute(to, attribute, mesh.streams.positionIndex(n));
    };
    const auto putFace = [](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
    {
        const Index3& face = mesh.streams.triangles()[n];
        to.put(uint8{3});
        for (uint32 c = 0; c < 3; ++c) to.put(static_cast<int32>(mesh.numberOf(face[c])));
    };
    return {{{headerOf(outline), RecordsOf::Vertices, vertexBytes(outline), putVertex},
             {{}, RecordsOf::Faces, faceBytes, putFace}},
            {}};
}

int writePly(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const std::string& target)
{
    const JoinedStreams streams(meshes);
    return writeLayout(path, plyLayout(outlineOf(streams), target), streams);
}

}  // namespace tavrix::formats
