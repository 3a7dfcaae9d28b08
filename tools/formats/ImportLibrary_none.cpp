#include "formats/Failure.h"
#include "formats/ImportLibrary.h"

namespace tavrix::formats
{

std::string importLibrary() { return ""; }

const std::vector<std::string>& importExtensions()
{
    static const std::vector<std::string> none;
    return none;
}

void importMeshes(const std::string& path, ArrayOfPtr<Mesh>&, MeshReadingReport&)
{
    throw Failure(path + ": is of a format that this build cannot read; convert it to .obj, .ply or .glb");
}

}  // namespace tavrix::formats
