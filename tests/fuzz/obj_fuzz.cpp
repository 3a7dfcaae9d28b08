#include "Fuzz.h"

using namespace tavrix;

// In every reading mode, which share out the same faces, and leniently.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Mode = Mesh_OBJ_FileParser::ReadingMode;
    const auto& parser = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    const auto read = [&](Mode mode)
    {
        return fuzz::readMeshes(data, size,
                                [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                                { return parser.read(path, meshes, mode); });
    };
    const uint64 faces = read(Mode::groupByName);
    fuzz::require(read(Mode::groupByLine) == faces && read(Mode::oneGroup) == faces,
                  "the same faces in every reading mode");
    MeshReadingReport report;
    const uint64 lenient =
        fuzz::readMeshes(data, size,
                         [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                         { return parser.readLeniently(path, meshes, Mode::groupByName, report); });
    fuzz::require(lenient <= size, "no more faces than characters");
    return 0;
}
