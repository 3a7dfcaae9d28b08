#include "Fuzz.h"

using namespace tavrix;

// As either encoding, and as the one that is found.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const auto& parser = MeshFileParser<MeshSTLFileParser>::instance();
    const auto requireFacets = [](const ArrayOfPtr<Mesh>& meshes)
    {
        for (const Mesh* mesh : meshes)
            fuzz::require(
                mesh->getPosSize() == 3 * mesh->getFacesSize() && mesh->nor().size() == mesh->getFacesSize(),
                "three positions and a normal for each facet");
    };
    for (const Encoding encoding : {Encoding::binary, Encoding::ascii})
        fuzz::readMeshes(data, size,
                         [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                         {
                             const int result = parser.read(path, meshes, encoding);
                             requireFacets(meshes);
                             return result;
                         });
    fuzz::readMeshes(data, size,
                     [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                     {
                         Encoding encoding{};
                         fuzz::require(MeshSTLFileParser::encodingBySize(path, encoding) == 1, "a size");
                         return parser.read(path, meshes);
                     });
    return 0;
}
