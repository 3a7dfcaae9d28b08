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

/// A sequence of frames: what the names are, and what makes a frame.
struct Sequence
{
    FrameFiles patterns;
    std::string settings;  ///< what else says what comes out, in words
    /// Makes a frame and returns what there is to tell of it; throws Failure.
    std::function<std::string(const FrameTask& task)> make;
};

/// The frames on disk, without regard to --first and --last, so that what is settled by the first of them is
/// the same for every part of the sequence. Throws Failure when there are none.
std::vector<Frame> framesOnDisk(const Sequence& sequence);

/// Makes the frames that are not up to date, in order, or several at once. A frame that fails is reported on
/// standard error and the rest go on. Prints a line for each frame and a summary unless quiet. Returns the
/// exit status: 1 when a frame failed. Throws Failure when there are no frames, and when interrupted.
int runSequence(const SequenceOptions& options, const Sequence& sequence);

}  // namespace tavrix::tool
