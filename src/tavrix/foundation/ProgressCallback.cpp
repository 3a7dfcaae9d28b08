#include <tavrix/foundation/ProgressCallback.h>

#include <algorithm>

namespace tavrix
{

namespace
{

thread_local ProgressScope* innermost = nullptr;

}  // namespace

ProgressScope::ProgressScope(const ProgressCallback& callback) : _callback(callback), _outer(innermost)
{
    innermost = this;
}

ProgressScope::~ProgressScope() { innermost = _outer; }

bool ProgressScope::begin(const char* stage)
{
    _stage = stage;
    _done = 0;
    return poll() == 0;
}

void ProgressScope::tell(double done)
{
    if (innermost) innermost->_done = std::clamp(done, innermost->_done, 1.0);
}

int ProgressScope::poll()
{
    if (!innermost) return 0;
    ProgressScope& scope = *innermost;
    if (!scope._isStopped && scope._callback) scope._isStopped = !scope._callback(scope._stage, scope._done);
    return scope._isStopped ? 1 : 0;
}

}  // namespace tavrix
