#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "formats/BlockWriter.h"
#include "formats/Failure.h"
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

std::string headerOf(const JoinedStreams& streams)
{
    std::string header = "ply\nformat binary_little_endian 1.0\ncomment written by tavrix\nelement vertex " +
                         std::to_string(streams.vertexCount) + "\n";
    const auto add = [&](const std::vector<std::string>& names, const char* type)
    {
        for (const std::string& name : names) header += std::string("property ") + type + " " + name + "\n";
    };
    add({"x", "y", "z"}, "float");
    if (streams.haveNormals) add({"nx", "ny", "nz"}, "float");
    for (const VertexAttribute& attribute : streams.attributes)
        add(propertyNames(attribute), isColor(attribute) ? "uchar" : "float");
    return header + "element face " + std::to_string(streams.triangleCount) +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

uint8 colorByte(float value) { return static_cast<uint8>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); }

void putVector(BlockWriter& out, const Vector3F& v)
{
    for (const float component : {v.x, v.y, v.z}) out.put(component);
}

void putAttribute(BlockWriter& out, const VertexAttribute& attribute, uint32 position)
{
    static constexpr std::array<float, 3> zeros{};
    const float* values =
        attribute.data ? attribute.data + std::size_t{position} * attribute.components : zeros.data();
    const uint32 count = isTexture(attribute) ? 2 : attribute.components;
    for (uint32 n = 0; n < count; ++n)
        if (isColor(attribute))
            out.put(colorByte(values[n]));
        else
            out.put(values[n]);
}

void putVertices(BlockWriter& out, const VertexStreams& part, const JoinedStreams& streams)
{
    std::vector<VertexAttribute> attributes;
    for (const VertexAttribute& attribute : streams.attributes)
        attributes.push_back(JoinedStreams::attributeOf(part, attribute));
    for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
    {
        putVector(out, convert<float>(part.position(vertex)));
        if (streams.haveNormals) putVector(out, part.normal(vertex));
        for (const VertexAttribute& attribute : attributes)
            putAttribute(out, attribute, part.positionIndex(vertex));
    }
}

}  // namespace

int writePly(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const std::string& target)
{
    const JoinedStreams streams(meshes);
    if (streams.vertexCount > std::numeric_limits<int32>::max())
        throw Failure(target + ": PLY files hold 2147483647 vertices at most; write a .vtp file");
    BlockWriter out(path);
    out.put(headerOf(streams));
    for (const VertexStreams& part : streams.parts) putVertices(out, part, streams);
    uint32 first = 0;
    for (const VertexStreams& part : streams.parts)
    {
        for (const Index3& face : part.triangles())
        {
            out.put(uint8{3});
            for (uint32 n = 0; n < 3; ++n) out.put(static_cast<int32>(first + face[n]));
        }
        first += part.size();
    }
    return out.close();
}

}  // namespace tavrix::formats
