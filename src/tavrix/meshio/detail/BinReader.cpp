#include <tavrix/meshio/detail/BinReader.h>

#include <algorithm>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/meshio/detail/MeshChannels.h>

namespace tavrix::detail
{

namespace
{

constexpr double everythingSmooth = 3.141592653589793;

FileStatus readMarker(FileBufferIn& file, uint32 expected)
{
    uint32 marker = 0;
    if (file.readUInt(&marker) != 1) return file.status();
    return marker == expected ? FileStatus::ok : FileStatus::failed;
}

/// The marker of a chunk that need not be there.
bool findMarker(FileBufferIn& file, uint32 expected)
{
    uint32 marker = 0;
    return file.readUInt(&marker) == 1 && marker == expected;
}

/// Files may end where a marker was looked for, but not break.
FileStatus statusAtEnd(const FileBufferIn& file)
{
    return file.status() == FileStatus::failed ? FileStatus::failed : FileStatus::ok;
}

FileStatus readCount(FileBufferIn& file, uint32& count)
{
    int32 number = 0;
    if (file.readInt(&number) != 1) return file.status();
    if (number < 0) return FileStatus::failed;
    count = static_cast<uint32>(number);
    return FileStatus::ok;
}

/// Reads records of 12 bytes into an array, one element each: those that are there.
template <class T, class Decode>
FileStatus readTriples(FileBufferIn& file, uint32 count, Array<T>& array, const Decode& decodeOne)
{
    const auto resize = [&](uint32 size) { array.resize(size); };
    const auto decodeBlock = [&](const unsigned char* bytes, uint32 first, uint32 number)
    {
        T* to = array.data() + first;
        for (uint32 i = 0; i < number; ++i, bytes += binTripleSize) to[i] = decodeOne(bytes);
    };
    array.resize(readRecords(file, count, binTripleSize, binTripleSize, resize, decodeBlock));
    return file.status();
}

FileStatus readPositions(FileBufferIn& file, Array<Vector3D>& positions)
{
    uint32 count = 0;
    const FileStatus status = readCount(file, count);
    const auto decodePosition = [](const unsigned char* bytes) { return decodeVector<double, float>(bytes); };
    return status == FileStatus::ok ? readTriples(file, count, positions, decodePosition) : status;
}

FileStatus readFaces(FileBufferIn& file, uint32 positionCount, Array<Index3>& faces)
{
    uint32 count = 0;
    if (const FileStatus status = readCount(file, count); status != FileStatus::ok) return status;
    const auto decodeFace = [](const unsigned char* bytes) {
        return Index3{decode<uint32>(bytes + 4), decode<uint32>(bytes), decode<uint32>(bytes + 8)};
    };
    const FileStatus status = readTriples(file, count, faces, decodeFace);
    const auto outOfRange = [=](const Index3& face) { return !isInRange(face, positionCount); };
    faces.resize(static_cast<uint32>(std::remove_if(faces.begin(), faces.end(), outOfRange) - faces.begin()));
    return status;
}

/// Reads a per-position channel; of one that is cut short, what is missing is zero.
template <class Decode>
FileStatus readChannel(FileBufferIn& file, Mesh& mesh, const char* name, const Decode& decodeOne)
{
    Array<Vector3F>& channel = mesh.addArray<Vector3F>(name);
    const FileStatus status = readTriples(file, mesh.getPosSize(), channel, decodeOne);
    const uint32 read = channel.size();
    channel.resize(mesh.getPosSize());
    std::fill(channel.begin() + read, channel.end(), Vector3F{0, 0, 0});
    return status;
}

Vector3F decodeTexture(const unsigned char* bytes)
{
    return {decode<float>(bytes), decode<float>(bytes + 8), 0.0f};
}

/// Texture records with weights, whose number comes from the file: memory is taken for those that are there.
class WeightedTextures
{
public:
    WeightedTextures(FileBufferIn& file, uint32 weightCount) : _file(file), _weightCount(weightCount) {}

