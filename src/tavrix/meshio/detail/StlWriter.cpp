#include <tavrix/meshio/detail/StlWriter.h>

#include <cmath>

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

char* putFacet(char* out, const Vector3D (&corners)[3])
{
    out = putLine(out, "  facet normal", unitNormal(corners));
    out = putText(out, "    outer loop\n");
    for (const Vector3D& corner : corners) out = putLine(out, "      vertex", convert<float>(corner));
    return putText(out, "    endloop\n  endfacet\n");
}

constexpr std::size_t maxFacetLength = 128 + 12 * (maxFloatLength + 1);

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
    out.writeItems(mesh.getFacesSize(), maxFacetLength,
                   [=](uint32 i, char* to)
                   {
                       const Index3 face = faces[i];
                       if (!isInRange(face, positionCount)) return to;
                       return putFacet(to, {pos[face.a], pos[face.b], pos[face.c]});
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
