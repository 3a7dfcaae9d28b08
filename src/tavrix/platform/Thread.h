#pragma once

#include <functional>
#include <memory>

#include <tavrix/platform/Export.h>

namespace tavrix
{

/// One worker thread: started once, joined once.
class TX_GEOMETRY_API Thread
{
public:
    Thread() noexcept;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    /// Joins a thread that still runs.
    ~Thread();

    /// Runs the body on a thread of its own; false when the system gives none, and the body has then not run.
    /// The body must not throw, and must live until the join.
    bool start(const std::function<void()>& body) noexcept;

    /// Waits, without a time-out, until the body has returned. Nothing happens when no thread was started.
    void join() noexcept;

private:
    struct Handle;
    std::unique_ptr<Handle> _handle;
};

}  // namespace tavrix
