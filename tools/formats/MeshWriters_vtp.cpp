#include <limits>

#include "formats/MeshLayout.h"
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

/// The bytes of a number in front of an array.
std::string sizeText(uint64 bytes)
{
    std::string text(sizeof bytes, '\0');
    RecordBytes(text.data()).put(bytes);
    return text;
}

std::string headOf(const MeshOutline& outline, const std::string& index, std::size_t indexBytes)
{
    const uint64 points = outline.vertexCount, triangles = outline.triangleCount;
    ArrayList arrays;
    std::string text =
        "<?xml version=\"1.0\"?>\n<VTKFile type=\"PolyData\" version=\"1.0\" byte_order=\"LittleEndian\" "
        "header_type=\"UInt64\">\n<PolyData>\n<Piece NumberOfPoints=\"" +
        std::to_string(points) +
        "\" NumberOfVerts=\"0\" NumberOfLines=\"0\" NumberOfStrips=\"0\" NumberOfPolys=\"" +
        std::to_string(triangles) + "\">\n<Points>\n";
    text += arrays.add("Float64", "Points", 3, points * 24);
    text += "</Points>\n<PointData";
    text += outline.haveNormals ? " Normals=\"Normals\">\n" : ">\n";
    if (outline.haveNormals) text += arrays.add("Float32", "Normals", 3, points * 12);
    for (const VertexAttribute& attribute : outline.attributes)
        text += arrays.add("Float32", attribute.name, componentsOf(attribute),
                           points * 4 * componentsOf(attribute));
    text += "</PointData>\n<Polys>\n";
    text += arrays.add(index, "connectivity", 1, triangles * 3 * indexBytes);
    text += arrays.add(index, "offsets", 1, triangles * indexBytes);
    text += "</Polys>\n<CellData>\n";
    text += arrays.add("Int32", "Part", 1, triangles * 4);
    return text + "</CellData>\n</Piece>\n</PolyData>\n<AppendedData encoding=\"raw\">\n_";
}

/// The sections of the vertices' arrays.
void addVertexArrays(FileLayout& layout, const MeshOutline& outline)
{
    const uint64 points = outline.vertexCount;
    layout.sections.push_back({sizeText(points * 24), RecordsOf::Vertices, 24,
                               [](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
                               { to.put(mesh.streams.position(n)); }});
    if (outline.haveNormals)
        layout.sections.push_back({sizeText(points * 12), RecordsOf::Vertices, 12,
                                   [](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
                                   { to.put(mesh.streams.normal(n)); }});
    for (std::size_t a = 0; a < outline.attributes.size(); ++a)
    {
        const uint32 components = componentsOf(outline.attributes[a]);
        const std::size_t bytes = sizeof(float) * components;
        layout.sections.push_back(
            {sizeText(points * bytes), RecordsOf::Vertices, bytes,
             [a, components](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
             {
                 const VertexAttribute& own = mesh.attributes[a];
                 const std::size_t first = std::size_t{mesh.streams.positionIndex(n)} * own.components;
                 for (uint32 c = 0; c < components; ++c) to.put(own.data ? own.data[first + c] : 0.0f);
             }});
    }
}

/// And those of the faces' arrays.
template <class Index>
void addFaceArrays(FileLayout& layout, const MeshOutline& outline)
{
    const uint64 triangles = outline.triangleCount;
    layout.sections.push_back({sizeText(triangles * 3 * sizeof(Index)), RecordsOf::Faces, 3 * sizeof(Index),
                               [](RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64)
                               {
                                   const Index3& face = mesh.streams.triangles()[n];
                                   for (uint32 c = 0; c < 3; ++c)
                                       to.put(static_cast<Index>(mesh.numberOf(face[c])));
                               }});
    layout.sections.push_back({sizeText(triangles * sizeof(Index)), RecordsOf::Faces, sizeof(Index),
                               [](RecordBytes& to, const NumberedMesh&, uint32, uint64 number)
                               { to.put(static_cast<Index>(3 * (number + 1))); }});
    layout.sections.push_back({sizeText(triangles * 4), RecordsOf::Faces, sizeof(int32),
                               [](RecordBytes& to, const NumberedMesh& mesh, uint32, uint64)
                               { to.put(mesh.part); }});
}

}  // namespace

bool isLargeVtp(uint64 vertices, uint64 faces)
{
    return 3 * faces + vertices > static_cast<uint64>(std::numeric_limits<int32>::max());
}

FileLayout vtpLayout(const MeshOutline& outline, bool isLarge)
{
    FileLayout layout;
    addVertexArrays(layout, outline);
    if (isLarge)
        addFaceArrays<int64>(layout, outline);
    else
        addFaceArrays<int32>(layout, outline);
    layout.sections.front().before.insert(0, headOf(outline, isLarge ? "Int64" : "Int32", isLarge ? 8 : 4));
    layout.after = "\n</AppendedData>\n</VTKFile>\n";
    return layout;
}

int writeVtp(const std::string& path, const ArrayOfPtr<Mesh>& meshes)
{
    uint64 vertices = 0, faces = 0;
    for (const Mesh* mesh : meshes)
        if (mesh)
        {
            vertices += mesh->getPosSize();
            faces += mesh->getFacesSize();
        }
    const JoinedStreams streams(meshes);
    return writeLayout(path, vtpLayout(outlineOf(streams), isLargeVtp(vertices, faces)), streams);
}

}  // namespace tavrix::formats
