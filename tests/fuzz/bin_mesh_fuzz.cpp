#include "Fuzz.h"

using namespace tavrix;

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
                             for (const char* name : {"UV_MAP_0", "Velocity"})
                                 if (const auto* array = mesh.findArray<Vector3F>(name))
                                     fuzz::require(array->size() == mesh.getPosSize(), name);
                             if (const Array<uint32>* perPosition = mesh.findArray<uint32>("nWeights"))
                                 fuzz::require(mesh.findArray<float>("Weights")->size() ==
                                                   uint64{mesh.getPosSize()} * (*perPosition)[0],
                                               "Weights");
                             records[withChannels] = fuzz::recordOf(mesh);
                             return result;
                         });
    fuzz::require(records[0] == records[1], "the same mesh with and without its channels");
    return 0;
}
