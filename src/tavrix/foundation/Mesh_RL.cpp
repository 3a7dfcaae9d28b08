#include <tavrix/foundation/Mesh_RL.h>

#include <tavrix/foundation/detail/FactoryOwner.h>

namespace tavrix
{

Mesh_RL_Shader::~Mesh_RL_Shader() = default;
Mesh_RL_factory::~Mesh_RL_factory() = default;

Mesh_RL* Mesh_RL_factory::create() { return new Mesh_RL_Dummy; }

template class FactoryOwnerT<Mesh_RL_factory>;

}  // namespace tavrix
