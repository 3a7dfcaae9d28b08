#pragma once

#include <type_traits>

#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/particles/ParticleChannelType.h>
#include <tavrix/platform/TX_MetaClass.h>

namespace tavrix::detail
{

/// What the twelve channel types differ in: of each, its C++ type, the suffix of its accessors (the name of
/// its ParticleChannel_v2::Type too) and the suffix of its registration object.
#define TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(DO) \
    DO(Vector3F, Vector3F, Vector3F)          \
    DO(Vector3D, Vector3D, Vector3D)          \
    DO(Vector2F, Vector2F, Vector2F)          \
    DO(uint64, UINT64, TX_UINT64)             \
    DO(uint16, UINT16, TX_UINT16)             \
    DO(uint8, UINT8, TX_UINT8)                \
    DO(int32, INT32, TX_INT32)                \
    DO(bool, BOOL, TX_BOOL)                   \
    DO(float, FLOAT, TX_FLOAT)                \
    DO(double, DOUBLE, TX_DOUBLE)             \
    DO(Color4F, Color4F, Color4F)             \
    DO(uint32, UINT32, TX_UINT32)

template <class T>
struct ParticleChannelTraits;

#define TX_DEFINE_TRAITS(T, suffix, registered)                                   \
    template <>                                                                   \
    struct ParticleChannelTraits<T>                                               \
    {                                                                             \
        static constexpr auto type = ParticleChannelType::suffix;                 \
        static const TX_MetaClass& metaClass() { return metaClass_##registered; } \
        template <class ChunkData>                                                \
        static T* data(ChunkData& values)                                         \
        {                                                                         \
            return values.getData_##suffix();                                     \
        }                                                                         \
        template <class DefaultValue>                                             \
        static T defaultOf(const DefaultValue& value)                             \
        {                                                                         \
            return value.getValue_##suffix();                                     \
        }                                                                         \
    };
TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_DEFINE_TRAITS)
#undef TX_DEFINE_TRAITS

/// Calls visit(std::type_identity<T>) with the C++ type of a valid channel type.
template <class Visit>
decltype(auto) visitParticleChannelType(ParticleChannelType type, const Visit& visit)
{
    switch (type)
    {
#define TX_VISIT_TYPE(T, suffix, registered) \
    case ParticleChannelType::suffix:        \
        return visit(std::type_identity<T>{});
        TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_VISIT_TYPE)
#undef TX_VISIT_TYPE
    }
    return visit(std::type_identity<uint8>{});
}

}  // namespace tavrix::detail
