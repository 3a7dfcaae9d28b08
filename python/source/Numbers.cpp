#include "Numbers.h"

#include <cmath>

#include <tavrix/platform/Hardware.h>

namespace tavrix::python
{

namespace
{

std::string typeName(py::handle object) { return py::str(py::type::of(object).attr("__name__")); }

}  // namespace

py::array numbersIn(py::handle object, const char* name)
{
    auto array = py::array::ensure(object);
    if (!array)
        throw py::value_error(std::string(name) + ": expected an array of numbers, got " + typeName(object));
    if (std::string("fiub").find(array.dtype().kind()) == std::string::npos)
        throw py::value_error(std::string(name) + ": expected real numbers, got dtype " +
                              std::string(py::str(array.dtype())));
    return array;
}

std::string shapeText(const py::array& array) { return py::str(array.attr("shape")); }

void confirmShape(const py::array& array, std::initializer_list<py::ssize_t> lengths, const char* name,
                  const char* wanted)
{
    bool fits = array.ndim() == static_cast<py::ssize_t>(lengths.size());
    py::ssize_t axis = 0;
    for (const py::ssize_t length : lengths)
    {
        fits = fits && (length < 0 || array.shape(axis) == length);
        ++axis;
    }
    if (!fits)
        throw py::value_error(std::string(name) + ": expected shape " + wanted + ", got " + shapeText(array));
}

Vector3D threeNumbers(py::handle object, const char* name)
{
    const auto numbers = contiguous<double>(numbersIn(object, name));
    if (numbers.ndim() == 0) return {*numbers.data(), *numbers.data(), *numbers.data()};
    confirmShape(numbers, {3}, name, "(3,), or one number");
    return {numbers.data()[0], numbers.data()[1], numbers.data()[2]};
}

Vector3D finitePoint(py::handle object, const char* name)
{
    const py::array numbers = numbersIn(object, name);
    confirmShape(numbers, {3}, name, "(3,)");
    const Vector3D point = threeNumbers(numbers, name);
    if (!isFinite(point)) throw py::value_error(std::string(name) + ": expected finite numbers");
    return point;
}

Box3D boxOf(py::handle low, py::handle high)
{
    const Box3D box{finitePoint(low, "low"), finitePoint(high, "high")};
    for (uint32 axis = 0; axis < 3; ++axis)
        if (box.max[axis] < box.min[axis])
            throw py::value_error("high: expected no less than low along every axis");
    return box;
}

double positive(double value, const char* name)
{
    if (!(value > 0) || !std::isfinite(value))
        throw py::value_error(std::string(name) + ": expected a finite number above 0");
    return value;
}

py::array boundsOf(const Box3D& box)
{
    py::array_t<double> bounds({2, 3});
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        bounds.mutable_at(0, axis) = box.min[axis];
        bounds.mutable_at(1, axis) = box.max[axis];
    }
    return bounds;
}

uint32 threadsOf(const std::optional<py::ssize_t>& threads)
{
    if (!threads) return Hardware::getThreadCount();
    if (*threads < 1 || *threads > 1024)
        throw py::value_error("threads: expected 1 to 1024, or None for all");
    return static_cast<uint32>(*threads);
}

}  // namespace tavrix::python
