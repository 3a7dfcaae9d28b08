#include "Fuzz.h"

using namespace tavrix;

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    fuzz::readMeshes(data, size,
                     [](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                     { return MeshFileParser<MeshImporter>::instance().read_ASE(path, meshes); });
    return 0;
}
