#pragma once

#include <tavrix/foundation/Quaternion.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// A 4 x 4 matrix, stored row by row, that acts on column vectors: a point p becomes M (p, 1). So the first
/// three columns hold where the axes go, the fourth the translation, and (A * B) does B first.
template <class T>
struct Matrix4
{
    T m[4][4];  ///< m[row][column]

    /// Leaves every point where it is.
    static constexpr Matrix4 identity() { return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}; }
    /// Turns about the origin by a unit quaternion, then moves.
    static constexpr Matrix4 rotationTranslation(const Quaternion<T>& rotation, const Vector3<T>& translation)
    {
        const Vector3<T> x = rotation.rotate({1, 0, 0});
        const Vector3<T> y = rotation.rotate({0, 1, 0});
        const Vector3<T> z = rotation.rotate({0, 0, 1});
        return {{{x.x, y.x, z.x, translation.x},
                 {x.y, y.y, z.y, translation.y},
                 {x.z, y.z, z.z, translation.z},
                 {0, 0, 0, 1}}};
    }

    /// The product of the matrices, which does b first.
    friend constexpr Matrix4 operator*(const Matrix4& a, const Matrix4& b)
    {
        Matrix4 product{};
        for (uint32 row = 0; row < 4; ++row)
            for (uint32 column = 0; column < 4; ++column)
                for (uint32 k = 0; k < 4; ++k) product.m[row][column] += a.m[row][k] * b.m[k][column];
        return product;
    }

    /// The point by the upper three rows; the fourth, which is (0, 0, 0, 1) in all but projections, is not
    /// looked at.
    constexpr Vector3<T> transformPoint(const Vector3<T>& p) const
    {
        return transformDirection(p) + Vector3<T>{m[0][3], m[1][3], m[2][3]};
    }
    /// The direction by the upper left 3 x 3 part, without translation.
    constexpr Vector3<T> transformDirection(const Vector3<T>& d) const
    {
        return {m[0][0] * d.x + m[0][1] * d.y + m[0][2] * d.z, m[1][0] * d.x + m[1][1] * d.y + m[1][2] * d.z,
                m[2][0] * d.x + m[2][1] * d.y + m[2][2] * d.z};
    }

    /// Equal in all sixteen numbers.
    friend constexpr bool operator==(const Matrix4&, const Matrix4&) = default;
};

/// A matrix in double precision.
using Matrix4D = Matrix4<double>;
static_assert(sizeof(Matrix4D) == 128);

}  // namespace tavrix
