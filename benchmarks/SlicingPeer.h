#pragma once

#include <cstdint>
#include <memory>
#include <vector>

/// CGAL's Polygon_mesh_slicer, in a source of its own because its headers are its own.
class SlicingPeer
{
public:
    struct Sums
    {
        long long loops, points;
    };

    /// Three coordinates a vertex, three corners a face. The mesh is made here, and its tree with each run.
    SlicingPeer(const double* coordinates, std::size_t vertices, const std::uint32_t* corners,
                std::size_t faces);
    SlicingPeer(const SlicingPeer&) = delete;
    SlicingPeer& operator=(const SlicingPeer&) = delete;
    ~SlicingPeer();

    Sums slice(unsigned axis, const std::vector<double>& heights) const;

private:
    struct Mesh;
    std::unique_ptr<Mesh> _mesh;
};
