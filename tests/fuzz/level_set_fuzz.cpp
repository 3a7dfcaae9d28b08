#include "Fuzz.h"

using namespace tavrix;

namespace
{

/// Whether the grid that the bytes begin with is small enough to be worked on, or too large to be one: the
/// layouts can rightly ask for much memory with few bytes.
bool isWorthReading(const unsigned char* data, std::size_t size)
{
    constexpr double most = 1 << 12, largest = 4294967295.0;
    uint32 sizes[3] = {};
    std::memcpy(sizes, data, std::min(size, sizeof sizes));
    const double nodes = 1.0 * sizes[0] * sizes[1] * sizes[2];
    return nodes <= most || nodes > largest;
}

template <class T>
void load(ImplicitSurface3Regular<T>& surface, bool isSparse, FileStreamBase& stream)
{
    isSparse ? surface.load_useSparseFormat(stream) : surface.load_useRegularFormat(stream);
}

/// What a level set writes; NaNs make comparing bytes the only way to compare it.
template <class T>
std::string saved(const ImplicitSurface3Regular<T>& surface, bool isSparse)
{
    FileRam ram;
    isSparse ? surface.save_useSparseFormat(ram) : surface.save_useRegularFormat(ram);
    return {reinterpret_cast<const char*>(ram.data()), ram.size()};
}

/// Loads the bytes and does with the surface what a host does with it.
template <class T>
void readLevelSet(const unsigned char* data, std::size_t size, bool isSparse)
{
    ImplicitSurface3Regular<T> surface, again;
    surface.getDefaultValue() = again.getDefaultValue() = 3;
    FileRam ram(data, size);
    load(surface, isSparse, ram);
    const uint32 nodes = surface.getArraySize(), flagged = surface.getNumberOfSurfaceCells();
    fuzz::require(flagged <= nodes, "flags of nodes only");

    const std::string bytes = saved(surface, isSparse);
    const fuzz::MemoryFile file(data, size);
    FileStreamRawBuffered buffered;
    fuzz::require(buffered.openToRead(file.path()) == FileStatus::ok, "a file that opens");
    load(again, isSparse, buffered);
    fuzz::require(saved(again, isSparse) == bytes, "one level set from every stream");
    FileRam copy(bytes.data(), bytes.size());
    load(again, isSparse, copy);
    fuzz::require(again.getArraySize() == nodes && again.getNumberOfSurfaceCells() == flagged,
                  "a level set that reads back");

    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    fuzz::require(hasValidIndices(mesh), "indices of the extracted mesh");
    T value;
    surface.eval(surface.getBox().min, value);
    surface.createNeighborsCells();
    surface.fastSweeping(T(0.01), 1);
    surface.redistance(3, T(0.01), 1);
}

}  // namespace

// In both layouts and precisions.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (!isWorthReading(data, size)) return 0;
    for (const bool isSparse : {false, true})
    {
        readLevelSet<float>(data, size, isSparse);
        readLevelSet<double>(data, size, isSparse);
    }
    return 0;
}
