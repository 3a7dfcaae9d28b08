#pragma once

#include <cstring>
#include <limits>

#include <tavrix/tavrix.h>

namespace tavrix::fuzz
{

/// Takes the input apart into what a sequence of calls is made of; zeros when it is used up.
class Choices
{
public:
    Choices(const unsigned char* data, std::size_t size) : _at(data), _end(data + size) {}

    bool areLeft() const { return _at != _end; }

    template <class T>
    T raw()
    {
        T value{};
        const auto count = std::min(sizeof value, static_cast<std::size_t>(_end - _at));
        std::memcpy(&value, _at, count);
        _at += count;
        return value;
    }

    /// A number below the limit.
    uint32 below(uint32 limit) { return limit < 256 ? raw<uint8>() % limit : raw<uint32>() % limit; }
    bool flag() { return raw<uint8>() & 1; }

    /// Mostly a small multiple of 1/8; at times a number that is extreme, or none, or any bits, as always of
    /// an integer.
    template <class Real>
    Real number()
    {
        if constexpr (std::is_integral_v<Real>) return raw<Real>();
        using Limits = std::numeric_limits<Real>;
        const auto kind = raw<uint8>();
        if (kind < 216) return static_cast<Real>(kind - 108) / 8;
        const Real extremes[] = {Limits::infinity(), -Limits::infinity(),  Limits::quiet_NaN(), Limits::max(),
                                 Limits::lowest(),   Limits::denorm_min(), Real(-0.0),          Real(1e-6)};
        return kind < 248 ? extremes[kind % 8] : raw<Real>();
    }

    template <class Real>
    Vector3<Real> point()
    {
        const auto x = number<Real>(), y = number<Real>(), z = number<Real>();
        return {x, y, z};
    }

    template <class T, class Make>
    Array<T> array(uint32 most, Make make)
    {
        Array<T> values(below(most + 1));
        for (T& value : values) value = make();
        return values;
    }

private:
    const unsigned char *_at, *_end;
};

}  // namespace tavrix::fuzz
