#pragma once

#include <string>
#include <vector>

#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/platform/Timer.h>
#include <tavrix/platform/Types.h>

namespace tavrix::tool
{

/// Whether there is a bar.
enum class Bar
{
    None,
    OnTerminals
};

/// The stages of a command: shows a bar on a terminal (on standard error; nothing in a pipe or when quiet),
/// with the part that is done of the stage where that is known, and keeps the seconds that each stage took.
class Progress
{
public:
    struct Stage
    {
        std::string name;
        double seconds;
    };

    /// The label, such as a frame's number, stands before the name of the stage.
    Progress(std::size_t stageCount, bool quiet, const std::string& label = {}, Bar bar = Bar::OnTerminals);
    /// Takes the bar off the terminal.
    ~Progress();

    /// Ends the running stage and begins the next.
    void begin(const std::string& name);
    /// Ends the last stage; the bar goes.
    void end();
    /// The part of the running stage that is done; shown when it is another per cent.
    void tell(double done);

    /// Takes the bar off the terminal until the next stage or per cent.
    void hide() const { clearLine(); }

    /// Prints a line on standard error, above the bar, unless quiet.
    void note(const std::string& line);

    const std::vector<Stage>& stages() const { return _stages; }
    double totalSeconds() const;

private:
    void closeStage();
    void showBar() const;
    void clearLine() const;
    /// The part of all stages that is done.
    double done() const;

    std::size_t _stageCount;
    std::string _label;
    bool _quiet;
    bool _visible;
    bool _running = false;
    int _percent = 0;
    Timer _timer;
    std::vector<Stage> _stages;
};

/// Passes the stages of the library on to the progress bar, and stops it when the user asks.
ProgressCallback progressTo(Progress& progress);

/// A stage of the program's own that shows its progress: begins it, and while the object lives, library calls
/// that poll `poll` tell how far they are.
class StageScope
{
public:
    StageScope(Progress& progress, const std::string& name);

    /// The CancelCallback: 1 when the user asks to stop.
    static int poll() { return ProgressScope::poll(); }

private:
    ProgressCallback _callback;
    ProgressScope _scope;
};

/// Prints what a command took: the seconds of each stage, those of one name summed up, and the memory, two
/// lines of its summary.
void printCosts(const Progress& progress, uint32 threads);

}  // namespace tavrix::tool
