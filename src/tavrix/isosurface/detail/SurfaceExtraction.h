#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Divisor.h>
#include <tavrix/isosurface/detail/MarchingCubes.h>
#include <tavrix/isosurface/detail/MeshCleaning.h>
#include <tavrix/isosurface/detail/VertexOrder.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/detail/Prefetch.h>

// The extraction of a surface is one template over a source of samples:
//
//   const GridDescription3<double>& grid() const;
//   void classify(uint32 i, uint32 j, uint64* bits) const;        the sign bits of the nodes (i, j, 0 ..)
//   Vector3D vertex(const GridEdgeKey& key) const;                where the surface crosses a grid edge
//   void prefetch(const GridEdgeKey& key) const;                  a hint that vertex(key) will be asked soon
//   static constexpr bool hasNormals;
//   Vector3F normal(const GridEdgeKey& key) const;                if it has
//
// A source that does not hold every sample has, instead of classify,
//
//   Array<CrossedCell> findCells(const CellRange& cells, uint32 threadCount, Polling& polling) const;

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
    Vector3D operator()(const GridEdgeKey& key, double t) const
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
    void prefetch(const GridEdgeKey& key) const
    {
        const uint32 step = stepAlong(key.b);
        detail::prefetch(_samples + key.a);
        detail::prefetch(_samples + key.a + step);
    }

    /// The point of the edge where the linear interpolation of its samples meets the threshold.
    Vector3D vertex(const GridEdgeKey& key) const
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

/// The sign bits of all nodes that the cells touch; false when the polling stopped the work.
template <class Source>
bool classifySamples(const Source& source, const ExtractionOptions& options, Polling& polling,
                     SignRows& signs)
{
    const CellRange& cells = options.cells;
    return polledFor(polling, cells.high.a - cells.low.a + 1,
                     threadsWorth(source.grid().size, nodesPerPoll, options.threadCount),
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         PollCounter nodes(polling, nodesPerPoll);
                         for (auto i = static_cast<uint32>(cells.low.a + begin); i < cells.low.a + end; ++i)
                             for (uint32 j = cells.low.b; j <= cells.high.b; ++j)
                             {
                                 source.classify(i, j, signs.row(i, j));
                                 if (!nodes.add(source.grid().sizeZ)) return;
                             }
                     });
}

/// What an extraction makes of a mesh, built apart from it: until all is there, the mesh stays as it was.
struct SurfaceDraft
{
    Array<Vector3D> pos;
    Array<Vector3F> nor;
    Array<Index3> trindexPos, trindexNor;
};

/// Copies the elements to the front of a larger array.
template <class T>
bool copyToFront(const Array<T>& from, Array<T>& to, uint32 threadCount, Polling& polling)
{
    return inPieces(polling, from.size(), lightItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { std::copy(from.data() + begin, from.data() + end, to.data() + begin); });
}

