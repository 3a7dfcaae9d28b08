#pragma once

#include <chrono>
#include <exception>

#include <pybind11/pybind11.h>

#include <tavrix/foundation/ProgressCallback.h>

namespace tavrix::python
{

namespace py = pybind11;

/// What a long call tells Python while it runs without the interpreter's lock: every twentieth of a second at
/// most it looks for signals, and calls `progress(stage, done)`. What either raises stops the call.
class Watch
{
public:
    /// progress: None, True for a bar on standard error, or a callable.
    explicit Watch(const py::object& progress);

    /// For the kernel; false once something was raised.
    bool operator()(const char* stage, double done);
    /// Raises what stopped the call, if anything did.
    void end();

private:
    void tell(const char* stage, double done);

    py::object _progress;
    std::string _stage;
    std::chrono::steady_clock::time_point _last{};
    std::exception_ptr _raised;
};

/// Runs work(callback) without the interpreter's lock; the callback is a ProgressCallback.
/// @{
template <class Work>
void longCall(Watch& watch, const Work& work)
{
    {
        const py::gil_scoped_release release;
        const ProgressCallback callback = [&](const char* stage, double done) { return watch(stage, done); };
        work(callback);
    }
    watch.end();
}
template <class Work>
void longCall(const py::object& progress, const Work& work)
{
    Watch watch(progress);
    longCall(watch, work);
}
/// @}

/// The same for work of one stage that takes a CancelCallback.
template <class Work>
void longStage(const py::object& progress, const char* stage, const Work& work)
{
    longCall(progress,
             [&](const ProgressCallback& callback)
             {
                 ProgressScope scope(callback);
                 if (scope.begin(stage)) work(&ProgressScope::poll);
             });
}

}  // namespace tavrix::python
