#include "sequence/SequenceRun.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <new>
#include <thread>

#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Progress.h"
#include "sequence/FrameCollection.h"
#include "sequence/FrameRecord.h"

namespace tavrix::tool
{

namespace
{

std::vector<std::string> filled(const std::vector<std::string>& patterns, const std::string& digits)
{
    std::vector<std::string> names;
    names.reserve(patterns.size());
    for (const std::string& pattern : patterns) names.push_back(fillPattern(pattern, digits));
    return names;
}

/// "under a minute", "3 min", "2 h 5 min".
std::string durationText(double seconds)
{
    if (seconds < 60) return "under a minute";
    const auto minutes = static_cast<uint64>(std::llround(seconds / 60));
    if (minutes < 60) return std::to_string(minutes) + " min";
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// One run over the frames that are not up to date. Workers take one after the other.
class SequenceRun
{
public:
    SequenceRun(const SequenceOptions& options, const Sequence& sequence)
        : _options(options), _sequence(sequence), _bar(1, options.quiet || options.jobs == 1)
    {
    }

    int run()
    {
        const auto& patterns = _sequence.patterns;
        std::vector<Frame> frames;
        const auto listTasks = [&]
        {
            frames = findFrames(patterns.inputs.front(), _options.first, _options.last);
            return outdated(frames);
        };
        FrameDealer* const dealer = _sequence.dealer;
        for (const std::string& digits : dealer ? dealer->ofFirst(listTasks) : listTasks())
            _tasks.push_back(taskOf(digits));
        std::vector<std::thread> workers;
        for (std::size_t w = 1; w < std::min<std::size_t>(_options.jobs, _tasks.size()); ++w)
            workers.emplace_back([this] { work(); });
        work();
        for (std::thread& worker : workers) worker.join();
        _bar.end();
        if (dealer)
        {
            dealer->stopIfInterrupted();
            _failed = dealer->total(_failed);
        }
        else
            stopIfInterrupted();
        if (!dealer || dealer->isFirst()) sumUp(frames);
        return _failed == 0 ? 0 : 1;
    }

private:
    struct Task
    {
        FrameTask frame;
        FrameRecord record;
    };

    void sumUp(const std::vector<Frame>& frames) const
    {
        const std::string collection = collectFrames(_sequence.patterns);
        if (_options.quiet) return;
        const uint32 failed = _failed;
        std::printf("frames     %zu written, %zu up to date, %u failed\n", _tasks.size() - failed,
                    frames.size() - _tasks.size(), failed);
        if (const std::string missing = missingNumbers(frames); !missing.empty())
            std::printf("missing    %s\n", missing.c_str());
        if (!collection.empty()) std::printf("collection -> %s\n", collection.c_str());
    }

    Task taskOf(const std::string& digits) const
    {
        FrameTask task{
            digits,
            {filled(_sequence.patterns.inputs, digits), filled(_sequence.patterns.outputs, digits)},
            {}};
        FrameRecord record(task.files, _sequence.settings);
        return {std::move(task), std::move(record)};
    }

    /// The digits of the frames that are to be made.
    std::vector<std::string> outdated(const std::vector<Frame>& frames) const
    {
        std::vector<std::string> digits;
        for (const Frame& frame : frames)
            if (_options.force || !taskOf(frame.digits).record.isCurrent()) digits.push_back(frame.digits);
        return digits;
    }

    std::size_t next()
    {
        if (_sequence.dealer) return _sequence.dealer->next();
        return interrupted() ? _tasks.size() : std::size_t{_next++};
    }
    bool tells() const { return !_sequence.dealer || _sequence.dealer->tells(); }

    void work()
    {
        for (std::size_t n; (n = next()) < _tasks.size();) make(_tasks[n], n);
    }

    void make(Task& task, std::size_t number)
    {
        const std::string label = labelOf(number);
        if (_options.jobs == 1) task.frame.label = label;
        tell([&] { _bar.begin(label); });
        try
        {
            const std::string line = _sequence.make(task.frame);
            if (tells()) task.record.write();
            tell([&] { printLine(task.frame.digits + "  " + line); });
            ++_done;
            return;
        }
        catch (const Failure& failure)
        {
            if (!interrupted()) tellFailure(failure.what());
        }
        catch (const std::bad_alloc&)
        {
            tellFailure(task.frame.files.inputs.front() +
                        ": not enough memory; try a larger --spacing or fewer --jobs");
        }
        catch (const std::exception& error)
        {
            tellFailure(task.frame.files.inputs.front() + ": " + error.what());
        }
        ++_failed;
        ++_done;
    }

    /// "frame 3 of 20, 2 min left", by the time that those before took.
    std::string labelOf(std::size_t number)
    {
        std::string label = "frame " + std::to_string(number + 1) + " of " + std::to_string(_tasks.size());
        const std::size_t done = _done;
        if (done > 0)
            label += ", " +
                     durationText(secondsSince(_start) / static_cast<double>(done) *
                                  static_cast<double>(_tasks.size() - done)) +
                     " left";
        return label;
    }

    template <class Print>
    void tell(const Print& print)
    {
        const std::lock_guard lock(_mutex);
        print();
    }

    void printLine(const std::string& line)
    {
        if (_options.quiet || !tells()) return;
        _bar.hide();
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }

    void tellFailure(const std::string& what)
    {
        if (!tells()) return;
        tell(
            [&]
            {
                _bar.hide();
                std::fprintf(stderr, "tavrix: %s\n", what.c_str());
            });
    }

    const SequenceOptions& _options;
    const Sequence& _sequence;
    std::vector<Task> _tasks;
    std::atomic<std::size_t> _next = 0, _done = 0;
    std::atomic<uint32> _failed = 0;
    std::mutex _mutex;  ///< of what is printed
    Progress _bar;      ///< with several jobs, which have none of their own
    const Clock::time_point _start = Clock::now();
};

}  // namespace

std::vector<Frame> framesOnDisk(const Sequence& sequence)
{
    return findFrames(sequence.patterns.inputs.front(), std::nullopt, std::nullopt);
}

int runSequence(const SequenceOptions& options, const Sequence& sequence)
{
    return SequenceRun(options, sequence).run();
}

}  // namespace tavrix::tool
