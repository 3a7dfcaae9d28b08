#include <tavrix/reconstruction/detail/MeshAssembly.h>

#include <algorithm>
#include <atomic>

#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/isosurface/detail/MeshCleaning.h>
#include <tavrix/reconstruction/detail/SharedEdges.h>

namespace tavrix::detail
{

namespace
{

/// The numbers that the vertices and faces of every block start at.
struct Places
{
    std::vector<uint32> vertices{0}, faces{0};

    explicit Places(const std::vector<BlockSurface>& surfaces)
    {
        for (const BlockSurface& surface : surfaces)
        {
            vertices.push_back(vertices.back() + surface.vertices.count);
            faces.push_back(faces.back() + surface.faces.count);
        }
    }
};

/// Finds the vertices on foreign edges of one block after the other.
class ForeignVertices
{
public:
    ForeignVertices(const std::vector<BlockSurface>& surfaces, const Places& places)
        : _surfaces(surfaces), _places(places)
    {
    }

    /// The vertices on the foreign edges of a block, in their order; noIndex where the block that an edge
    /// belongs to has none.
    const std::vector<uint32>& of(const BlockSurface& surface)
    {
        _owners.fill(notLookedUp);
        _vertices.clear();
        for (const BlockEdge edge : surface.foreignEdges) _vertices.push_back(find(surface.block, edge));
        return _vertices;
    }

private:
    static constexpr std::size_t notLookedUp = ~std::size_t{0}, noSurface = notLookedUp - 1;

    uint32 find(const BlockIndex& block, BlockEdge foreign)
    {
        const OwnedEdge edge = ownedEdge(block, foreign);
        std::size_t& surface = _owners[edge.sides];
        if (surface == notLookedUp) surface = surfaceOf(edge.block);
        if (surface == noSurface) return noIndex;
        const uint32 vertex = vertexAt(_surfaces[surface], edge.edge);
        return vertex == noIndex ? noIndex : _places.vertices[surface] + vertex;
    }

    std::size_t surfaceOf(const BlockIndex& block) const
    {
        const BlockSurface* surface = surfaceAt(_surfaces, block);
        return surface ? static_cast<std::size_t>(surface - _surfaces.data()) : noSurface;
    }

    const std::vector<BlockSurface>& _surfaces;
    const Places& _places;
    std::array<std::size_t, 8> _owners{};  ///< by the sides at which they lie
    std::vector<uint32> _vertices;
};

}  // namespace

bool assembleMesh(std::vector<BlockSurface>& surfaces, uint32 threadCount, Polling& polling, Mesh& mesh)
{
    const Places places(surfaces);
    Array<Vector3D>& positions = mesh.refPos();
    Array<Index3>& faces = mesh.refTrindexPos();
    positions.resize(places.vertices.back());
    faces.resize(places.faces.back());
    const uint32 threads = threadsWorth(faces.size(), lightItems, threadCount);
    std::vector<ForeignVertices> lookups(threads, ForeignVertices(surfaces, places));
    std::atomic<bool> someAreMissing = false;
    const auto copySurface = [&](uint32 worker, uint64 n)
    {
        BlockSurface& surface = surfaces[n];
        const uint32 firstVertex = places.vertices[n];
        std::copy(surface.vertices.begin(), surface.vertices.end(), positions.data() + firstVertex);
        const std::vector<uint32>& foreign = lookups[worker].of(surface);
        const auto number = [&](uint32 corner)
        { return corner & foreignFlag ? foreign[corner ^ foreignFlag] : firstVertex + corner; };
        Index3* face = faces.data() + places.faces[n];
        for (const Index3& f : surface.faces)
        {
            *face = {number(f.a), number(f.b), number(f.c)};
            if (face->a == noIndex || face->b == noIndex || face->c == noIndex)
            {
                *face = {0, 0, 0};
                someAreMissing = true;
            }
            ++face;
        }
        surface.vertices.elements.reset();
        surface.faces.elements.reset();
    };
    return inTurns(polling, surfaces.size(), threads, copySurface) &&
           (!someAreMissing || dropCollapsedFaces({&faces}, threadCount, polling));
}

std::vector<NodeVertex> listNodeVertices(const std::vector<BlockSurface>& surfaces)
{
    std::vector<NodeVertex> vertices;
    uint32 first = 0;
    for (const BlockSurface& surface : surfaces)
    {
        forEachNodeVertex(surface, first, [&](const NodeVertex& v) { vertices.push_back(v); });
        first += surface.vertices.count;
    }
    std::sort(vertices.begin(), vertices.end());
    return vertices;
}

Optional<std::vector<uint32>> joinAtNodes(const std::vector<NodeVertex>& vertices, uint32 threadCount,
                                          Polling& polling, Mesh& mesh)
{
    struct Joined
    {
        uint32 vertex, to;
    };
    std::vector<Joined> joined;
    for (std::size_t n = 1, first = 0; n < vertices.size(); ++n)
        if (vertices[n].node == vertices[first].node)
            joined.push_back({vertices[n].vertex, vertices[first].vertex});
        else
            first = n;
    if (joined.empty()) return std::vector<uint32>();
    const auto isBefore = [](const Joined& a, uint32 vertex) { return a.vertex < vertex; };
    std::sort(joined.begin(), joined.end(),
              [](const Joined& a, const Joined& b) { return a.vertex < b.vertex; });

    // what stays moves up by the number of those before it that go
    Array<Vector3D>& positions = mesh.refPos();
    Array<uint32> numbers(positions.size());
    if (!inPieces(polling, positions.size(), lightItems, threadCount,
                  [&](uint32, uint64 begin, uint64 end)
                  {
                      auto next = std::lower_bound(joined.begin(), joined.end(), static_cast<uint32>(begin),
                                                   isBefore);
                      for (auto v = static_cast<uint32>(begin); v < end; ++v)
                      {
                          numbers[v] = v - static_cast<uint32>(next - joined.begin());
                          if (next != joined.end() && next->vertex == v) ++next;
                      }
                  }))
        return {};
    for (const Joined& j : joined) numbers[j.vertex] = numbers[j.to];
    Vector3D* kept = positions.data() + joined.front().vertex;
    for (std::size_t n = 0; n < joined.size(); ++n)
    {
        const uint32 end = n + 1 < joined.size() ? joined[n + 1].vertex : positions.size();
        kept = std::copy(positions.data() + joined[n].vertex + 1, positions.data() + end, kept);
    }
    positions.resize(static_cast<uint32>(kept - positions.data()));

    Array<Index3>& faces = mesh.refTrindexPos();
    const bool isDone =
        inPieces(polling, faces.size(), lightItems, threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 f = begin; f < end; ++f)
                         faces[f] = {numbers[faces[f].a], numbers[faces[f].b], numbers[faces[f].c]};
                 }) &&
        dropCollapsedFaces({&faces}, threadCount, polling);
    if (!isDone) return {};
    std::vector<uint32> into;
    into.reserve(joined.size());
    for (const Joined& j : joined) into.push_back(numbers[j.to]);
    sortOnce(into);
    return into;
}

}  // namespace tavrix::detail
