#pragma once

#include "Fuzz.h"

// What the fuzzers of the two layouts of level sets share.

namespace tavrix::fuzz
{

/// Whether the grid that the bytes begin with is small enough to be worked on, or too large to be one: the
/// layouts can rightly ask for much memory with few bytes.
inline bool isWorthReading(const unsigned char* data, std::size_t size)
{
    constexpr double most = 1 << 15, largest = 4294967295.0;
    uint32 sizes[3] = {};
    std::memcpy(sizes, data, std::min(size, sizeof sizes));
    const double nodes = 1.0 * sizes[0] * sizes[1] * sizes[2];
    return nodes <= most || nodes > largest;
}

/// What a level set writes; NaNs make comparing bytes the only way to compare it.
template <class T, class Save>
std::string saved(const ImplicitSurface3Regular<T>& surface, const Save& save)
{
    FileRam ram;
    save(surface, static_cast<FileStreamBase&>(ram));
    return {reinterpret_cast<const char*>(ram.data()), ram.size()};
}

/// Loads the bytes and does with the surface what a host does with it.
template <class T, class Load, class Save>
void readLevelSet(const unsigned char* data, std::size_t size, const Load& load, const Save& save)
{
    if (!isWorthReading(data, size)) return;
    ImplicitSurface3Regular<T> surface, again;
    surface.getDefaultValue() = again.getDefaultValue() = 3;
    FileRam ram(data, size);
    load(surface, static_cast<FileStreamBase&>(ram));
    const uint32 nodes = surface.getArraySize();
    require(surface.getNumberOfSurfaceCells() <= nodes, "flags of nodes only");

    const std::string bytes = saved(surface, save);
    FileRam copy(bytes.data(), bytes.size());
    load(again, static_cast<FileStreamBase&>(copy));
    require(
        again.getArraySize() == nodes && again.getNumberOfSurfaceCells() == surface.getNumberOfSurfaceCells(),
        "a level set that reads back");

    Mesh mesh;
    surface.extractExplicitSurface(mesh, 1, nullptr);
    require(hasValidIndices(mesh), "indices of the extracted mesh");
    T value;
    surface.eval(surface.getBox().min, value);
    surface.createNeighborsCells();
    surface.fastSweeping(T(0.01), 1);
}

}  // namespace tavrix::fuzz
