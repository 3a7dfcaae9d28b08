#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "formats/BlockWriter.h"
#include "formats/Failure.h"
#include "formats/MeshWriters.h"

namespace tavrix::formats
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr uint32 floatType = 5126, indexType = 5125, vertexTarget = 34962, indexTarget = 34963;

std::string semanticOf(const VertexAttribute& attribute)
{
    if (isTexture(attribute)) return "TEXCOORD_0";
    return isColor(attribute) ? "COLOR_0" : "_" + attribute.name;
}

Json vectorJson(const Vector3F& v) { return Json::array({v.x, v.y, v.z}); }

/// The part of the file before its numbers, and how many bytes these take.
class Description
{
public:
    void add(const VertexStreams& part)
    {
        Json attributes{{"POSITION", addAccessor(part.size(), 3, vertexTarget)}};
        addBounds(part);
        if (part.hasNormals()) attributes["NORMAL"] = addAccessor(part.size(), 3, vertexTarget);
        for (const VertexAttribute& attribute : vertexAttributes(part.mesh()))
            attributes[semanticOf(attribute)] =
                addAccessor(part.size(), componentsOf(attribute), vertexTarget);
        const std::size_t indices = addAccessor(3 * part.triangles().size(), 1, indexTarget);
        const std::string name(part.mesh().getName().view());
        _nodes.push_back({{"name", name}, {"mesh", _meshes.size()}});
        const Json primitive{{"attributes", attributes}, {"indices", indices}};
        _meshes.push_back({{"name", name}, {"primitives", Json::array({primitive})}});
    }

    uint64 byteCount() const { return _bytes; }

    /// The text, filled up with blanks to whole groups of four.
    std::string text() const
    {
        Json nodes = Json::array();
        for (std::size_t n = 0; n < _nodes.size(); ++n) nodes.push_back(n);
        const Json root{{"asset", {{"version", "2.0"}, {"generator", "tavrix"}}},
                        {"scene", 0},
                        {"scenes", Json::array({Json{{"nodes", nodes}}})},
                        {"nodes", _nodes},
                        {"meshes", _meshes},
                        {"accessors", _accessors},
                        {"bufferViews", _views},
                        {"buffers", Json::array({Json{{"byteLength", _bytes}}})}};
        std::string json = root.dump(-1, ' ', false, Json::error_handler_t::replace);
        json.resize((json.size() + 3) / 4 * 4, ' ');
        return json;
    }

private:
    std::size_t addAccessor(uint64 count, uint32 components, uint32 target)
    {
        const uint64 bytes = count * components * 4;
        _views.push_back({{"buffer", 0}, {"byteOffset", _bytes}, {"byteLength", bytes}, {"target", target}});
        _accessors.push_back({{"bufferView", _views.size() - 1},
                              {"componentType", target == indexTarget ? indexType : floatType},
                              {"count", count},
                              {"type", components == 1   ? "SCALAR"
                                       : components == 2 ? "VEC2"
                                                         : "VEC3"}});
        _bytes += bytes;
        return _accessors.size() - 1;
    }

    /// Tells of the last accessor, of positions, between what its numbers lie.
    void addBounds(const VertexStreams& part)
    {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        Vector3F low{infinity, infinity, infinity}, high = -low;
        for (const Vector3D& given : part.mesh().pos())
        {
            const Vector3F p = convert<float>(given);
            if (!isFinite(p)) continue;
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
        if (!isFinite(low)) low = high = {0, 0, 0};
        _accessors.back()["min"] = vectorJson(low);
        _accessors.back()["max"] = vectorJson(high);
    }

    Json _nodes = Json::array(), _meshes = Json::array(), _accessors = Json::array(), _views = Json::array();
    uint64 _bytes = 0;
};

void putVector(BlockWriter& out, const Vector3F& v)
{
    for (const float component : {v.x, v.y, v.z}) out.put(component);
}

/// The numbers of a mesh in the order of its description.
void putMesh(BlockWriter& out, const VertexStreams& part)
{
    for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
        putVector(out, convert<float>(part.position(vertex)));
    for (uint32 vertex = 0; part.hasNormals() && vertex < part.size() && out.isWell(); ++vertex)
        putVector(out, part.normal(vertex));
    for (const VertexAttribute& attribute : vertexAttributes(part.mesh()))
        for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
        {
            const float* values =
                attribute.data + std::size_t{part.positionIndex(vertex)} * attribute.components;
            for (uint32 n = 0; n < componentsOf(attribute); ++n)
                out.put(isTexture(attribute) && n == 1 ? 1 - values[n] : values[n]);
        }
    for (const Index3& face : part.triangles())
        for (uint32 n = 0; n < 3; ++n) out.put(face[n]);
}

}  // namespace

int writeGlb(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const std::string& target)
{
    constexpr std::size_t headerSize = 12, chunkHeaderSize = 8;
    Description description;
    std::vector<VertexStreams> parts;
    for (const Mesh* mesh : meshes)
        if (mesh && !mesh->isEmpty()) description.add(parts.emplace_back(*mesh));
    const std::string json = description.text();
    const uint64 size = headerSize + 2 * chunkHeaderSize + json.size() + description.byteCount();
    if (size > std::numeric_limits<uint32>::max())
        throw Failure(target + ": GLB files hold 4 GiB at most; write a .vtp file, or several");

    BlockWriter out(path);
    out.put(std::string_view("glTF"));
    for (const uint64 number : {uint64{2}, size, uint64{json.size()}}) out.put(static_cast<uint32>(number));
    out.put(std::string_view("JSON"));
    out.put(json);
    out.put(static_cast<uint32>(description.byteCount()));
    out.put(std::string_view("BIN\0", 4));
    for (const VertexStreams& part : parts) putMesh(out, part);
    return out.close();
}

}  // namespace tavrix::formats
