#pragma once

#include <limits>

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// How a field stores its samples.
enum class ScalarFieldType : uint32
{
    Dense = 1,
    Tiled = 2,
    Sparse = 3
};

/// Which stencil an evaluation at a point uses. Values are trilinear in both modes (the interpolation is
/// symmetric as it stands); the modes differ for derivatives.
enum ScalarFieldEvalMode
{
    TX_FIELD_EVAL_ASYMMETRIC,
    TX_FIELD_EVAL_SYMMETRIC
};

/// The difference that stands for the first derivative along an axis. Forward and backward differences turn
/// round where they would leave the grid.
enum EvalGradType
{
    TX_FIELD_GRAD_CENTRAL,      ///< (f(i+1) - f(i-1)) / 2h; at borders the one-sided (f(i+1) - f(i)) / h
    TX_FIELD_GRAD_FORWARD,      ///< (f(i+1) - f(i)) / h
    TX_FIELD_GRAD_BACKWARD,     ///< (f(i) - f(i-1)) / h
    TX_FIELD_GRAD_SECOND_ORDER  ///< central; at borders (-3 f(i) + 4 f(i+1) - f(i+2)) / 2h, mirrored
};

/// What a failed evaluation of a field yields beside the flag false: 3.4028235e38, or the largest value of an
/// integer type.
template <class Value>
inline constexpr Value failedValue = std::numeric_limits<Value>::max();
/// That of double precision is the single-precision number too.
template <>
inline constexpr double failedValue<double> = farValue;

}  // namespace tavrix
