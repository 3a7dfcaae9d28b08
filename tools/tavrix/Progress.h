#pragma once

#include <string>
#include <vector>

#include <tavrix/platform/Timer.h>

namespace tavrix::tool
{

/// The stages of a command: shows a bar on a terminal (on standard error; nothing in a pipe or when quiet)
/// and keeps the seconds that each stage took.
class Progress
{
public:
    struct Stage
    {
        std::string name;
        double seconds;
    };

    /// The label, such as a frame's number, stands before the stage's name.
    Progress(std::size_t stageCount, bool quiet, const std::string& label = {});
    /// Takes the bar off the terminal.
    ~Progress();

    /// Ends the running stage and begins the next.
    void begin(const std::string& name);
    /// Ends the last stage; the bar goes.
    void end();

    const std::vector<Stage>& stages() const { return _stages; }

private:
    void closeStage();
    void clearLine() const;

    std::size_t _stageCount;
    std::string _label;
    bool _visible;
    bool _running = false;
    Timer _timer;
    std::vector<Stage> _stages;
};

}  // namespace tavrix::tool
