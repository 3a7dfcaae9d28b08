#pragma once

#include <vector>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/reconstruction/detail/BlockMesh.h>
#include <tavrix/reconstruction/detail/BlockOwners.h>
#include <tavrix/reconstruction/detail/PartAssembly.h>
#include <tavrix/reconstruction/detail/ParticleBlocks.h>
#include <tavrix/reconstruction/detail/RanksAround.h>

namespace tavrix::detail
{

/// Which blocks of the lattice are this process's: all of them without ranks. Members that take part in what
/// all ranks do are collective, and leave everything as it is without.
class BlockShare
{
public:
    BlockShare() = default;
    /// Both must outlive the share.
    BlockShare(RankGroup& ranks, const BlockOwners& owners) : _ranks(&ranks), _owners(&owners) {}

    bool isFirst() const { return !_ranks || _ranks->rank() == 0; }
    bool isOwn(const BlockLattice& lattice, const BlockIndex& block) const
    {
        return !_ranks || _owners->ownerOf(placeOf(lattice, block)) == _ranks->rank();
    }

    /// How it goes on for all: as for the rank that fares worst.
    BlockRoadEnd worst(BlockRoadEnd end) const
    {
        return static_cast<BlockRoadEnd>(static_cast<int>(largest(static_cast<float>(end))));
    }
    float largest(float number) const
    {
        return _ranks ? static_cast<float>(largestOf(*_ranks, number)) : number;
    }
    uint64 sum(uint64 number) const
    {
        return _ranks ? static_cast<uint64>(sumOver(*_ranks, static_cast<int64>(number))) : number;
    }
    void sum(std::span<int64> numbers) const
    {
        if (_ranks) _ranks->sum(numbers);
    }
    /// Makes the extent that of all ranks' particles.
    void extend(LatticeExtent& extent) const
    {
        if (_ranks) extendOver(*_ranks, extent);
    }
    /// What this rank comes to have of a surface, with copies, where its blocks have that.
    SurfaceSize withCopies(const SurfaceSize& own) const;
    /// Makes the mesh of the blocks' surfaces, or of this rank's blocks its part.
    BlockRoadEnd assemble(const BlockLattice& lattice, std::vector<BlockSurface>& surfaces,
                          const BlockMeshPlan& plan, Polling& polling, MeshPart& part) const;

    /// The own blocks that any particle may reach, ascending. This rank's particles are those that reach its
    /// blocks, and some more.
    template <class Kernel>
    std::vector<BlockIndex> ownBlocks(const ParticleBlocks<Kernel>& particles) const;
    /// Replaces what ranks think of particles in other ranks' blocks by what these think of their own:
    /// valueOf(n) refers to what is thought of the n-th sorted particle. Each particle is known to all ranks
    /// around it, and its neighbours in the order of the sorting, too.
    template <class Kernel, class ValueOf>
    void tellOthers(const ParticleBlocks<Kernel>& particles, ValueOf valueOf) const;

private:
    RankGroup* _ranks = nullptr;
    const BlockOwners* _owners = nullptr;
};

inline SurfaceSize BlockShare::withCopies(const SurfaceSize& own) const
{
    constexpr double factor = 1.05;
    SurfaceSize part = own;
    return _ranks && _ranks->size() > 1 ? part *= factor : part;
}

inline BlockRoadEnd BlockShare::assemble(const BlockLattice& lattice, std::vector<BlockSurface>& surfaces,
                                         const BlockMeshPlan& plan, Polling& polling, MeshPart& part) const
{
    if (!_ranks) return assembleByPlan(surfaces, plan, polling, part.mesh);
    assemblePart(*_ranks, lattice, *_owners, surfaces, plan.joinsAtNodes, part);
    return part.faceCount == 0 ? BlockRoadEnd::NoSurface : BlockRoadEnd::Done;
}

template <class Kernel>
std::vector<BlockIndex> BlockShare::ownBlocks(const ParticleBlocks<Kernel>& particles) const
{
    if (!_ranks) return blocksReached(particles);
    const auto reached =
        blocksReached(particles, [&](const BlockIndex& home) { return isOwn(particles.lattice, home); });
    const Incoming<BlockIndex> told =
        exchangeRecords<BlockIndex>(*_ranks,
                                    [&](const auto& send)
                                    {
                                        for (const BlockIndex& block : reached)
                                            send(_owners->ownerOf(placeOf(particles.lattice, block)), block);
                                    });
    std::vector<BlockIndex> own(told.records.begin(), told.records.end());
    sortOnce(own);
    return own;
}

template <class Kernel, class ValueOf>
void BlockShare::tellOthers(const ParticleBlocks<Kernel>& particles, ValueOf valueOf) const
{
    if (!_ranks) return;
    RanksAround around(particles.lattice, *_owners, particles.reach);
    const uint32 self = _ranks->rank(), count = particles.particles.size();
    const auto cellAt = [&](uint32 n) { return cellOf(particles.lattice, particles.particles[n]); };
    const Incoming<float> told =
        exchangeRecords<float>(*_ranks,
                               [&](const auto& send)
                               {
                                   for (uint32 n = 0; n < count; ++n)
                                       if (around.homeOf(cellAt(n)) == self)
                                           for (const uint32 rank : around.of(cellAt(n)))
                                               if (rank != self) send(rank, valueOf(n));
                               });
    FromEachRank ofRanks(told);
    for (uint32 n = 0; n < count; ++n)
    {
        const uint32 home = around.homeOf(cellAt(n));
        const std::vector<uint32>& known = around.of(cellAt(n));
        if (home != self && std::binary_search(known.begin(), known.end(), self))
            valueOf(n) = ofRanks.next(home);
    }
}

}  // namespace tavrix::detail
