#include <algorithm>
#include <cstring>
#include <stdexcept>

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

/// True when the counts of nodes are the product of the sizes, as in every record that is whole: that tells
/// a damaged one before memory is taken for it.
bool hasItsCounts(const GridDescription3<double>& grid)
{
    try
    {
        return grid.size == GridDescription3<double>::nodeCount(grid.sizeX, grid.sizeY, grid.sizeZ) &&
               grid.sizeYZ == grid.sizeY * grid.sizeZ;
    }
    catch (const std::length_error&)
    {
        return false;
    }
}

template <class Stream>
bool readGrid(Stream& stream, GridDescription3<double>& grid)
{
    return readWhole(stream, grid.sizeX) && readWhole(stream, grid.sizeY) && readWhole(stream, grid.sizeZ) &&
           readWhole(stream, grid.sizeYZ) && readWhole(stream, grid.size) && readWhole(stream, grid.box) &&
           readWhole(stream, grid.separation) && readWhole(stream, grid.reciprocalSeparation) &&
           readWhole(stream, grid.largestSeparation) && hasItsCounts(grid);
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

/// Reads a count and as many records as it says, or those that there are; false when some are missing.
template <class Record, class Stream, class Use>
bool readList(Stream& stream, Use use)
{
    uint32 count;
    if (!readWhole(stream, count)) return false;
    unsigned char block[recordsAtOnce * Record::bytes];
    for (uint32 done = 0; done < count;)
    {
        const uint32 asked = std::min(recordsAtOnce, count - done);
        stream.read(block, asked * Record::bytes);
        const uint32 got = stream.movedBytes() / Record::bytes;
        for (uint32 n = 0; n < got; ++n) use(Record::unpack(block + n * Record::bytes));
        if (got < asked) return false;
        done += got;
    }
    return true;
}

/// Reads flags for so many nodes; none are set when the record is not one for them.
template <class Stream>
void readFlags(Stream& stream, BitArray& flags, uint32 nodeCount)
{
    flags.resize(nodeCount);
    uint32 wordCount, bitCount;
    Array<uint32> words;
    if (!readWhole(stream, wordCount) || wordCount != flags.wordCount() ||
        !detail::readElements(stream, words, wordCount) || !readWhole(stream, bitCount) ||
        bitCount != nodeCount)
        return;
    if (nodeCount % 32 != 0) words.back() &= (1u << nodeCount % 32) - 1;
    flags.refWords().swap(words);
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
void ImplicitSurface3Regular<T>::load_useRegularFormat_Imp(Stream& stream)
{
    init_toZeroSize();
    GridDescription3<double> grid;
    uint32 sampleCount;
    Array<T> samples;
    if (!readGrid(stream, grid) || !readWhole(stream, sampleCount) || sampleCount != grid.size) return;
    const bool isWhole = detail::readElements(stream, samples, sampleCount);
    if (samples.size() < grid.size / 2) return;  // so that memory stays in proportion to the stream
    const uint32 given = samples.size();
    samples.resize(grid.size);
    std::fill(samples.begin() + given, samples.end(), _defaultValue);

    unflag(grid.size);
    _field.adopt(grid, std::move(samples));
    _field.refFlags() |= flagInitialised;
    if (isWhole) readFlags(stream, _surface, grid.size);
}

template <class T>
template <class Stream>
void ImplicitSurface3Regular<T>::load_useSparseFormat_Imp(Stream& stream)
{
    init_toZeroSize();
    GridDescription3<double> grid;
    if (!readGrid(stream, grid)) return;
    unflag(grid.size);
    _field.reset(grid.sizeX, grid.sizeY, grid.sizeZ, grid.separation);
    _field.moveTo(grid.box.min + (grid.box.max - grid.box.min) / 2);
    _field.set(_defaultValue);
    _field.refFlags() |= flagInitialised;
    const bool isWhole = readList<IndexedSample<T>>(stream,
                                                    [this](const IndexedSample<T>& sample)
                                                    {
                                                        if (sample.monoindex < _field.size())
                                                            _field.set(sample.monoindex, sample.value);
                                                    });
    if (isWhole)
        readList<NodeIndex>(stream,
                            [this](const NodeIndex& node)
                            {
                                if (node.monoindex < _field.size()) _surface.set(node.monoindex);
                            });
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
    void ImplicitSurface3Regular<T>::load_useRegularFormat(Stream& stream)       \
    {                                                                            \
        load_useRegularFormat_Imp(stream);                                       \
    }                                                                            \
    template <class T>                                                           \
    void ImplicitSurface3Regular<T>::load_useSparseFormat(Stream& stream)        \
    {                                                                            \
        load_useSparseFormat_Imp(stream);                                        \
    }
TX_DEFINE(FileStreamBase)
TX_DEFINE(FileStreamBaseBuffered)
#undef TX_DEFINE

#define TX_INSTANTIATE(T, Stream)                                                   \
    template void ImplicitSurface3Regular<T>::save_useRegularFormat(Stream&) const; \
    template void ImplicitSurface3Regular<T>::save_useSparseFormat(Stream&) const;  \
    template void ImplicitSurface3Regular<T>::load_useRegularFormat(Stream&);       \
    template void ImplicitSurface3Regular<T>::load_useSparseFormat(Stream&);
TX_INSTANTIATE(float, FileStreamBase)
TX_INSTANTIATE(float, FileStreamBaseBuffered)
TX_INSTANTIATE(double, FileStreamBase)
TX_INSTANTIATE(double, FileStreamBaseBuffered)
#undef TX_INSTANTIATE

}  // namespace tavrix
