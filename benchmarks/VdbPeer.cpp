#include "VdbPeer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include <openvdb/openvdb.h>
#include <openvdb/tools/Dense.h>
#include <openvdb/tools/FastSweeping.h>
#include <openvdb/tools/LevelSetAdvect.h>
#include <openvdb/tools/MeshToVolume.h>
#include <openvdb/tools/VelocityFields.h>
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

VdbSweeping sdfToSdf(const float* samples, const float* exact, int size, double voxelSize, int iterations,
                     int threads)
{
    openvdb::initialize();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const auto grid = openvdb::FloatGrid::create(static_cast<float>(size * voxelSize));
    grid->setTransform(openvdb::math::Transform::createLinearTransform(voxelSize));
    grid->setGridClass(openvdb::GRID_LEVEL_SET);
    const auto place = [size](const openvdb::Coord& c)
    { return (static_cast<std::size_t>(c.x()) * size + c.y()) * size + c.z(); };
    auto access = grid->getAccessor();
    for (openvdb::Coord c(0, 0, 0); c.x() < size; ++c.x())
        for (c.y() = 0; c.y() < size; ++c.y())
            for (c.z() = 0; c.z() < size; ++c.z()) access.setValueOn(c, samples[place(c)]);

    VdbSweeping sweeping{};
    openvdb::FloatGrid::Ptr swept;
    sweeping.seconds = secondsOf([&] { swept = openvdb::tools::sdfToSdf(*grid, 0.0f, iterations); });
    for (auto value = swept->cbeginValueOn(); value; ++value)
        sweeping.meanError += std::fabs(*value - exact[place(value.getCoord())]);
    sweeping.meanError /= std::pow(size, 3);
    return sweeping;
}

VdbAdvection advectInEnrightField(float* samples, int size, int threads)
{
    openvdb::initialize();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const double voxelSize = 1.0 / (size - 1);
    const auto band = static_cast<float>(3 * voxelSize);
    const auto grid = openvdb::FloatGrid::create(band);
    grid->setTransform(openvdb::math::Transform::createLinearTransform(voxelSize));
    grid->setGridClass(openvdb::GRID_LEVEL_SET);
    openvdb::tools::Dense<float, openvdb::tools::LayoutZYX> dense(
        openvdb::CoordBBox({0, 0, 0}, openvdb::Coord(size - 1)), samples);
    openvdb::tools::copyFromDense(dense, *grid, 0.0f);
    for (auto value = grid->beginValueOn(); value; ++value)
        if (std::fabs(*value) >= band)
        {
            value.setValue(*value < 0 ? -band : band);
            value.setValueOff();
        }
    openvdb::tools::EnrightField<float> field;
    openvdb::tools::LevelSetAdvection<openvdb::FloatGrid, openvdb::tools::EnrightField<float>> advection(
        *grid, field);
    advection.setSpatialScheme(openvdb::math::HJWENO5_BIAS);
    advection.setTemporalScheme(openvdb::math::TVD_RK3);
    VdbAdvection result{};
    result.seconds = secondsOf([&] { result.steps = static_cast<int>(advection.advect(0, 3)); });
    openvdb::tools::copyToDense(*grid, dense);
    return result;
}