    /// Adds the weights to the mesh when they are whole, and the texture coordinates that are there.
    FileStatus read(bool keep, Mesh& mesh)
    {
        Array<float> weights;
        Array<Vector3F> uv;
        makeRoom(mesh.getPosSize(), weights);
        uv.reserve(mesh.getPosSize());
        Vector3F record;
        while (uv.size() < mesh.getPosSize() && readWeights(weights) && _file.readFloat(&record.x) == 1 &&
               _file.readFloat(&record.y) == 1 && _file.readFloat(&record.z) == 1)
        {
            uv.push_back({record.x, record.z, 0.0f});
            if (!keep) weights.clear();
        }
        if (keep) add(mesh, uv, weights);
        return _tooMany ? FileStatus::failed : _file.status();
    }

private:
    void makeRoom(uint32 positionCount, Array<float>& weights) const
    {
        const uint64 all = uint64{positionCount} * _weightCount;
        const auto held = static_cast<uint64>(std::max<int64>(_file.remaining(), 0)) / sizeof(float);
        if (all <= held && all <= noIndex) weights.reserve(static_cast<uint32>(all));
    }

    /// Appends one position's weights, in pieces.
    bool readWeights(Array<float>& weights)
    {
        constexpr uint32 piece = 0x10000;
        for (uint32 left = _weightCount; left > 0;)
        {
            const uint32 asked = std::min(left, piece);
            const uint32 before = weights.size();
            _tooMany = before > noIndex - asked;
            if (_tooMany) return false;
            if (before + asked > weights.capacity())
                weights.reserve(std::max(before + asked, before + std::min(before, noIndex - before)));
            weights.resize(before + asked);
            if (_file.readFloat(weights.data() + before, asked) != asked) return false;
            left -= asked;
        }
        return true;
    }

    void add(Mesh& mesh, Array<Vector3F>& uv, Array<float>& weights) const
    {
        const uint32 read = uv.size();
        const bool whole = read == mesh.getPosSize();
        uv.resize(mesh.getPosSize());
        std::fill(uv.begin() + read, uv.end(), Vector3F{0, 0, 0});
        mesh.addArray<Vector3F>("UV_MAP_0").swap(uv);
        if (!whole) return;
        mesh.addArray<float>("Weights").swap(weights);
        mesh.addArray<uint32>("nWeights", 0).push_back(_weightCount);
    }

    FileBufferIn& _file;
    uint32 _weightCount;
    bool _tooMany = false;
};

FileStatus readTextures(FileBufferIn& file, uint32 version, bool keep, Mesh& mesh)
{
    int32 field = 0;
    if (file.readInt(&field) != 1) return file.status();
    const int64 weightCount = std::max<int64>(int64{field} - (version >= 3 ? 1 : 0), 0);
    if (weightCount > 0) return WeightedTextures(file, static_cast<uint32>(weightCount)).read(keep, mesh);
    if (keep) return readChannel(file, mesh, "UV_MAP_0", decodeTexture);
    const auto nothing = [](auto...) {};
    readRecords(file, mesh.getPosSize(), binTripleSize, binTripleSize, nothing, nothing);
    return file.status();
}

}  // namespace

FileStatus readBin(FileBufferIn& file, const BinChannels& channels, Mesh& mesh)
{
    uint32 version = 0;
    FileStatus status = readMarker(file, binMagic);
    if (status == FileStatus::ok && file.readUInt(&version) != 1) status = file.status();
    if (status == FileStatus::ok) status = readMarker(file, binVertexMarker);
    if (status == FileStatus::ok) status = readPositions(file, mesh.refPos());
    if (status == FileStatus::ok) status = readFaces(file, mesh.getPosSize(), mesh.refTrindexPos());
    if (status != FileStatus::ok) return status;
    mesh.createNormals(everythingSmooth);

    if (!findMarker(file, binTextureMarker)) return statusAtEnd(file);
    status = readTextures(file, version, channels.uv, mesh);
    if (status != FileStatus::ok) return status;
    if (!findMarker(file, binVelocityMarker) || !channels.velocity) return statusAtEnd(file);
    return readChannel(file, mesh, "Velocity",
                       [](const unsigned char* bytes) { return decodeVector<float, float>(bytes); });
}

}  // namespace tavrix::detail
