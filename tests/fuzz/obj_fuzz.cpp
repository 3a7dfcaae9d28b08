#include <tavrix/foundation/detail/Polling.h>

#include "Fuzz.h"

using namespace tavrix;

// In every reading mode, which share out the same faces, and leniently, by one thread and by several.
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
    const auto readLeniently = [&](uint32 threads, MeshReadingReport& report)
    {
        return fuzz::readMeshes(
            data, size,
            [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
            { return parser.readLeniently(path, meshes, Mode::groupByName, report, threads); });
    };
    tavrix::detail::countThreadsAsWorth(true);
    MeshReadingReport one, several;
    const uint64 faces1 = readLeniently(1, one);
    fuzz::require(faces1 <= size, "no more faces than characters");
    if (size % 4 != 0) return 0;  // threads take most of the time
    const uint64 faces3 = readLeniently(3, several);
    fuzz::require(faces1 == faces3 && one.faces == several.faces && one.corners == several.corners &&
                      one.numbers == several.numbers && one.isCut == several.isCut,
                  "the same from several threads");
    return 0;
}
