#include <tavrix/meshio/detail/StlWriter.h>

#include <cmath>
#include <vector>

#include <tavrix/meshio/detail/BufferedWriter.h>
#include <tavrix/meshio/detail/MeshChannels.h>
#include <tavrix/meshio/detail/StlLayout.h>

namespace tavrix::detail
{

namespace
{

/// Zero for a facet without area.
Vector3F unitNormal(const Vector3D (&corners)[3])
{
    const Vector3D normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double size = length(normal);
    return size > 0 && std::isfinite(size) ? convert<float>(normal / size) : Vector3F{0, 0, 0};
}

char* putText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

char* putLine(char* out, std::string_view keyword, const Vector3F& v)
{
    out = putText(out, keyword);
    for (const float component : {v.x, v.y, v.z})
    {
        *out++ = ' ';
        out = printFloat(out, component);
    }
    *out++ = '\n';
    return out;
}

/// The lines of vertices. The faces around one mostly follow each other closely: texts are kept for a while,
/// each in a place that its number says.
class VertexLines
{
public:
    explicit VertexLines(const Vector3D* positions) : _positions(positions), _lines(places) {}

    char* put(char* out, uint32 vertex)
    {
        Line& line = _lines[vertex % places];
        if (line.vertex != vertex)
        {
            const char* const end = putLine(line.text, "      vertex", convert<float>(_positions[vertex]));
            line.length = static_cast<uint32>(end - line.text);
            line.vertex = vertex;
        }
        std::memcpy(out, line.text, sizeof line.text);
        return out + line.length;
    }

    static constexpr std::size_t maxLength = 13 + 3 * (maxFloatLength + 1);

private:
    struct Line
    {
        uint32 vertex = noIndex, length = 0;
        char text[maxLength];
    };
    static constexpr uint32 places = 1u << 13;

    const Vector3D* _positions;
    std::vector<Line> _lines;
};

constexpr std::size_t maxFacetLength = 160 + 3 * (maxFloatLength + 1) + 3 * VertexLines::maxLength;

}  // namespace

int writeStlText(const TX_String& fileName, const Mesh& mesh, CancelCallback callback)
{
    BufferedWriter out(callback);
    if (const FileStatus status = out.open(fileName); status != FileStatus::ok) return meshFileResult(status);
    const std::string name = mesh.getName().empty() ? "" : ' ' + inOneLine(mesh.getName());
    const Vector3D* pos = mesh.pos().data();
    const Index3* faces = mesh.trindexPos().data();
    const uint32 positionCount = mesh.getPosSize();
    out << "solid" << name << '\n';
    VertexLines lines(pos);
    out.writeItems(
        mesh.getFacesSize(), maxFacetLength,
        [&](uint32 i, char* to)
        {
            const Index3 face = faces[i];
            if (!isInRange(face, positionCount)) return to;
            to = putLine(to, "  facet normal", unitNormal({pos[face.a], pos[face.b], pos[face.c]}));
            to = putText(to, "    outer loop\n");
            for (uint32 corner = 0; corner < 3; ++corner) to = lines.put(to, face[corner]);
            return putText(to, "    endloop\n  endfacet\n");
        });
    out << "endsolid" << name << '\n';
    return out.close();
}

int writeStlBinary(const TX_String& fileName, const Mesh& mesh, CancelCallback callback)
{
    BufferedWriter out(callback);
    if (const FileStatus status = out.open(fileName); status != FileStatus::ok) return meshFileResult(status);
    const std::string_view name = mesh.getName().view();
    out << name;
    for (std::size_t i = name.size(); i < stlHeaderSize; ++i) out << '\0';
    out.advance(putNumber(out.room(sizeof(uint32)), countFacesInRange(mesh, out.polling())));

    const Vector3D* pos = mesh.pos().data();
    const Index3* faces = mesh.trindexPos().data();
    const uint32 positionCount = mesh.getPosSize();
    out.writeItems(mesh.getFacesSize(), stlFacetSize,
                   [=](uint32 i, char* to)
                   {
                       const Index3 face = faces[i];
                       if (!isInRange(face, positionCount)) return to;
                       to = putVector(to, Vector3F{0, 0, 0});
                       for (uint32 corner = 0; corner < 3; ++corner) to = putVector(to, pos[face[corner]]);
                       return putNumber(to, uint16{0});
                   });
    return out.close();
}

}  // namespace tavrix::detail
