#include "files/MeshNotes.h"

#include <cstdio>

#include "run/Failure.h"

namespace tavrix::tool
{

formats::MeshFile readMeshes(const std::string& path, bool isStrict, Progress& progress, uint32 threadCount)
{
    formats::MeshFile file = formats::readMeshes(path, threadCount);
    if (file.report.isWhole()) return file;
    const std::string text = path + ": " + formats::leftOutText(file.report);
    if (isStrict) throw Failure(text + "; export it again, or leave out --strict");
    progress.note(text);
    return file;
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
