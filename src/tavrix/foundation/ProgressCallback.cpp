#include <tavrix/foundation/ProgressCallback.h>

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
    return poll() == 0;
}

int ProgressScope::poll()
{
    if (!innermost) return 0;
    ProgressScope& scope = *innermost;
    if (!scope._isStopped && scope._callback) scope._isStopped = !scope._callback(scope._stage);
    return scope._isStopped ? 1 : 0;
}

}  // namespace tavrix
