#include <tavrix/isosurface/IsosurfaceExtractor3.h>

#include <tavrix/isosurface/detail/TiledSource.h>

namespace tavrix
{

namespace
{

template <class T>
unsigned long extract(const ScalarField3<T, double>& field, Mesh& mesh, T threshold,
                      const detail::ExtractionOptions& options, Array<GridEdgeKey>* vertexEdges)
{
    return detail::extractSurface(
        detail::DenseSource<T>(field.getGrid(), field.getArrScalars().data(), threshold), options, mesh,
        vertexEdges, [](uint64) {});
}

template <class T>
unsigned long extract(const ScalarField3_SG<T, double>& field, Mesh& mesh, T threshold,
                      const detail::ExtractionOptions& options, Array<GridEdgeKey>* vertexEdges)
{
    return detail::extractSurface(detail::TiledSource<T>(field, threshold), options, mesh, vertexEdges,
                                  [](uint64) {});
}

}  // namespace

#define TX_DEFINE(Field)                                                                                     \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold,                 \
        const Box3<double>& box, Array<GridEdgeKey>& vertexEdges, uint32 threadCount,                        \
        CancelCallback callback, bool cleanUp)                                                               \
    {                                                                                                        \
        return extract(field, mesh, threshold,                                                               \
                       {detail::cellsTouchingBox(field.getGrid(), box), threadCount, callback, cleanUp},     \
                       &vertexEdges);                                                                        \
    }                                                                                                        \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold,                 \
        const Box3<double>& box, uint32 threadCount, CancelCallback callback, bool cleanUp)                  \
    {                                                                                                        \
        return extract(field, mesh, threshold,                                                               \
                       {detail::cellsTouchingBox(field.getGrid(), box), threadCount, callback, cleanUp},     \
                       nullptr);                                                                             \
    }                                                                                                        \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold, uint32 xLow,    \
        uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, Array<GridEdgeKey>& vertexEdges, \
        uint32 threadCount, CancelCallback callback, bool cleanUp)                                           \
    {                                                                                                        \
        return extract(                                                                                      \
            field, mesh, threshold,                                                                          \
            {detail::cellsWithinMargins(field.getGrid(), {xLow, yLow, zLow}, {xHigh, yHigh, zHigh}),         \
             threadCount, callback, cleanUp},                                                                \
            &vertexEdges);                                                                                   \
    }                                                                                                        \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold, uint32 xLow,    \
        uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, uint32 threadCount,              \
        CancelCallback callback, bool cleanUp)                                                               \
    {                                                                                                        \
        return extract(                                                                                      \
            field, mesh, threshold,                                                                          \
            {detail::cellsWithinMargins(field.getGrid(), {xLow, yLow, zLow}, {xHigh, yHigh, zHigh}),         \
             threadCount, callback, cleanUp},                                                                \
            nullptr);                                                                                        \
    }                                                                                                        \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold, uint32 xLow,    \
        uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, Array<GridEdgeKey>& vertexEdges, \
        bool cleanUp)                                                                                        \
    {                                                                                                        \
        return extractMesh(field, mesh, threshold, xLow, xHigh, yLow, yHigh, zLow, zHigh, vertexEdges, 1,    \
                           nullptr, cleanUp);                                                                \
    }                                                                                                        \
    template <class T>                                                                                       \
    unsigned long IsosurfaceExtractor3::extractMesh(                                                         \
        const Field<T, double>& field, Mesh& mesh, const std::type_identity_t<T>& threshold, uint32 xLow,    \
        uint32 xHigh, uint32 yLow, uint32 yHigh, uint32 zLow, uint32 zHigh, bool cleanUp)                    \
    {                                                                                                        \
        return extractMesh(field, mesh, threshold, xLow, xHigh, yLow, yHigh, zLow, zHigh, 1, nullptr,        \
                           cleanUp);                                                                         \
    }
TX_DEFINE(ScalarField3)
TX_DEFINE(ScalarField3_SG)
#undef TX_DEFINE

bool IsosurfaceExtractor3::mcaClean(Mesh& mesh, const double& tolerance, uint32 threadCount,
                                    CancelCallback callback)
{
    detail::mergeTolerance() = tolerance;
    detail::MeshCleaning cleaning(mesh, threadCount, callback);
    if (!eraseRepeatedVertices(cleaning) || !eraseFacesWithRepatedIndexes(cleaning)) return false;
    cleaning.finish();
    return true;
}

bool IsosurfaceExtractor3::eraseRepeatedVertices(detail::MeshCleaning& cleaning)
{
    return cleaning.eraseRepeatedVertices();
}

bool IsosurfaceExtractor3::eraseFacesWithRepatedIndexes(detail::MeshCleaning& cleaning)
{
    return cleaning.eraseFacesWithRepatedIndexes();
}

#define TX_INSTANTIATE(Field, T)                                                                          \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, const Box3<double>&, Array<GridEdgeKey>&, uint32,       \
        CancelCallback, bool);                                                                            \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, const Box3<double>&, uint32, CancelCallback, bool);     \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, uint32, uint32, uint32, uint32, uint32, uint32,         \
        Array<GridEdgeKey>&, uint32, CancelCallback, bool);                                               \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, uint32, uint32, uint32, uint32, uint32, uint32, uint32, \
        CancelCallback, bool);                                                                            \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, uint32, uint32, uint32, uint32, uint32, uint32,         \
        Array<GridEdgeKey>&, bool);                                                                       \
    template TX_GEOMETRY_API unsigned long IsosurfaceExtractor3::extractMesh(                             \
        const Field<T, double>&, Mesh&, const T&, uint32, uint32, uint32, uint32, uint32, uint32, bool);
TX_INSTANTIATE(ScalarField3, float)
TX_INSTANTIATE(ScalarField3, double)
TX_INSTANTIATE(ScalarField3_SG, float)
TX_INSTANTIATE(ScalarField3_SG, double)
#undef TX_INSTANTIATE

}  // namespace tavrix
