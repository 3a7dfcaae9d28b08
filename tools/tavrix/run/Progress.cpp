#include "run/Progress.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include <tavrix/platform/Hardware.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

constexpr std::size_t lineWidth = 76;

bool errorIsTerminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

}  // namespace

Progress::Progress(std::size_t stageCount, bool quiet, const std::string& label, Bar bar)
    : _stageCount(stageCount),
      _label(label.empty() ? "" : label + ": "),
      _quiet(quiet),
      _visible(!quiet && bar == Bar::OnTerminals && errorIsTerminal())
{
}

Progress::~Progress() { clearLine(); }

void Progress::begin(const std::string& name)
{
    closeStage();
    _stages.push_back({name, 0});
    _running = true;
    _percent = 0;
    _timer.start();
    showBar();
}

void Progress::tell(double done)
{
    const int percent = static_cast<int>(100 * done);
    if (percent == _percent) return;
    _percent = percent;
    showBar();
}

double Progress::done() const
{
    const double stages = static_cast<double>(_stages.size()) - 1 + 0.01 * _percent;
    return std::clamp(stages / static_cast<double>(_stageCount), 0.0, 1.0);
}

void Progress::showBar() const
{
    if (!_visible || _stages.empty()) return;
    constexpr std::size_t width = 24;
    const auto filled = static_cast<std::size_t>(width * done());
    std::string line(1, '[');
    line.append(filled, '#').append(width - filled, '.').append("] ").append(_label);
    line.append(_stages.back().name);
    if (_percent > 0) line.append(" ").append(std::to_string(_percent)).append(" %");
    clearLine();
    std::fputs(line.substr(0, lineWidth).c_str(), stderr);
    std::fflush(stderr);
}

void Progress::end()
{
    closeStage();
    clearLine();
}

void Progress::note(const std::string& line)
{
    if (_quiet) return;
    clearLine();
    std::fprintf(stderr, "tavrix: %s\n", line.c_str());
    if (_running) showBar();
}

double Progress::totalSeconds() const
{
    double total = 0;
    for (const Stage& stage : _stages) total += stage.seconds;
    return total;
}

void Progress::closeStage()
{
    if (_running) _stages.back().seconds = _timer.stop();
    _running = false;
}

void Progress::clearLine() const
{
    if (_visible) std::fprintf(stderr, "\r%*s\r", static_cast<int>(lineWidth), "");
}

ProgressCallback progressTo(Progress& progress)
{
    return [&progress, stage = std::string_view()](const char* name, double done) mutable
    {
        if (stage != name) progress.begin(name);
        stage = name;
        progress.tell(done);
        return interrupted() == 0;
    };
}

StageScope::StageScope(Progress& progress, const std::string& name)
    : _callback(
          [&progress](const char*, double done)
          {
              progress.tell(done);
              return interrupted() == 0;
          }),
      _scope(_callback)
{
    progress.begin(name);
}

void printCosts(const Progress& progress, uint32 threads)
{
    std::vector<Progress::Stage> sums;
    for (const Progress::Stage& stage : progress.stages())
    {
        const auto same = std::find_if(sums.begin(), sums.end(),
                                       [&](const Progress::Stage& sum) { return sum.name == stage.name; });
        if (same == sums.end())
            sums.push_back(stage);
        else
            same->seconds += stage.seconds;
    }
    std::printf("time      ");
    for (const Progress::Stage& stage : sums) std::printf(" %s %.3f s,", stage.name.c_str(), stage.seconds);
    std::printf(" in all %.3f s on %u thread%s\n", progress.totalSeconds(), threads, threads == 1 ? "" : "s");
    std::printf("memory     %.0f MiB at most\n", Hardware::getMemoryInfo().processPeak);
}

}  // namespace tavrix::tool
