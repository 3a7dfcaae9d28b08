#include "Fuzz.h"

using namespace tavrix;

namespace
{

template <class T>
void requireChannel(const Mesh& mesh, const char* name, std::size_t perPosition)
{
    const Array<T>* const array = mesh.findArray<T>(name);
    fuzz::require(!array || array->size() == perPosition * mesh.getPosSize(), name);
}

}  // namespace

// With both channels, whose arrays must have an element a position, and with none, which must give the same
// mesh.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto& parser = MeshFileParser<Mesh_BIN_FileParser>::instance();
    std::string records[2];
    for (const bool withChannels : {true, false})
        fuzz::readMeshes(data, size,
                         [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                         {
                             const int result = withChannels ? parser.read(path, meshes)
                                                             : parser.read(path, Array<TX_String>{}, meshes);
                             fuzz::require(meshes.size() == 1, "one mesh");
                             const Mesh& mesh = *meshes[0];
                             requireChannel<Vector3F>(mesh, "UV_MAP_0", 1);
                             requireChannel<Vector3F>(mesh, "Velocity", 1);
                             if (const Array<uint32>* weights = mesh.findArray<uint32>("nWeights"))
                                 requireChannel<float>(mesh, "Weights", (*weights)[0]);
                             records[withChannels] = fuzz::recordOf(mesh);
                             return result;
                         });
    fuzz::require(records[0] == records[1], "the same mesh with and without its channels");
    return 0;
}
