#include <tavrix/particles/ParticleChannel_v2.h>

#include <string_view>

#include <tavrix/particles/detail/ParticleChannelTypes.h>

namespace tavrix
{

namespace
{

template <class T>
T defaultOf()
{
    if constexpr (std::is_same_v<T, Color4F>)
        return {0, 0, 0, 1};
    else
        return T{};
}

std::shared_ptr<const ParticleChannelDefaultValue_v2> makeDefaultValue(ParticleChannel_v2::Type type)
{
    if (!ParticleChannel_v2::isValidType(type)) return nullptr;
    return detail::visitParticleChannelType(
        type,
        []<class T>(std::type_identity<T>) -> std::shared_ptr<const ParticleChannelDefaultValue_v2>
        { return std::make_shared<ParticleChannelDefaultValue_T_v2<T>>(defaultOf<T>()); });
}

}  // namespace

ParticleChannelDefaultValue_v2::~ParticleChannelDefaultValue_v2() = default;

ParticleChannel_v2::ParticleChannel_v2(uint32 id, const TX_String& name, Type type)
    : _id(id), _name(name), _type(type), _defaultValue(makeDefaultValue(type))
{
}

ParticleChannel_v2::Type ParticleChannel_v2::getType(const TX_MetaClass& metaClass) noexcept
{
    const std::string_view name = metaClass.getName();
#define TX_COMPARE_NAME(T, suffix, registered) \
    if (name == #registered) return Type::suffix;
    TX_FOR_EACH_PARTICLE_CHANNEL_TYPE(TX_COMPARE_NAME)
#undef TX_COMPARE_NAME
    return Type{};
}

}  // namespace tavrix
