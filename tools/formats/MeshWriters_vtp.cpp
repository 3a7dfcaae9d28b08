#include <limits>

#include "formats/BlockWriter.h"
#include "formats/MeshWriters.h"
#include "formats/XmlText.h"

namespace tavrix::formats
{

namespace
{

/// The arrays of a file: their elements in the head, and their places behind it, which follow each other,
/// each behind its size.
class ArrayList
{
public:
    /// The element of the next array, of so many bytes.
    std::string add(const std::string& type, const std::string& name, uint32 components, uint64 bytes)
    {
        std::string element = "<DataArray type=\"" + type + "\" Name=\"" + xmlText(name) + "\"";
        if (components > 1) element += " NumberOfComponents=\"" + std::to_string(components) + "\"";
        element += " format=\"appended\" offset=\"" + std::to_string(_next) + "\"/>\n";
        _next += sizeof(uint64) + bytes;
        return element;
    }

private:
    uint64 _next = 0;
};

template <class Index>
class VtpWriter
{
public:
    explicit VtpWriter(const ArrayOfPtr<Mesh>& meshes) : _streams(meshes) {}

    int write(const std::string& path)
    {
        BlockWriter out(path);
        out.put(head());
        putPositions(out);
        if (_streams.haveNormals) putNormals(out);
        for (const VertexAttribute& attribute : _streams.attributes) putAttribute(out, attribute);
        putCorners(out);
        putEnds(out);
        putParts(out);
        out.put(std::string_view("\n</AppendedData>\n</VTKFile>\n"));
        return out.close();
    }

private:
    /// Texture coordinates have two components here.
    static uint32 componentsOf(const VertexAttribute& attribute)
    {
        return isTexture(attribute) ? 2 : attribute.components;
    }

    std::string head() const
    {
        const uint64 points = _streams.vertexCount, triangles = _streams.triangleCount;
        const std::string index = sizeof(Index) == 4 ? "Int32" : "Int64";
        ArrayList arrays;
        std::string text =
            "<?xml version=\"1.0\"?>\n<VTKFile type=\"PolyData\" version=\"1.0\" byte_order=\"LittleEndian\" "
            "header_type=\"UInt64\">\n<PolyData>\n<Piece NumberOfPoints=\"" +
            std::to_string(points) +
            "\" NumberOfVerts=\"0\" NumberOfLines=\"0\" NumberOfStrips=\"0\" NumberOfPolys=\"" +
            std::to_string(triangles) + "\">\n<Points>\n";
        text += arrays.add("Float64", "Points", 3, points * 24);
        text += "</Points>\n<PointData";
        text += _streams.haveNormals ? " Normals=\"Normals\">\n" : ">\n";
        if (_streams.haveNormals) text += arrays.add("Float32", "Normals", 3, points * 12);
        for (const VertexAttribute& attribute : _streams.attributes)
            text += arrays.add("Float32", attribute.name, componentsOf(attribute),
                               points * 4 * componentsOf(attribute));
        text += "</PointData>\n<Polys>\n";
        text += arrays.add(index, "connectivity", 1, triangles * 3 * sizeof(Index));
        text += arrays.add(index, "offsets", 1, triangles * sizeof(Index));
        text += "</Polys>\n<CellData>\n";
        text += arrays.add("Int32", "Part", 1, triangles * 4);
        return text + "</CellData>\n</Piece>\n</PolyData>\n<AppendedData encoding=\"raw\">\n_";
    }

    void putPositions(BlockWriter& out) const
    {
        out.put(uint64{24} * _streams.vertexCount);
        for (const VertexStreams& part : _streams.parts)
            for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
            {
                const Vector3D& p = part.position(vertex);
                for (const double component : {p.x, p.y, p.z}) out.put(component);
            }
    }

    void putNormals(BlockWriter& out) const
    {
        out.put(uint64{12} * _streams.vertexCount);
        for (const VertexStreams& part : _streams.parts)
            for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
            {
                const Vector3F n = part.normal(vertex);
                for (const float component : {n.x, n.y, n.z}) out.put(component);
            }
    }

    void putAttribute(BlockWriter& out, const VertexAttribute& attribute) const
    {
        const uint32 components = componentsOf(attribute);
        out.put(uint64{4} * components * _streams.vertexCount);
        for (const VertexStreams& part : _streams.parts)
        {
            const VertexAttribute own = JoinedStreams::attributeOf(part, attribute);
            for (uint32 vertex = 0; vertex < part.size() && out.isWell(); ++vertex)
            {
                const std::size_t first = std::size_t{part.positionIndex(vertex)} * own.components;
                for (uint32 n = 0; n < components; ++n) out.put(own.data ? own.data[first + n] : 0.0f);
            }
        }
    }

    void putCorners(BlockWriter& out) const
    {
        out.put(uint64{3} * sizeof(Index) * _streams.triangleCount);
        uint64 first = 0;
        for (const VertexStreams& part : _streams.parts)
        {
            for (const Index3& face : part.triangles())
                for (uint32 n = 0; n < 3; ++n) out.put(static_cast<Index>(first + face[n]));
            first += part.size();
        }
    }

    void putEnds(BlockWriter& out) const
    {
        out.put(uint64{sizeof(Index)} * _streams.triangleCount);
        for (uint64 n = 1; n <= _streams.triangleCount && out.isWell(); ++n)
            out.put(static_cast<Index>(3 * n));
    }

    void putParts(BlockWriter& out) const
    {
        out.put(uint64{4} * _streams.triangleCount);
        int32 number = 0;
        for (const VertexStreams& part : _streams.parts)
        {
            for (std::size_t n = 0; n < part.triangles().size() && out.isWell(); ++n) out.put(number);
            ++number;
        }
    }

    JoinedStreams _streams;
};

}  // namespace

int writeVtp(const std::string& path, const ArrayOfPtr<Mesh>& meshes)
{
    uint64 most = 0;
    for (const Mesh* mesh : meshes)
        if (mesh) most += 3 * uint64{mesh->getFacesSize()} + mesh->getPosSize();
    const bool fits = most <= static_cast<uint64>(std::numeric_limits<int32>::max());
    return fits ? VtpWriter<int32>(meshes).write(path) : VtpWriter<int64>(meshes).write(path);
}

}  // namespace tavrix::formats
