#pragma once

#include <tavrix/fields/ScalarField2.h>
#include <tavrix/fields/Vector2Field2.h>

namespace tavrix
{

/// How fields in the plane are carried along with a flow.
enum class PlaneAdvectionScheme
{
    SemiLagrangian,  ///< first order: blurs
    MacCormack       ///< second order, limited where it would make new extremes
};

/// Carries a field along with a flow for a time, in one step of any length: each node takes the value of the
/// place from which a midpoint step through the velocities leads to it (semi-Lagrangian), corrected by half
/// of what a step forth and back changes (MacCormack), within the values of the nodes around that place. See
/// Selle et al., Journal of Scientific Computing 35, 2008.
///
/// What comes from beyond the grid is what its border has there. The grids may differ. A field of velocities
/// may be carried along by itself. A time below 0 goes backwards. Linear in the nodes; the same bytes for
/// every thread count.
/// @{
TX_GEOMETRY_API void advect(ScalarField2<float>& field, const Vector2Field2<float>& velocity, double time,
                            PlaneAdvectionScheme scheme, uint32 threadCount = 1);
TX_GEOMETRY_API void advect(Vector2Field2<float>& field, const Vector2Field2<float>& velocity, double time,
                            PlaneAdvectionScheme scheme, uint32 threadCount = 1);
TX_GEOMETRY_API void advect(ScalarField2<double>& field, const Vector2Field2<double>& velocity, double time,
                            PlaneAdvectionScheme scheme, uint32 threadCount = 1);
TX_GEOMETRY_API void advect(Vector2Field2<double>& field, const Vector2Field2<double>& velocity, double time,
                            PlaneAdvectionScheme scheme, uint32 threadCount = 1);
/// @}

}  // namespace tavrix
