#pragma once

#include <array>
#include <initializer_list>
#include <stdexcept>

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Up to N parameters of one kind and their count, by value.
template <uint32 N, class T>
class PolyParam
{
public:
    constexpr PolyParam() = default;
    /// More than N values throw std::length_error.
    constexpr PolyParam(std::initializer_list<T> values)
    {
        for (const T& value : values) push_back(value);
    }

    /// As in std::vector, within a capacity that does not change; indices are not checked.
    /// @{
    static constexpr uint32 capacity() { return N; }
    constexpr uint32 size() const { return _count; }
    constexpr bool empty() const { return _count == 0; }
    constexpr const T* begin() const { return _values.data(); }
    constexpr const T* end() const { return _values.data() + _count; }
    constexpr T& operator[](uint32 i) { return _values[i]; }
    constexpr const T& operator[](uint32 i) const { return _values[i]; }
    constexpr const T& back() const { return _values[_count - 1]; }
    constexpr void clear() { _count = 0; }
    /// @}

    /// Appends; std::length_error, and nothing changed, when there are N already.
    constexpr void push_back(const T& value)
    {
        if (_count == N) throw std::length_error("tavrix::PolyParam: too many parameters");
        _values[_count++] = value;
    }

private:
    std::array<T, N> _values{};
    uint32 _count = 0;
};

}  // namespace tavrix
