#include "formats/FieldFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include <tavrix/foundation/FileStreamRawBuffered.h>
#include <tavrix/platform/FileBufferIn.h>

#include "formats/Failure.h"
#include "formats/FileName.h"
#include "formats/OutputFile.h"

namespace tavrix::formats
{

namespace
{

// Sizes of a file's parts in bytes; docs/formats.md has the layouts.
constexpr uint64 gridBytes = 124, countBytes = 4, sampleBytes = 4, indexBytes = 4;
constexpr uint64 recordBytes = indexBytes + sampleBytes;

using Grid = GridDescription3<double>;

const char* nameOf(FieldLayout layout) { return layout == FieldLayout::Regular ? "regular" : "sparse"; }

[[noreturn]] void refuse(const std::string& path, const std::string& why)
{
    throw Failure(path + ": is no field file, or a damaged one (" + why +
                  "); give one that tavrix levelset --save-field wrote");
}

Grid readGrid(FileBufferIn& file)
{
    Grid grid{};
    uint32* counts[] = {&grid.sizeX, &grid.sizeY, &grid.sizeZ, &grid.sizeYZ, &grid.size};
    for (uint32* count : counts) file.readUInt(count);
    for (Vector3D* v : {&grid.box.min, &grid.box.max, &grid.separation, &grid.reciprocalSeparation})
        file.readDouble(&v->x, 3);
    file.readDouble(&grid.largestSeparation);
    return grid;
}

bool agree(double a, double b) { return std::fabs(a - b) <= 1e-6 * std::max(std::fabs(a), std::fabs(b)); }

/// What is wrong with a grid; null when nothing is.
const char* faultOf(const Grid& grid)
{
    const uint64 plane = uint64{grid.sizeY} * grid.sizeZ;
    const bool isCounted = grid.size > 0 && plane > 0 && grid.sizeYZ == plane &&
                           grid.size / plane == grid.sizeX && grid.size % plane == 0;
    if (!isCounted) return "its sizes do not give its number of nodes";
    const double separation = grid.largestSeparation;
    if (!(separation > 0) || !std::isfinite(separation) || !std::isfinite(1 / separation))
        return "its separation is no number above 0";
    if (!isFinite(grid.box.min) || !isFinite(grid.box.max)) return "its box is not finite";
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double extent = (grid.sizeAlong(axis) - 1) * separation;
        const double rounding = 1e-12 * (std::fabs(grid.box.min[axis]) + std::fabs(grid.box.max[axis]));
        const double error = std::fabs(grid.box.max[axis] - grid.box.min[axis] - extent);
        if (!agree(grid.separation[axis], separation)) return "its separations are not the same";
        if (!agree(grid.reciprocalSeparation[axis], 1 / separation))
            return "its separations are not those of their reciprocals";
        if (!(error <= 1e-6 * separation + rounding)) return "its box is not that of its nodes";
    }
    return nullptr;
}

uint32 countAt(FileBufferIn& file, uint64 offset)
{
    uint32 count = 0;
    file.seek(static_cast<int64>(offset), 0);
    file.readUInt(&count);
    return count;
}

/// The size that a whole file has, as the counts in it say.
uint64 statedSize(FileBufferIn& file, const Grid& grid, FieldLayout layout)
{
    if (layout == FieldLayout::Regular)
        return gridBytes + 3 * countBytes + grid.size * sampleBytes +
               uint64{BitArray::wordsFor(grid.size)} * 4;
    const uint64 samples = countAt(file, gridBytes) * recordBytes;
    const uint64 nodes = countAt(file, gridBytes + countBytes + samples) * indexBytes;
    return gridBytes + 2 * countBytes + samples + nodes;
}

/// Whether the counts in the file are ones of the layout.
bool hasCounts(FileBufferIn& file, const Grid& grid, FieldLayout layout)
{
    const uint32 count = countAt(file, gridBytes);
    if (layout == FieldLayout::Sparse) return count <= grid.size;
    const uint64 words = gridBytes + countBytes + count * sampleBytes;
    const uint64 wordCount = BitArray::wordsFor(grid.size);
    return count == grid.size && countAt(file, words) == wordCount &&
           countAt(file, words + countBytes + wordCount * 4) == grid.size;
}

bool isWhole(FileBufferIn& file, const Grid& grid, FieldLayout layout)
{
    return static_cast<uint64>(file.size()) == statedSize(file, grid, layout) &&
           hasCounts(file, grid, layout);
}

void confirmLayout(FileBufferIn& file, const Grid& grid, FieldLayout layout, const std::string& path)
{
    if (isWhole(file, grid, layout)) return;
    const FieldLayout other = layout == FieldLayout::Regular ? FieldLayout::Sparse : FieldLayout::Regular;
    if (isWhole(file, grid, other))
        throw Failure(path + ": has the " + nameOf(other) + " layout; add --field-format " + nameOf(other));
    const uint64 stated = statedSize(file, grid, layout), size = static_cast<uint64>(file.size());
    if (size < stated && countAt(file, gridBytes) <= grid.size)
        throw Failure(path + ": is cut off, it holds " + std::to_string(size) + " of " +
                      std::to_string(stated) + " bytes in the " + nameOf(layout) +
                      " layout; save or copy it again");
    refuse(path, "its size is not that of float samples in the " + std::string(nameOf(layout)) + " layout");
}

/// Whether `count` indices, each followed by `gap` bytes, ascend and are below the limit.
bool indicesRise(FileBufferIn& file, uint32 count, int64 gap, uint32 limit)
{
    uint64 least = 0;
    for (uint32 n = 0; n < count; ++n)
    {
        uint32 index = 0;
        file.readUInt(&index);
        if (index < least || index >= limit) return false;
        least = uint64{index} + 1;
        uint32 skipped;
        if (gap > 0) file.readUInt(&skipped);
    }
    return true;
}

void confirmIndices(FileBufferIn& file, const Grid& grid, const std::string& path)
{
    const uint32 samples = countAt(file, gridBytes);
    bool isRising = indicesRise(file, samples, sampleBytes, grid.size);
    const uint32 nodes = countAt(file, gridBytes + countBytes + samples * recordBytes);
    isRising = isRising && indicesRise(file, nodes, 0, grid.size);
    if (!isRising) refuse(path, "its indices are out of range or order");
}

/// What a field file holds.
struct FieldContent
{
    Grid grid;
    FieldLayout layout;
};

/// Throws Failure unless the file is a whole one of the layout, if one is given.
FieldContent confirmField(const std::string& path, Optional<FieldLayout> wanted)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(pathOf(path), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    FileBufferIn file;
    if (file.open(TX_String(path)) != FileStatus::ok)
        throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    if (file.size() < 0) throw Failure(path + ": is no regular file; save the field in one");
    if (static_cast<uint64>(file.size()) < gridBytes + 2 * countBytes) refuse(path, "it is too short");
    const Grid grid = readGrid(file);
    if (const char* fault = faultOf(grid)) refuse(path, fault);
    const bool isSparse =
        !isWhole(file, grid, FieldLayout::Regular) && isWhole(file, grid, FieldLayout::Sparse);
    const FieldLayout layout = wanted.value_or(isSparse ? FieldLayout::Sparse : FieldLayout::Regular);
    confirmLayout(file, grid, layout, path);
    if (layout == FieldLayout::Sparse) confirmIndices(file, grid, path);
    return {grid, layout};
}

}  // namespace

