#include <tavrix/meshio/detail/BinWriter.h>

#include <algorithm>
#include <limits>
#include <vector>

#include <tavrix/meshio/detail/BufferedWriter.h>
#include <tavrix/meshio/detail/MeshChannels.h>

namespace tavrix::detail
{

namespace
{

using Meshes = std::vector<const Mesh*>;

bool anyHas(const Meshes& meshes, const char* channel)
{
    return std::any_of(meshes.begin(), meshes.end(),
                       [=](const Mesh* mesh) { return findPerPosition(*mesh, channel) != nullptr; });
}

void writeNumbers(BufferedWriter& out, std::initializer_list<uint32> numbers)
{
    for (const uint32 number : numbers) out.advance(putNumber(out.room(sizeof number), number));
}

void writePositions(BufferedWriter& out, const Mesh& mesh, double scale)
{
    const Vector3D* pos = mesh.pos().data();
    out.writeItems(mesh.getPosSize(), binTripleSize,
                   [=](uint32 i, char* to) { return putVector(to, pos[i] * scale); });
}

void writeFaces(BufferedWriter& out, const Mesh& mesh, uint32 offset)
{
    const Index3* faces = mesh.trindexPos().data();
    const uint32 positionCount = mesh.getPosSize();
    out.writeItems(mesh.getFacesSize(), binTripleSize,
                   [=](uint32 i, char* to)
                   {
                       const Index3 face = faces[i];
                       if (!isInRange(face, positionCount)) return to;
                       to = putNumber(to, face.b + offset);
                       to = putNumber(to, face.a + offset);
                       return putNumber(to, face.c + offset);
                   });
}

void writeTextures(BufferedWriter& out, const Mesh& mesh, bool chosen)
{
    constexpr float filler = 1.0f;
    const Array<Vector3F>* uv = chosen ? findPerPosition(mesh, "UV_MAP_0") : nullptr;
    out.writeItems(mesh.getPosSize(), binTripleSize,
                   [=](uint32 i, char* to)
                   {
                       const Vector3F texture = uv ? (*uv)[i] : Vector3F{0, 0, 0};
                       return putVector(to, Vector3F{texture.x, filler, texture.y});
                   });
}

void writeVelocities(BufferedWriter& out, const Mesh& mesh, float scale)
{
    const Array<Vector3F>* velocities = findPerPosition(mesh, "Velocity");
    out.writeItems(mesh.getPosSize(), binTripleSize,
                   [=](uint32 i, char* to) {
                       return putVector(to, velocities ? (*velocities)[i] * scale : Vector3F{0, 0, 0});
                   });
}

void writeContents(BufferedWriter& out, const Meshes& meshes, uint32 positionCount, uint32 faceCount,
                   const BinChannels& channels, float scale)
{
    constexpr uint32 noWeights = 1;
    writeNumbers(out, {binMagic, binVersion, binVertexMarker, positionCount});
    for (const Mesh* mesh : meshes) writePositions(out, *mesh, double{scale});
    writeNumbers(out, {faceCount});
    uint32 offset = 0;
    for (const Mesh* mesh : meshes)
    {
        writeFaces(out, *mesh, offset);
        offset += mesh->getPosSize();
    }
    const bool withVelocities = channels.velocity && anyHas(meshes, "Velocity");
    if (!withVelocities && !(channels.uv && anyHas(meshes, "UV_MAP_0"))) return;
    writeNumbers(out, {binTextureMarker, noWeights});
    for (const Mesh* mesh : meshes) writeTextures(out, *mesh, channels.uv);
    if (!withVelocities) return;
    writeNumbers(out, {binVelocityMarker});
    for (const Mesh* mesh : meshes) writeVelocities(out, *mesh, scale);
}

}  // namespace

int writeBin(const TX_String& fileName, std::span<const Mesh* const> meshes, const BinChannels& channels,
             float scale, CancelCallback callback)
{
    BufferedWriter out(callback);
    constexpr uint64 mostCountable = std::numeric_limits<int32>::max();
    Meshes present;
    uint64 positionCount = 0;
    uint64 faceCount = 0;
    for (const Mesh* mesh : meshes)
    {
        if (!mesh) continue;
        present.push_back(mesh);
        positionCount += mesh->getPosSize();
        faceCount += countFacesInRange(*mesh, out.polling());
    }
    if (out.polling().isStopped()) return meshFileStopped;
    if (std::max(positionCount, faceCount) > mostCountable) return meshFileFailed;

    if (const FileStatus status = out.open(fileName); status != FileStatus::ok) return meshFileResult(status);
    writeContents(out, present, static_cast<uint32>(positionCount), static_cast<uint32>(faceCount), channels,
                  scale);
    return out.close();
}

}  // namespace tavrix::detail
