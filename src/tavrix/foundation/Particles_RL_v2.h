#pragma once

#include <tavrix/foundation/RenderLayer.h>

namespace tavrix
{

class ParticleSystem_v2;

/// Draws one particle system.
class TX_GEOMETRY_API Particles_RL_v2 : public Service_RL
{
public:
    /// Draws the particles as they are now, in a colour of the host's choice or in the given one.
    /// @{
    virtual void render(const ParticleSystem_v2& particles) = 0;
    virtual void render(const ParticleSystem_v2& particles, const Color4F& color) = 0;
    /// @}
};

/// Makes the render object of a particle system; the system owns it. This base makes dummies.
class TX_GEOMETRY_API Particles_RL_factory_v2
{
public:
    virtual ~Particles_RL_factory_v2();
    /// A new object, which the caller owns and deletes.
    virtual Particles_RL_v2* create();
};

/// Draws nothing.
class TX_GEOMETRY_API Particles_RL_Dummy_v2 : public Particles_RL_v2
{
public:
    void render(const ParticleSystem_v2&) override {}
    void render(const ParticleSystem_v2&, const Color4F&) override {}
};

TX_GEOMETRY_INSTANCE(FactoryOwnerT<Particles_RL_factory_v2>);

}  // namespace tavrix
