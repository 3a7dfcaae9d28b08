#include <algorithm>
#include <span>

#include <tavrix/mesh/PolygonTriangulation.h>
#include <tavrix/meshio/detail/ObjReader.h>

namespace tavrix::detail
{

namespace
{

/// How many of a triangle's indices, or, if it is not the first of its face, of those that come with it, have
/// no element.
uint32 countMissing(const Index3& triple, bool isFirst, std::size_t elements)
{
    const auto isMissing = [&](uint32 index) { return index != noIndex && index >= elements ? 1u : 0u; };
    return isMissing(triple.c) + (isFirst ? isMissing(triple.a) + isMissing(triple.b) : 0u);
}

/// The index of a corner of a face, in a fan of its triangles.
uint32 cornerOf(std::span<const Index3> fan, uint32 corner)
{
    return corner < 2 ? fan[0][corner] : fan[corner - 2].c;
}

/// Gives a face whose triangles are a fan the given ones.
void rearrange(std::span<Index3> fan, const Array<Index3>& triangles)
{
    const std::vector<Index3> given(fan.begin(), fan.end());
    for (uint32 i = 0; i < triangles.size(); ++i)
        for (uint32 n = 0; n < 3; ++n) fan[i][n] = cornerOf(given, triangles[i][n]);
}

bool isFan(const Array<Index3>& triangles)
{
    for (uint32 i = 0; i < triangles.size(); ++i)
        if (triangles[i] != Index3{0, i + 1, i + 2}) return false;
    return true;
}

}  // namespace

MeshReadingReport ObjReader::countFaults(const ObjGroup& group) const
{
    auto polygon = group.polygons.begin();
    MeshReadingReport faults;
    bool isFaceBad = false;
    for (uint32 f = 0; f < group.positions.size(); ++f)
    {
        while (polygon != group.polygons.end() && f - polygon->first >= polygon->count && f > polygon->first)
            ++polygon;
        const bool isFirst = polygon == group.polygons.end() || f <= polygon->first;
        const uint32 missing = countMissing(group.positions[f], isFirst, _positions.size());
        if (isFirst) isFaceBad = false;
        if (missing > 0 && !isFaceBad) ++faults.faces;
        isFaceBad |= missing > 0;
        faults.corners += missing;
        if (!group.textures.empty())
            faults.corners += countMissing(group.textures[f], isFirst, _textures.size());
        if (!group.normals.empty())
            faults.corners += countMissing(group.normals[f], isFirst, _normals.size());
    }
    return faults;
}

void ObjReader::triangulate(ObjGroup& group) const
{
    std::vector<Vector3D> places;
    Array<Index3> triangles;
    for (const auto& [first, count] : group.polygons)
    {
        const std::span<const Index3> fan(group.positions.data() + first, count);
        places.clear();
        for (uint32 corner = 0; corner < count + 2; ++corner)
            if (const uint32 position = cornerOf(fan, corner); position < _positions.size())
                places.push_back(convert<double>(_positions[position]));
        if (places.size() < count + 2) continue;
        triangulatePolygon(places, triangles);
        if (isFan(triangles)) continue;
        for (std::vector<Index3>* triples : {&group.positions, &group.textures, &group.normals})
            if (!triples->empty()) rearrange({triples->data() + first, count}, triangles);
    }
}

}  // namespace tavrix::detail
