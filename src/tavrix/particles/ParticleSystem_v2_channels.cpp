#include <algorithm>

#include <tavrix/particles/detail/ParticleChannelTypes.h>
#include <tavrix/particles/detail/ParticleStorage.h>
#include <tavrix/particles/ParticleSystem_v2.h>

namespace tavrix
{

const ParticleChannel_v2 ParticleSystem_v2::invalidChannel_{};

uint32 ParticleSystem_v2::addChannel(const TX_String& name, ParticleChannel_v2::Type type)
{
    if (!ParticleChannel_v2::isValidType(type)) return noIndex;
    const uint32 id = _storage->nextChannelId++;
    _storage->channelRecords.push_back(std::make_unique<ParticleChannel_v2>(id, name, type));
    ParticleChannel_v2* const channel = _storage->channelRecords.back().get();
    _storage->channels.push_back(channel);
    try
    {
        if (!_storage->channelIds.try_emplace(name, id).second) return noIndex;
        for (ParticleSystemChunk_v2& chunk : _storage->chunks) chunk.createChannelChunkData(*channel);
    }
    catch (...)
    {
        removeChannel(id);
        throw;
    }
    return id;
}

bool ParticleSystem_v2::removeChannel(uint32 id)
{
    const ParticleChannel_v2* const channel = getChannel(id);
    if (!channel) return false;
    _storage->channelIds.erase(channel->getName());
    auto& channels = _storage->channels;
    channels.erase(
        static_cast<uint32>(std::find(channels.begin(), channels.end(), channel) - channels.begin()));
    for (ParticleSystemChunk_v2& chunk : _storage->chunks) chunk.removeChannelChunkData(id);
    return true;
}

bool ParticleSystem_v2::removeChannel(const TX_String& name)
{
    const uint32 id = getChannelId(name);
    return id != noIndex && removeChannel(id);
}

const ParticleChannel_v2* ParticleSystem_v2::getChannel(uint32 id) const noexcept
{
    for (const ParticleChannel_v2* channel : _storage->channels)
        if (channel->getId() == id) return channel;
    return nullptr;
}

const ParticleChannel_v2* ParticleSystem_v2::getChannel(const TX_String& name) const noexcept
{
    return getChannel(getChannelId(name));
}

uint32 ParticleSystem_v2::getChannelId(const TX_String& name) const noexcept
{
    const auto found = _storage->channelIds.find(name);
    return found == _storage->channelIds.end() ? noIndex : found->second;
}

const ArrayOfPtr<ParticleChannel_v2, TX_NO>& ParticleSystem_v2::getChannels() const noexcept
{
    return _storage->channels;
}

/// Largest id among the channels, 0 without any.
uint32 ParticleSystem_v2::getMaxChannelId() const noexcept
{
    uint32 largest = 0;
    for (const ParticleChannel_v2* channel : _storage->channels)
        largest = std::max(largest, channel->getId());
    return largest;
}

void ParticleSystem_v2::addChannels(ParticleSystemChunk_v2& chunk) const
{
    chunk.reserveChannels(getMaxChannelId() + 1);
    for (const ParticleChannel_v2* channel : _storage->channels) chunk.createChannelChunkData(*channel);
}

ParticleChannelData_v2 ParticleSystem_v2::getChannelData(uint32 id) const
{
    ParticleChannelData_v2 data;
    data.reserve(getChunksCount());
    for (const ParticleSystemChunk_v2& chunk : _storage->chunks)
    {
        const ParticleChunkChannels_v2& channels = chunk.getChannels();
        data.push_back(id < channels.size() ? channels[id].get() : nullptr);
    }
    return data;
}

ParticleChannelData_v2 ParticleSystem_v2::getChannelData(const TX_String& name) const
{
    return getChannelData(getChannelId(name));
}

template <class T>
bool ParticleSystem_v2::copyChannelValues(uint32 channelId, Array<T>& values) const
{
    using Traits = detail::ParticleChannelTraits<T>;
    const ParticleChannel_v2* const channel = getChannel(channelId);
    if (!channel || channel->getType() != Traits::type) return false;
    const T defaultValue = Traits::defaultOf(*channel->getDefaultValue());
    values.resize(getParticlesCount());
    T* next = values.data();
    for (const ParticleSystemChunk_v2& chunk : _storage->chunks)
    {
        const T* stored = chunk.getValues<T>(channelId);
        for (const ParticleEntry& entry : chunk.getEntries())
            if (!entry.released) *next++ = stored ? stored[entry.slot] : defaultValue;
    }
    return true;
}

template <class T>
bool ParticleSystem_v2::setChannelValues(uint32 channelId, const Array<T>& values)
{
    const ParticleChannel_v2* const channel = getChannel(channelId);
    if (!channel || channel->getType() != detail::ParticleChannelTraits<T>::type) return false;
    if (values.size() != getParticlesCount()) return false;
    const T* next = values.data();
    for (ParticleSystemChunk_v2& chunk : _storage->chunks)
    {
        T* stored = chunk.getValues<T>(channelId);
        for (const ParticleEntry& entry : chunk.getEntries())
        {
            if (entry.released) continue;
            if (stored) stored[entry.slot] = *next;
            ++next;
        }
    }
    return true;
}

#define TX_INSTANTIATE(T, suffix, registered)                                                    \
    template TX_GEOMETRY_API bool ParticleSystem_v2::copyChannelValues(uint32, Array<T>&) const; \
    template TX_GEOMETRY_API bool ParticleSystem_v2::setChannelValues(uint32, const Array<T>&);
TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
