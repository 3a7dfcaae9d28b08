#pragma once

#include <tavrix/fields/detail/NeighbourMomentsKernel.h>

namespace tavrix::detail
{

/// The eigenvalues of a symmetric matrix, in no order, and for each a unit vector.
struct SymmetricEigen
{
    double values[3];
    double vectors[3][3];  ///< the components of one vector in a row
};

/// By cyclic Jacobi rotations (Golub and Van Loan, Matrix Computations, 8.5) until what is left off the
/// diagonal is below 1e-10 of it. Eight sweeps at most: numbers that are not finite come back as such.
SymmetricEigen solveEigen(const SymmetricMatrix& matrix);

}  // namespace tavrix::detail
