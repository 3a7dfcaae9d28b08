#pragma once

#include <cstddef>
#include <span>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The processes that work on one scene together, the ranks, and all that the library has them exchange. A
/// host implements it over its messages, a dozen lines with MPI.
///
/// Every call is collective: all ranks make the same calls in the same order, and none returns before it has
/// what it is to get. What cannot be delivered is the host's to handle: it ends the job, or throws, which
/// ends the caller's work.
class TX_GEOMETRY_API RankGroup
{
public:
    RankGroup() = default;
    RankGroup(const RankGroup&) = delete;
    RankGroup& operator=(const RankGroup&) = delete;
    virtual ~RankGroup();

    /// The number of this process, from 0 on.
    virtual uint32 rank() const = 0;
    /// How many there are; at least 1.
    virtual uint32 size() const = 0;

    /// Replaces every number by the sum of what the ranks have in its place.
    virtual void sum(std::span<int64> numbers) = 0;
    /// Replaces every number by the largest that a rank has in its place.
    virtual void largest(std::span<double> numbers) = 0;
    /// Sends outgoingCounts[r] records of so many bytes to each rank r, one rank's behind the other's, and
    /// receives incomingCounts[r] from it, in the same order. Counts agree: what one sends the other expects.
    virtual void exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                          const uint32* incomingCounts, std::size_t recordSize) = 0;
};

}  // namespace tavrix
