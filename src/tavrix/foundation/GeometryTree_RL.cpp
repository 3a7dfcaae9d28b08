#include <tavrix/foundation/GeometryTree_RL.h>

#include <tavrix/foundation/detail/FactoryOwner.h>

namespace tavrix
{

GeometryTree_RL_factory::~GeometryTree_RL_factory() = default;

GeometryTree_RL* GeometryTree_RL_factory::create() { return new GeometryTree_RL_Dummy; }

template class FactoryOwnerT<GeometryTree_RL_factory>;

}  // namespace tavrix
