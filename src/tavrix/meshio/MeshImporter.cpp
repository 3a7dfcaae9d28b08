#include <tavrix/meshio/MeshImporter.h>

#include <tavrix/meshio/detail/AseReader.h>
#include <tavrix/meshio/detail/TextLines.h>

namespace tavrix
{

template <>
MeshImporter& MeshFileParser<MeshImporter>::instance()
{
    static MeshImporter importer;
    return importer;
}

int MeshImporter::read_ASE(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const
{
    constexpr std::size_t lineLength = 1023;
    detail::TextLines lines(lineLength);
    if (const FileStatus status = lines.open(fileName); status != FileStatus::ok)
        return meshFileResult(status);
    detail::AseReader reader;
    for (std::string_view line; lines.ReadLine(line);) reader.readLine(line);
    if (lines.status() != FileStatus::ok) return meshFileResult(lines.status());
    if (!reader.hasMesh()) return meshFileFailed;
    if (!reader.isComplete()) return meshFileEndsTooEarly;
    reader.moveMeshes(meshes);
    return 0;
}

}  // namespace tavrix
