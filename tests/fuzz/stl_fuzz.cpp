#include "Fuzz.h"

using namespace tavrix;

// As either encoding, and as the one that is found.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const auto& parser = MeshFileParser<MeshSTLFileParser>::instance();
    for (const int forced : {0, 1, 2})
        fuzz::readMeshes(
            data, size,
            [&](const TX_String& path, ArrayOfPtr<Mesh>& meshes)
            {
                Encoding encoding{};
                fuzz::require(parser.encodingBySize(path, encoding) == 1, "a size");
                const int result = forced == 2 ? parser.read(path, meshes)
                                               : parser.read(path, meshes, static_cast<Encoding>(forced));
                MeshReadingReport report;
                ArrayOfPtr<Mesh> again;
                if (forced < 2 && parser.read(path, again, static_cast<Encoding>(forced), report) == 1)
                    fuzz::require(fuzz::recordOf(*again[0]) == fuzz::recordOf(*meshes[0]),
                                  "the same mesh with a report");
                for (const Mesh* mesh : meshes)
                    fuzz::require(mesh->getPosSize() == 3 * mesh->getFacesSize() &&
                                      mesh->nor().size() == mesh->getFacesSize(),
                                  "three positions and a normal for each facet");
                return result;
            });
    return 0;
}
