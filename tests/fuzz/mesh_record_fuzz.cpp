#include "Fuzz.h"

using namespace tavrix;

namespace
{

void load(const void* data, std::size_t size, Mesh& mesh)
{
    FileRam ram(data, size);
    mesh.loadBasic(ram);
    fuzz::requireProportion(mesh, size);
}

/// From a stream that does not tell how much it holds.
template <class Stream>
void loadUnsized(const unsigned char* data, std::size_t size, Mesh& mesh)
{
    if (size == 0) return;
    std::FILE* const file = fmemopen(const_cast<unsigned char*>(data), size, "rb");
    Stream stream(file);
    fuzz::require(stream.remaining() == -1, "a stream of unknown size");
    mesh.loadBasic(stream);
    std::fclose(file);
}

}  // namespace

// From memory and from files of known and unknown size, which must give the same mesh; what was read is
// written and read again as it is.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Mesh mesh, unsized, endian, again;
    load(data, size, mesh);
    const std::string record = fuzz::recordOf(mesh);
    loadUnsized<FileStreamRaw>(data, size, unsized);
    loadUnsized<FileStreamEndian>(data, size, endian);
    if (size > 0)
        fuzz::require(fuzz::recordOf(unsized) == record && fuzz::recordOf(endian) == record,
                      "one mesh from every stream");
    load(record.data(), record.size(), again);
    fuzz::require(fuzz::recordOf(again) == record, "a record that reads back");

    if (!hasValidIndices(mesh)) return 0;
    mesh.recalculateNormals();
    mesh.createSafe_arrTrindexFacedge();
    return 0;
}
