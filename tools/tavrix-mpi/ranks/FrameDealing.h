#pragma once

#include <atomic>
#include <thread>

#include "ranks/MpiRanks.h"
#include "sequence/SequenceRun.h"

namespace tavrix::tool
{

/// Hands the frames of a sequence to groups of ranks as they become free. A thread of the first rank counts
/// the frames that were taken, and answers the first rank of each group that asks, also while the first rank
/// is at work. Without threads in MPI every group gets as many frames, whenever it becomes free.
class FrameDealing : public FrameDealer
{
public:
    /// Groups of so many ranks, the last of what is left. Collective.
    FrameDealing(MpiRanks& world, uint32 ranksPerFrame);
    FrameDealing(const FrameDealing&) = delete;
    FrameDealing& operator=(const FrameDealing&) = delete;
    ~FrameDealing() override;

    /// The ranks that make a frame together with this one.
    MpiRanks& group() { return _group; }

    bool isFirst() const override { return _world.isFirst(); }
    bool tells() const override { return _group.isFirst(); }
    std::vector<std::string> ofFirst(const std::function<std::vector<std::string>()>& list) override;
    std::size_t next() override;
    void stopIfInterrupted() override;
    uint32 total(uint32 count) override;

private:
    MPI_Comm split(uint32 ranksPerFrame) const;
    void answer();
    uint64 ask();

    MpiRanks& _world;
    const uint32 _groupNumber, _groupCount;
    MpiRanks _group;
    MPI_Comm _questions = MPI_COMM_NULL;  ///< for these alone
    bool _hasThreads;
    uint64 _taken = 0;  ///< by this group, without threads
    std::thread _answering;
};

}  // namespace tavrix::tool
