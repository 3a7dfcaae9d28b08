#include "Fuzz.h"

#include <array>

#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "formats/JsonPoints.h"
#include "formats/ParticleFile.h"
#include "formats/PolygonData.h"
#include "formats/TextTable.h"
#include "formats/Xyz.h"

using namespace tavrix;
using namespace tavrix::formats;

namespace
{

/// Does what may be refused with a message.
template <class Read>
void attempt(const Read& read)
{
    try
    {
        read();
    }
    catch (const Failure&)
    {
    }
    catch (const std::length_error&)
    {
        // counts beyond 32 bits
    }
}

void requireParallel(const std::vector<PointAttribute>& attributes, std::size_t points)
{
    for (const PointAttribute& attribute : attributes)
        fuzz::require(
            std::visit([](const auto& values) { return values.size(); }, attribute.values) == points,
            "an attribute's value for each point");
}

void readParticles(const std::string& path)
{
    const ParticleFile file = readParticleFile(path);
    const uint32 count = file.positions.size();
    for (const Vector3F& p : file.positions) fuzz::require(isFinite(p), "finite positions");
    for (const Vector3F& v : file.velocities) fuzz::require(isFinite(v), "finite velocities");
    fuzz::require(file.velocities.empty() || file.velocities.size() == count, "a velocity for each particle");
    requireParallel(file.attributes, count);
}

void readPolygons(const std::string& path)
{
    const bool isMesh = holdsPolygons(path);
    const PolygonData data = readPolygonData(path);
    fuzz::require(data.normals.empty() || data.normals.size() == data.positions.size(),
                  "a normal for each point");
    requireParallel(data.attributes, data.positions.size());
    uint32 begin = 0;
    for (const uint32 end : data.ends)
    {
        fuzz::require(end >= begin + 3, "three corners or more");
        begin = end;
    }
    fuzz::require(begin == data.corners.size(), "every corner of a polygon");
    for (const uint32 corner : data.corners)
        fuzz::require(corner < data.positions.size(), "corners that are there");
    fuzz::require(isMesh || data.ends.empty(), "polygons of a file that is said to hold some");
}

/// The readers whose files are known by their extensions alone.
void readTables(const Bytes& bytes)
{
    const std::string path = "fuzz";
    attempt([&] { decode(readTextTable(bytes, path)); });
    attempt([&] { decode(readXyz(bytes, path)); });
    attempt([&] { decode(readJsonPoints(bytes, path)); });
}

}  // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    const std::string path = file.path().c_str();
    attempt([&] { readParticles(path); });
    attempt([&] { readPolygons(path); });
    // a copy of exactly that size, so that reading beyond it shows
    const std::shared_ptr<char[]> copy(new char[size]);
    std::copy(data, data + size, copy.get());
    readTables({std::shared_ptr<const char>(copy, copy.get()), size});
    return 0;
}
