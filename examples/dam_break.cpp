// Dam break: a column of water collapses in a box, a jet pours more in, and some spills over the far wall.
// Every frame becomes a particle file.
//
//     dam_break FOLDER [FRAMES [THREADS]]
//
// writes FOLDER/frame_0000.bin, frame_0001.bin, ...: 15,000 particles of radius 0.025 m and those of the jet,
// with velocities and ids, 30 frames a second, y up. The result is the same for every number of threads.
//
// The water is a position-based fluid (M. Macklin, M. Müller: Position Based Fluids, ACM Transactions on
// Graphics 32(4), 2013): particles move as gravity has it, then a few Jacobi iterations shift them until no
// place is denser than water, and the velocity is whatever led from the old position to the new one.
//
// The example shows three things of the library: parallelFor, the value types, and ParticleSystem_v2, which
// keeps the particles with channels of the simulation's own. A step takes their positions and velocities out
// as arrays, sorts and moves these, and writes them back; in between, particles come and go.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/particles/ParticleSystem_v2.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

using namespace tavrix;

namespace
{

// Lengths in metres, times in seconds.
constexpr float spacing = 0.05f;
constexpr float radius = spacing / 2;
constexpr float reach = 2 * spacing;  ///< of the smoothing kernels, h in the paper
constexpr Box3F tank{{0, 0, 0}, {3, 3, 1}};
constexpr uint32 column[3] = {25, 30, 20};  ///< particles along x, y, z: 15,000
constexpr float farWall = 1;  ///< height of the wall at the far end of x; the others reach up to the top
constexpr Vector3F nozzle{0, 2, 0.45f};  ///< of the jet, in the wall at x = 0
constexpr uint32 nozzleSize = 4;         ///< particles along y and z
constexpr float jetSpeed = 2;
constexpr Vector3F gravity{0, -9.81f, 0};
constexpr uint32 stepsPerFrame = 4;
constexpr float timeStep = 1.0f / (30 * stepsPerFrame);
constexpr float speedLimit = spacing / timeStep;  ///< so that particles do not pass through each other
constexpr int iterations = 3;
constexpr float relaxation = 0.2f / (spacing * spacing);        ///< epsilon of the paper's equation 11
constexpr float pressureStrength = 0.004f * spacing * spacing;  ///< k of the artificial pressure, equation 13
constexpr float viscosity = 0.02f;                              ///< c of the XSPH viscosity, equation 17

/// The poly6 kernel weighs densities, the gradient of the spiky kernel pushes particles apart. Both come
/// divided by the rest density, the density in the middle of a cubic lattice of particles, so that 1 is water
/// at rest.
class Kernels
{
public:
    Kernels()
    {
        float sum = 0;
        for (int i = -2; i <= 2; ++i)
            for (int j = -2; j <= 2; ++j)
                for (int k = -2; k <= 2; ++k)
                    sum += poly6(spacing * spacing * static_cast<float>(i * i + j * j + k * k));
        const float poly6ToSpiky = 45 * 64 / 315.0f * reach * reach * reach;
        _poly6Scale = 1 / sum;
        _spikyScale = _poly6Scale * poly6ToSpiky;
        _pressureScale = 1 / poly6(0.04f * reach * reach);
    }

    float poly6(float squaredDistance) const
    {
        const float d = reach * reach - squaredDistance;
        return d > 0 ? _poly6Scale * d * d * d : 0;
    }

    /// The gradient at the offset from a neighbour; zero where two particles coincide and no direction is
    /// better.
    Vector3F spikyGradient(const Vector3F& offset) const
    {
        const float distance = length(offset);
        if (distance >= reach || distance < 1e-6f) return {0, 0, 0};
        const float d = reach - distance;
        return offset * (-_spikyScale * d * d / distance);
    }

