#include <tavrix/particles/ParticleSystem_v3.h>

#include <algorithm>
#include <limits>
#include <memory>

#include <tavrix/foundation/detail/PackedRecords.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileBufferOut.h>

namespace tavrix
{

namespace
{

constexpr uint32 magicNumber = 0x00FABADA;
constexpr uint32 fileBufferSize = detail::recordBlockSize;
constexpr std::size_t versionOffset = 254;
constexpr std::size_t countOffset = 276;
constexpr std::size_t maxHeaderSize = 356;
constexpr std::size_t velocityOffset = 12;

std::size_t headerSize(int16 version) { return version >= 7 ? maxHeaderSize : 320; }

std::size_t recordSize(int16 version)
{
    std::size_t size = 68;
    if (version >= 3) size += 12;
    if (version >= 4) size += 4;
    if (version >= 5) size += 12 + 2;
    if (version >= 9) size += 12;
    return size;
}

std::size_t idOffset(int16 version) { return recordSize(version) - 4; }

/// As many whole records as the file buffer has room for: such a block is read straight from the file.
uint32 recordsPerBlock(int16 version)
{
    return static_cast<uint32>(fileBufferSize / recordSize(version)) + 1;
}

using detail::decode;
using detail::decodeVector;
using detail::encode;

void encodeVector(const Vector3F& value, unsigned char* bytes)
{
    encode(value.x, bytes);
    encode(value.y, bytes + 4);
    encode(value.z, bytes + 8);
}

struct Header
{
    int16 version = 0;
    uint32 count = 0;
};

/// Reads what follows the magic number; a header that is cut short has no particles.
Header readHeader(FileBufferIn& file)
{
    unsigned char bytes[maxHeaderSize] = {};
    constexpr std::size_t common = 320;
    Header header;
    if (file.readBuffer(bytes + 4, common - 4) != common - 4) return header;
    header.version = decode<int16>(bytes + versionOffset);
    const std::size_t more = headerSize(header.version) - common;
    if (file.readBuffer(bytes + common, more) == more) header.count = decode<uint32>(bytes + countOffset);
    return header;
}

}  // namespace

void ParticleSystem_v3::setArrId(const Array<int64>& ids) { _ids = ids; }

void ParticleSystem_v3::setArrPosition(const Array<Vector3F>& positions) { _positions = positions; }

void ParticleSystem_v3::setArrVelocity(const Array<Vector3F>& velocities) { _velocities = velocities; }

int ParticleSystem_v3::load_BIN(const TX_String& path) { return load_BIN(path, 0, noIndex); }

int ParticleSystem_v3::load_BIN(const TX_String& path, uint32 first, uint32 count)
{
    FileBufferIn file;
    if (file.open(path, "rb", fileBufferSize) != FileStatus::ok) return -1;
    uint32 magic = 0;
    if (file.readUInt(&magic) != 1 || magic != magicNumber) return -2;

    const Header header = readHeader(file);
    const std::size_t stride = recordSize(header.version);
    const uint32 wanted = std::min<uint32>(
        {header.count - std::min(first, header.count), count, std::numeric_limits<int32>::max()});
    if (first > 0 && wanted > 0 && !file.seek(static_cast<int64>(stride) * first, 1)) return -1;
    const auto resize = [this](uint32 size)
    {
        _ids.resize(size);
        _positions.resize(size);
        _velocities.resize(size);
    };
    const auto decodeBlock = [&](const unsigned char* record, uint32 begin, uint32 size)
    {
        for (uint32 i = begin; i < begin + size; ++i, record += stride)
        {
            _positions[i] = decodeVector<float, float>(record);
            _velocities[i] = decodeVector<float, float>(record + velocityOffset);
            _ids[i] = decode<int32>(record + idOffset(header.version));
        }
    };
    resize(0);
    const uint32 done = detail::readRecords(file, wanted, stride, stride, resize, decodeBlock);
    resize(done);
    return static_cast<int>(done);
}

int ParticleSystem_v3::save_BIN(const TX_String& path, int16 version) const
{
    const auto fits = [](int64 id)
    { return std::numeric_limits<int32>::min() <= id && id <= std::numeric_limits<int32>::max(); };
    if (!std::all_of(_ids.begin(), _ids.end(), fits)) return -4;

    FileBufferOut file;
    if (file.open(path, "wb", fileBufferSize) != FileStatus::ok) return -1;
    unsigned char header[maxHeaderSize] = {};
    encode(magicNumber, header);
    encode(version, header + versionOffset);
    encode(_positions.size(), header + countOffset);
    file.writeBuffer(header, headerSize(version));

    const std::size_t stride = recordSize(version);
    const uint32 blockCapacity = recordsPerBlock(version);
    const std::unique_ptr<unsigned char[]> block = std::make_unique<unsigned char[]>(blockCapacity * stride);
    for (uint32 done = 0; done < _positions.size() && file.status() == FileStatus::ok;)
    {
        const uint32 end = done + std::min(_positions.size() - done, blockCapacity);
        unsigned char* record = block.get();
        for (; done < end; ++done, record += stride)
        {
            const bool moves = done < _velocities.size();
            const int64 id = done < _ids.size() ? _ids[done] : int64{done};
            encodeVector(_positions[done], record);
            encodeVector(moves ? _velocities[done] : Vector3F{0, 0, 0}, record + velocityOffset);
            encode(static_cast<int32>(id), record + idOffset(version));
        }
        file.writeBuffer(block.get(), static_cast<std::size_t>(record - block.get()));
    }
    return file.close() == FileStatus::ok ? 0 : -3;
}

}  // namespace tavrix
