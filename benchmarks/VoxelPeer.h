#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

/// vtkPolyDataToImageStencil on one thread, in a source of its own because VTK's headers are C++17.
class VoxelPeer
{
public:
    /// A grid as VTK has it: numbers along x, y and z.
    struct Grid
    {
        std::array<double, 3> origin, spacing;
        std::array<int, 3> sizes;
    };

    /// Three coordinates a vertex, which are not copied, three corners a face.
    VoxelPeer(const double* coordinates, std::size_t vertices, const std::uint32_t* corners,
              std::size_t faces);
    VoxelPeer(const VoxelPeer&) = delete;
    VoxelPeer& operator=(const VoxelPeer&) = delete;
    ~VoxelPeer();

    /// Finds the nodes inside, as runs along x.
    void voxelize(const Grid& grid);
    /// What was found last, one byte a node, z fastest.
    std::vector<std::uint8_t> nodes() const;

private:
    struct Data;
    std::unique_ptr<Data> _data;
};
