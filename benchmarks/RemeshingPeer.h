#pragma once

#include <cstdint>
#include <vector>

/// CGAL's isotropic_remeshing, in a source of its own because its headers are its own.
struct RemeshingPeer
{
    /// Three coordinates a vertex, three corners a face: the given mesh, and afterwards the remeshed one.
    std::vector<double> coordinates;
    std::vector<std::uint32_t> corners;

    /// Edges where faces meet at more than so many degrees stay. Returns the milliseconds of the remeshing
    /// alone.
    double remesh(double edge, unsigned rounds, double sharpDegrees);
};
