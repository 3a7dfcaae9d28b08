#include <tavrix/meshio/Mesh_BIN_FileParser.h>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/meshio/detail/BinReader.h>
#include <tavrix/meshio/detail/BinWriter.h>
#include <tavrix/meshio/detail/MeshChannels.h>

namespace tavrix
{

namespace
{

using detail::BinChannels;

BinChannels chosenFrom(const Array<TX_String>& channelNames)
{
    return {detail::hasChannel(channelNames, "uv"), detail::hasChannel(channelNames, "velocity")};
}

int readFile(const Mesh_BIN_FileParser& parser, const TX_String& fileName, const BinChannels& channels,
             ArrayOfPtr<Mesh>& meshes)
{
    if (!meshes.empty() && !meshes[0]) return meshFileFailed;
    if (!meshes.empty()) parser.clear(*meshes[0]);
    FileBufferIn file;
    const FileStatus status = file.open(fileName, "rb", detail::recordBlockSize);
    if (status != FileStatus::ok) return meshFileResult(status);
    if (meshes.empty()) meshes.push_back(new Mesh);
    return meshFileResult(detail::readBin(file, channels, *meshes[0]));
}

}  // namespace

template <>
Mesh_BIN_FileParser& MeshFileParser<Mesh_BIN_FileParser>::instance()
{
    static Mesh_BIN_FileParser parser;
    return parser;
}

int Mesh_BIN_FileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const
{
    return readFile(*this, fileName, {}, meshes);
}

int Mesh_BIN_FileParser::read(const TX_String& fileName, const Array<TX_String>& channelNames,
                              ArrayOfPtr<Mesh>& meshes) const
{
    return readFile(*this, fileName, chosenFrom(channelNames), meshes);
}

int Mesh_BIN_FileParser::write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32,
                               CancelCallback callback) const
{
    return detail::writeBin(fileName, {meshes.begin(), meshes.size()}, {}, 1.0f, callback);
}

int Mesh_BIN_FileParser::write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, float scale,
                               CancelCallback callback) const
{
    return detail::writeBin(fileName, {meshes.begin(), meshes.size()}, {}, scale, callback);
}

int Mesh_BIN_FileParser::write(const TX_String& fileName, const Array<TX_String>& channelNames,
                               const ArrayOfPtr<Mesh>& meshes, float scale, CancelCallback callback) const
{
    return detail::writeBin(fileName, {meshes.begin(), meshes.size()}, chosenFrom(channelNames), scale,
                            callback);
}

int Mesh_BIN_FileParser::write(const TX_String& fileName, const Mesh& mesh, CancelCallback callback) const
{
    const Mesh* const one = &mesh;
    return detail::writeBin(fileName, {&one, 1}, {}, 1.0f, callback);
}

int Mesh_BIN_FileParser::getNumberOfMeshes(const TX_String&) const { return 1; }

void Mesh_BIN_FileParser::clear(Mesh& mesh) const { mesh.unreserve(); }

}  // namespace tavrix
