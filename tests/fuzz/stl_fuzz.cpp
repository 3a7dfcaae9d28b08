#include "Fuzz.h"

using namespace tavrix;

// As either encoding, and as the one that is found.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const auto& parser = MeshFileParser<MeshSTLFileParser>::instance();
    for (const int forced : {0, 1, 2})
        fuzz::readMeshes(data, size,
                         [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
                         {
                             Encoding encoding{};
                             fuzz::require(parser.encodingBySize(path, encoding) == 1, "a size");
                             const int result =
                                 forced == 2 ? parser.read(path, meshes)
                                             : parser.read(path, meshes, static_cast<Encoding>(forced));
                             for (const Mesh* mesh : meshes)
                                 fuzz::require(mesh->getPosSize() == 3 * mesh->getFacesSize() &&
                                                   mesh->nor().size() == mesh->getFacesSize(),
                                               "three positions and a normal for each facet");
                             return result;
                         });
    return 0;
}
