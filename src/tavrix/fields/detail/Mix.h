#pragma once

#include <type_traits>

namespace tavrix::detail
{

/// (b - a) t + a. Integers are computed in double precision and truncated.
template <class Value>
class Mix
{
public:
    explicit Mix(double t) : _fraction(static_cast<Real>(t)) {}

    Value operator()(Value a, Value b) const
    {
        const auto from = static_cast<Real>(a), to = static_cast<Real>(b);
        return static_cast<Value>((to - from) * _fraction + from);
    }

private:
    using Real = std::conditional_t<std::is_floating_point_v<Value>, Value, double>;
    Real _fraction;
};

}  // namespace tavrix::detail
