#pragma once

#include <cstddef>
#include <cstring>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Running 64-bit signature of bytes. Every step is a bijection of the state for given input, and of the
/// input for a given state, so inputs of one length that differ in a single 8-byte word always differ in
/// their signature.
class Signature
{
public:
    void add(const void* bytes, std::size_t count)
    {
        const auto* input = static_cast<const unsigned char*>(bytes);
        for (; count >= 8; count -= 8, input += 8) addWord(input, 8);
        if (count != 0) addWord(input, count);
    }

    template <class T>
    void addValue(const T& value)
    {
        add(&value, sizeof value);
    }

    uint64 value() const { return mix(_state); }

private:
    void addWord(const unsigned char* input, std::size_t count)
    {
        uint64 word = 0;
        std::memcpy(&word, input, count);
        _state = (_state ^ word) * 0x9E3779B97F4A7C15u;
        _state ^= _state >> 32;
    }

    /// Spreads every bit over the whole word.
    static uint64 mix(uint64 h)
    {
        h = (h ^ (h >> 33)) * 0xD6E8FEB86659FD93u;
        return h ^ (h >> 32);
    }

    uint64 _state = 0x243F6A8885A308D3u;  ///< the digits of pi
};

}  // namespace tavrix::detail
