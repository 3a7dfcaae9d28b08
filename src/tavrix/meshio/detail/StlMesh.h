#pragma once

#include <string_view>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/detail/WhiteSpace.h>

namespace tavrix::detail
{

/// The facets of an STL file on their way into a mesh: three positions, one normal and two triples each.
class StlMesh
{
public:
    /// As many facets as corners can be numbered for.
    static constexpr uint32 maxFacetCount = (noIndex - 1) / 3;

    explicit StlMesh(Mesh& mesh)
        : _mesh(mesh),
          _pos(mesh.refPos()),
          _nor(mesh.refNor()),
          _trindexPos(mesh.refTrindexPos()),
          _trindexNor(mesh.refTrindexNor())
    {
    }

    /// Names the mesh after a text of the file: what stands before a zero byte, without white space around
    /// it. A text without characters leaves the name as it is.
    void setName(std::string_view text)
    {
        text = trimmed(text.substr(0, text.find('\0')));
        if (!text.empty()) _mesh.setName(TX_String(text));
    }

    /// Makes room for that many facets, keeping those that are there.
    void resize(uint32 facetCount)
    {
        _pos.resize(3 * facetCount);
        _nor.resize(facetCount);
        _trindexPos.resize(facetCount);
        _trindexNor.resize(facetCount);
    }

    /// Gives back room that facets did not fill when it is more than an eighth.
    void trim(uint32 facetCount)
    {
        resize(facetCount);
        if (_nor.capacity() - facetCount <= facetCount / 8) return;
        _pos.reserve(3 * facetCount);
        _nor.reserve(facetCount);
        _trindexPos.reserve(facetCount);
        _trindexNor.reserve(facetCount);
    }

    uint32 size() const { return _nor.size(); }

    /// Where the facet's three corners go.
    Vector3D* corners(uint32 facet) { return _pos.data() + std::size_t{3} * facet; }
    Vector3F& normal(uint32 facet) { return _nor[facet]; }

    /// Writes the triples of the facets [first, end).
    void number(uint32 first, uint32 end)
    {
        for (uint32 i = first; i < end; ++i) _trindexPos[i] = {3 * i, 3 * i + 1, 3 * i + 2};
        for (uint32 i = first; i < end; ++i) _trindexNor[i] = {i, i, i};
    }

private:
    Mesh& _mesh;
    Array<Vector3D>& _pos;
    Array<Vector3F>& _nor;
    Array<Index3>& _trindexPos;
    Array<Index3>& _trindexNor;
};

}  // namespace tavrix::detail
