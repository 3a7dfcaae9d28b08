#include "LongCall.h"

namespace tavrix::python
{

Watch::Watch(const py::object& progress) : _progress(progress)
{
    if (progress.is_none() || progress.is(py::bool_(false)))
        _progress = py::none();
    else if (progress.is(py::bool_(true)))
        _progress = py::module_::import("tavrix._progress").attr("Bar")();
    else if (!PyCallable_Check(progress.ptr()))
        throw py::type_error("progress: expected a callable, True or None");
}

bool Watch::operator()(const char* stage, double done)
{
    constexpr auto interval = std::chrono::milliseconds(50);
    if (_raised) return false;
    const auto now = std::chrono::steady_clock::now();
    if (now - _last < interval && _stage == stage) return true;
    _last = now;
    const py::gil_scoped_acquire acquire;
    try
    {
        tell(stage, done);
    }
    catch (...)
    {
        _raised = std::current_exception();
    }
    return !_raised;
}

void Watch::tell(const char* stage, double done)
{
    _stage = stage;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    if (!_progress.is_none()) _progress(stage, done);
}

void Watch::end()
{
    if (py::hasattr(_progress, "close")) _progress.attr("close")();
    if (_raised) std::rethrow_exception(_raised);
}

}  // namespace tavrix::python
