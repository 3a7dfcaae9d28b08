#include "Progress.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

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
    if (!_visible) return;
    constexpr std::size_t width = 24;
    const std::size_t filled = width * (_stages.size() - 1) / _stageCount;
    const std::string bar = std::string(filled, '#') + std::string(width - filled, '.');
    clearLine();
    std::fprintf(stderr, "[%s] %s%zu/%zu %s", bar.c_str(), _label.c_str(), _stages.size(), _stageCount,
                 name.c_str());
    std::fflush(stderr);
}

void Progress::end()
{
    closeStage();
    clearLine();
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

}  // namespace tavrix::tool
