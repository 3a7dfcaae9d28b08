#pragma once

#include <cmath>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::benchmark
{

/// A closed mesh of 2 n n faces: pointAt(u, v) at n by n places of two angles that both go all around.
template <class PointAt>
Mesh wrappedGrid(uint32 n, PointAt pointAt)
{
    Mesh mesh;
    const double step = 2 * std::acos(-1.0) / n;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            mesh.refPos().push_back(pointAt(i * step, k * step));
            const uint32 j = (i + 1) % n, l = (k + 1) % n;
            mesh.refTrindexPos().push_back({i * n + k, j * n + k, j * n + l});
            mesh.refTrindexPos().push_back({i * n + k, j * n + l, i * n + l});
        }
    return mesh;
}

/// A torus around z, the middle of its tube 3 away, the tube of radius 1 with bumps of a tenth.
inline Mesh bumpyTorus(uint32 n)
{
    return wrappedGrid(n,
                       [](double u, double v)
                       {
                           const double r = 1 + 0.1 * std::sin(7 * u) * std::cos(9 * v);
                           const double around = 3 + r * std::cos(v);
                           return Vector3D{around * std::cos(u), around * std::sin(u), r * std::sin(v)};
                       });
}

}  // namespace tavrix::benchmark
