#include <assimp/scene.h>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>

#include "MeshPeers.h"

namespace
{

Assimp::Importer& importer()
{
    static Assimp::Importer one;
    return one;
}

}  // namespace

long long assimpRead(const char* path)
{
    const aiScene* scene = importer().ReadFile(path, 0);
    if (!scene) return -1;
    long long faces = 0;
    for (unsigned i = 0; i < scene->mNumMeshes; ++i) faces += scene->mMeshes[i]->mNumFaces;
    return faces;
}

bool assimpWrite(const char* path, const char* format)
{
    Assimp::Exporter exporter;
    return exporter.Export(importer().GetScene(), format, path) == AI_SUCCESS;
}
