#include "FieldObject.h"

#include <limits>

#include <algorithm>

#include <tavrix/foundation/ParallelFor.h>

#include "LongCall.h"

namespace tavrix::python
{

GridDescription3<double> gridOf(const py::array& samples, py::handle spacing, py::handle origin)
{
    confirmShape(samples, {-1, -1, -1}, "samples", "(nx, ny, nz)");
    uint32 sizes[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const py::ssize_t size = samples.shape(axis);
        if (size < 1 || size > 0x7FFFFFFF)
            throw py::value_error("samples: expected at least one along every axis, got shape " +
                                  shapeText(samples));
        sizes[axis] = static_cast<uint32>(size);
    }
    const Vector3D separation = threeNumbers(spacing, "spacing");
    for (uint32 axis = 0; axis < 3; ++axis) positive(separation[axis], "spacing");
    auto grid = GridDescription3<double>::centered(sizes[0], sizes[1], sizes[2], separation);
    grid.setOrigin(finitePoint(origin, "origin"));
    return grid;
}

namespace
{

/// Answers of one kind for all points: answer(point) for each, by several threads.
template <class Result, class Answer>
py::array answersAt(py::handle points, const std::optional<py::ssize_t>& threads, const Answer& answer)
{
    constexpr uint32 pointsForThreads = 8192;
    const ArrayIn<Vector3D> in(points, "points");
    const uint32 count = in.size() < pointsForThreads ? 1 : threadsOf(threads);
    Array<Result> results(in.size());
    longStage(py::none(), "points",
              [&](CancelCallback callback)
              {
                  const uint64 each = uint64{count} << 17;  // some 20 ms
                  for (uint64 done = 0; done < in.size() && callback() == 0; done += each)
                      parallelFor(std::min(each, in.size() - done), count,
                                  [&](uint32, uint64 begin, uint64 end)
                                  {
                                      for (uint64 n = done + begin; n < done + end; ++n)
                                          results[n] = answer(in.array()[n]);
                                  });
              });
    return givenAway(std::move(results));
}

}  // namespace

template <class Value>
py::array valuesAt(const ScalarField3<Value, double>& field, py::handle points, double outside,
                   const std::optional<py::ssize_t>& threads)
{
    return answersAt<Value>(points, threads,
                            [&](const Vector3D& point)
                            {
                                const auto value = field.evalSafe(point);
                                return value.a ? value.b : static_cast<Value>(outside);
                            });
}

template <class Value>
py::array gradientsAt(const ScalarField3<Value, double>& field, py::handle points,
                      const std::optional<py::ssize_t>& threads)
{
    return answersAt<Vector3<Value>>(points, threads,
                                     [&](const Vector3D& point)
                                     {
                                         constexpr Value none = std::numeric_limits<Value>::quiet_NaN();
                                         const auto gradient =
                                             field.evalGradSafe(point, TX_FIELD_EVAL_SYMMETRIC);
                                         return gradient.a ? gradient.b : Vector3<Value>{none, none, none};
                                     });
}

template py::array valuesAt(const ScalarField3<float, double>&, py::handle, double,
                            const std::optional<py::ssize_t>&);
template py::array valuesAt(const ScalarField3<double, double>&, py::handle, double,
                            const std::optional<py::ssize_t>&);
template py::array gradientsAt(const ScalarField3<float, double>&, py::handle,
                               const std::optional<py::ssize_t>&);
template py::array gradientsAt(const ScalarField3<double, double>&, py::handle,
                               const std::optional<py::ssize_t>&);

py::tuple tupleOf(const Vector3D& vector) { return py::make_tuple(vector.x, vector.y, vector.z); }

}  // namespace tavrix::python