    /// The artificial pressure, which keeps particles from clumping: -k (W(r) / W(0.2 h))^4.
    float artificialPressure(float squaredDistance) const
    {
        const float ratio = poly6(squaredDistance) * _pressureScale;
        return -pressureStrength * (ratio * ratio) * (ratio * ratio);
    }

private:
    float _poly6Scale = 1;
    float _spikyScale = 1;
    float _pressureScale = 1;
};

/// A run of particles that one worker handles at a time, with their neighbours. The blocks do not depend on
/// the number of threads, and no worker writes to another's block: that makes the result independent of it
/// too.
struct Block
{
    uint32 begin, end;
    std::vector<uint32>
        firstNeighbour;  ///< begin of each particle's neighbours, and the end of the last one's
    std::vector<uint32> neighbours;
};

class Fluid
{
public:
    explicit Fluid(uint32 threads);

    void advance();

    const ParticleSystem_v2& particles() const { return _particles; }
    double energy() const;
    double compression() const;

private:
    void addParticle(const Vector3F& position, const Vector3F& velocity);
    void pour();
    void takeOut();
    void writeBack();
    void removeSpilled();
    void predict();
    void sortByCell();
    void findNeighbours();
    void computeMultipliers();
    void correctPositions();
    void updateVelocities();
    void smoothVelocities();

    uint32 size() const { return _position.size(); }
    uint32 cellOf(const Vector3F& p) const;
    void collectNeighbours(Block& block, uint32 i) const;
    template <class Body>
    void forEachBlock(const Body& body);
    template <class Body>
    void forEachParticle(const Body& body);
    template <class Visit>
    void forEachNeighbour(const Block& block, uint32 i, const Visit& visit) const;

