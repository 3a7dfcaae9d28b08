#pragma once

#include <tavrix/foundation/Divisor.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/isosurface/detail/MeshCleaning.h>
#include <tavrix/isosurface/detail/SurfaceTopology.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/detail/Prefetch.h>

// The extraction of a surface is one template over a source of samples:
//
//   const GridDescription3<double>& grid() const;
//   void classify(uint32 i, uint32 j, uint64* bits) const;        the sign bits of the nodes (i, j, 0 ..)
//   Vector3D vertex(const EdgeKey& key) const;                    where the surface crosses a grid edge
//   void prefetch(const EdgeKey& key) const;                      a hint that vertex(key) will be asked soon
//   static constexpr bool hasNormals;  Vector3F normal(const EdgeKey& key) const;

namespace tavrix::detail
{

/// How a surface is to be extracted.
struct ExtractionOptions
{
    CellRange cells;
    uint32 threadCount;
    CancelCallback callback;
    bool cleanUp;
};

/// Finds points on grid edges.
class EdgePoints
{
public:
    explicit EdgePoints(const GridDescription3<double>& grid)
        : _grid(grid), _bySizeYZ(std::max(grid.sizeYZ, 1u)), _bySizeZ(std::max(grid.sizeZ, 1u))
    {
    }

    /// The point at fraction t of the edge.
    Vector3D operator()(const EdgeKey& key, double t) const
    {
        const auto [i, rest] = _bySizeYZ.divide(key.a);
        const auto [j, k] = _bySizeZ.divide(rest);
        const Index3 node{i, j, k};
        Vector3D point = _grid.getPoint(i, j, k);
        const double end = _grid.getCoordinate(key.b, node[key.b] + 1);
        point[key.b] += t * (end - point[key.b]);
        return point;
    }

private:
    const GridDescription3<double>& _grid;
    Divisor _bySizeYZ, _bySizeZ;
};

/// Samples in one dense array.
template <class T>
class DenseSource
{
public:
    static constexpr bool hasNormals = false;

    DenseSource(const GridDescription3<double>& grid, const T* samples, T threshold)
        : _grid(grid), _points(grid), _samples(samples), _threshold(threshold)
    {
    }

    const GridDescription3<double>& grid() const { return _grid; }

    void classify(uint32 i, uint32 j, uint64* bits) const
    {
        classifyRow(_samples + _grid.getMonoindex(i, j, 0), _grid.sizeZ, _threshold, bits);
    }

    /// Brings the samples that vertex(key) will read near.
    void prefetch(const EdgeKey& key) const
    {
        const uint32 step = stepAlong(key.b);
        detail::prefetch(_samples + key.a);
        detail::prefetch(_samples + key.a + step);
    }

    /// The point of the edge where the linear interpolation of its samples meets the threshold.
    Vector3D vertex(const EdgeKey& key) const
    {
        const double low = static_cast<double>(_samples[key.a]);
        const double high = static_cast<double>(_samples[key.a + stepAlong(key.b)]);
        return _points(key, (static_cast<double>(_threshold) - low) / (high - low));
    }

private:
    uint32 stepAlong(uint32 axis) const { return axis == 0 ? _grid.sizeYZ : axis == 1 ? _grid.sizeZ : 1; }

    const GridDescription3<double>& _grid;
    EdgePoints _points;
    const T* _samples;
    T _threshold;
};

/// The sign bits of all nodes that the cells touch; false when the callback stopped the work.
template <class Source>
bool classifySamples(const Source& source, const ExtractionOptions& options, SignRows& signs)
{
    const CellRange& cells = options.cells;
    return forEachPlaneRange(source.grid(), cells.high.a - cells.low.a + 1, options.threadCount,
                             options.callback,
                             [&](uint32 begin, uint32 end)
                             {
                                 for (uint32 i = cells.low.a + begin; i < cells.low.a + end; ++i)
                                     for (uint32 j = cells.low.b; j <= cells.high.b; ++j)
                                         source.classify(i, j, signs.row(i, j));
                             });
}

/// Calculates the vertices' positions and normals.
template <class Source>
void fillVertices(const Source& source, const Array<EdgeKey>& vertices, Vector3D* positions,
                  Vector3F* normals, uint32 threadCount)
{
    parallelFor(vertices.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    constexpr uint64 ahead = 24;
                    for (uint64 v = begin; v < end; ++v)
                    {
                        if (v + ahead < end) source.prefetch(vertices[v + ahead]);
                        positions[v] = source.vertex(vertices[v]);
                        if constexpr (Source::hasNormals)
                            normals[v] = source.normal(vertices[v]);
                        else
                            normals[v] = {0, 0, 0};
                    }
                });
}

