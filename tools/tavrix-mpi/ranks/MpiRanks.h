#pragma once

#include <functional>
#include <string>
#include <vector>

#include <mpi.h>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/RankGroup.h>

namespace tavrix::tool
{

/// The library's ranks over an MPI communicator. What goes wrong in MPI itself ends the job.
class MpiRanks : public RankGroup
{
public:
    /// The communicator is not freed.
    explicit MpiRanks(MPI_Comm communicator);

    uint32 rank() const override { return _rank; }
    uint32 size() const override { return _size; }
    bool isFirst() const { return _rank == 0; }

    void sum(std::span<int64> numbers) override;
    void largest(std::span<double> numbers) override;
    void exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                  const uint32* incomingCounts, std::size_t recordSize) override;

    /// Gives all ranks the text of one of them.
    std::string broadcast(std::string text, uint32 from = 0) const;
    /// The first rank deals the elements out, so many for each rank, one rank's behind the other's. Returns
    /// those for this rank, which knows their number.
    template <class T>
    Array<T> scatter(const Array<T>& elements, const std::vector<uint32>& counts);
    /// Does a step of work that each rank does for itself. Where it fails on any rank, with a Failure or for
    /// want of memory, all throw the Failure of the first of those, so that none waits for others.
    void together(const std::function<void()>& work);

    MPI_Comm communicator() const { return _communicator; }
    /// Bytes of records that this rank has sent to others.
    double sentBytes() const { return _sentBytes; }

private:
    MPI_Comm _communicator;
    uint32 _rank, _size;
    double _sentBytes = 0;
};

template <class T>
Array<T> MpiRanks::scatter(const Array<T>& elements, const std::vector<uint32>& counts)
{
    std::vector<uint32> none(_size, 0u), incoming(_size, 0u);
    incoming[0] = counts[_rank];
    Array<T> own(counts[_rank]);
    exchange(elements.data(), isFirst() ? counts.data() : none.data(), own.data(), incoming.data(),
             sizeof(T));
    return own;
}

}  // namespace tavrix::tool
