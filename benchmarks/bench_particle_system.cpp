// The particle container beside std::unordered_map, on a million particles with a position and a velocity:
//
//     bench_particle_system [COUNT]
//
// adds them, finds as many at random, removes half of them at random and walks over the rest. Milliseconds
// for each, the least of three rounds, and the ratio of the map's to the container's.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include <tavrix/particles/ParticleSystem_v2.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

#include "Rows.h"

using namespace tavrix;

namespace
{

constexpr int rounds = 3;

struct Workload
{
    explicit Workload(uint32 count) : count(count)
    {
        std::mt19937 random(7);
        for (uint32 i = 0; i < count; ++i) lookups.push_back(1 + random() % count);
        for (uint64 id = 1; id <= count; ++id) removals.push_back(id);
        std::shuffle(removals.begin(), removals.end(), random);
        removals.resize(count / 2);
    }

    uint32 count;
    std::vector<uint64> lookups, removals;
};

double timed(const std::function<void()>& action)
{
    Timer timer;
    timer.start();
    action();
    return timer.stop() * 1e3;
}

/// Milliseconds of each operation, and what the walk summed up: equal for both containers.
struct Figures
{
    double add, findFirst, find, remove, walkFirst, walk;
    double sum, bytes, processBytes;
};

/// Counts the bytes that a container asks for.
template <class T>
struct CountingAllocator
{
    using value_type = T;
    double* bytes;

    explicit CountingAllocator(double& count) : bytes(&count) {}
    template <class Other>
    CountingAllocator(const CountingAllocator<Other>& other) : bytes(other.bytes)
    {
    }
    T* allocate(std::size_t n)
    {
        *bytes += static_cast<double>(n * sizeof(T));
        return std::allocator<T>().allocate(n);
    }
    void deallocate(T* block, std::size_t n)
    {
        *bytes -= static_cast<double>(n * sizeof(T));
        std::allocator<T>().deallocate(block, n);
    }
    friend bool operator==(const CountingAllocator&, const CountingAllocator&) = default;
};

double sumOfHeights(ParticleSystem_v2& particles)
{
    double sum = 0;
    const ParticleSystemRawIterationInfo_v2 counts = particles.begin_rawIteration();
    const ParticleChannelData_v2 positions = particles.getChannelData(0);
    for (uint32 k = 0; k < counts.size(); ++k)
    {
        const Vector3F* position = positions[k]->getData()->getData_Vector3F();
        for (uint32 i = 0; i < counts[k]; ++i) sum += static_cast<double>(position[i].y);
    }
    return sum;
}

Figures runContainer(const Workload& work)
{
    Figures figures{};
    const double before = Hardware::getMemoryInfo().process;
    ParticleSystem_v2 particles;
    figures.add = timed(
        [&]
        {
            for (uint32 i = 0; i < work.count; ++i)
                particles.addParticle().setPosition({0, static_cast<float>(i % 100), 0});
        });
    figures.bytes = static_cast<double>(particles.getMemoryUsage());
    figures.processBytes = (Hardware::getMemoryInfo().process - before) * 1048576;
    const auto findAll = [&]
    {
        for (const uint64 id : work.lookups)
            figures.sum += static_cast<double>(particles.find(id).getPosition().y);
    };
    figures.findFirst = timed(findAll);
    figures.find = timed(findAll);
    figures.remove = timed(
        [&]
        {
            for (const uint64 id : work.removals) particles.remove(id);
        });
    figures.walkFirst = timed([&] { figures.sum += sumOfHeights(particles); });
    figures.walk = timed([&] { figures.sum += sumOfHeights(particles); });
    return figures;
}

struct Particle
{
    Vector3F position, velocity;
};

Figures runMap(const Workload& work)
{
    Figures figures{};
    double bytes = 0;
    using Allocator = CountingAllocator<std::pair<const uint64, Particle>>;
    std::unordered_map<uint64, Particle, std::hash<uint64>, std::equal_to<uint64>, Allocator> particles{
        Allocator(bytes)};
    figures.add = timed(
        [&]
        {
            for (uint32 i = 0; i < work.count; ++i)
                particles.emplace(i + 1, Particle{{0, static_cast<float>(i % 100), 0}, {0, 0, 0}});
        });
    figures.bytes = bytes;
    const auto findAll = [&]
    {
        for (const uint64 id : work.lookups)
            figures.sum += static_cast<double>(particles.find(id)->second.position.y);
    };
    figures.findFirst = timed(findAll);
    figures.find = timed(findAll);
    figures.remove = timed(
        [&]
        {
            for (const uint64 id : work.removals) particles.erase(id);
        });
    const auto walk = [&]
    {
        for (const auto& [id, particle] : particles) figures.sum += static_cast<double>(particle.position.y);
    };
    figures.walkFirst = timed(walk);
    figures.walk = timed(walk);
    return figures;
}

Figures least(const Workload& work, Figures (*run)(const Workload&))
{
    Figures best = run(work);
    for (int round = 1; round < rounds; ++round)
    {
        const Figures next = run(work);
        for (double Figures::*member : {&Figures::add, &Figures::findFirst, &Figures::find, &Figures::remove,
                                        &Figures::walkFirst, &Figures::walk})
            best.*member = std::min(best.*member, next.*member);
    }
    return best;
}

void printRow(const char* name, double ours, double theirs, double goal = 0)
{
    if (goal > 0)
        benchmark::row(std::string("particle container, ") + name, ours,
                       {"std::unordered_map", theirs, goal});
    std::printf("%-42s %10.2f %10.2f %8.2f\n", name, ours, theirs, theirs / ours);
}

}  // namespace

int main(int count, char** arguments)
{
    const Workload work(count > 1 ? static_cast<uint32>(std::atoi(arguments[1])) : 1000000);
    const Figures ours = least(work, runContainer);
    const Figures theirs = least(work, runMap);
    std::printf("%u particles, milliseconds %17s %10s %8s\n", work.count, "container", "map", "ratio");
    printRow("add", ours.add, theirs.add, 1);
    printRow("find at random, sorting on the way", ours.findFirst, theirs.findFirst);
    printRow("find at random", ours.find, theirs.find, 1);
    printRow("remove half at random", ours.remove, theirs.remove, 1);
    printRow("walk over the rest, compacting first", ours.walkFirst, theirs.walkFirst, 1.5);
    printRow("walk over the rest", ours.walk, theirs.walk, 1);
    printRow("bytes a particle", ours.bytes / work.count, theirs.bytes / work.count);
    std::printf("bytes a particle by which the process grew %9.2f\n", ours.processBytes / work.count);
    if (ours.sum != theirs.sum) std::puts("THE SUMS DIFFER");
    return ours.sum == theirs.sum ? 0 : 1;
}
