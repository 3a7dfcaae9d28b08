#include <tavrix/fields/detail/NodeDerivatives.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

/// The first derivative at an end of the axis; forward is towards the inside.
Stencil oneSided(EvalGradType type, bool forward, uint32 size, double h)
{
    const int32 step = forward ? 1 : -1;
    if (type == TX_FIELD_GRAD_SECOND_ORDER && size > 2)
        return {{0, step, 2 * step, 0}, {-3.0 * step, 4.0 * step, -1.0 * step, 0}, 3, 2 * h};
    return {{std::max(0, step), std::min(0, step), 0, 0}, {1, -1, 0, 0}, 2, h};
}

}  // namespace

Stencil firstDerivative(EvalGradType type, uint32 index, uint32 size, double h)
{
    if (size < 2) return {{}, {}, 0, 1};
    const bool isFirst = index == 0, isLast = index + 1 == size;
    if (isFirst || isLast) return oneSided(type, isFirst, size, h);
    if (type == TX_FIELD_GRAD_FORWARD) return oneSided(type, true, size, h);
    if (type == TX_FIELD_GRAD_BACKWARD) return oneSided(type, false, size, h);
    return {{1, -1, 0, 0}, {1, -1, 0, 0}, 2, 2 * h};
}

Stencil secondDerivative(bool atBorders, uint32 index, uint32 size, double h)
{
    if (index > 0 && index + 1 < size) return {{1, 0, -1, 0}, {1, -2, 1, 0}, 3, h * h};
    if (!atBorders || size < 4) return {{}, {}, 0, 1};
    const int32 step = index == 0 ? 1 : -1;
    return {{0, step, 2 * step, 3 * step}, {2, -5, 4, -1}, 4, h * h};
}

}  // namespace tavrix::detail
