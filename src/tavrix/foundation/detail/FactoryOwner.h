#pragma once

#include <tavrix/foundation/RenderLayer.h>

// The body of FactoryOwnerT, for the sources that instantiate it for their kind of factory.

namespace tavrix
{

namespace detail
{

template <class Factory>
Factory* hostFactory = nullptr;

}  // namespace detail

template <class Factory>
Factory& FactoryOwnerT<Factory>::getFactory()
{
    static Factory dummy;
    return detail::hostFactory<Factory> ? *detail::hostFactory<Factory> : dummy;
}

template <class Factory>
void FactoryOwnerT<Factory>::setFactory(Factory* factory)
{
    detail::hostFactory<Factory> = factory;
}

}  // namespace tavrix
