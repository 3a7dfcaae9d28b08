#include <algorithm>
#include <limits>

#include "formats/Failure.h"
#include "formats/MeshLayout.h"

namespace tavrix::formats
{

namespace
{

std::string numbersText(std::initializer_list<uint64> numbers)
{
    std::string text(numbers.size() * sizeof(uint32), '\0');
    RecordBytes to(text.data());
    for (const uint64 number : numbers) to.put(static_cast<uint32>(number));
    return text;
}

void putPosition(RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
{
    to.put(convert<float>(mesh.streams.position(n)));
}

void putFace(RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
{
    const Index3& face = mesh.streams.triangles()[n];
    for (const uint32 corner : {face.b, face.a, face.c}) to.put(static_cast<uint32>(mesh.numberOf(corner)));
}

/// Puts three components of an attribute, if there is one.
auto vectorsOf(const MeshOutline& outline, bool (*isIt)(const VertexAttribute&))
{
    const auto found = std::find_if(outline.attributes.begin(), outline.attributes.end(), isIt);
    const auto place = static_cast<std::size_t>(found - outline.attributes.begin());
    return [place](const NumberedMesh& mesh, uint32 n)
    {
        const float* values = place < mesh.attributes.size() ? mesh.attributes[place].data : nullptr;
        if (values) values += std::size_t{mesh.streams.positionIndex(n)} * 3;
        return values ? Vector3F{values[0], values[1], values[2]} : Vector3F{0, 0, 0};
    };
}

bool isNamed(const VertexAttribute& attribute, const char* name)
{
    return attribute.components == 3 && attribute.name == name;
}
bool isBinTexture(const VertexAttribute& attribute) { return isNamed(attribute, "UV_MAP_0"); }
bool isBinVelocity(const VertexAttribute& attribute) { return isNamed(attribute, "Velocity"); }

bool hasAny(const MeshOutline& outline, bool (*isIt)(const VertexAttribute&))
{
    return outline.vertexCount > 0 && std::any_of(outline.attributes.begin(), outline.attributes.end(), isIt);
}

}  // namespace

FileLayout binLayout(const MeshOutline& outline, const std::string& target)
{
    constexpr uint32 magic = 0xDADADADA, version = 4, vertexMarker = 0xCCCCCCCC, textureMarker = 0xCCCCCC00,
                     noWeights = 1, velocityMarker = 0xCCCCCC11;
    constexpr std::size_t tripleBytes = 12;
    if (std::max(outline.vertexCount, outline.triangleCount) > std::numeric_limits<int32>::max())
        throw Failure(target + ": BIN files hold 2147483647 vertices and faces at most; write a .vtp file");
    FileLayout layout;
    layout.sections.push_back({numbersText({magic, version, vertexMarker, outline.vertexCount}),
                               RecordsOf::Vertices, tripleBytes, putPosition});
    layout.sections.push_back({numbersText({outline.triangleCount}), RecordsOf::Faces, tripleBytes, putFace});
    const bool withVelocities = hasAny(outline, isBinVelocity);
    if (!withVelocities && !hasAny(outline, isBinTexture)) return layout;
    const auto textures = vectorsOf(outline, isBinTexture), velocities = vectorsOf(outline, isBinVelocity);
    layout.sections.push_back({numbersText({textureMarker, noWeights}), RecordsOf::Vertices, tripleBytes,
                               [textures](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
                               {
                                   const Vector3F texture = textures(mesh, n);
                                   to.put(Vector3F{texture.x, 1, texture.y});
                               }});
    if (withVelocities)
        layout.sections.push_back({numbersText({velocityMarker}), RecordsOf::Vertices, tripleBytes,
                                   [velocities](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
                                   { to.put(velocities(mesh, n)); }});
    return layout;
}

FileLayout stlLayout(const MeshOutline& outline, const std::string& header)
{
    constexpr std::size_t headerBytes = 80, facetBytes = 50;
    std::string before = header;
    before.resize(headerBytes, '\0');
    before += numbersText({outline.triangleCount});
    return {{{before, RecordsOf::Faces, facetBytes,
              [](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
              {
                  to.put(Vector3F{0, 0, 0});
                  const Index3& face = mesh.streams.triangles()[n];
                  for (uint32 c = 0; c < 3; ++c) to.put(convert<float>(mesh.streams.position(face[c])));
                  to.put(uint16{0});
              }}},
            {}};
}

}  // namespace tavrix::formats
