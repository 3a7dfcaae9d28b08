#pragma once

#include <functional>
#include <optional>
#include <string>

#include <tavrix/platform/Types.h>

#include "sequence/FrameFiles.h"
#include "sequence/FrameSequence.h"

namespace tavrix::tool
{

/// Which frames of a sequence are made, and how.
struct SequenceOptions
{
    std::optional<uint64> first, last;
    bool force = false;  ///< those that are up to date as well
    uint32 jobs = 1;     ///< so many at once
    bool quiet = false;
};

/// One frame to make, as its maker is told of it.
struct FrameTask
{
    std::string digits;  ///< for the {} of the names
    FrameFiles files;
    std::string label;  ///< for the bar: "frame 3 of 20, 2 min left"; empty when there is to be none
};

/// Hands out the frames of a sequence that many processes make. All of them run the sequence, and make the
/// same calls; those that make a frame together get the same one.
class FrameDealer
{
public:
    virtual ~FrameDealer() = default;

    /// Whether this process looks for frames and sums up in the end; one of all does.
    virtual bool isFirst() const = 0;
    /// Whether this process tells of the frames that it makes, and keeps their records; one of those that
    /// make a frame together does.
    virtual bool tells() const = 0;
    /// What the first process lists; of one line each. Throws Failure for all when it does.
    virtual std::vector<std::string> ofFirst(const std::function<std::vector<std::string>()>& list) = 0;
    /// The next frame for this process, counted from 0; past the last when there are no more, or one of those
    /// that make it together was interrupted.
    virtual std::size_t next() = 0;
    /// Throws Failure for all when one process was interrupted.
    virtual void stopIfInterrupted() = 0;
    /// The sum over the processes that tell.
    virtual uint32 total(uint32 count) = 0;
};

/// A sequence of frames: what the names are, and what makes a frame.
struct Sequence
{
    FrameFiles patterns;
    std::string settings;  ///< what else says what comes out, in words
    /// Makes a frame and returns what there is to tell of it; throws Failure.
    std::function<std::string(const FrameTask& task)> make;
    FrameDealer* dealer = nullptr;  ///< none: this process makes all frames
};

/// The frames on disk, without regard to --first and --last, so that what is settled by the first of them is
/// the same for every part of the sequence. Throws Failure when there are none.
std::vector<Frame> framesOnDisk(const Sequence& sequence);

/// Makes the frames that are not up to date, in order, or several at once. A frame that fails is reported on
/// standard error and the rest go on. Prints a line for each frame and a summary unless quiet. Returns the
/// exit status, the same for all processes: 1 when a frame failed. Throws Failure when there are no frames,
/// and when interrupted.
int runSequence(const SequenceOptions& options, const Sequence& sequence);

}  // namespace tavrix::tool
