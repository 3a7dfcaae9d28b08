#include <tavrix/mesh/SheetSeparation.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include <tavrix/mesh/detail/CarriedArrays.h>
#include <tavrix/mesh/detail/FaceDropping.h>
#include <tavrix/mesh/detail/Sheets.h>

namespace tavrix
{

namespace
{

/// A corner of a face of the mesh, and the vertex that it gets.
struct MovedCorner
{
    uint32 face, corner, vertex;
};

/// Whether the normals are numbered as the positions are, where these are to change.
bool normalsFollow(const Mesh& mesh, const std::vector<MovedCorner>& moved)
{
    return mesh.trindexNor().size() == mesh.getFacesSize() &&
           (mesh.nor().empty() || mesh.nor().size() == mesh.getPosSize()) &&
           std::all_of(moved.begin(), moved.end(),
                       [&](const MovedCorner& m) {
                           return mesh.trindexNor()[m.face][m.corner] == mesh.trindexPos()[m.face][m.corner];
                       });
}

template <class T>
void appendCopies(Array<T>& elements, const Array<uint32>& numbers)
{
    elements.reserve(elements.size() + numbers.size());
    for (const uint32 n : numbers) elements.push_back(T(elements[n]));
}

/// Adds copies of the vertices, and gives them to the corners.
void addVertices(Mesh& mesh, const Array<uint32>& copied, const std::vector<MovedCorner>& moved)
{
    const uint32 before = mesh.getPosSize();
    detail::CarriedArrays carried(mesh);
    if (carried.has(MeshArrayInf::PER_POSITION))
    {
        Array<uint32> numbers(before);
        std::iota(numbers.begin(), numbers.end(), 0u);
        for (const uint32 v : copied) numbers.push_back(v);
        carried.gather(MeshArrayInf::PER_POSITION, before, {numbers.data(), numbers.size()},
                       [] { return true; });
    }
    const bool withNormals = normalsFollow(mesh, moved);
    appendCopies(mesh.refPos(), copied);
    if (withNormals && !mesh.nor().empty()) appendCopies(mesh.refNor(), copied);
    for (const MovedCorner& m : moved)
    {
        mesh.refTrindexPos()[m.face][m.corner] = m.vertex;
        if (withNormals) mesh.refTrindexNor()[m.face][m.corner] = m.vertex;
    }
    carried.finish();
    mesh.invalidateConnectivity();
}

/// Gives the mesh the sheets that were found in a region of it.
SheetSeparation apply(Mesh& mesh, const detail::FaceRegion& region, detail::Sheets& sheets)
{
    const uint32 regionVertices = region.vertexNumbers.size();
    Array<uint32> copied;
    for (const uint32 v : sheets.added()) copied.push_back(region.vertexNumbers[v]);
    std::vector<MovedCorner> moved;
    std::vector<uint32> dropped;
    for (uint32 f = 0; f < region.faces.size(); ++f)
    {
        if (sheets.isDropped(f)) dropped.push_back(region.faceNumbers[f]);
        for (uint32 c = 0; c < 3 && !sheets.isDropped(f); ++c)
            if (const uint32 vertex = sheets.vertexOf(3 * f + c); vertex >= regionVertices)
                moved.push_back({region.faceNumbers[f], c, mesh.getPosSize() + vertex - regionVertices});
    }
    if (!copied.empty()) addVertices(mesh, copied, moved);
    detail::dropFaces(mesh, dropped);
    return {sheets.crowdedEdges(), copied.size(), static_cast<uint32>(dropped.size())};
}

}  // namespace

SheetSeparation separateSheets(Mesh& mesh, BackToBack backToBack, CancelCallback callback)
{
    detail::Polling polling(callback);
    const detail::FaceRegion region = detail::wholeMesh(mesh);
    detail::Sheets sheets(mesh.pos(), region, backToBack == BackToBack::Drop, polling);
    return polling.isStopped() || sheets.areApart() ? SheetSeparation{} : apply(mesh, region, sheets);
}

SheetSeparation separateSheets(Mesh& mesh, std::span<const uint32> suspects, uint32 threadCount)
{
    if (suspects.empty()) return {};
    detail::Polling none(nullptr);
    const detail::FaceRegion near = detail::regionAround(mesh, suspects, threadCount);
    if (detail::Sheets(mesh.pos(), near, true, none).areApart()) return {};
    const std::span<const uint32> around(near.vertexNumbers.data(), near.vertexNumbers.size());
    const detail::FaceRegion region = detail::regionAround(mesh, around, threadCount);
    detail::Sheets sheets(mesh.pos(), region, true, none);
    return apply(mesh, region, sheets);
}

}  // namespace tavrix
