#pragma once

#include <string>
#include <utility>

#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Progress.h"
#include "sequence/SequenceRun.h"

namespace tavrix::tool
{

/// What the commands that take files have in common; the options of each begin with it, and have inputs() and
/// outputs(), pointers to the names of its files, where an empty name stands for none.
struct RunOptions
{
    SequenceOptions sequence;
    std::string settings;  ///< what else was asked for, in words
    std::string folder;    ///< to be made for the output; empty: none
    bool quiet = false;
    bool isFrame = false;  ///< one of a sequence, for which others print
    std::string label;     ///< of that frame, for the bar; empty: there is to be none

    Bar bar() const { return isFrame && label.empty() ? Bar::None : Bar::OnTerminals; }
};

/// Throws Failure when an output is an input, another output or a folder, or has no folder to be in; so does
/// an in-place run, always.
void confirmOutputs(const FrameFiles& files);

/// The names that are there. Takes a copy, for the names of options to be written are not const.
template <class Options>
FrameFiles filesOf(Options options)
{
    FrameFiles files;
    for (const std::string* name : options.inputs())
        if (!name->empty()) files.inputs.push_back(*name);
    for (const std::string* name : options.outputs())
        if (!name->empty()) files.outputs.push_back(*name);
    return files;
}

/// The worker threads of a run: those given, or the processors, of which the frames that are made at once get
/// a share each.
uint32 threadsFor(uint32 given, const RunOptions& options);

/// Whether the names stand for the frames of a sequence.
bool isSequence(const FrameFiles& files);

/// The options of one frame.
template <class Options>
Options forFrame(Options options, const FrameTask& task)
{
    for (std::string* name : options.inputs()) *name = fillPattern(*name, task.digits);
    for (std::string* name : options.outputs()) *name = fillPattern(*name, task.digits);
    options.isFrame = true;
    options.label = task.label;
    return options;
}

/// The line that tells of a frame: "-> a.obj, 0.123 s".
std::string writtenText(const FrameFiles& files, double seconds);

/// Makes the folder that the output needs, where it is to be made. Throws Failure.
void makeFolder(const std::string& folder);

/// Where all that frames have in common was given: a settle that leaves everything as it is.
inline constexpr auto settleNothing = [](auto&, const auto&) { return std::string(); };

/// What use(frame) returns of the first frame that can be read; what none makes where none can. Failures are
/// left for the frame's own turn.
template <class Options, class Use>
auto ofFirstReadable(const std::vector<Options>& frames, const Use& use) -> decltype(use(frames[0]))
{
    for (const Options& frame : frames) try
        {
            return use(frame);
        }
        catch (const Failure&)
        {
            stopIfInterrupted();
        }
    return {};
}

/// Runs a command on its files, or frame by frame where their names have a {}. settle(options, frames), given
/// the options of each frame on disk, fills in what all frames are to have in common, and returns it in
/// words; run(options) does the work, and returns what there is to tell of a frame, or prints it where there
/// is none. Returns the exit status. Throws Failure.
template <class Options, class Settle, class Run>
int runFrameByFrame(Options options, const Settle& settle, const Run& run)
{
    makeFolder(options.folder);
    const FrameFiles files = filesOf(options);
    if (!isSequence(files))
    {
        confirmOutputs(files);
        run(options);
        return 0;
    }
    Sequence sequence{files, options.settings, {}};
    findFrames(files.inputs.front(), options.sequence.first, options.sequence.last);  // throws without any
    std::vector<Options> frames;
    for (const Frame& frame : framesOnDisk(sequence))
        frames.push_back(forFrame(options, {frame.digits, {}, {}}));
    sequence.settings += settle(options, frames);
    options.sequence.quiet = options.quiet;
    sequence.make = [&](const FrameTask& task)
    {
        confirmOutputs(task.files);
        return run(forFrame(options, task));
    };
    return runSequence(options.sequence, sequence);
}

}  // namespace tavrix::tool
