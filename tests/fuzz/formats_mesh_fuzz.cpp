#include "Fuzz.h"

#include <stdexcept>

#include "formats/Failure.h"
#include "formats/Gltf.h"
#include "formats/MeshFile.h"
#include "formats/Off.h"
#include "formats/ThreeMf.h"
#include "formats/VertexStreams.h"

using namespace tavrix;
using namespace tavrix::formats;

namespace
{

void confirm(const ArrayOfPtr<Mesh>& meshes)
{
    for (const Mesh* mesh : meshes)
    {
        fuzz::require(hasValidIndices(*mesh), "indices of a read mesh");
        const VertexStreams streams(*mesh);
        for (const VertexAttribute& attribute : vertexAttributes(*mesh))
            fuzz::require(attribute.data || mesh->getPosSize() == 0, "values of an attribute");
        for (const Index3& face : streams.triangles())
            fuzz::require(std::max({face.a, face.b, face.c}) < streams.size(), "vertices of a face");
    }
}

/// Does what may be refused with a message.
template <class Read>
void attempt(const Read& read)
{
    try
    {
        ArrayOfPtr<Mesh> meshes;
        MeshReadingReport report;
        read(meshes, report);
        confirm(meshes);
    }
    catch (const Failure&)
    {
    }
    catch (const std::length_error&)
    {
        // counts beyond 32 bits
    }
}

}  // namespace

// By what the bytes say they are, and by the readers whose files are known by their extensions.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    const std::string path = file.path().c_str();
    attempt([&](ArrayOfPtr<Mesh>& meshes, MeshReadingReport&)
            { meshes = std::move(readMeshes(path).meshes); });
    attempt([&](ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report) { readGltf(path, meshes, report); });
    attempt([&](ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
            { addMesh(meshes, readOff(path, report), report); });
    return 0;
}
