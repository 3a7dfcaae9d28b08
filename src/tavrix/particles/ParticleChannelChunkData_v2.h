#pragma once

#include <memory>
#include <span>

#include <tavrix/foundation/Array.h>
#include <tavrix/particles/ParticleChannel_v2.h>

namespace tavrix
{

/// The values of one channel in one chunk: an array of one of the twelve types.
class TX_GEOMETRY_API ParticleChannelChunkDataConcept_v2
{
public:
    virtual ~ParticleChannelChunkDataConcept_v2();

    /// The type of the values, which tells the accessor that answers.
    virtual ParticleChannel_v2::Type getType() const = 0;

    /// The address of element 0, for the accessor of the array's own type; null from the others. The value of
    /// slot s is element s.
    /// @{
    virtual Vector3F* getData_Vector3F() = 0;
    virtual Vector3D* getData_Vector3D() = 0;
    virtual Vector2F* getData_Vector2F() = 0;
    virtual uint64* getData_UINT64() = 0;
    virtual uint16* getData_UINT16() = 0;
    virtual uint8* getData_UINT8() = 0;
    virtual int32* getData_INT32() = 0;
    virtual bool* getData_BOOL() = 0;
    virtual float* getData_FLOAT() = 0;
    virtual double* getData_DOUBLE() = 0;
    virtual Color4F* getData_Color4F() = 0;
    virtual uint32* getData_UINT32() = 0;
    /// @}

    /// Bytes of the array: its capacity times the size of an element.
    virtual uint64 getMemoryUsage() const = 0;
    /// Makes element i what element remap[i] was, for every i of the remap; later elements stay. All indices
    /// have to be below the array's size. Where each element stays or comes from behind the remap's end, as
    /// in compaction, values are moved in place, no memory is taken and the address stays.
    virtual void reorder(std::span<const uint16> remap) = 0;
};

/// The array of T, one of the twelve channel types, behind the concept.
template <class T>
class ParticleChannelChunkDataModel_v2 : public ParticleChannelChunkDataConcept_v2
{
public:
    /// That many copies of the value.
    ParticleChannelChunkDataModel_v2(uint32 size, const T& value) : _values(size, value) {}

    ParticleChannel_v2::Type getType() const override;
    Vector3F* getData_Vector3F() override { return dataAs<Vector3F>(); }
    Vector3D* getData_Vector3D() override { return dataAs<Vector3D>(); }
    Vector2F* getData_Vector2F() override { return dataAs<Vector2F>(); }
    uint64* getData_UINT64() override { return dataAs<uint64>(); }
    uint16* getData_UINT16() override { return dataAs<uint16>(); }
    uint8* getData_UINT8() override { return dataAs<uint8>(); }
    int32* getData_INT32() override { return dataAs<int32>(); }
    bool* getData_BOOL() override { return dataAs<bool>(); }
    float* getData_FLOAT() override { return dataAs<float>(); }
    double* getData_DOUBLE() override { return dataAs<double>(); }
    Color4F* getData_Color4F() override { return dataAs<Color4F>(); }
    uint32* getData_UINT32() override { return dataAs<uint32>(); }
    uint64 getMemoryUsage() const override { return uint64{_values.capacity()} * sizeof(T); }
    void reorder(std::span<const uint16> remap) override;

private:
    template <class Asked>
    Asked* dataAs()
    {
        if constexpr (std::is_same_v<Asked, T>)
            return _values.data();
        else
            return nullptr;
    }

    Array<T> _values;
};

TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<Vector3F>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<Vector3D>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<Vector2F>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<uint64>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<uint16>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<uint8>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<int32>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<bool>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<float>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<double>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<Color4F>);
TX_GEOMETRY_INSTANCE(ParticleChannelChunkDataModel_v2<uint32>);

/// What a chunk holds of one channel: the values, and the channel's record, which is the system's.
class TX_GEOMETRY_API ParticleChannelChunkData_v2
{
public:
    /// `size` elements, each the channel's default value. The channel has to be valid, and to outlive this.
    ParticleChannelChunkData_v2(const ParticleChannel_v2& channel, uint32 size);

    /// The channel's record and its values, neither of them null.
    /// @{
    const ParticleChannel_v2* getChannel() const noexcept { return _channel; }
    ParticleChannelChunkDataConcept_v2* getData() const noexcept { return _data.get(); }
    /// @}

    /// Writes the channel's default value at the slot.
    void setToDefaultValue(uint32 slot);

private:
    std::unique_ptr<ParticleChannelChunkDataConcept_v2> _data;
    const ParticleChannel_v2* _channel;
};

/// The values of all channels in a chunk, indexed by channel id; ids without a channel hold null.
using ParticleChunkChannels_v2 = Array<std::unique_ptr<ParticleChannelChunkData_v2>>;

}  // namespace tavrix
