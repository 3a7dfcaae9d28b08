#include "ranks/MpiRanks.h"

#include <algorithm>
#include <limits>
#include <new>
#include <numeric>
#include <stdexcept>

#include "run/Failure.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

constexpr int mostAtOnce = std::numeric_limits<int>::max();

/// Counts of records as MPI takes them, and where they begin.
class Layout
{
public:
    Layout(const uint32* counts, uint32 ranks) : _counts(counts, counts + ranks), _places(ranks)
    {
        if (std::accumulate(counts, counts + ranks, uint64{0}) > mostAtOnce)
            throw std::length_error("more than 2^31 - 1 records for one rank; use more ranks");
        std::exclusive_scan(_counts.begin(), _counts.end(), _places.begin(), 0);
    }
    const int* counts() const { return _counts.data(); }
    const int* places() const { return _places.data(); }

private:
    std::vector<int> _counts, _places;
};

/// A run of bytes as one element.
class RecordType
{
public:
    explicit RecordType(std::size_t size)
    {
        MPI_Type_contiguous(static_cast<int>(size), MPI_BYTE, &_type);
        MPI_Type_commit(&_type);
    }
    RecordType(const RecordType&) = delete;
    RecordType& operator=(const RecordType&) = delete;
    ~RecordType() { MPI_Type_free(&_type); }

    MPI_Datatype get() const { return _type; }

private:
    MPI_Datatype _type = MPI_DATATYPE_NULL;
};

template <class Number>
void reduce(std::span<Number> numbers, MPI_Datatype type, MPI_Op operation, MPI_Comm communicator)
{
    for (std::size_t done = 0; done < numbers.size();)
    {
        const std::size_t count = std::min<std::size_t>(numbers.size() - done, mostAtOnce);
        MPI_Allreduce(MPI_IN_PLACE, numbers.data() + done, static_cast<int>(count), type, operation,
                      communicator);
        done += count;
    }
}

}  // namespace

MpiRanks::MpiRanks(MPI_Comm communicator) : _communicator(communicator)
{
    int rank = 0, size = 1;
    MPI_Comm_rank(communicator, &rank);
    MPI_Comm_size(communicator, &size);
    _rank = static_cast<uint32>(rank);
    _size = static_cast<uint32>(size);
}

void MpiRanks::sum(std::span<int64> numbers) { reduce(numbers, MPI_INT64_T, MPI_SUM, _communicator); }

void MpiRanks::largest(std::span<double> numbers) { reduce(numbers, MPI_DOUBLE, MPI_MAX, _communicator); }

void MpiRanks::exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                        const uint32* incomingCounts, std::size_t recordSize)
{
    const Layout out(outgoingCounts, _size), in(incomingCounts, _size);
    const RecordType record(recordSize);
    for (uint32 r = 0; r < _size; ++r)
        if (r != _rank) _sentBytes += static_cast<double>(recordSize) * outgoingCounts[r];
    MPI_Alltoallv(outgoing, out.counts(), out.places(), record.get(), incoming, in.counts(), in.places(),
                  record.get(), _communicator);
}

std::string MpiRanks::broadcast(std::string text, uint32 from) const
{
    auto length = static_cast<uint64>(text.size());
    MPI_Bcast(&length, 1, MPI_UINT64_T, static_cast<int>(from), _communicator);
    text.resize(length);
    MPI_Bcast(text.data(), static_cast<int>(length), MPI_CHAR, static_cast<int>(from), _communicator);
    return text;
}

void MpiRanks::together(const std::function<void()>& work)
{
    std::string failure;
    try
    {
        work();
        stopIfInterrupted();
    }
    catch (const Failure& error)
    {
        failure = error.what();
    }
    catch (const std::bad_alloc&)
    {
        failure = "not enough memory on rank " + std::to_string(_rank) +
                  "; use more ranks, fewer on each machine, or a larger --spacing";
    }
    // the first that failed has the largest number here; 0 stands for none
    double first = failure.empty() ? 0 : static_cast<double>(_size - _rank);
    largest({&first, 1});
    if (first > 0) throw Failure(broadcast(failure, _size - static_cast<uint32>(first)));
}

}  // namespace tavrix::tool
