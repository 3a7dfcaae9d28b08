#pragma once

#include <tavrix/fields/AdvectionSettings.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>

namespace tavrix
{

/// The velocity of a field, the same at all times: trilinear, and zero outside its box. The field has to live
/// as long as what is returned.
TX_GEOMETRY_API Velocity3 steadyVelocity(const Vector3Field3<float, double>& field);

/// Carries a scalar field along with a flow: solves df/dt + v . grad f = 0 from one time to another, also
/// backwards, by fifth-order WENO differences (Jiang and Peng, SIAM Journal on Scientific Computing 21, 2000)
/// and third-order TVD Runge-Kutta steps (Shu and Osher, Journal of Computational Physics 77, 1988).
///
/// Beyond the grid samples are those of its border, so what flows in is what is there. Steps adapt to the
/// velocity, and none is longer than a sixteenth of the whole time. Only nodes around those whose neighbours
/// differ, by more than a millionth of the samples' range, are worked on, and the velocity is asked for there
/// alone: time follows the part that is not constant. Takes two more grids of samples. The same bytes for
/// every thread count.
TX_GEOMETRY_API AdvectionReport advect(ScalarField3<float, double>& field, const Velocity3& velocity,
                                       double begin, double end, const AdvectionSettings& settings = {});

}  // namespace tavrix