    uint32 _threads;
    Kernels _kernels;
    std::vector<Block> _blocks;
    ParticleSystem_v2 _particles;
    uint32 _densityChannel, _neighbourChannel;
    uint32 _step = 0;
    uint32 _seed = 1;
    // Of the particles of this step, sorted by cell:
    Array<uint32> _rank;  ///< their rank in the iteration order of _particles
    Array<Vector3F> _position, _predicted, _velocity;
    Array<Vector3F> _next;  ///< of whatever is being updated
    Array<float> _density, _multiplier;
    Array<uint32> _neighbourCount;
    Index3 _cells;
    std::vector<uint32> _cellBegin;
};

/// Puts the column into a corner of the tank.
Fluid::Fluid(uint32 threads)
    : _threads(threads),
      _densityChannel(_particles.addChannel("density", ParticleChannel_v2::Type::FLOAT)),
      _neighbourChannel(_particles.addChannel("neighbours", ParticleChannel_v2::Type::UINT32))
{
    for (uint32 i = 0; i < column[0]; ++i)
        for (uint32 j = 0; j < column[1]; ++j)
            for (uint32 k = 0; k < column[2]; ++k)
            {
                const Vector3F lattice{static_cast<float>(i), static_cast<float>(j), static_cast<float>(k)};
                addParticle(Vector3F{radius, radius, radius} + lattice * spacing, {0, 0, 0});
            }
    const Vector3F extent = (tank.max - tank.min) * (1 / reach);
    _cells = {static_cast<uint32>(extent.x) + 1, static_cast<uint32>(extent.y) + 1,
              static_cast<uint32>(extent.z) + 1};
}

/// Adds a particle, off its place by up to a hundredth of the spacing: an exact lattice would fall as columns
/// of particles that never leave their line.
void Fluid::addParticle(const Vector3F& position, const Vector3F& velocity)
{
    const auto jitter = [this]
    {
        _seed = _seed * 1664525u + 1013904223u;
        return (static_cast<float>(_seed >> 8) / 8388608.0f - 1) * 0.01f * spacing;
    };
    const Vector3F offset{jitter(), jitter(), jitter()};
    const Particle_v2 particle = _particles.addParticle();
    particle.setPosition(position + offset);
    particle.setVelocity(velocity);
}

/// One time step: the paper's algorithm 1.
void Fluid::advance()
{
    pour();
    takeOut();
    predict();
    sortByCell();
    findNeighbours();
    for (int i = 0; i < iterations; ++i)
    {
        computeMultipliers();
        correctPositions();
    }
    updateVelocities();
    smoothVelocities();
    writeBack();
    removeSpilled();
    ++_step;
}

/// Lets a layer of the jet in whenever the one before has moved on by the spacing.
void Fluid::pour()
{
    constexpr uint32 stepsPerLayer = static_cast<uint32>(spacing / (jetSpeed * timeStep) + 0.5f);
    if (_step % stepsPerLayer != 0) return;
    for (uint32 j = 0; j < nozzleSize; ++j)
        for (uint32 k = 0; k < nozzleSize; ++k)
        {
            const Vector3F place{radius, static_cast<float>(j) * spacing, static_cast<float>(k) * spacing};
            addParticle(nozzle + place, {jetSpeed, 0, 0});
        }
}

/// Takes positions and velocities out of the particle system, and shares the particles out in blocks.
void Fluid::takeOut()
{
    _particles.begin_rawIteration();
    _particles.copyChannelValues(0, _position);
    _particles.copyChannelValues(1, _velocity);
    _predicted.resize(size());
    _next.resize(size());
    _density.resize(size());
    _multiplier.resize(size());
    _neighbourCount.resize(size());
    _rank.resize(size());
    std::iota(_rank.begin(), _rank.end(), 0u);

    constexpr uint32 blockSize = 256;
    _blocks.resize((size() + blockSize - 1) / blockSize);
    for (uint32 b = 0; b < _blocks.size(); ++b)
    {
        _blocks[b].begin = b * blockSize;
        _blocks[b].end = std::min((b + 1) * blockSize, size());
    }
}

/// Writes the step's results into the particle system, in its order.
void Fluid::writeBack()
{
    const auto write = [this](uint32 channel, const auto& values)
    {
        auto ordered = values;
        for (uint32 i = 0; i < size(); ++i) ordered[_rank[i]] = values[i];
        _particles.setChannelValues(channel, ordered);
    };
    write(0, _position);
    write(1, _velocity);
    write(_densityChannel, _density);
    write(_neighbourChannel, _neighbourCount);
}

/// Removes what went over the far wall.
void Fluid::removeSpilled()
{
    std::vector<uint64> spilled;
    for (const Particle_v2 particle : _particles)
        if (particle.getPosition().x > tank.max.x) spilled.push_back(particle.getId());
    for (const uint64 id : spilled) _particles.remove(id);
}

/// Kinetic and potential energy for each kilogram of water.
double Fluid::energy() const
{
    double sum = 0;
    for (const Particle_v2 particle : _particles)
        sum += 0.5 * static_cast<double>(dot(particle.getVelocity(), particle.getVelocity())) -
               static_cast<double>(dot(gravity, particle.getPosition()));
    return sum / _particles.getParticlesCount();
}

/// How much denser than water the particles are in the mean.
double Fluid::compression() const
{
    double sum = 0;
    for (const Particle_v2 particle : _particles)
        sum += static_cast<double>(std::max(particle.getChannelValue_FLOAT(_densityChannel) - 1, 0.0f));
    return sum / _particles.getParticlesCount();
}

template <class Body>
void Fluid::forEachBlock(const Body& body)
{
    parallelFor(_blocks.size(), _threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 b = begin; b < end; ++b) body(_blocks[b]);
                });
}

template <class Body>
void Fluid::forEachParticle(const Body& body)
{
    forEachBlock(
        [&](const Block& block)
        {
            for (uint32 i = block.begin; i < block.end; ++i) body(block, i);
        });
}

/// Calls visit(neighbour, offset from it to particle i).
template <class Visit>
void Fluid::forEachNeighbour(const Block& block, uint32 i, const Visit& visit) const
{
    const uint32 end = block.firstNeighbour[i - block.begin + 1];
    for (uint32 n = block.firstNeighbour[i - block.begin]; n < end; ++n)
        visit(block.neighbours[n], _predicted[i] - _predicted[block.neighbours[n]]);
}

