#pragma once

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <tavrix/foundation/RankGroup.h>

namespace tavrix::test
{

/// Where threads wait for each other. With a condition variable: std::barrier waits for an atomic, and loses
/// wake-ups where the system has no such call and GCC 12 makes do without.
class Barrier
{
public:
    explicit Barrier(std::size_t size) : _size(size) {}

    void arrive_and_wait()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        const std::size_t round = _round;
        if (++_arrived == _size)
        {
            _arrived = 0;
            ++_round;
            _all.notify_all();
        }
        else
            _all.wait(lock, [&] { return _round != round; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _all;
    std::size_t _size, _arrived = 0, _round = 0;
};

/// Ranks that are threads of this process.
class ThreadRanks
{
public:
    /// Calls work(group) on as many threads as there are to be ranks, and returns when all have.
    static void run(uint32 size, const std::function<void(RankGroup&)>& work)
    {
        ThreadRanks all(size);
        std::vector<std::thread> threads;
        for (uint32 rank = 0; rank < size; ++rank)
            threads.emplace_back(
                [&all, &work, rank]
                {
                    Rank group(all, rank);
                    work(group);
                });
        for (std::thread& thread : threads) thread.join();
    }

private:
    /// What a rank shows the others during a call.
    struct Shown
    {
        const void* data;
        const uint32* counts;
        std::size_t size;
    };

    explicit ThreadRanks(uint32 size) : _shown(size), _barrier(size) {}

    class Rank : public RankGroup
    {
    public:
        Rank(ThreadRanks& all, uint32 rank) : _all(all), _rank(rank) {}

        uint32 rank() const override { return _rank; }
        uint32 size() const override { return static_cast<uint32>(_all._shown.size()); }
        void sum(std::span<int64> numbers) override
        {
            combine(numbers, [](int64 a, int64 b) { return a + b; });
        }
        void largest(std::span<double> numbers) override
        {
            combine(numbers, [](double a, double b) { return a > b ? a : b; });
        }
        void exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                      const uint32* incomingCounts, std::size_t recordSize) override
        {
            show({outgoing, outgoingCounts, recordSize});
            auto* to = static_cast<char*>(incoming);
            for (uint32 r = 0; r < size(); ++r)
            {
                const auto& [data, counts, bytes] = _all._shown[r];
                _isSound &= bytes == recordSize && counts[_rank] == incomingCounts[r];
                const auto* from = static_cast<const char*>(data);
                for (uint32 before = 0; before < _rank; ++before) from += counts[before] * recordSize;
                if (counts[_rank] > 0) std::memcpy(to, from, counts[_rank] * recordSize);
                to += counts[_rank] * recordSize;
            }
            _all._barrier.arrive_and_wait();
            if (!_isSound) std::abort();  // ranks that disagree cannot go on
        }

    private:
        void show(const Shown& shown)
        {
            _all._shown[_rank] = shown;
            _all._barrier.arrive_and_wait();
        }
        template <class T, class Combine>
        void combine(std::span<T> numbers, Combine both)
        {
            std::vector<T> result(numbers.begin(), numbers.end());
            show({numbers.data(), nullptr, numbers.size()});
            for (uint32 r = 0; r < size(); ++r)
            {
                _isSound &= _all._shown[r].size == numbers.size();
                const T* theirs = static_cast<const T*>(_all._shown[r].data);
                for (std::size_t n = 0; n < numbers.size() && _isSound && r != _rank; ++n)
                    result[n] = both(result[n], theirs[n]);
            }
            _all._barrier.arrive_and_wait();
            if (!_isSound) std::abort();
            std::copy(result.begin(), result.end(), numbers.begin());
        }

        ThreadRanks& _all;
        uint32 _rank;
        bool _isSound = true;
    };

    std::vector<Shown> _shown;
    Barrier _barrier;
};

}  // namespace tavrix::test