/// The mesh's positions and normals, and behind them those of the vertices.
template <class Source>
bool draftVertices(const Source& source, const Array<GridEdgeKey>& vertices, const Mesh& mesh,
                   uint32 threadCount, Polling& polling, SurfaceDraft& draft)
{
    const uint32 oldPositions = mesh.getPosSize(), oldNormals = mesh.nor().size();
    draft.pos.resize(Array<Vector3D>::checkedSize(uint64{oldPositions} + vertices.size()));
    draft.nor.resize(Array<Vector3F>::checkedSize(uint64{oldNormals} + vertices.size()));
    Vector3D* positions = draft.pos.data() + oldPositions;
    Vector3F* normals = draft.nor.data() + oldNormals;
    return copyToFront(mesh.pos(), draft.pos, threadCount, polling) &&
           copyToFront(mesh.nor(), draft.nor, threadCount, polling) &&
           inPieces(polling, vertices.size(), scatteredItems, threadCount,
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

/// Merges the draft's positions and drops the faces that collapse. Equal positions are ordered by `rank`.
inline bool cleanDraft(SurfaceDraft& draft, double tolerance, uint32 threadCount, Polling& polling,
                       const Rank& rank)
{
    mergeTolerance() = tolerance;
    if (!cleanSurface(draft.pos, draft.trindexPos, threadCount, polling, rank)) return false;
    fitNormals(draft.nor, draft.pos.size());
    return true;
}

/// What the final numbers of vertices order equal positions by, where the vertices do not have them.
inline Rank rankByBucket(const SurfaceTopology& surface)
{
    return [&keys = surface.vertices, buckets = VertexBuckets(surface.faces.size())](uint32 vertex)
    { return uint64{buckets.bucketOf(keys[vertex])} << 32 | vertex; };
}

/// The surface's vertices and faces; empty when there is none or the polling stopped the work.
template <class Source>
SurfaceTopology findSurface(const Source& source, const ExtractionOptions& options, Polling& polling)
{
    if (options.cells.empty()) return {};
    if constexpr (requires { source.findCells(options.cells, options.threadCount, polling); })
    {
        Array<CrossedCell> crossed = source.findCells(options.cells, options.threadCount, polling);
        if (polling.isStopped()) return {};
        return marchCubes(source.grid(), std::move(crossed), options.cells, options.threadCount, polling);
    }
    else
    {
        SignRows signs(source.grid().sizeX, source.grid().sizeY, source.grid().sizeZ);
        if (!classifySamples(source, options, polling, signs)) return {};
        return marchCubes(source.grid(), signs, options.cells, options.threadCount, polling);
    }
}

/// Makes the draft's arrays those of the mesh.
inline void takeDraft(SurfaceDraft& draft, Mesh& mesh)
{
    Array<Vector3D>& pos = mesh.refPos();
    Array<Vector3F>& nor = mesh.refNor();
    Array<Index3>& trindexPos = mesh.refTrindexPos();
    Array<Index3>& trindexNor = mesh.refTrindexNor();
    pos.swap(draft.pos);
    nor.swap(draft.nor);
    trindexPos.swap(draft.trindexPos);
    trindexNor.swap(draft.trindexNor);
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

/// The whole extraction; the contract is IsosurfaceExtractor3::extractMesh's. A null vertexEdges is not
/// filled. afterCells(corner count) is called once the faces are known.
template <class Source, class AfterCells>
unsigned long extractSurface(const Source& source, const ExtractionOptions& options, Mesh& mesh,
                             Array<GridEdgeKey>* vertexEdges, AfterCells afterCells)
{
    Polling polling(options.callback);
    SurfaceTopology surface = polling.goOn() ? findSurface(source, options, polling) : SurfaceTopology{};
    // The clean-up orders positions anew, so their numbers before it matter only to who sees them.
    const bool numbersShow = !options.cleanUp || vertexEdges || Source::hasNormals || mesh.getPosSize() > 0;
    if (numbersShow && !surface.faces.empty() && !numberByBucket(options.threadCount, polling, surface))
        surface = {};
    afterCells(surface.cornerCount);
    if (surface.faces.empty()) return 0;
    SurfaceDraft draft;
    if (!draftVertices(source, surface.vertices, mesh, options.threadCount, polling, draft)) return 0;
    const Rank rank = numbersShow ? Rank{} : rankByBucket(surface);
    draft.trindexPos = std::move(surface.faces);
    if (!options.cleanUp && !vertexEdges) surface.vertices.reserve(0);
    constexpr double mergeFraction = 1.0 / 8192;  // 2^-13
    if (options.cleanUp && !cleanDraft(draft, source.grid().largestSeparation * mergeFraction,
                                       options.threadCount, polling, rank))
        return 0;
    draft.trindexNor.resize(draft.trindexPos.size());
    if (!copyToFront(draft.trindexPos, draft.trindexNor, options.threadCount, polling)) return 0;
    takeDraft(draft, mesh);
    if (vertexEdges) *vertexEdges = std::move(surface.vertices);
    return mesh.getFacesSize();
}

}  // namespace tavrix::detail
