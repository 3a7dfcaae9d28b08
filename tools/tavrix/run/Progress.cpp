#include "run/Progress.h"

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

bool errorIsTerminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

}  // namespace

Progress::Progress(std::size_t stageCount, bool quiet, const std::string& label)
    : _stageCount(stageCount),
      _label(label.empty() ? "" : label + ": "),
      _quiet(quiet),
      _visible(!quiet && errorIsTerminal())
{
}

Progress::~Progress() { clearLine(); }

void Progress::begin(const std::string& name)
{
    closeStage();
    _stages.push_back({name, 0});
    _running = true;
    _timer.start();
    showBar();
}

void Progress::showBar() const
{
    if (!_visible) return;
    constexpr std::size_t width = 24;
    const std::size_t filled = width * (_stages.size() - 1) / _stageCount;
    const std::string bar = std::string(filled, '#') + std::string(width - filled, '.');
    clearLine();
    std::fprintf(stderr, "[%s] %s%zu/%zu %s", bar.c_str(), _label.c_str(), _stages.size(), _stageCount,
                 _stages.back().name.c_str());
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
    if (_visible) std::fprintf(stderr, "\r%*s\r", 72, "");
}

ProgressCallback progressTo(Progress& progress)
{
    return [&progress, stage = std::string_view()](const char* name) mutable
    {
        if (stage != name) progress.begin(name);
        stage = name;
        return interrupted() == 0;
    };
}

void printCosts(const Progress& progress, uint32 threads)
{
    std::printf("time      ");
    for (const Progress::Stage& stage : progress.stages())
        std::printf(" %s %.3f s,", stage.name.c_str(), stage.seconds);
    std::printf(" in all %.3f s on %u thread%s\n", progress.totalSeconds(), threads, threads == 1 ? "" : "s");
    std::printf("memory     %.0f MiB at most\n", Hardware::getMemoryInfo().processPeak);
}

}  // namespace tavrix::tool
