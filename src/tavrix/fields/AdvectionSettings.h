#pragma once

#include <functional>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The velocity at a point and a time, in units of space per unit of time. Several threads call it at once.
using Velocity3 = std::function<Vector3D(const Vector3D& point, double time)>;

/// How advection proceeds.
struct AdvectionSettings
{
    /// The separations that what moves fastest may go in a step, all axes summed up; stable up to 1.4.
    double courant = 1.2;
    uint32 threadCount = 1;             ///< worker threads
    CancelCallback callback = nullptr;  ///< polled every few milliseconds
};

/// What advection has done.
struct AdvectionReport
{
    uint32 steps = 0;          ///< in time
    uint32 redistancings = 0;  ///< of level sets
    bool isDone = true;        ///< false when the callback stopped it; samples are of no use then
};

}  // namespace tavrix