float fieldBand(double separation) { return static_cast<float>(3 * separation); }

LevelSet readField(const std::string& path, Optional<FieldLayout> wanted,
                   const std::function<void(uint32 nodes)>& confirm)
{
    const auto [grid, layout] = confirmField(path, wanted);
    if (confirm) confirm(grid.size);
    LevelSet surface;
    surface.setBand(fieldBand(grid.largestSeparation));
    FileStreamRawBuffered stream;
    stream.openToRead(TX_String(path));
    const bool isRead = layout == FieldLayout::Regular ? surface.load_useRegularFormat(stream)
                                                       : surface.load_useSparseFormat(stream);
    if (stream.close() != FileStatus::ok || !isRead)
        throw Failure(path + ": cannot be read to its end; copy it again");
    const auto& samples = surface.refField().refArrScalars();
    if (!std::all_of(samples.begin(), samples.end(), [](float v) { return std::isfinite(v); }))
        refuse(path, "not all of its samples are finite");
    return surface;
}

void writeField(const std::string& path, FieldLayout layout, LevelSet& surface)
{
    const float band = fieldBand(surface.getField().getGrid().largestSeparation);
    for (float& v : surface.refField().refArrScalars()) v = std::clamp(v, -band, band);
    surface.setBand(band);
    surface.createNeighborsCells();
    const auto write = [&](const std::string& name)
    {
        FileStreamRawBuffered stream;
        stream.openToWrite(TX_String(name));
        if (layout == FieldLayout::Regular)
            surface.save_useRegularFormat(stream);
        else
            surface.save_useSparseFormat(stream);
        return stream.close() == FileStatus::ok ? 0 : -1;
    };
    writeFileWhole(path, write);
}

}  // namespace tavrix::formats
