#include <algorithm>
#include <cstring>

#include <tavrix/foundation/detail/StreamElements.h>
#include <tavrix/foundation/FileStreamBaseBuffered.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

namespace tavrix
{

using detail::readWhole;

namespace
{

template <class Stream, class Value>
void writeValue(Stream& stream, const Value& value)
{
    stream.write(&value, sizeof value);
}

// The grid record, 124 bytes.

template <class Stream>
void writeGrid(Stream& stream, const GridDescription3<double>& grid)
{
    for (const uint32 size : {grid.sizeX, grid.sizeY, grid.sizeZ, grid.sizeYZ, grid.size})
        writeValue(stream, size);
    writeValue(stream, grid.box);
    writeValue(stream, grid.separation);
    writeValue(stream, grid.reciprocalSeparation);
    writeValue(stream, grid.largestSeparation);
}

/// Largest grid, 256 nodes along each axis, that is allocated on the word of its sizes alone.
constexpr uint64 nodesOnTrust = 1u << 24;
/// The most nodes for each sample that a file which is cut off gives.
constexpr uint64 nodesPerSample = 64;

/// The product of the sizes, or what of it is already more than a grid can number.
uint64 nodesOf(const GridDescription3<double>& grid)
{
    if (grid.sizeX == 0) return 0;
    const uint64 plane = uint64{grid.sizeY} * grid.sizeZ;
    return plane > noIndex ? plane : plane * grid.sizeX;
}

/// Whether the counts of nodes are the product of the sizes, as in every record that is whole.
bool hasItsCounts(const GridDescription3<double>& grid)
{
    return grid.size == nodesOf(grid) && grid.sizeYZ == grid.sizeY * grid.sizeZ;
}

template <class Stream>
bool readGrid(Stream& stream, GridDescription3<double>& grid)
{
    return readWhole(stream, grid.sizeX) && readWhole(stream, grid.sizeY) && readWhole(stream, grid.sizeZ) &&
           readWhole(stream, grid.sizeYZ) && readWhole(stream, grid.size) && readWhole(stream, grid.box) &&
           readWhole(stream, grid.separation) && readWhole(stream, grid.reciprocalSeparation) &&
           readWhole(stream, grid.largestSeparation);
}

/// A record of a list, with no gap between its members in the file.
template <class T>
struct IndexedSample
{
    static constexpr uint32 bytes = sizeof(uint32) + sizeof(T);

    uint32 monoindex;
    T value;

    void pack(unsigned char* to) const
    {
        std::memcpy(to, &monoindex, sizeof monoindex);
        std::memcpy(to + sizeof monoindex, &value, sizeof value);
    }
    static IndexedSample unpack(const unsigned char* from)
    {
        IndexedSample sample;
        std::memcpy(&sample.monoindex, from, sizeof sample.monoindex);
        std::memcpy(&sample.value, from + sizeof sample.monoindex, sizeof sample.value);
        return sample;
    }
};

struct NodeIndex
{
    static constexpr uint32 bytes = sizeof(uint32);

    uint32 monoindex;

