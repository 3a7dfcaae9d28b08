#include <tavrix/foundation/Particles_RL_v2.h>

#include <tavrix/foundation/detail/FactoryOwner.h>

namespace tavrix
{

Particles_RL_factory_v2::~Particles_RL_factory_v2() = default;

Particles_RL_v2* Particles_RL_factory_v2::create() { return new Particles_RL_Dummy_v2; }

template class FactoryOwnerT<Particles_RL_factory_v2>;

}  // namespace tavrix
