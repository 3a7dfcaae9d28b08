// The extraction of level-set surfaces, declared with all others in IsosurfaceExtractor3: the extractor does
// not know how surfaces store their samples.

#include <tavrix/implicit/detail/SparseSource.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/implicit/ImplicitSurface3Sparse.h>
#include <tavrix/isosurface/detail/SurfaceExtraction.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

namespace tavrix
{

namespace
{

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
    return detail::extractSurface(detail::SparseSource<T>(field, surface.getThreshold()), options, mesh,
                                  vertexEdges, [](uint64) {});
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
