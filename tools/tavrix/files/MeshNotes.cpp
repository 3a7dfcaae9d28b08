#include "files/MeshNotes.h"

#include <cstdio>

namespace tavrix::tool
{

void tellLeftOut(const std::string& path, const formats::MeshFile& file)
{
    if (file.leftOut > 0)
        std::fprintf(stderr, "tavrix: %s: %u faces name vertices that are not there and are left out\n",
                     path.c_str(), file.leftOut);
}

MeshCounts countsOf(const ArrayOfPtr<Mesh>& meshes)
{
    MeshCounts counts{0, 0};
    for (const Mesh* mesh : meshes)
    {
        counts.vertices += mesh->getPosSize();
        counts.faces += mesh->getFacesSize();
    }
    return counts;
}

std::string partText(const PartCounts& counts)
{
    std::string text = std::to_string(counts.parts) + (counts.parts == 1 ? " part" : " parts");
    if (counts.cavities > 0)
        text += ", " + std::to_string(counts.cavities) + (counts.cavities == 1 ? " cavity" : " cavities");
    return text;
}

void tellWritten(const std::string& path, const ArrayOfPtr<Mesh>& meshes)
{
    const MeshCounts counts = countsOf(meshes);
    std::printf("mesh       %u vertices, %u faces -> %s\n", counts.vertices, counts.faces, path.c_str());
}

}  // namespace tavrix::tool
