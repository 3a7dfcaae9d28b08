// The extraction of level-set surfaces, declared with all others in IsosurfaceExtractor3: the extractor does
// not know how surfaces store their samples.

#include <tavrix/implicit/detail/SparseField.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/implicit/ImplicitSurface3Sparse.h>
#include <tavrix/isosurface/detail/SurfaceExtraction.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

namespace tavrix
{

namespace
{

/// The held samples of a sparse field, and the default value elsewhere.
template <class T>
class SparseSource
{
public:
    static constexpr bool hasNormals = false;

    SparseSource(const detail::SparseField<T>& field, T threshold)
        : _field(field), _points(field.getGrid()), _threshold(threshold)
    {
    }

    const GridDescription3<double>& grid() const { return _field.getGrid(); }

    void classify(uint32 i, uint32 j, uint64* bits) const
    {
        const uint32 sizeZ = grid().sizeZ;
        const bool farBit = _field.getDefaultValue() >= _threshold;
        for (uint32 w = 0; w <= sizeZ / 64; ++w) bits[w] = 0;
        if (farBit)
            for (uint32 k = 0; k < sizeZ; ++k) bits[k / 64] |= uint64{1} << k % 64;
        const auto row = _field.row(i, j);
        for (uint32 n = row.begin; n < row.end; ++n)
        {
            const uint32 k = _field.indexInRow(n);
            if ((_field.values()[n] >= _threshold) != farBit) bits[k / 64] ^= uint64{1} << k % 64;
        }
    }

    void prefetch(const GridEdgeKey&) const {}

    Vector3D vertex(const GridEdgeKey& key) const
    {
        Index3 node = grid().getIndexes(key.a);
        const auto low = static_cast<double>(_field.get(node));
        ++node[key.b];
        const auto high = static_cast<double>(_field.get(node));
        return _points(key, (static_cast<double>(_threshold) - low) / (high - low));
    }

private:
    const detail::SparseField<T>& _field;
    detail::EdgePoints _points;
    T _threshold;
};

template <class T>
unsigned long extract(const ImplicitSurface3Regular<T>& surface, Mesh& mesh,
                      const detail::ExtractionOptions& options, Array<GridEdgeKey>* vertexEdges)
{
    const auto& field = surface.getField();
    const detail::DenseSource<T> source(field.getGrid(), field.getDenseSamples(), surface.getThreshold());
    return detail::extractSurface(source, options, mesh, vertexEdges, [](uint64) {});
}

template <class T>
unsigned long extract(const ImplicitSurface3Sparse<T>& surface, Mesh& mesh,
                      const detail::ExtractionOptions& options, Array<GridEdgeKey>* vertexEdges)
{
    const auto& field = static_cast<const detail::SparseField<T>&>(surface.getField());
    return detail::extractSurface(SparseSource<T>(field, surface.getThreshold()), options, mesh, vertexEdges,
                                  [](uint64) {});
}

}  // namespace

#define TX_DEFINE(Surface)                                                                               \
    template <class T>                                                                                   \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                     \
        const Surface<T>& surface, Mesh& mesh, const Box3<double>& box, Array<GridEdgeKey>& vertexEdges, \
        uint32 threadCount, CancelCallback callback, bool cleanUp)                                       \
    {                                                                                                    \
        const auto cells = detail::cellsTouchingBox(surface.getField().getGrid(), box);                  \
        return extract(surface, mesh, {cells, threadCount, callback, cleanUp}, &vertexEdges);            \
    }                                                                                                    \
    template <class T>                                                                                   \
    unsigned long IsosurfaceExtractor3::extractMesh(const Surface<T>& surface, Mesh& mesh,               \
                                                    const Box3<double>& box, uint32 threadCount,         \
                                                    CancelCallback callback, bool cleanUp)               \
    {                                                                                                    \
        const auto cells = detail::cellsTouchingBox(surface.getField().getGrid(), box);                  \
        return extract(surface, mesh, {cells, threadCount, callback, cleanUp}, nullptr);                 \
    }                                                                                                    \
    template <class T>                                                                                   \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                     \
        const Surface<T>& surface, Mesh& mesh, uint32 xLow, uint32 xHigh, uint32 yLow, uint32 yHigh,     \
        uint32 zLow, uint32 zHigh, Array<GridEdgeKey>& vertexEdges, uint32 threadCount,                  \
        CancelCallback callback, bool cleanUp)                                                           \
    {                                                                                                    \
        const auto cells = detail::cellsWithinMargins(surface.getField().getGrid(), {xLow, yLow, zLow},  \
                                                      {xHigh, yHigh, zHigh});                            \
        return extract(surface, mesh, {cells, threadCount, callback, cleanUp}, &vertexEdges);            \
    }                                                                                                    \
    template <class T>                                                                                   \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                     \
        const Surface<T>& surface, Mesh& mesh, uint32 xLow, uint32 xHigh, uint32 yLow, uint32 yHigh,     \
        uint32 zLow, uint32 zHigh, uint32 threadCount, CancelCallback callback, bool cleanUp)            \
    {                                                                                                    \
        const auto cells = detail::cellsWithinMargins(surface.getField().getGrid(), {xLow, yLow, zLow},  \
                                                      {xHigh, yHigh, zHigh});                            \
        return extract(surface, mesh, {cells, threadCount, callback, cleanUp}, nullptr);                 \
    }
TX_DEFINE(ImplicitSurface3Regular)
TX_DEFINE(ImplicitSurface3Sparse)
#undef TX_DEFINE

#define TX_INSTANTIATE(Surface)                                                                             \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                               \
        const Surface&, Mesh&, const Box3<double>&, Array<GridEdgeKey>&, uint32, CancelCallback, bool);     \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                               \
        const Surface&, Mesh&, const Box3<double>&, uint32, CancelCallback, bool);                          \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                               \
        const Surface&, Mesh&, uint32, uint32, uint32, uint32, uint32, uint32, Array<GridEdgeKey>&, uint32, \
        CancelCallback, bool);                                                                              \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                               \
        const Surface&, Mesh&, uint32, uint32, uint32, uint32, uint32, uint32, uint32, CancelCallback,      \
        bool);
TX_INSTANTIATE(ImplicitSurface3Regular<float>)
TX_INSTANTIATE(ImplicitSurface3Regular<double>)
TX_INSTANTIATE(ImplicitSurface3Sparse<float>)
TX_INSTANTIATE(ImplicitSurface3Sparse<double>)
#undef TX_INSTANTIATE

}  // namespace tavrix
