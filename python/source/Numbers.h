#pragma once

#include <optional>
#include <span>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/ArrayLoan.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/foundation/Wector3.h>
#include <tavrix/platform/ArrayHandle.h>
#include <tavrix/platform/TX_ArrayServer.h>

// Between numpy's arrays and the kernel's: what comes in is borrowed where dtype and layout fit, and
// converted once where not; what goes out is a view that keeps the memory alive.

namespace tavrix::python
{

namespace py = pybind11;

/// How the elements of kernel arrays look in numpy: the scalar, and how many of them an element has.
template <class T>
struct ElementOf
{
    using Scalar = T;
    static constexpr py::ssize_t components = 1;
};
template <class T>
struct ElementOf<Vector3<T>>
{
    using Scalar = T;
    static constexpr py::ssize_t components = 3;
};
template <>
struct ElementOf<Index3>
{
    using Scalar = uint32;
    static constexpr py::ssize_t components = 3;
};

/// An array that C++ may read element by element.
template <class Scalar>
using Contiguous =
    py::array_t<Scalar, py::array::c_style | py::array::forcecast | py::detail::npy_api::NPY_ARRAY_ALIGNED_>;

/// Whatever numpy takes for an array of numbers. Raises ValueError, which begins with the name, for anything
/// else.
py::array numbersIn(py::handle object, const char* name);

/// The shape as Python writes it.
std::string shapeText(const py::array& array);

/// Raises ValueError unless the array has these lengths along its axes; any, where the length is -1. `wanted`
/// says it in Python's words.
void confirmShape(const py::array& array, std::initializer_list<py::ssize_t> lengths, const char* name,
                  const char* wanted);

/// The numbers as one block of a type; no copy where they are.
template <class Scalar>
Contiguous<Scalar> contiguous(const py::array& array)
{
    auto block = Contiguous<Scalar>::ensure(array);
    if (!block) throw std::bad_alloc();
    return block;
}

/// A kernel array over an argument's elements: of shape (n,), or (n, 3) for vectors. Lives while the object
/// does.
template <class T>
class ArrayIn
{
    using Element = ElementOf<T>;
    using Scalar = typename Element::Scalar;

public:
    ArrayIn(py::handle object, const char* name)
        : _block(blockOf(object, name)),
          _loan(_array,
                {reinterpret_cast<const T*>(_block.data()), static_cast<std::size_t>(_block.shape(0))})
    {
    }

    const Array<T>& array() const { return _array; }
    std::span<const T> span() const { return {_array.data(), _array.size()}; }
    uint32 size() const { return _array.size(); }

private:
    static Contiguous<Scalar> blockOf(py::handle object, const char* name)
    {
        const py::array array = numbersIn(object, name);
        if constexpr (Element::components == 1)
            confirmShape(array, {-1}, name, "(n,)");
        else
            confirmShape(array, {-1, 3}, name, "(n, 3)");
        if (array.shape(0) > 0xFFFFFFFFll)
            throw py::value_error(std::string(name) + ": holds more than 2^32 - 1 elements");
        return contiguous<Scalar>(array);
    }

    Contiguous<Scalar> _block;
    Array<T> _array;
    ArrayLoan<T> _loan;
};

/// One number for all axes, or three.
Vector3D threeNumbers(py::handle object, const char* name);
/// Three finite numbers.
Vector3D finitePoint(py::handle object, const char* name);
/// A box of two corners, the lowest and the highest.
Box3D boxOf(py::handle low, py::handle high);
/// A finite number above 0.
double positive(double value, const char* name);
/// The number of threads for the kernel, 1 to 1024; one a processor for None.
uint32 threadsOf(const std::optional<py::ssize_t>& threads);

/// numpy's array over memory that `owner` keeps alive.
template <class T>
py::array viewOf(const T* data, std::size_t size, py::handle owner, bool isWriteable)
{
    using Element = ElementOf<T>;
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(size)};
    if (Element::components > 1) shape.push_back(Element::components);
    const auto type = py::dtype::of<typename Element::Scalar>();
    if (size == 0) return py::array(type, shape);
    py::array view(type, shape, data, owner);
    if (!isWriteable)
        py::detail::array_proxy(view.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return view;
}

/// An array of the array store, which lives as long as the view; no array is an empty one.
template <class T>
py::array storedView(ArrayHandle handle, bool isWriteable)
{
    TX_ArrayServer& store = TX_ArrayServer::instance();
    const Array<T>* array = store.get<Array<T>>(handle);
    if (!array) return viewOf<T>(nullptr, 0, {}, isWriteable);
    const auto release = [](void* kept)
    {
        TX_ArrayServer::instance().release(*static_cast<ArrayHandle*>(kept));
        delete static_cast<ArrayHandle*>(kept);
    };
    const py::capsule owner(new ArrayHandle(store.share(handle)), release);
    return viewOf(array->data(), array->size(), owner, isWriteable);
}

/// The numbers of a result, which numpy owns from then on.
template <class T>
py::array givenAway(Array<T>&& numbers)
{
    auto* kept = new Array<T>(std::move(numbers));
    const py::capsule owner(kept, [](void* array) { delete static_cast<Array<T>*>(array); });
    return viewOf(kept->data(), kept->size(), owner, true);
}

/// The lowest and the highest corner, shape (2, 3).
py::array boundsOf(const Box3D& box);

}  // namespace tavrix::python
