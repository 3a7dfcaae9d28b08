#include "Memory.h"

#include <pybind11/pybind11.h>

#include <tavrix/platform/Hardware.h>

namespace tavrix::python
{

uint64 availableMemory()
{
    const double megabytes = Hardware::getMemoryInfo().available;
    return megabytes > 0 ? static_cast<uint64>(megabytes * 1024 * 1024) : uint64{1} << 63;
}

void confirmMemory(double bytes)
{
    if (bytes <= static_cast<double>(availableMemory())) return;
    PyErr_Format(PyExc_MemoryError, "the grid would take some %lld MB; give a larger spacing",
                 static_cast<long long>(bytes / 1e6));
    throw pybind11::error_already_set();
}

}  // namespace tavrix::python
