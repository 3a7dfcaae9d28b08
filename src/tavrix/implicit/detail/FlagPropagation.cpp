#include <tavrix/implicit/detail/FlagPropagation.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

/// The flags of 64 nodes that follow each other along z: one word a flag.
struct FlagWord
{
    std::array<uint64, 3> flags;

    uint64 any() const { return flags[0] | flags[1] | flags[2]; }

    /// Nodes without a flag take those that `from` has for them.
    void fill(const FlagWord& from)
    {
        const uint64 free = ~any();
        for (uint32 f = 0; f < 3; ++f) flags[f] |= from.flags[f] & free;
    }
};

/// Reads and writes the flags of up to 64 nodes from any node on.
class FlagBits
{
public:
    explicit FlagBits(const NodeFlags& flags) : _flags(flags) {}

    FlagWord read(uint64 first, uint32 count) const
    {
        FlagWord word;
        for (uint32 f = 0; f < 3; ++f) word.flags[f] = readBits(_flags[f]->getWords(), first, count);
        return word;
    }

    void write(uint64 first, uint32 count, const FlagWord& word)
    {
        for (uint32 f = 0; f < 3; ++f)
            orBits(_flags[f]->refWords(), first, count, word.flags[f] & lowBits(count));
    }

private:
    static uint64 lowBits(uint32 count) { return ~uint64{0} >> (64 - count); }

    static uint64 readBits(const Array<uint32>& words, uint64 first, uint32 count)
    {
        uint64 bits = 0;
        for (uint32 done = 0; done < count;)
        {
            const auto word = static_cast<std::size_t>((first + done) / 32);
            const auto offset = static_cast<uint32>((first + done) % 32);
            bits |= uint64{words[word] >> offset} << done;
            done += 32 - offset;
        }
        return bits & lowBits(count);
    }

    /// Sets bits that are there; none is ever cleared.
    static void orBits(Array<uint32>& words, uint64 first, uint32 count, uint64 bits)
    {
        for (uint32 done = 0; done < count;)
        {
            const auto word = static_cast<std::size_t>((first + done) / 32);
            const auto offset = static_cast<uint32>((first + done) % 32);
            words[word] |= static_cast<uint32>(bits >> done << offset);
            done += 32 - offset;
        }
    }

    const NodeFlags& _flags;
};

/// Fills free nodes from the flagged node before them (forwards) or behind them (backwards) in the word; in
/// six doubling steps.
template <class Shift>
void fillWithin(FlagWord& word, Shift shift)
{
    for (uint32 step = 1; step < 64; step *= 2)
    {
        FlagWord moved;
        for (uint32 f = 0; f < 3; ++f) moved.flags[f] = shift(word.flags[f], step);
        word.fill(moved);
    }
}

/// The flags of one node of a word, for all 64.
FlagWord spread(const FlagWord& word, uint32 node)
{
    FlagWord result;
    for (uint32 f = 0; f < 3; ++f) result.flags[f] = word.flags[f] >> node & 1 ? ~uint64{0} : 0;
    return result;
}

void propagateAlongZ(const GridDescription3<double>& grid, FlagBits& bits, PollCounter& nodes)
{
    const uint32 wordCount = (grid.sizeZ + 63) / 64;
    const auto countFrom = [&](uint32 z) { return std::min(64u, grid.sizeZ - z); };
    for (uint64 row = 0; row < grid.size && nodes.add(grid.sizeZ); row += grid.sizeZ)
    {
        FlagWord carried{};
        for (uint32 w = 0; w < wordCount; ++w)
        {
            const uint32 z = w * 64, count = countFrom(z);
            FlagWord word = bits.read(row + z, count);
            fillWithin(word, [](uint64 flags, uint32 step) { return flags << step; });
            word.fill(carried);
            bits.write(row + z, count, word);
            carried = spread(word, count - 1);
        }
        carried = {};
        for (uint32 w = wordCount; w-- > 0;)
        {
            const uint32 z = w * 64, count = countFrom(z);
            FlagWord word = bits.read(row + z, count);
            fillWithin(word, [](uint64 flags, uint32 step) { return flags >> step; });
            word.fill(carried);
            bits.write(row + z, count, word);
            carried = spread(word, 0);
        }
    }
}

/// Fills the nodes [to, to + sizeZ) from those at [from, from + sizeZ).
void fillRow(FlagBits& bits, uint64 to, uint64 from, uint32 sizeZ)
{
    for (uint32 k = 0; k < sizeZ; k += 64)
    {
        const uint32 count = std::min(64u, sizeZ - k);
        FlagWord word = bits.read(to + k, count);
        word.fill(bits.read(from + k, count));
        bits.write(to + k, count, word);
    }
}

void propagateAlongY(const GridDescription3<double>& grid, FlagBits& bits, PollCounter& nodes)
{
    for (uint32 i = 0; i < grid.sizeX && nodes.add(grid.sizeYZ); ++i)
    {
        for (uint32 j = 1; j < grid.sizeY; ++j)
            fillRow(bits, grid.getMonoindex(i, j, 0), grid.getMonoindex(i, j - 1, 0), grid.sizeZ);
        for (uint32 j = grid.sizeY - 1; j-- > 0;)
            fillRow(bits, grid.getMonoindex(i, j, 0), grid.getMonoindex(i, j + 1, 0), grid.sizeZ);
    }
}

void propagateAlongX(const GridDescription3<double>& grid, FlagBits& bits, PollCounter& nodes)
{
    for (uint32 i = 1; i < grid.sizeX && nodes.add(grid.sizeYZ); ++i)
        for (uint32 j = 0; j < grid.sizeY; ++j)
            fillRow(bits, grid.getMonoindex(i, j, 0), grid.getMonoindex(i - 1, j, 0), grid.sizeZ);
    for (uint32 i = grid.sizeX - 1; i-- > 0 && nodes.add(grid.sizeYZ);)
        for (uint32 j = 0; j < grid.sizeY; ++j)
            fillRow(bits, grid.getMonoindex(i, j, 0), grid.getMonoindex(i + 1, j, 0), grid.sizeZ);
}

}  // namespace

void propagateFlags(Polling& polling, const GridDescription3<double>& grid, const NodeFlags& flags)
{
    bool any = false;
    for (const BitArray* bits : flags)
    {
        if (bits->size() != grid.size || bits->wordCount() != BitArray::wordsFor(grid.size)) return;
        any = any || bits->count() > 0;
    }
    if (!any) return;
    FlagBits bits(flags);
    PollCounter nodes(polling, lightItems);
    propagateAlongZ(grid, bits, nodes);
    propagateAlongY(grid, bits, nodes);
    propagateAlongX(grid, bits, nodes);
}

}  // namespace tavrix::detail
