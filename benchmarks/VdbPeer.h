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

struct VdbSweeping
{
    double seconds;    ///< of the call alone
    double meanError;  ///< of the result, from the exact samples given
};

/// tools::sdfToSdf with so many iterations of sweeping on size^3 samples, z fastest, all of them active.
VdbSweeping sdfToSdf(const float* samples, const float* exact, int size, double voxelSize, int iterations,
                     int threads);

struct VdbAdvection
{
    double seconds;  ///< of the advection alone
    int steps;
};

/// tools::LevelSetAdvection with fifth-order WENO and third-order Runge-Kutta from time 0 to 3 in Enright's
/// deformation field over the unit cube. The samples are size^3 distances, z fastest, 1 / (size - 1) apart,
/// of which those within three separations are active; they become those of the result.
VdbAdvection advectInEnrightField(float* samples, int size, int threads);
