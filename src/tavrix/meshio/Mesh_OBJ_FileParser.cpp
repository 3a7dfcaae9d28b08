#include <tavrix/meshio/Mesh_OBJ_FileParser.h>

#include <span>

#include <tavrix/meshio/detail/MeshChannels.h>
#include <tavrix/meshio/detail/ObjReader.h>
#include <tavrix/meshio/detail/ObjWriter.h>
#include <tavrix/meshio/detail/StatementLines.h>
#include <tavrix/meshio/detail/TextLines.h>

namespace tavrix
{

namespace
{

constexpr std::size_t lineBufferSize = 256;

int readObj(const TX_String& fileName, bool withTextures, ArrayOfPtr<Mesh>& meshes,
            Mesh_OBJ_FileParser::ReadingMode mode)
{
    detail::TextLines lines(lineBufferSize - 1);
    if (const FileStatus status = lines.open(fileName); status != FileStatus::ok)
        return meshFileResult(status);
    detail::ObjReader reader(mode);
    reader.ObjFirstPass(lines);
    if (lines.status() != FileStatus::ok) return meshFileResult(lines.status());
    reader.BuildObjects(withTextures, meshes);
    return 0;
}

int readObjLeniently(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ObjReadingMode mode,
                     MeshReadingReport& report)
{
    report = {};
    detail::StatementLines lines;
    if (const FileStatus status = lines.open(fileName); status != FileStatus::ok)
        return meshFileResult(status);
    detail::ObjReader reader(mode, &report);
    reader.ObjFirstPass(lines);
    if (lines.status() != FileStatus::ok) return meshFileResult(lines.status());
    report.isCut = lines.lacksEnd() && !reader.endsWhole();
    reader.BuildObjects(true, meshes);
    return 0;
}

}  // namespace

template <>
Mesh_OBJ_FileParser& MeshFileParser<Mesh_OBJ_FileParser>::instance()
{
    static Mesh_OBJ_FileParser parser;
    return parser;
}

int Mesh_OBJ_FileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode) const
{
    return readObj(fileName, true, meshes, mode);
}

int Mesh_OBJ_FileParser::read(const TX_String& fileName, const Array<TX_String>& channelNames,
                              ArrayOfPtr<Mesh>& meshes, ReadingMode mode) const
{
    return readObj(fileName, detail::hasChannel(channelNames, "uv"), meshes, mode);
}

int Mesh_OBJ_FileParser::readLeniently(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode,
                                       MeshReadingReport& report) const
{
    return readObjLeniently(fileName, meshes, mode, report);
}

int Mesh_OBJ_FileParser::write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32,
                               CancelCallback callback) const
{
    return write(fileName, meshes, ObjNumbers{}, callback);
}

int Mesh_OBJ_FileParser::write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes,
                               const ObjNumbers& numbers, CancelCallback callback) const
{
    return detail::writeObj(fileName, {meshes.begin(), meshes.size()}, true, numbers, callback);
}

int Mesh_OBJ_FileParser::write(const TX_String& fileName, const Array<TX_String>& channelNames,
                               const ArrayOfPtr<Mesh>& meshes, CancelCallback callback) const
{
    return detail::writeObj(fileName, {meshes.begin(), meshes.size()}, detail::hasChannel(channelNames, "uv"),
                            {}, callback);
}

int Mesh_OBJ_FileParser::write(const TX_String& fileName, const Mesh& mesh, CancelCallback callback) const
{
    const Mesh* const one = &mesh;
    return detail::writeObj(fileName, {&one, 1}, true, {}, callback);
}

}  // namespace tavrix
