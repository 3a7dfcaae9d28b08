#pragma once

#include <cmath>

#include <tavrix/fields/ScalarField3.h>

namespace tavrix::benchmark
{

/// Four periods a side of the gyroid sin x cos y + sin y cos z + sin z cos x on size^3 nodes; its surface is
/// at 0.
inline ScalarField3<float, double> gyroid(uint32 size)
{
    ScalarField3<float, double> field;
    field.reset(size, size, size, 1.0);
    const double step = 2 * std::acos(-1.0) * 4 / (size - 1);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n = field.getIndexes(m);
        const double x = n.a * step, y = n.b * step, z = n.c * step;
        field[m] = static_cast<float>(std::sin(x) * std::cos(y) + std::sin(y) * std::cos(z) +
                                      std::sin(z) * std::cos(x));
    }
    return field;
}

}  // namespace tavrix::benchmark
