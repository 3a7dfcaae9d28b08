#pragma once

#include <bit>

#include <tavrix/foundation/Array.h>

namespace tavrix
{

/// A fixed number of bits in 32-bit words: bit n is bit n mod 32, lowest first, of word n / 32. Bit numbers
/// are not checked. Different threads may write at once only to different words.
class BitArray
{
public:
    BitArray() = default;
    /// That many bits, all cleared.
    explicit BitArray(uint32 bitCount) { resize(bitCount); }

    /// Gives the array this many bits, all cleared; 0 frees the storage.
    void resize(uint32 bitCount)
    {
        const uint32 words = wordsFor(bitCount);
        if (words == 0)
            _words.reserve(0);
        else
            _words.assign(words, 0);
        _bitCount = bitCount;
    }

    /// The number of bits, and of the words that hold them.
    /// @{
    uint32 size() const { return _bitCount; }
    uint32 wordCount() const { return _words.size(); }
    /// @}
    /// The words themselves; bits of the last word beyond the count are to stay cleared.
    /// @{
    const Array<uint32>& getWords() const { return _words; }
    Array<uint32>& refWords() { return _words; }
    /// @}
    /// Bytes held for the words.
    uint64 getMemoryUsage() const { return uint64{_words.capacity()} * sizeof(uint32); }

    /// Reads, sets or clears one bit.
    /// @{
    bool test(uint32 bit) const { return _words[bit / 32] >> bit % 32 & 1; }
    void set(uint32 bit) { _words[bit / 32] |= 1u << bit % 32; }
    void clear(uint32 bit) { _words[bit / 32] &= ~(1u << bit % 32); }
    /// @}

    /// How many bits are set.
    uint32 count() const
    {
        uint32 sum = 0;
        for (const uint32 word : _words) sum += static_cast<uint32>(std::popcount(word));
        return sum;
    }

    /// The words that hold this many bits.
    static uint32 wordsFor(uint32 bitCount) { return bitCount / 32 + (bitCount % 32 != 0); }

private:
    Array<uint32> _words;
    uint32 _bitCount = 0;
};

}  // namespace tavrix
