#include "formats/MeshLayout.h"

#include <algorithm>

#include "formats/BlockWriter.h"

namespace tavrix::formats
{

namespace
{

std::vector<VertexAttribute> attributesOf(const VertexStreams& vertices, const MeshOutline& outline)
{
    std::vector<VertexAttribute> attributes;
    for (const VertexAttribute& attribute : outline.attributes)
        attributes.push_back(JoinedStreams::attributeOf(vertices, attribute));
    return attributes;
}

void putRecords(BlockWriter& out, const FileSection& section, const NumberedMesh& mesh, uint64 first)
{
    constexpr uint32 mostAtOnce = 1 << 12;
    const auto count = static_cast<uint32>(
        section.of == RecordsOf::Vertices ? mesh.streams.size() : mesh.streams.triangles().size());
    std::vector<char> bytes(section.recordBytes * std::min(count, mostAtOnce));
    for (uint32 begin = 0; begin < count && out.isWell(); begin += mostAtOnce)
    {
        const uint32 end = begin + std::min(count - begin, mostAtOnce);
        RecordBytes to(bytes.data());
        for (uint32 n = begin; n < end; ++n) section.put(to, mesh, n, first + n);
        out.put(std::string_view(bytes.data(), section.recordBytes * (end - begin)));
    }
}

}  // namespace

NumberedMesh::NumberedMesh(const VertexStreams& vertices, const MeshOutline& outline, uint64 first,
                           int32 number)
    : streams(vertices), attributes(attributesOf(vertices, outline)), firstVertex(first), part(number)
{
}

NumberedMesh::NumberedMesh(const VertexStreams& vertices, const MeshOutline& outline,
                           const Array<uint32>& vertexNumbers)
    : streams(vertices), attributes(attributesOf(vertices, outline)), numbers(&vertexNumbers)
{
}

MeshOutline outlineOf(const JoinedStreams& meshes)
{
    return {meshes.attributes, meshes.haveNormals, meshes.vertexCount, meshes.triangleCount};
}

int writeLayout(const std::string& path, const FileLayout& layout, const JoinedStreams& meshes)
{
    const MeshOutline outline = outlineOf(meshes);
    std::vector<NumberedMesh> numbered;
    uint64 firstVertex = 0;
    for (const VertexStreams& part : meshes.parts)
    {
        numbered.emplace_back(part, outline, firstVertex, static_cast<int32>(numbered.size()));
        firstVertex += part.size();
    }
    BlockWriter out(path);
    for (const FileSection& section : layout.sections)
    {
        out.put(std::string_view(section.before));
        uint64 first = 0;
        for (const NumberedMesh& mesh : numbered)
        {
            putRecords(out, section, mesh, first);
            first +=
                section.of == RecordsOf::Vertices ? mesh.streams.size() : mesh.streams.triangles().size();
        }
    }
    out.put(std::string_view(layout.after));
    return out.close();
}

}  // namespace tavrix::formats
