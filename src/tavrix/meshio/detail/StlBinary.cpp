#include <tavrix/meshio/detail/StlBinary.h>

#include <algorithm>
#include <array>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/meshio/detail/BufferedWriter.h>
#include <tavrix/meshio/detail/MeshChannels.h>
#include <tavrix/meshio/detail/StlMesh.h>
#include <tavrix/meshio/detail/StlName.h>

namespace tavrix::detail
{

namespace
{

/// A facet without its attribute, which may be missing from the last one.
constexpr std::size_t neededFacetSize = 48;

void decodeFacets(const unsigned char* bytes, uint32 first, uint32 count, StlMesh& facets)
{
    for (uint32 i = first; i < first + count; ++i, bytes += stlFacetSize)
    {
        Vector3D* corners = facets.corners(i);
        facets.normal(i) = decodeVector<float, float>(bytes);
        for (uint32 corner = 0; corner < 3; ++corner)
            corners[corner] = decodeVector<double, float>(bytes + 12 * (corner + 1));
    }
    facets.number(first, first + count);
}

}  // namespace

FileStatus readStlBinary(FileBufferIn& file, Mesh& mesh)
{
    std::array<char, stlHeaderSize> header{};
    uint32 count = 0;
    file.readBuffer(header.data(), header.size());
    setStlName({header.data(), header.size()}, mesh);
    if (file.readUInt(&count) != 1) count = 0;

    StlMesh facets(mesh);
    const uint32 read = readRecords(
        file, std::min(count, StlMesh::maxFacetCount), stlFacetSize, neededFacetSize,
        [&](uint32 room) { facets.resize(room); },
        [&](const unsigned char* bytes, uint32 first, uint32 number)
        { decodeFacets(bytes, first, number, facets); });
    facets.resize(read);
    const bool tooMany = read == StlMesh::maxFacetCount && count > read;
    return tooMany || file.status() == FileStatus::failed ? FileStatus::failed : FileStatus::ok;
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
