#include <tavrix/meshio/detail/StlReader.h>

#include <algorithm>
#include <array>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/meshio/detail/StlLayout.h>
#include <tavrix/meshio/detail/StlMesh.h>

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
            corners[corner] = decodeVector<double, float>(bytes + std::size_t{12} * (corner + 1));
    }
    facets.number(first, first + count);
}

}  // namespace

FileStatus readStlBinary(FileBufferIn& file, Mesh& mesh, MeshReadingReport& report)
{
    std::array<char, stlHeaderSize> header{};
    uint32 count = 0;
    file.readBuffer(header.data(), header.size());
    report.isCut = file.readUInt(&count) != 1;
    if (report.isCut) count = 0;

    StlMesh facets(mesh);
    facets.setName({header.data(), header.size()});
    const uint32 read = readRecords(
        file, std::min(count, StlMesh::maxFacetCount), stlFacetSize, neededFacetSize,
        [&](uint32 room) { facets.resize(room); },
        [&](const unsigned char* bytes, uint32 first, uint32 number)
        { decodeFacets(bytes, first, number, facets); });
    facets.resize(read);
    report.faces = count - read;
    report.isCut |= read < count;
    const bool tooMany = read == StlMesh::maxFacetCount && count > read;
    return tooMany || file.status() == FileStatus::failed ? FileStatus::failed : FileStatus::ok;
}

}  // namespace tavrix::detail