    void pack(unsigned char* to) const { std::memcpy(to, &monoindex, sizeof monoindex); }
    static NodeIndex unpack(const unsigned char* from)
    {
        NodeIndex index;
        std::memcpy(&index.monoindex, from, sizeof index.monoindex);
        return index;
    }
};

/// Records go through streams some thousand at a time.
constexpr uint32 recordsAtOnce = 4096;

/// Writes the count and then make(n) for those n of [0, end) for which isMeant(n).
template <class Stream, class IsMeant, class Make>
void writeList(Stream& stream, uint32 end, IsMeant isMeant, Make make)
{
    using Record = decltype(make(0u));
    uint32 count = 0;
    for (uint32 n = 0; n < end; ++n) count += isMeant(n);
    writeValue(stream, count);
    unsigned char block[recordsAtOnce * Record::bytes];
    uint32 used = 0;
    for (uint32 n = 0; n < end; ++n)
    {
        if (!isMeant(n)) continue;
        make(n).pack(block + used);
        used += Record::bytes;
        if (used < sizeof block) continue;
        stream.write(block, used);
        used = 0;
    }
    if (used > 0) stream.write(block, used);
}

/// Reads up to `count` records; false if there are fewer.
template <class Record, class Stream, class Use>
bool readRecords(Stream& stream, uint32 count, Use use)
{
    unsigned char block[recordsAtOnce * Record::bytes];
    for (uint32 done = 0; done < count;)
    {
        const uint32 asked = std::min(recordsAtOnce, count - done);
        const uint32 got = detail::readBytes(stream, block, asked * Record::bytes) / Record::bytes;
        for (uint32 n = 0; n < got; ++n) use(Record::unpack(block + n * Record::bytes));
        if (got < asked) return false;
        done += got;
    }
    return true;
}

/// Reads a count and as many records as it says.
template <class Record, class Stream, class Use>
bool readList(Stream& stream, Use use)
{
    uint32 count;
    return readWhole(stream, count) && readRecords<Record>(stream, count, use);
}

/// Reads the flags of the nodes, whose number stays: words and bits beyond them are left out, those that the
/// record lacks are not set. False when the stream ends before.
template <class Stream>
bool readFlags(Stream& stream, BitArray& flags)
{
    uint32 wordCount, bitCount;
    if (!readWhole(stream, wordCount)) return false;
    Array<uint32>& words = flags.refWords();
    const uint32 needed = words.size(), taken = std::min(wordCount, needed);
    const bool isWhole = detail::readElements(stream, words, taken) &&
                         readRecords<NodeIndex>(stream, wordCount - taken, [](const NodeIndex&) {}) &&
                         readWhole(stream, bitCount);
    const uint32 given = words.size();
    words.resize(needed);
    std::fill(words.begin() + given, words.end(), 0u);
    if (flags.size() % 32 != 0) words.back() &= (1u << flags.size() % 32) - 1;
    return isWhole;
}

}  // namespace

template <class T>
template <class Stream>
void ImplicitSurface3Regular<T>::save_useRegularFormat_Imp(Stream& stream) const
{
    writeGrid(stream, _field.getGrid());
    writeValue(stream, _field.size());
    detail::writeElements(stream, _field.getArrScalars().data(), _field.size());
    writeValue(stream, _surface.wordCount());
    detail::writeElements(stream, _surface.getWords().data(), _surface.wordCount());
    writeValue(stream, _surface.size());
}

template <class T>
template <class Stream>
void ImplicitSurface3Regular<T>::save_useSparseFormat_Imp(Stream& stream) const
{
    writeGrid(stream, _field.getGrid());
    writeList(
        stream, _field.size(), [this](uint32 m) { return _field[m] < _defaultValue; },
        [this](uint32 m) {
            return IndexedSample<T>{m, _field[m]};
        });
    writeList(
        stream, _surface.size(), [this](uint32 m) { return _surface.test(m); },
        [](uint32 m) { return NodeIndex{m}; });
}

template <class T>
template <class Stream>
bool ImplicitSurface3Regular<T>::load_useRegularFormat_Imp(Stream& stream)
{
    init_toZeroSize();
    GridDescription3<double> grid;
    uint32 sampleCount;
    Array<T> samples;
    if (!readGrid(stream, grid) || !hasItsCounts(grid) || !readWhole(stream, sampleCount) ||
        sampleCount != grid.size)
        return false;
    const bool isWhole = detail::readElements(stream, samples, sampleCount);
    const uint32 given = samples.size();
    if (grid.size > std::max(nodesOnTrust, nodesPerSample * given)) return false;
    samples.resize(grid.size);
    std::fill(samples.begin() + given, samples.end(), _defaultValue);

    unflag(grid.size);
    _field.adopt(grid, std::move(samples));
    _field.refFlags() |= flagInitialised;
    return isWhole && readFlags(stream, _surface);
}

template <class T>
template <class Stream>
bool ImplicitSurface3Regular<T>::load_useSparseFormat_Imp(Stream& stream)
{
    init_toZeroSize();
    GridDescription3<double> grid;
    if (!readGrid(stream, grid)) return false;
    const uint64 nodes = nodesOf(grid);
    if (nodes > (hasItsCounts(grid) ? noIndex : nodesOnTrust)) return false;
    unflag(static_cast<uint32>(nodes));
    _field.reset(grid.sizeX, grid.sizeY, grid.sizeZ, grid.separation);
    _field.moveTo(grid.box.min + (grid.box.max - grid.box.min) / 2);
    _field.set(_defaultValue);
    _field.refFlags() |= flagInitialised;
    const auto setSample = [this](const IndexedSample<T>& sample)
    {
        if (sample.monoindex < _field.size()) _field.set(sample.monoindex, sample.value);
    };
    const auto flagNode = [this](const NodeIndex& node)
    {
        if (node.monoindex < _field.size()) _surface.set(node.monoindex);
    };
    return readList<IndexedSample<T>>(stream, setSample) && readList<NodeIndex>(stream, flagNode);
}

#define TX_DEFINE(Stream)                                                        \
    template <class T>                                                           \
    void ImplicitSurface3Regular<T>::save_useRegularFormat(Stream& stream) const \
    {                                                                            \
        save_useRegularFormat_Imp(stream);                                       \
    }                                                                            \
    template <class T>                                                           \
    void ImplicitSurface3Regular<T>::save_useSparseFormat(Stream& stream) const  \
    {                                                                            \
        save_useSparseFormat_Imp(stream);                                        \
    }                                                                            \
    template <class T>                                                           \
    bool ImplicitSurface3Regular<T>::load_useRegularFormat(Stream& stream)       \
    {                                                                            \
        return load_useRegularFormat_Imp(stream);                                \
    }                                                                            \
    template <class T>                                                           \
    bool ImplicitSurface3Regular<T>::load_useSparseFormat(Stream& stream)        \
    {                                                                            \
        return load_useSparseFormat_Imp(stream);                                 \
    }
TX_DEFINE(FileStreamBase)
TX_DEFINE(FileStreamBaseBuffered)
#undef TX_DEFINE

#define TX_INSTANTIATE(T, Stream)                                                   \
    template void ImplicitSurface3Regular<T>::save_useRegularFormat(Stream&) const; \
    template void ImplicitSurface3Regular<T>::save_useSparseFormat(Stream&) const;  \
    template bool ImplicitSurface3Regular<T>::load_useRegularFormat(Stream&);       \
    template bool ImplicitSurface3Regular<T>::load_useSparseFormat(Stream&);
TX_INSTANTIATE(float, FileStreamBase)
TX_INSTANTIATE(float, FileStreamBaseBuffered)
TX_INSTANTIATE(double, FileStreamBase)
TX_INSTANTIATE(double, FileStreamBaseBuffered)
#undef TX_INSTANTIATE

}  // namespace tavrix