/// The place inside the tank that is nearest to p, a particle's radius off the walls; over the far wall, up
/// to as far outside as a particle gets in a step.
Vector3F keepInTank(const Vector3F& p)
{
    const auto clamp = [](float x, float low, float high)
    { return std::clamp(x, low + radius, high - radius); };
    const float end = p.y > farWall ? tank.max.x + spacing : tank.max.x;
    return {clamp(p.x, tank.min.x, end), clamp(p.y, tank.min.y, tank.max.y),
            clamp(p.z, tank.min.z, tank.max.z)};
}

void Fluid::predict()
{
    forEachParticle(
        [this](const Block&, uint32 i)
        {
            _velocity[i] += gravity * timeStep;
            _predicted[i] = keepInTank(_position[i] + _velocity[i] * timeStep);
        });
}

uint32 Fluid::cellOf(const Vector3F& p) const
{
    const Vector3F cell = (p - tank.min) * (1 / reach);
    return (static_cast<uint32>(cell.x) * _cells.b + static_cast<uint32>(cell.y)) * _cells.c +
           static_cast<uint32>(cell.z);
}

/// A counting sort of the particles by the grid cell of their predicted position: neighbours in space become
/// neighbours in memory, and a cell's particles are the run from _cellBegin[cell] to _cellBegin[cell + 1].
void Fluid::sortByCell()
{
    std::vector<uint32> cells(size());
    _cellBegin.assign(_cells.a * _cells.b * _cells.c + 1, 0);
    for (uint32 i = 0; i < size(); ++i)
    {
        cells[i] = cellOf(_predicted[i]);
        ++_cellBegin[cells[i] + 1];
    }
    for (std::size_t cell = 1; cell < _cellBegin.size(); ++cell) _cellBegin[cell] += _cellBegin[cell - 1];

    std::vector<uint32> place(_cellBegin.begin(), _cellBegin.end() - 1);
    std::vector<uint32> order(size());
    for (uint32 i = 0; i < size(); ++i) order[place[cells[i]]++] = i;
    const auto permute = [&order](auto& values)
    {
        auto sorted = values;
        for (uint32 i = 0; i < values.size(); ++i) sorted[i] = values[order[i]];
        values.swap(sorted);
    };
    permute(_position);
    permute(_predicted);
    permute(_velocity);
    permute(_rank);
}

/// The cells around a particle's cell are nine runs along z, and each run's particles follow each other in
/// memory.
void Fluid::collectNeighbours(Block& block, uint32 i) const
{
    const Vector3F cell = (_predicted[i] - tank.min) * (1 / reach);
    const auto low = [](float c) { return static_cast<uint32>(std::max(c - 1, 0.0f)); };
    const auto high = [](float c, uint32 count) { return std::min(static_cast<uint32>(c) + 1, count - 1); };
    for (uint32 x = low(cell.x); x <= high(cell.x, _cells.a); ++x)
        for (uint32 y = low(cell.y); y <= high(cell.y, _cells.b); ++y)
        {
            const uint32 row = (x * _cells.b + y) * _cells.c;
            const uint32 end = _cellBegin[row + high(cell.z, _cells.c) + 1];
            for (uint32 j = _cellBegin[row + low(cell.z)]; j < end; ++j)
            {
                const Vector3F offset = _predicted[i] - _predicted[j];
                if (j != i && dot(offset, offset) < reach * reach) block.neighbours.push_back(j);
            }
        }
}

void Fluid::findNeighbours()
{
    forEachBlock(
        [this](Block& block)
        {
            block.neighbours.clear();
            block.firstNeighbour.assign(1, 0);
            for (uint32 i = block.begin; i < block.end; ++i)
            {
                collectNeighbours(block, i);
                block.firstNeighbour.push_back(static_cast<uint32>(block.neighbours.size()));
                _neighbourCount[i] = block.firstNeighbour.back() - block.firstNeighbour[i - block.begin];
            }
        });
}

