#include <tavrix/particles/Particle_v2.h>

#include <tavrix/particles/detail/ParticleChannelTypes.h>

namespace tavrix
{

/// Null when there is no such channel or it is of another type.
template <class T>
T* Particle_v2::findValue(uint32 channelId) const
{
    ParticleChannelChunkData_v2* channel = findChannel(channelId);
    T* values = channel ? detail::ParticleChannelTraits<T>::data(*channel->getData()) : nullptr;
    return values ? values + _slot : nullptr;
}

template <class T>
Optional<T> Particle_v2::copyValue(uint32 channelId) const
{
    const T* value = findValue<T>(channelId);
    return value ? Optional<T>(*value) : Optional<T>();
}

template <class T>
bool Particle_v2::setChannelValue(uint32 channelId, const T& value) const
{
    T* stored = findValue<T>(channelId);
    if (stored) *stored = value;
    return stored != nullptr;
}

#define TX_DEFINE_ACCESS(T, suffix, registered)                                        \
    Optional<T> Particle_v2::getChannelValue_##suffix(uint32 channelId, TX_SAFE) const \
    {                                                                                  \
        return copyValue<T>(channelId);                                                \
    }                                                                                  \
    template TX_GEOMETRY_API bool Particle_v2::setChannelValue(uint32, const T&) const;
TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_DEFINE_ACCESS)
#undef TX_DEFINE_ACCESS

ParticleChannel_v2::Type Particle_v2::getChannelType(uint32 channelId) const
{
    const ParticleChannelChunkData_v2* channel = findChannel(channelId);
    return channel ? channel->getChannel()->getType() : ParticleChannel_v2::Type{};
}

void Particle_v2::setAllChannels_toDefaultValues() const
{
    if (!_channels) return;
    for (const auto& channel : *_channels)
        if (channel) channel->setToDefaultValue(_slot);
}

}  // namespace tavrix
