#include <tavrix/implicit/ImplicitSurface3Regular.h>

#include <vector>

#include <tavrix/foundation/detail/Polling.h>

namespace tavrix
{

namespace
{

constexpr Index3 voxelCorner(const Index3& node, uint32 c)
{
    return {node.a + (c & 1), node.b + (c >> 1 & 1), node.c + (c >> 2)};
}

/// Nodes first to last along an axis that share a voxel with a node.
struct Around
{
    uint32 first, last;

    Around(uint32 index, uint32 size)
        : first(index > 0 ? index - 1 : 0), last(index + 1 < size ? index + 1 : index)
    {
    }
};

/// How many of the four nodes of a row and its upper neighbours in x and y are below the threshold, for each
/// k: two of these that follow each other are the nodes of a voxel.
template <class T>
void countBelow(const GridDescription3<double>& grid, const T* row, T threshold, std::vector<uint8>& below)
{
    const T *rowX = row + grid.sizeYZ, *rowY = row + grid.sizeZ, *rowXY = rowX + grid.sizeZ;
    for (std::size_t k = 0; k < below.size(); ++k)
        below[k] = static_cast<uint8>((row[k] < threshold) + (rowX[k] < threshold) + (rowY[k] < threshold) +
                                      (rowXY[k] < threshold));
}

/// use(monoindex) for every set bit, in order.
template <class Use>
void forEachSetBit(const BitArray& bits, detail::Polling& polling, Use use)
{
    detail::PollCounter work(polling, detail::scatteredItems);
    for (uint32 w = 0; w < bits.wordCount(); ++w)
    {
        uint32 word = bits.getWords()[w];
        if (!work.add(1u + static_cast<uint32>(std::popcount(word)))) return;
        for (; word != 0; word &= word - 1) use(w * 32 + static_cast<uint32>(std::countr_zero(word)));
    }
}

}  // namespace

template <class T>
bool ImplicitSurface3Regular<T>::detectLeftDownNearSurfaceVoxel(const Index3& node) const
{
    if (node.a >= _field.lastX() || node.b >= _field.lastY() || node.c >= _field.lastZ()) return false;
    const bool below = isBelow(node.a, node.b, node.c);
    for (uint32 c = 1; c < 8; ++c)
    {
        const Index3 corner = voxelCorner(node, c);
        if (isBelow(corner.a, corner.b, corner.c) != below) return true;
    }
    return false;
}

template <class T>
void ImplicitSurface3Regular<T>::markVoxelNodes(const Index3& node)
{
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 corner = voxelCorner(node, c);
        setSurfaceTrue(_field.getGrid().getMonoindex(corner.a, corner.b, corner.c));
    }
}

template <class T>
void ImplicitSurface3Regular<T>::markNeighbor(const Index3& node, bool negative)
{
    unflagResized();
    const uint32 m = _field.getGrid().getMonoindex(node.a, node.b, node.c);
    if (isSurface(m) || isNeighborsPositive(m) || isNeighborsNegative(m)) return;
    (negative ? _neighborsNegative : _neighborsPositive).set(m);
}

template <class T>
void ImplicitSurface3Regular<T>::markVoxelSignedNodes(const Index3& node)
{
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 corner = voxelCorner(node, c);
        markNeighbor(corner, isBelow(corner.a, corner.b, corner.c));
    }
}

template <class T>
void ImplicitSurface3Regular<T>::markVoxelUnsignedNodes(const Index3& node)
{
    for (uint32 c = 0; c < 8; ++c) markNeighbor(voxelCorner(node, c), false);
}

template <class T>
void ImplicitSurface3Regular<T>::addBorder(const BitArray& bits, detail::Polling& polling)
{
    forEachSetBit(bits, polling,
                  [this](uint32 m)
                  {
                      const Index3 node = _field.getIndexes(m);
                      const Around x(node.a, _field.sizeX()), y(node.b, _field.sizeY()),
                          z(node.c, _field.sizeZ());
                      for (uint32 i = x.first; i <= x.last; ++i)
                          for (uint32 j = y.first; j <= y.last; ++j)
                              for (uint32 k = z.first; k <= z.last; ++k)
                                  markNeighbor({i, j, k}, isBelow(i, j, k));
                  });
}

template <class T>
void ImplicitSurface3Regular<T>::addBorderAroundSurface()
{
    unflagResized();
    detail::Polling none(nullptr);
    addBorder(_surface, none);
}

template <class T>
void ImplicitSurface3Regular<T>::addBorderAroundNeighbors()
{
    unflagResized();
    // copies, because the layer that is added must not grow a layer of its own
    const BitArray positive(_neighborsPositive), negative(_neighborsNegative);
    detail::Polling none(nullptr);
    addBorder(positive, none);
    addBorder(negative, none);
}

template <class T>
void ImplicitSurface3Regular<T>::createNeighborsCells()
{
    detail::Polling none(nullptr);
    flagNeighbors(none);
}

template <class T>
void ImplicitSurface3Regular<T>::flagNeighbors(detail::Polling& polling)
{
    unflag(_field.size());
    if (_field.size() == 0) return;  // one size may be 0 and the others large
    std::vector<uint8> below(_field.sizeZ());
    detail::PollCounter nodes(polling, detail::lightItems);
    for (uint32 i = 0; i + 1 < _field.sizeX(); ++i)
        for (uint32 j = 0; j + 1 < _field.sizeY() && nodes.add(below.size()); ++j)
        {
            countBelow(_field.getGrid(), &_field[_field.getGrid().getMonoindex(i, j, 0)], _threshold, below);
            for (uint32 k = 0; k + 1 < below.size(); ++k)
                if ((below[k] + below[k + 1]) % 8 != 0) markVoxelNodes({i, j, k});
        }
    addBorder(_surface, polling);
}

#define TX_INSTANTIATE(T)                                                                          \
    template bool ImplicitSurface3Regular<T>::detectLeftDownNearSurfaceVoxel(const Index3&) const; \
    template void ImplicitSurface3Regular<T>::markVoxelNodes(const Index3&);                       \
    template void ImplicitSurface3Regular<T>::markVoxelSignedNodes(const Index3&);                 \
    template void ImplicitSurface3Regular<T>::markVoxelUnsignedNodes(const Index3&);               \
    template void ImplicitSurface3Regular<T>::addBorderAroundSurface();                            \
    template void ImplicitSurface3Regular<T>::addBorderAroundNeighbors();                          \
    template void ImplicitSurface3Regular<T>::createNeighborsCells();                              \
    template void ImplicitSurface3Regular<T>::markNeighbor(const Index3&, bool);                   \
    template void ImplicitSurface3Regular<T>::flagNeighbors(detail::Polling&);                     \
    template void ImplicitSurface3Regular<T>::addBorder(const BitArray&, detail::Polling&);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
