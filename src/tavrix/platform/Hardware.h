#pragma once

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// What the machine and the process have.
class TX_GEOMETRY_API Hardware
{
public:
    /// Memory figures in MiB; 0 where the system does not tell.
    struct MemoryInfo
    {
        double process;      ///< resident memory of this process now
        double processPeak;  ///< its largest value so far
        double available;    ///< memory the system can still give without swapping
    };

    /// Asks the system anew at every call.
    static MemoryInfo getMemoryInfo() noexcept;

    /// Number of threads that run at once; at least 1.
    static uint32 getThreadCount() noexcept;
};

}  // namespace tavrix
