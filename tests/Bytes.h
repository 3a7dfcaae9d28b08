#pragma once

#include <cstring>
#include <initializer_list>
#include <string>

#include <tavrix/foundation/Vector3.h>

namespace tavrix::test
{

/// The bytes of a plain value as they lie in memory, or turned round.
template <class T>
std::string bytesOf(const T& value)
{
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

template <class T>
std::string reversedBytesOf(const T& value)
{
    const std::string bytes = bytesOf(value);
    return {bytes.rbegin(), bytes.rend()};
}

template <class T>
std::string bytesOf(std::initializer_list<T> values)
{
    std::string bytes;
    for (const T& value : values) bytes += bytesOf(value);
    return bytes;
}

}  // namespace tavrix::test
