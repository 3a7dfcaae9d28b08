#pragma once

#include <tavrix/foundation/Color4.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Root of every render object. The library draws nothing: a drawable object owns a render object that the
/// host's factory made for it, and hands drawing on.
class TX_GEOMETRY_API Service_RL
{
public:
    virtual ~Service_RL();
};

/// Holds the process-wide factory of one kind of render object; the host sets it before it makes drawable
/// objects, and keeps it alive as long as they live. Without one (null) a factory of dummies answers, whose
/// objects draw nothing.
template <class Factory>
class FactoryOwnerT
{
public:
    /// The factory that answers now, and the one to answer from now on.
    /// @{
    static Factory& getFactory();
    static void setFactory(Factory* factory);
    /// @}
};

}  // namespace tavrix
