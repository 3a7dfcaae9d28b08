#include "Fuzz.h"

using namespace tavrix;

namespace
{

uint64 faceCount(const ArrayOfPtr<Mesh>& meshes)
{
    uint64 sum = 0;
    for (const Mesh* mesh : meshes) sum += mesh->getFacesSize();
    return sum;
}

}  // namespace

// In every reading mode, which share out the same faces.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Mode = Mesh_OBJ_FileParser::ReadingMode;
    const auto& parser = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    uint64 faces[3];
    for (const Mode mode : {Mode::groupByName, Mode::groupByLine, Mode::oneGroup})
        fuzz::readMeshes(data, size,
                         [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                         {
                             const int result = parser.read(path, meshes, mode);
                             faces[static_cast<int>(mode)] = faceCount(meshes);
                             return result;
                         });
    fuzz::require(faces[0] == faces[2] && faces[1] == faces[2], "the same faces in every reading mode");
    return 0;
}
