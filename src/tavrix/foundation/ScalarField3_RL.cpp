#include <tavrix/foundation/ScalarField3_RL.h>

#include <tavrix/foundation/detail/FactoryOwner.h>

namespace tavrix
{

ScalarField3_RL_factory::~ScalarField3_RL_factory() = default;

ScalarField3_RL* ScalarField3_RL_factory::create() { return new ScalarField3_RL_Dummy; }

template class FactoryOwnerT<ScalarField3_RL_factory>;

}  // namespace tavrix
