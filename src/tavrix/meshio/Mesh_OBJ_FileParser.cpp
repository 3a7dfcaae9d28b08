#include <tavrix/meshio/Mesh_OBJ_FileParser.h>

#include <span>

#include <tavrix/meshio/detail/MeshChannels.h>
#include <tavrix/meshio/detail/ObjReader.h>
#include <tavrix/meshio/detail/ObjWriter.h>

namespace tavrix
{

namespace
{

int readObj(const TX_String& fileName, bool withTextures, ArrayOfPtr<Mesh>& meshes, ObjReadingMode mode,
            uint32 threadCount, MeshReadingReport* report = nullptr)
{
    detail::ObjReader reader(mode, threadCount, report);
    if (const FileStatus status = reader.read(fileName); status != FileStatus::ok)
        return meshFileResult(status);
    reader.BuildObjects(withTextures, meshes);
    return 0;
}

}  // namespace

template <>
Mesh_OBJ_FileParser& MeshFileParser<Mesh_OBJ_FileParser>::instance()
{
    static Mesh_OBJ_FileParser parser;
    return parser;
}

int Mesh_OBJ_FileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode,
                              uint32 threadCount) const
{
    return readObj(fileName, true, meshes, mode, threadCount);
}

int Mesh_OBJ_FileParser::read(const TX_String& fileName, const Array<TX_String>& channelNames,
                              ArrayOfPtr<Mesh>& meshes, ReadingMode mode, uint32 threadCount) const
{
    return readObj(fileName, detail::hasChannel(channelNames, "uv"), meshes, mode, threadCount);
}

int Mesh_OBJ_FileParser::readLeniently(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, ReadingMode mode,
                                       MeshReadingReport& report, uint32 threadCount) const
{
    report = {};
    return readObj(fileName, true, meshes, mode, threadCount, &report);
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
