#include "plan/Model.h"

#include <algorithm>
#include <cmath>

namespace tavrix::tool
{

namespace
{

// Bytes.

/// Of a process with MPI, and of each other rank that it knows of.
constexpr double process = 32e6, perRank = 400;
/// A particle of the share: while it is read, and then.
constexpr double reading = 60, share = 28;
/// A particle on its way, and where it arrived: while it is sorted; once it is, by kernel.
constexpr double travelling = 16, sorting = 36, ball = 20, ellipsoid = 56, fitting = 150;
/// A vertex of a block's surface, with its faces; of the mesh, and while this is finished.
constexpr double surface = 64, mesh = 48, finishing = 140;
/// A vertex of the whole on its way to the first rank, and its normal.
constexpr double gathering = 48;
/// What comes with a copy of another rank's vertex, and with each term of the smoothing.
constexpr double copying = 300, smoothing = 16;

// Seconds, of one thread.

constexpr double perReading = 0.4e-6;                          // a particle of the share
constexpr double perDealing = 0.3e-6;                          // a particle that is dealt
constexpr double perBall = 0.8e-6, perEllipsoid = 2.3e-6;      // a particle in the field
constexpr double perVertex = 0.7e-6, perBlockVolume = 1.3e-3;  // surface, and the pass that matches volumes
constexpr double perRootOfPasses = 0.12e-6, perFinished = 0.3e-6;  // a vertex of the mesh

// The network, of one rank.

constexpr double bandwidth = 1e9, latency = 2e-6;
constexpr double collectives = 400, exchanges = 25;

/// Copies that a rank with so many vertices has of others': they lie along the rim of its surface.
double copiesOf(double vertices) { return 5 * std::sqrt(vertices); }

/// The terms of the series by which so many passes are made at once.
double termsOf(double passes) { return passes > 0 ? std::min(std::sqrt(8 * passes) + 8, 2 * passes + 1) : 0; }

/// What all ranks' agreement takes, whatever they work on, with so many terms of the smoothing.
double agreementSeconds(uint32 ranks, double terms)
{
    if (ranks == 1) return 0;
    const double rounds = std::log2(static_cast<double>(ranks));
    // cuts of the curve: a number a rank, twice, for some thirty bits
    const double cuts = 60 * ranks * (8 / bandwidth + 60e-9);
    return (collectives + terms) * latency * rounds + (exchanges + terms) * latency * ranks / 4 + cuts;
}

}  // namespace

RankCosts costsOf(const RankForecast& forecast, const RankLoads& loads, uint32 threads)
{
    const ReconstructionSettings& s = forecast.settings;
    const bool isAnisotropic = s.kernel == SurfaceKernel::Anisotropic;
    const double ranks = loads.ranks, vertices = forecast.vertices;
    const double own = forecast.particles / ranks, dealt = static_cast<double>(loads.mostDealt);
    const double all = static_cast<double>(loads.dealt);
    const double ownVertices = vertices * loads.mostSurface;
    const double others = 1 - 1 / ranks;  // of what is sent goes to others
    RankCosts costs{};

    const double held = process + perRank * ranks + share * own;
    const double dealing = travelling * (all / ranks + dealt);
    const double field = dealt * (isAnisotropic ? fitting + 12 : sorting);
    const double made = dealt * (isAnisotropic ? ellipsoid : ball) + surface * ownVertices;
    const double passes = *s.smoothing, terms = termsOf(passes);
    const double copies = loads.ranks == 1 ? 0 : copiesOf(ownVertices);
    const double work = passes > 0 ? finishing : 24;
    const double finished = (mesh + work) * (ownVertices + copies);
    costs.bytes = std::max(process + reading * own, held + std::max({dealing, field, made, finished}));
    const double whole = mesh * ownVertices + (mesh + gathering) * vertices;
    costs.bytesGathered = std::max(costs.bytes, held + whole);

    costs.sent = others * travelling * all + (isAnisotropic ? 34 : 4) * (all - forecast.particles) +
                 ranks * copies * (copying + smoothing * terms);

    const double parallel = dealt * (isAnisotropic ? perEllipsoid : perBall) +
                            ownVertices * (perVertex + perFinished + perRootOfPasses * std::sqrt(passes)) +
                            (*s.matchVolume ? static_cast<double>(loads.mostBlocks) * perBlockVolume : 0);
    costs.seconds = own * perReading + all / ranks * perDealing + parallel / threads +
                    costs.sent / ranks / bandwidth + agreementSeconds(loads.ranks, terms);
    return costs;
}

double leastBytes(uint64 particles, uint32 ranks)
{
    return process + perRank * ranks + (share + 2 * travelling) * static_cast<double>(particles) / ranks;
}

uint64 ranksWithin(uint64 particles, double bytes)
{
    constexpr uint32 mostRanks = 1000000;
    for (uint64 ranks = 1; ranks <= mostRanks; ranks += 1 + ranks / 50)
        if (leastBytes(particles, static_cast<uint32>(ranks)) <= bytes) return ranks;
    return 0;
}

}  // namespace tavrix::tool
