#pragma once

#include <functional>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Told of the stage that long work is in, by its name, and which part of it is done (0 to 1, never less than
/// before; 0 throughout where a stage does not know), when it begins and then every few milliseconds, always
/// on the caller's thread. False stops the work. May be empty.
using ProgressCallback = std::function<bool(const char* stage, double done)>;

/// Lets operations that poll a plain CancelCallback poll a ProgressCallback: while the object lives, poll()
/// on its thread asks the callback, of the innermost object if there are several. Exceptions of the callback
/// pass through.
class TX_GEOMETRY_API ProgressScope
{
public:
    /// Becomes the innermost scope of this thread. The callback is referred to, and must outlive the scope.
    explicit ProgressScope(const ProgressCallback& callback);
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;
    ~ProgressScope();

    /// Begins a stage, whose name must outlive it; false when the work is to stop.
    bool begin(const char* stage);
    /// For work that polls: the part of the innermost scope's stage that is done; what is less than before
    /// changes nothing.
    static void tell(double done);
    /// Whether the callback has asked to stop.
    bool isStopped() const { return _isStopped; }

    /// The CancelCallback: 1 when the callback of this thread's scope asks to stop; 0 else, or without one.
    static int poll();

private:
    const ProgressCallback& _callback;
    ProgressScope* _outer;
    const char* _stage = "";
    double _done = 0;
    bool _isStopped = false;
};

}  // namespace tavrix
