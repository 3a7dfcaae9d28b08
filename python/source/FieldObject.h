#pragma once

#include <memory>
#include <variant>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/fields/ScalarField3.h>

#include "Numbers.h"

namespace tavrix::python
{

/// A grid of the shape of an argument's samples. Raises ValueError when it is none.
GridDescription3<double> gridOf(const py::array& samples, py::handle spacing, py::handle origin);

/// A field's samples, or a view of them, as numpy has them: shape (nx, ny, nz).
template <class Value>
py::array samplesView(const ScalarField3<Value, double>& field, py::handle owner, bool isWriteable)
{
    const auto shape = std::vector<py::ssize_t>{field.sizeX(), field.sizeY(), field.sizeZ()};
    return viewOf(field.getArrScalars().data(), field.size(), owner, isWriteable).reshape(shape);
}

/// The values of a field at points, or its gradients there; those outside the grid are `outside`.
/// @{
template <class Value>
py::array valuesAt(const ScalarField3<Value, double>& field, py::handle points, double outside,
                   const std::optional<py::ssize_t>& threads);
template <class Value>
py::array gradientsAt(const ScalarField3<Value, double>& field, py::handle points,
                      const std::optional<py::ssize_t>& threads);
/// @}

extern template py::array valuesAt(const ScalarField3<float, double>&, py::handle, double,
                                   const std::optional<py::ssize_t>&);
extern template py::array valuesAt(const ScalarField3<double, double>&, py::handle, double,
                                   const std::optional<py::ssize_t>&);
extern template py::array gradientsAt(const ScalarField3<float, double>&, py::handle,
                                      const std::optional<py::ssize_t>&);
extern template py::array gradientsAt(const ScalarField3<double, double>&, py::handle,
                                      const std::optional<py::ssize_t>&);

/// Three numbers of a grid for Python: the separations, or the first node.
py::tuple tupleOf(const Vector3D& vector);

}  // namespace tavrix::python
