#pragma once

// OpenVDB as a peer for level sets, in a source of its own because its headers are C++17. Each call may use
// as many threads as given.

struct VdbSampling
{
    double seconds;  ///< of the conversion alone
    long long activeVoxels;
    double largestDifference;  ///< from the samples given, at the active voxels
};

/// tools::meshToLevelSet of the triangles (three coordinates a point, three point numbers a triangle, in
/// units of voxels) with three voxels of band on either side. `samples` are size^3 values of the voxels from
/// the origin on, in voxels, to compare with; null for none.
VdbSampling meshToLevelSet(const float* points, unsigned pointCount, const unsigned* triangles,
                           unsigned triangleCount, int threads, const float* samples, int size);

/// tools::sdfToSdf with so many iterations of normalisation or sweeping, on size^3 samples, z fastest, all of
/// them active; returns the seconds of the call alone.
double sdfToSdf(const float* samples, int size, double voxelSize, int iterations, int threads);