/// The multiplier of each particle's density constraint C = density - 1 <= 0: lambda = -C / (sum |grad C|^2 +
/// epsilon).
void Fluid::computeMultipliers()
{
    forEachParticle(
        [this](const Block& block, uint32 i)
        {
            float density = _kernels.poly6(0);
            float squaredGradients = 0;
            Vector3F gradient{0, 0, 0};
            forEachNeighbour(block, i,
                             [&](uint32, const Vector3F& offset)
                             {
                                 const Vector3F push = _kernels.spikyGradient(offset);
                                 density += _kernels.poly6(dot(offset, offset));
                                 gradient += push;
                                 squaredGradients += dot(push, push);
                             });
            _density[i] = density;
            const float constraint = std::max(density - 1, 0.0f);
            _multiplier[i] = -constraint / (squaredGradients + dot(gradient, gradient) + relaxation);
        });
}

void Fluid::correctPositions()
{
    forEachParticle(
        [this](const Block& block, uint32 i)
        {
            Vector3F correction{0, 0, 0};
            forEachNeighbour(block, i,
                             [&](uint32 j, const Vector3F& offset)
                             {
                                 const float pressure = _kernels.artificialPressure(dot(offset, offset));
                                 correction += _kernels.spikyGradient(offset) *
                                               (_multiplier[i] + _multiplier[j] + pressure);
                             });
            _next[i] = keepInTank(_predicted[i] + correction);
        });
    _predicted.swap(_next);
}

void Fluid::updateVelocities()
{
    forEachParticle(
        [this](const Block&, uint32 i)
        {
            const Vector3F velocity = (_predicted[i] - _position[i]) * (1 / timeStep);
            _velocity[i] = velocity * (speedLimit / std::max(length(velocity), speedLimit));
            _position[i] = _predicted[i];
        });
}

/// XSPH viscosity: every velocity moves a little towards its neighbours'.
void Fluid::smoothVelocities()
{
    forEachParticle(
        [this](const Block& block, uint32 i)
        {
            Vector3F drift{0, 0, 0};
            forEachNeighbour(block, i,
                             [&](uint32 j, const Vector3F& offset) {
                                 drift += (_velocity[j] - _velocity[i]) * _kernels.poly6(dot(offset, offset));
                             });
            _next[i] = _velocity[i] + drift * viscosity;
        });
    _velocity.swap(_next);
}

bool parseCount(std::string_view text, uint32& count)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc() && end == text.data() + text.size() && count > 0;
}

bool writeFrame(const Fluid& fluid, const std::string& folder, uint32 frame)
{
    ParticleSystem_v3 particles;
    fluid.particles().copyTo(particles);
    TX_String path(folder);
    path.appendFormat("/frame_%04u.bin", frame);
    if (particles.save_BIN(path) == 0) return true;
    std::fprintf(stderr, "dam_break: cannot write %s: is the folder there, and the disk not full?\n",
                 path.c_str());
    return false;
}

void report(const Fluid& fluid, uint32 frame)
{
    std::printf("frame %4u  %.2f s  %u particles  energy %.3f J/kg  compression %.1f %%\n", frame,
                frame / 30.0, fluid.particles().getParticlesCount(), fluid.energy(),
                100 * fluid.compression());
}

int run(const std::vector<std::string>& arguments)
{
    uint32 frames = 60;
    uint32 threads = Hardware::getThreadCount();
    if (arguments.empty() || arguments.size() > 3 || arguments[0].starts_with('-') ||
        (arguments.size() > 1 && !parseCount(arguments[1], frames)) ||
        (arguments.size() > 2 && !parseCount(arguments[2], threads)))
    {
        std::fputs("usage: dam_break FOLDER [FRAMES [THREADS]]\n", stderr);
        return 2;
    }
    const std::string& folder = arguments[0];
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);

    Timer timer;
    timer.start();
    Fluid fluid(threads);
    for (uint32 frame = 0; frame < frames; ++frame)
    {
        if (!writeFrame(fluid, folder, frame)) return 1;
        if (frame % 10 == 0) report(fluid, frame);
        for (uint32 step = 0; step < stepsPerFrame; ++step) fluid.advance();
    }
    std::printf("%u frames in %.1f s\n", frames, timer.stop());
    return 0;
}

}  // namespace

int main(int count, char** arguments) { return run({arguments + std::min(count, 1), arguments + count}); }
