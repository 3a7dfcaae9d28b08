#include <tavrix/particles/ParticleChannelChunkData_v2.h>

#include <tavrix/particles/detail/ParticleChannelTypes.h>

namespace tavrix
{

ParticleChannelChunkDataConcept_v2::~ParticleChannelChunkDataConcept_v2() = default;

namespace
{

/// Whether no element that the remap overwrites is needed by another one.
bool movesInPlace(std::span<const uint16> remap)
{
    bool inPlace = true;
    for (std::size_t i = 0; i < remap.size(); ++i) inPlace &= remap[i] == i || remap[i] >= remap.size();
    return inPlace;
}

template <class T>
std::unique_ptr<ParticleChannelChunkDataConcept_v2> makeValues(const ParticleChannel_v2& channel, uint32 size)
{
    const T value = detail::ParticleChannelTraits<T>::defaultOf(*channel.getDefaultValue());
    return std::make_unique<ParticleChannelChunkDataModel_v2<T>>(size, value);
}

}  // namespace

template <class T>
ParticleChannel_v2::Type ParticleChannelChunkDataModel_v2<T>::getType() const
{
    return ParticleChannel_v2::getType(detail::ParticleChannelTraits<T>::metaClass());
}

template <class T>
void ParticleChannelChunkDataModel_v2<T>::reorder(std::span<const uint16> remap)
{
    const bool inPlace = movesInPlace(remap);
    Array<T> reordered;
    if (!inPlace)
    {
        reordered.reserve(_values.capacity());
        reordered = _values;
    }
    Array<T>& target = inPlace ? _values : reordered;
    for (std::size_t i = 0; i < remap.size(); ++i) target[i] = _values[remap[i]];
    if (!inPlace) _values.swap(reordered);
}

#define TX_INSTANTIATE(T, suffix, registered) template class ParticleChannelChunkDataModel_v2<T>;
TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_INSTANTIATE)
#undef TX_INSTANTIATE

ParticleChannelChunkData_v2::ParticleChannelChunkData_v2(const ParticleChannel_v2& channel, uint32 size)
    : _data(detail::visitParticleChannelType(
          channel.getType(), [&]<class T>(std::type_identity<T>) { return makeValues<T>(channel, size); })),
      _channel(&channel)
{
}

void ParticleChannelChunkData_v2::setToDefaultValue(uint32 slot)
{
    detail::visitParticleChannelType(_channel->getType(),
                                     [&]<class T>(std::type_identity<T>)
                                     {
                                         using Traits = detail::ParticleChannelTraits<T>;
                                         Traits::data(*_data)[slot] =
                                             Traits::defaultOf(*_channel->getDefaultValue());
                                     });
}

}  // namespace tavrix
