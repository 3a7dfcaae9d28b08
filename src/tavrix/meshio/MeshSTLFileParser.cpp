#include <tavrix/meshio/MeshSTLFileParser.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/meshio/detail/StlLayout.h>
#include <tavrix/meshio/detail/StlReader.h>
#include <tavrix/meshio/detail/StlWriter.h>

namespace tavrix
{

namespace
{

using Encoding = MeshSTLFileParser::Encoding;

constexpr int success = 1;

void printCannotOpen(const TX_String& fileName)
{
    // an acute accent in Latin-1: the text is fixed, byte for byte
    const std::string text = "Can\xB4t open: " + std::string(fileName.view()) + ". Exiting... \n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int readStl(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, std::optional<Encoding> encoding,
            MeshReadingReport& report)
{
    report = {};
    FileBufferIn file;
    if (file.open(fileName, "rb", detail::recordBlockSize) != FileStatus::ok)
    {
        printCannotOpen(fileName);
        return meshFileCannotOpen;
    }
    if (!encoding)
    {
        // what the test took from a pipe could not be read again
        if (file.size() < 0) return meshFileFailed;
        encoding = detail::beginsAsStlText(file) ? Encoding::ascii : Encoding::binary;
        if (!file.seek(0, SEEK_SET)) return meshFileFailed;
    }
    auto mesh = std::make_unique<Mesh>();
    const FileStatus status = *encoding == Encoding::ascii ? detail::readStlText(file, *mesh, report)
                                                           : detail::readStlBinary(file, *mesh, report);
    if (status != FileStatus::ok) return meshFileFailed;
    meshes.push_back(mesh.release());
    return success;
}

int writeStl(const TX_String& fileName, const Mesh& mesh, Encoding encoding, CancelCallback callback)
{
    const int result = encoding == Encoding::ascii ? detail::writeStlText(fileName, mesh, callback)
                                                   : detail::writeStlBinary(fileName, mesh, callback);
    return result == 0 ? success : result;
}

}  // namespace

template <>
MeshSTLFileParser& MeshFileParser<MeshSTLFileParser>::instance()
{
    static MeshSTLFileParser parser;
    return parser;
}

int MeshSTLFileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const
{
    MeshReadingReport unheard;
    return readStl(fileName, meshes, {}, unheard);
}

int MeshSTLFileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, Encoding encoding) const
{
    MeshReadingReport unheard;
    return readStl(fileName, meshes, encoding, unheard);
}

int MeshSTLFileParser::read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes, Encoding encoding,
                            MeshReadingReport& report) const
{
    return readStl(fileName, meshes, encoding, report);
}

int MeshSTLFileParser::encodingBySize(const TX_String& fileName, Encoding& encoding)
{
    FileBufferIn file;
    const FileStatus status = file.open(fileName, "rb", detail::stlHeaderSize + 4);
    if (status != FileStatus::ok) return meshFileResult(status);
    if (file.size() < 0) return meshFileFailed;
    uint32 count = 0;
    const bool counted = file.seek(detail::stlHeaderSize, SEEK_SET) && file.readUInt(&count) == 1;
    const int64 binarySize = detail::stlHeaderSize + 4 + int64{detail::stlFacetSize} * count;
    encoding = counted && file.size() == binarySize ? Encoding::binary : Encoding::ascii;
    return success;
}

int MeshSTLFileParser::write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32 encoding,
                             CancelCallback callback) const
{
    if (meshes.empty() || !meshes[0]) return meshFileFailed;
    return writeStl(fileName, *meshes[0], static_cast<Encoding>(encoding), callback);
}

int MeshSTLFileParser::write(const TX_String& fileName, const Mesh& mesh, Encoding encoding,
                             CancelCallback callback) const
{
    return writeStl(fileName, mesh, encoding, callback);
}

}  // namespace tavrix
