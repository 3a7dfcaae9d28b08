#include "VdbPeer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include <openvdb/openvdb.h>
#include <openvdb/tools/Dense.h>
#include <openvdb/tools/FastSweeping.h>
#include <openvdb/tools/MeshToVolume.h>
#include <tbb/global_control.h>

namespace
{

template <class Action>
double secondsOf(Action action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double largestDifference(const openvdb::FloatGrid& grid, const float* samples, int size)
{
    double largest = 0;
    for (auto value = grid.cbeginValueOn(); value; ++value)
    {
        const openvdb::Coord c = value.getCoord();
        const auto isOutside = [size](int n) { return n < 0 || n >= size; };
        if (isOutside(c.x()) || isOutside(c.y()) || isOutside(c.z())) continue;
        const float sample = samples[(static_cast<std::size_t>(c.x()) * size + c.y()) * size + c.z()];
        largest = std::max(largest, double(std::fabs(sample - *value)));
    }
    return largest;
}

}  // namespace

VdbSampling meshToLevelSet(const float* points, unsigned pointCount, const unsigned* triangles,
                           unsigned triangleCount, int threads, const float* samples, int size)
{
    openvdb::initialize();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const auto* firstPoint = reinterpret_cast<const openvdb::Vec3s*>(points);
    const auto* firstTriangle = reinterpret_cast<const openvdb::Vec3I*>(triangles);
    const std::vector<openvdb::Vec3s> pointList(firstPoint, firstPoint + pointCount);
    const std::vector<openvdb::Vec3I> triangleList(firstTriangle, firstTriangle + triangleCount);
    const auto transform = openvdb::math::Transform::createLinearTransform(1.0);
    openvdb::FloatGrid::Ptr grid;
    VdbSampling sampling{};
    sampling.seconds = secondsOf(
        [&] {
            grid =
                openvdb::tools::meshToLevelSet<openvdb::FloatGrid>(*transform, pointList, triangleList, 3.0f);
        });
    sampling.activeVoxels = static_cast<long long>(grid->activeVoxelCount());
    if (samples) sampling.largestDifference = largestDifference(*grid, samples, size);
    return sampling;
}

double sdfToSdf(const float* samples, int size, double voxelSize, int iterations, int threads)
{
    openvdb::initialize();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const auto grid = openvdb::FloatGrid::create(static_cast<float>(size * voxelSize));
    grid->setTransform(openvdb::math::Transform::createLinearTransform(voxelSize));
    grid->setGridClass(openvdb::GRID_LEVEL_SET);
    auto access = grid->getAccessor();
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            for (int k = 0; k < size; ++k)
                access.setValueOn(openvdb::Coord(i, j, k),
                                  samples[(static_cast<std::size_t>(i) * size + j) * size + k]);
    openvdb::FloatGrid::Ptr swept;
    return secondsOf([&] { swept = openvdb::tools::sdfToSdf(*grid, 0.0f, iterations); });
}
