#include <tavrix/fields/detail/SymmetricEigen.h>

#include <cmath>

namespace tavrix::detail
{

namespace
{

struct Rotation
{
    double cosine, sine;

    void apply(double& a, double& b) const
    {
        const double x = a, y = b;
        a = cosine * x - sine * y;
        b = sine * x + cosine * y;
    }
};

/// Makes a[p][q] zero; r is the third index.
void rotate(double (&a)[3][3], double (&vectors)[3][3], int p, int q, int r)
{
    const double off = a[p][q];
    if (off == 0) return;
    const double theta = (a[q][q] - a[p][p]) / (2 * off);
    const double t = (theta < 0 ? -1 : 1) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
    const double cosine = 1 / std::sqrt(t * t + 1);
    const Rotation rotation{cosine, t * cosine};
    a[p][p] -= t * off;
    a[q][q] += t * off;
    a[p][q] = a[q][p] = 0;
    rotation.apply(a[p][r], a[q][r]);
    a[r][p] = a[p][r];
    a[r][q] = a[q][r];
    for (int n = 0; n < 3; ++n) rotation.apply(vectors[p][n], vectors[q][n]);
}

}  // namespace

SymmetricEigen solveEigen(const SymmetricMatrix& m)
{
    double a[3][3] = {{m[0], m[1], m[2]}, {m[1], m[3], m[4]}, {m[2], m[4], m[5]}};
    SymmetricEigen eigen{{}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int sweep = 0; sweep < 8; ++sweep)
    {
        const double off = std::fabs(a[0][1]) + std::fabs(a[0][2]) + std::fabs(a[1][2]);
        const double diagonal = std::fabs(a[0][0]) + std::fabs(a[1][1]) + std::fabs(a[2][2]);
        if (!(off > 1e-10 * diagonal)) break;
        rotate(a, eigen.vectors, 0, 1, 2);
        rotate(a, eigen.vectors, 0, 2, 1);
        rotate(a, eigen.vectors, 1, 2, 0);
    }
    for (int n = 0; n < 3; ++n) eigen.values[n] = a[n][n];
    return eigen;
}

}  // namespace tavrix::detail
