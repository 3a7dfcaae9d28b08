#pragma once

#include <tavrix/foundation/Optional.h>
#include <tavrix/particles/ParticleChannelChunkData_v2.h>

namespace tavrix
{

/// A handle on one particle: its id, its slot in a chunk, and the chunk's channels. A small value, to be
/// passed as such; values are written through it into the system.
///
/// It holds until its chunk is compacted (ParticleSystem_v2::begin_rawIteration) or its particle removed.
/// After that the id is still right, but the slot may be another particle's; and when the chunk went with its
/// last particle, it has no channels any more, which the checked accessors tell. A handle must not be used
/// when the system, and all copies of it, are gone.
class TX_GEOMETRY_API Particle_v2
{
public:
    /// As dirty().
    Particle_v2() noexcept = default;
    /// Made by chunks, which know where their channels are.
    Particle_v2(uint64 id, uint16 slot, const ParticleChunkChannels_v2* channels) noexcept
        : _id(id), _slot(slot), _channels(channels)
    {
    }

    /// The handle that means "no particle".
    static Particle_v2 dirty() noexcept { return {}; }
    /// Whether the id is all ones. It is for the particle of that id too, which a system may hold.
    bool isDirty() const noexcept { return _id == ~uint64{0}; }

    /// The id, and the place of the particle's values in each channel's array.
    /// @{
    uint64 getId() const noexcept { return _id; }
    uint16 getSlot() const noexcept { return _slot; }
    /// @}

    /// The values of channels 0 and 1, unchecked: both are there unless they were removed from the system.
    /// @{
    const Vector3F& getPosition() const { return getChannelValue_Vector3F(0); }
    void setPosition(const Vector3F& position) const { data(0).getData_Vector3F()[_slot] = position; }
    const Vector3F& getVelocity() const { return getChannelValue_Vector3F(1); }
    void setVelocity(const Vector3F& velocity) const { data(1).getData_Vector3F()[_slot] = velocity; }
    /// @}

    /// The value in the channel, unchecked: the handle has to hold, and the channel to be there and of that
    /// type.
    /// @{
    const Vector3F& getChannelValue_Vector3F(uint32 id) const { return data(id).getData_Vector3F()[_slot]; }
    const Vector3D& getChannelValue_Vector3D(uint32 id) const { return data(id).getData_Vector3D()[_slot]; }
    const Vector2F& getChannelValue_Vector2F(uint32 id) const { return data(id).getData_Vector2F()[_slot]; }
    const uint64& getChannelValue_UINT64(uint32 id) const { return data(id).getData_UINT64()[_slot]; }
    const uint16& getChannelValue_UINT16(uint32 id) const { return data(id).getData_UINT16()[_slot]; }
    const uint8& getChannelValue_UINT8(uint32 id) const { return data(id).getData_UINT8()[_slot]; }
    const int32& getChannelValue_INT32(uint32 id) const { return data(id).getData_INT32()[_slot]; }
    const bool& getChannelValue_BOOL(uint32 id) const { return data(id).getData_BOOL()[_slot]; }
    const float& getChannelValue_FLOAT(uint32 id) const { return data(id).getData_FLOAT()[_slot]; }
    const double& getChannelValue_DOUBLE(uint32 id) const { return data(id).getData_DOUBLE()[_slot]; }
    const Color4F& getChannelValue_Color4F(uint32 id) const { return data(id).getData_Color4F()[_slot]; }
    const uint32& getChannelValue_UINT32(uint32 id) const { return data(id).getData_UINT32()[_slot]; }
    /// @}

    /// A copy of the value; empty when the particle has no such channel, or one of another type.
    /// @{
    Optional<Vector3F> getChannelValue_Vector3F(uint32 channelId, TX_SAFE) const;
    Optional<Vector3D> getChannelValue_Vector3D(uint32 channelId, TX_SAFE) const;
    Optional<Vector2F> getChannelValue_Vector2F(uint32 channelId, TX_SAFE) const;
    Optional<uint64> getChannelValue_UINT64(uint32 channelId, TX_SAFE) const;
    Optional<uint16> getChannelValue_UINT16(uint32 channelId, TX_SAFE) const;
    Optional<uint8> getChannelValue_UINT8(uint32 channelId, TX_SAFE) const;
    Optional<int32> getChannelValue_INT32(uint32 channelId, TX_SAFE) const;
    Optional<bool> getChannelValue_BOOL(uint32 channelId, TX_SAFE) const;
    Optional<float> getChannelValue_FLOAT(uint32 channelId, TX_SAFE) const;
    Optional<double> getChannelValue_DOUBLE(uint32 channelId, TX_SAFE) const;
    Optional<Color4F> getChannelValue_Color4F(uint32 channelId, TX_SAFE) const;
    Optional<uint32> getChannelValue_UINT32(uint32 channelId, TX_SAFE) const;
    /// @}

    /// Writes a value; false, and nothing written, when the particle has no channel of that id and of type T.
    /// T is one of the twelve channel types.
    template <class T>
    bool setChannelValue(uint32 channelId, const T& value) const;

    /// 0 when the particle has no such channel.
    ParticleChannel_v2::Type getChannelType(uint32 channelId) const;
    /// Whether the chunk has a place for that id, be it that of a removed channel.
    bool isValidChannel(uint32 channelId) const { return _channels && channelId < _channels->size(); }
    /// Writes the default value of every channel that the particle has.
    void setAllChannels_toDefaultValues() const;

private:
    friend class Particle_v2_private_accessor;

    ParticleChannelChunkDataConcept_v2& data(uint32 channelId) const
    {
        return *(*_channels)[channelId]->getData();
    }
    ParticleChannelChunkData_v2* findChannel(uint32 channelId) const
    {
        return isValidChannel(channelId) ? (*_channels)[channelId].get() : nullptr;
    }
    template <class T>
    T* findValue(uint32 channelId) const;
    template <class T>
    Optional<T> copyValue(uint32 channelId) const;

    uint64 _id = ~uint64{0};
    uint16 _slot = 0xFFFF;
    const ParticleChunkChannels_v2* _channels = nullptr;
};

static_assert(sizeof(Particle_v2) == 24);

/// Reaches what a handle keeps to itself.
class TX_GEOMETRY_API Particle_v2_private_accessor
{
public:
    /// The channels of the particle's chunk; null for the dirty particle.
    static const ParticleChunkChannels_v2* getArrParticleChannelDataPtr(const Particle_v2& particle)
    {
        return particle._channels;
    }
};

}  // namespace tavrix
