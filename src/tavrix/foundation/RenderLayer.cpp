#include <tavrix/foundation/RenderLayer.h>

#include <tavrix/foundation/GeometryTree_RL.h>
#include <tavrix/foundation/Mesh_RL.h>
#include <tavrix/foundation/Particles_RL_v2.h>
#include <tavrix/foundation/ScalarField3_RL.h>

namespace tavrix
{

Service_RL::~Service_RL() = default;
GeometryTree_RL_factory::~GeometryTree_RL_factory() = default;
Mesh_RL_Shader::~Mesh_RL_Shader() = default;
Mesh_RL_factory::~Mesh_RL_factory() = default;
Particles_RL_factory_v2::~Particles_RL_factory_v2() = default;
ScalarField3_RL_factory::~ScalarField3_RL_factory() = default;

GeometryTree_RL* GeometryTree_RL_factory::create() { return new GeometryTree_RL_Dummy; }
Mesh_RL* Mesh_RL_factory::create() { return new Mesh_RL_Dummy; }
Particles_RL_v2* Particles_RL_factory_v2::create() { return new Particles_RL_Dummy_v2; }
ScalarField3_RL* ScalarField3_RL_factory::create() { return new ScalarField3_RL_Dummy; }

namespace
{

template <class Factory>
Factory* hostFactory = nullptr;

}  // namespace

template <class Factory>
Factory& FactoryOwnerT<Factory>::getFactory()
{
    static Factory dummy;
    return hostFactory<Factory> ? *hostFactory<Factory> : dummy;
}

template <class Factory>
void FactoryOwnerT<Factory>::setFactory(Factory* factory)
{
    hostFactory<Factory> = factory;
}

template class FactoryOwnerT<GeometryTree_RL_factory>;
template class FactoryOwnerT<Mesh_RL_factory>;
template class FactoryOwnerT<Particles_RL_factory_v2>;
template class FactoryOwnerT<ScalarField3_RL_factory>;

}  // namespace tavrix
