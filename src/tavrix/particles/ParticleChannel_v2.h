#pragma once

#include <memory>

#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/particles/ParticleChannelType.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_MetaClass.h>
#include <tavrix/platform/TX_String.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The value that a channel gives to new particles: the getter of the channel's own type answers with it, the
/// others with zeros.
class TX_GEOMETRY_API ParticleChannelDefaultValue_v2
{
public:
    /// The default value from the getter of the channel's type, zeros from the others.
    /// @{
    virtual uint64 getValue_UINT64() const = 0;
    virtual uint16 getValue_UINT16() const = 0;
    virtual uint8 getValue_UINT8() const = 0;
    virtual int32 getValue_INT32() const = 0;
    virtual uint32 getValue_UINT32() const = 0;
    virtual bool getValue_BOOL() const = 0;
    virtual float getValue_FLOAT() const = 0;
    virtual double getValue_DOUBLE() const = 0;
    virtual Vector3F getValue_Vector3F() const = 0;
    virtual Vector2F getValue_Vector2F() const = 0;
    virtual Vector3D getValue_Vector3D() const = 0;
    virtual Color4F getValue_Color4F() const = 0;
    /// @}
    virtual ~ParticleChannelDefaultValue_v2();
};

/// The default value of a channel of T, one of the twelve channel types.
template <class T>
class ParticleChannelDefaultValue_T_v2 : public ParticleChannelDefaultValue_v2
{
public:
    /// Keeps a copy of the value.
    explicit ParticleChannelDefaultValue_T_v2(const T& value) : _value(std::make_unique<T>(value)) {}

    uint64 getValue_UINT64() const override { return answer<uint64>(); }
    uint16 getValue_UINT16() const override { return answer<uint16>(); }
    uint8 getValue_UINT8() const override { return answer<uint8>(); }
    int32 getValue_INT32() const override { return answer<int32>(); }
    uint32 getValue_UINT32() const override { return answer<uint32>(); }
    bool getValue_BOOL() const override { return answer<bool>(); }
    float getValue_FLOAT() const override { return answer<float>(); }
    double getValue_DOUBLE() const override { return answer<double>(); }
    Vector3F getValue_Vector3F() const override { return answer<Vector3F>(); }
    Vector2F getValue_Vector2F() const override { return answer<Vector2F>(); }
    Vector3D getValue_Vector3D() const override { return answer<Vector3D>(); }
    Color4F getValue_Color4F() const override { return answer<Color4F>(); }

private:
    template <class Asked>
    Asked answer() const
    {
        if constexpr (std::is_same_v<Asked, T>)
            return *_value;
        else
            return Asked{};
    }

    std::unique_ptr<T> _value;
};

/// The record of one named, typed value that every particle of a system carries. The system makes it and
/// keeps it; copies are independent of the system.
class TX_GEOMETRY_API ParticleChannel_v2
{
public:
    /// The type of a channel's values.
    using Type = ParticleChannelType;

    /// A channel whose default value is zero in every component; of a colour, opaque black. A type that is
    /// none makes an invalid channel without a default value.
    ParticleChannel_v2(uint32 id, const TX_String& name, Type type);

    /// The id by which values are asked for, the name and the type, as given at construction.
    /// @{
    uint32 getId() const noexcept { return _id; }
    const TX_String& getName() const noexcept { return _name; }
    Type getType() const noexcept { return _type; }
    /// @}
    /// Null for an invalid channel.
    const ParticleChannelDefaultValue_v2* getDefaultValue() const noexcept { return _defaultValue.get(); }
    /// Whether the type is one of the twelve.
    bool isValid() const noexcept { return isValidType(_type); }

    /// Equal ids, names and types.
    friend bool operator==(const ParticleChannel_v2& a, const ParticleChannel_v2& b) noexcept
    {
        return a._id == b._id && a._type == b._type && a._name == b._name;
    }

    /// Whether a type is one of the twelve.
    static bool isValidType(Type type) noexcept { return type >= Type::Vector3F && type <= Type::UINT32; }
    /// The channel type of values with the registration object, which its name tells; 0 when they are of
    /// none.
    static Type getType(const TX_MetaClass& metaClass) noexcept;

protected:
    /// The absent channel: no id, no name, no type.
    ParticleChannel_v2() noexcept = default;

private:
    friend class ParticleSystem_v2;

    uint32 _id = noIndex;
    TX_String _name;
    Type _type{};
    std::shared_ptr<const ParticleChannelDefaultValue_v2>
        _defaultValue;  ///< never changed, so copies share it
};

}  // namespace tavrix
