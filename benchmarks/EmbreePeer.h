#pragma once

#include <cstddef>
#include <memory>

// Embree as a peer for rays against triangles and for nearest points, in a source of its own. Everything on
// the caller's thread, in single precision, robust mode.

class EmbreePeer
{
public:
    /// Builds the scene over triangles: three coordinates a point, three point numbers a triangle.
    EmbreePeer(const float* points, std::size_t pointCount, const unsigned* triangles,
               std::size_t triangleCount);
    ~EmbreePeer();

    /// Of the scene with its tree.
    double buildSeconds() const;
    /// Casts rays (origin and direction, six numbers each) with one rtcIntersect1 each. distances[n] becomes
    /// the first hit's in lengths of the direction, -1 for none. The seconds that took.
    double castRays(const float* rays, std::size_t count, float* distances) const;
    /// Finds the distances of the nearest points (three numbers each), with one rtcPointQuery each. The
    /// seconds that took.
    double findNearest(const float* points, std::size_t count, float* distances) const;

private:
    struct Scene;
    std::unique_ptr<Scene> _scene;
};
