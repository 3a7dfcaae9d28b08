#include "formats/ImportLibrary.h"

#include <algorithm>
#include <sstream>

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <assimp/version.h>
#include <assimp/Importer.hpp>

#include "formats/Failure.h"

namespace tavrix::formats
{

namespace
{

Matrix4D matrixOf(const aiMatrix4x4& given)
{
    Matrix4D matrix;
    for (uint32 row = 0; row < 4; ++row)
        for (uint32 column = 0; column < 4; ++column)
            matrix.m[row][column] = static_cast<double>(given[row][column]);
    return matrix;
}

Array<Vector3F> vectorsOf(const aiVector3D* vectors, uint32 count)
{
    Array<Vector3F> copies(count);
    for (uint32 n = 0; n < count; ++n) copies[n] = {vectors[n].x, vectors[n].y, vectors[n].z};
    return copies;
}

Surface surfaceOf(const aiMesh& mesh)
{
    Surface surface;
    const uint32 count = mesh.mNumVertices;
    surface.positions.resize(count);
    for (uint32 n = 0; n < count; ++n)
        surface.positions[n] = {mesh.mVertices[n].x, mesh.mVertices[n].y, mesh.mVertices[n].z};
    if (mesh.mNormals) surface.normals = vectorsOf(mesh.mNormals, count);
    if (mesh.mTextureCoords[0])
        surface.attributes.push_back({"UV_MAP_0", vectorsOf(mesh.mTextureCoords[0], count)});
    if (const aiColor4D* colors = mesh.mColors[0])
    {
        Array<Vector3F> copies(count);
        for (uint32 n = 0; n < count; ++n) copies[n] = {colors[n].r, colors[n].g, colors[n].b};
        surface.attributes.push_back({"color", std::move(copies)});
    }
    for (uint32 f = 0; f < mesh.mNumFaces; ++f)
        if (const aiFace& face = mesh.mFaces[f]; face.mNumIndices == 3)
            surface.triangles.push_back({face.mIndices[0], face.mIndices[1], face.mIndices[2]});
    return surface;
}

void addNode(const aiScene& scene, const aiNode& node, const Matrix4D& around, ArrayOfPtr<Mesh>& meshes,
             MeshReadingReport& report)
{
    const Matrix4D matrix = around * matrixOf(node.mTransformation);
    for (uint32 n = 0; n < node.mNumMeshes; ++n)
    {
        const aiMesh& mesh = *scene.mMeshes[node.mMeshes[n]];
        Surface surface = surfaceOf(mesh);
        surface.name = node.mName.length > 0 ? node.mName.C_Str() : mesh.mName.C_Str();
        place(surface, matrix);
        addMesh(meshes, std::move(surface), report);
    }
    for (uint32 n = 0; n < node.mNumChildren; ++n) addNode(scene, *node.mChildren[n], matrix, meshes, report);
}

}  // namespace

std::string importLibrary()
{
    return "assimp " + std::to_string(aiGetVersionMajor()) + "." + std::to_string(aiGetVersionMinor()) + "." +
           std::to_string(aiGetVersionPatch());
}

const std::vector<std::string>& importExtensions()
{
    static const std::vector<std::string> extensions = []
    {
        std::string list;  // "*.3ds;*.dae;..."
        Assimp::Importer().GetExtensionList(list);
        std::vector<std::string> found;
        std::istringstream words(list);
        for (std::string word; std::getline(words, word, ';');)
            if (word.starts_with("*.")) found.push_back(word.substr(2));
        return found;
    }();
    return extensions;
}

void importMeshes(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
{
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(
        path, aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_SortByPType);
    if (!scene || !scene->mRootNode)
        throw Failure(path + ": cannot be read (" + importer.GetErrorString() +
                      "); convert it to .obj or .glb");
    addNode(*scene, *scene->mRootNode, Matrix4D::identity(), meshes, report);
}

}  // namespace tavrix::formats