/// Appends the vertices to the mesh's positions and normals; when that fails, both are as they were.
template <class Source>
void appendVertices(const Source& source, const Array<EdgeKey>& vertices, Mesh& mesh, uint32 threadCount)
{
    Array<Vector3D>& positions = mesh.refPos();
    Array<Vector3F>& normals = mesh.refNor();
    const uint32 oldPositions = positions.size(), oldNormals = normals.size();
    try
    {
        positions.resize(Array<Vector3D>::checkedSize(uint64{oldPositions} + vertices.size()));
        normals.resize(Array<Vector3F>::checkedSize(uint64{oldNormals} + vertices.size()));
        fillVertices(source, vertices, positions.data() + oldPositions, normals.data() + oldNormals,
                     threadCount);
    }
    catch (...)
    {
        positions.resize(oldPositions);
        normals.resize(oldNormals);
        throw;
    }
}

/// Appends vertices and replaces the position triples; the normal triples are left empty.
template <class Source>
void writeMesh(const Source& source, SurfaceTopology& surface, Mesh& mesh, uint32 threadCount)
{
    Array<Index3>& trindexPos = mesh.refTrindexPos();
    Array<Index3>& trindexNor = mesh.refTrindexNor();
    appendVertices(source, surface.vertices, mesh, threadCount);
    trindexPos = std::move(surface.faces);
    trindexNor.reserve(0);
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

/// Gives the mesh its position triples as normal triples.
inline void shareTriples(Mesh& mesh, uint32 threadCount)
{
    const Array<Index3>& faces = mesh.refTrindexPos();
    Array<Index3> copy(faces.size());
    parallelFor(faces.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                { std::copy(faces.data() + begin, faces.data() + end, copy.data() + begin); });
    mesh.refTrindexNor() = std::move(copy);
}

/// The surface's vertices and faces; empty when there is none or the callback stopped the work.
template <class Source>
SurfaceTopology findSurface(const Source& source, const ExtractionOptions& options)
{
    if (options.cells.empty()) return {};
    SignRows signs(source.grid().sizeX, source.grid().sizeY, source.grid().sizeZ);
    if (!classifySamples(source, options, signs)) return {};
    return buildSurfaceTopology(source.grid(), signs, options.cells, options.threadCount, options.callback);
}

/// The whole extraction; the contract is IsosurfaceExtractor3::extractMesh's. A null vertexEdges is not
/// filled. afterCells(corner count) is called once the faces are known.
template <class Source, class AfterCells>
unsigned long extractSurface(const Source& source, const ExtractionOptions& options, Mesh& mesh,
                             Array<EdgeKey>* vertexEdges, AfterCells afterCells)
{
    SurfaceTopology surface = findSurface(source, options);
    afterCells(surface.cornerCount);
    if (surface.faces.empty() || isCancelled(options.callback)) return 0;
    writeMesh(source, surface, mesh, options.threadCount);
    if (vertexEdges) *vertexEdges = std::move(surface.vertices);
    if (options.cleanUp)
    {
        constexpr double mergeFraction = 1.0 / 8192;  // 2^-13
        cleanMesh(mesh, source.grid().largestSeparation * mergeFraction, options.threadCount);
    }
    shareTriples(mesh, options.threadCount);
    return mesh.refTrindexPos().size();
}

}  // namespace tavrix::detail
