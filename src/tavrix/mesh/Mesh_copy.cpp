#include <algorithm>
#include <vector>

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/mesh/detail/IndexTriples.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// One flag a face: whether it is connected to the seed face by shared positions.
std::vector<bool> connectedFaces(const Mesh& mesh, uint32 seedFace)
{
    detail::UnionFind parts(mesh.getPosSize());
    for (const Index3& t : mesh.trindexPos())
    {
        parts.unite(t.a, t.b);
        parts.unite(t.b, t.c);
    }
    const uint32 part = parts.find(mesh.trindexPos()[seedFace].a);
    std::vector<bool> connected;
    connected.reserve(mesh.getFacesSize());
    for (const Index3& t : mesh.trindexPos()) connected.push_back(parts.find(t.a) == part);
    return connected;
}

/// The elements of `from` whose face is chosen; nothing when `from` does not hold one element a face.
template <class T>
void copyChosen(Array<T>& to, const Array<T>& from, const std::vector<bool>& chosen)
{
    if (from.size() != chosen.size()) return;
    to.reserve(static_cast<uint32>(std::count(chosen.begin(), chosen.end(), true)));
    for (uint32 f = 0; f < from.size(); ++f)
        if (chosen[f]) to.push_back(from[f]);
}

/// Renumbers the triples so that the entries they use become 0, 1, … in their old order; returns the old
/// numbers.
Array<uint32> compactIndices(Array<Index3>& triples, uint32 entryCount)
{
    Array<uint32> fresh(entryCount, noIndex);
    for (const Index3& t : triples)
        for (uint32 c = 0; c < 3; ++c) fresh[t[c]] = 0;
    Array<uint32> used;
    for (uint32 i = 0; i < entryCount; ++i)
    {
        if (fresh[i] == noIndex) continue;
        fresh[i] = used.size();
        used.push_back(i);
    }
    for (Index3& t : triples) t = {fresh[t.a], fresh[t.b], fresh[t.c]};
    return used;
}

template <class T>
void gather(Array<T>& to, const Array<T>& from, const Array<uint32>& indices)
{
    to.resize(indices.size());
    for (uint32 i = 0; i < indices.size(); ++i) to[i] = from[indices[i]];
}

/// True when there is a normal for every index in the normal triples; a mesh whose normals were never made
/// may have the triples without them.
bool hasNormals(const Mesh& mesh) { return detail::neededEntries(mesh.trindexNor()) <= mesh.nor().size(); }

/// Makes room for the elements of `from` behind those of `to`, so that appending them cannot fail.
template <class T>
void makeRoom(Array<T>& to, const Array<T>& from)
{
    to.makeRoom(std::size_t{to.size()} + from.size());
}

template <class T>
void append(Array<T>& to, const Array<T>& from)
{
    const uint32 oldSize = to.size();
    const uint32 count = from.size();
    to.resize(oldSize + count);
    std::copy_n(from.begin(), count, to.begin() + oldSize);
}

void appendMoved(Array<Index3>& to, const Array<Index3>& from, uint32 offset)
{
    const uint32 oldSize = to.size();
    append(to, from);
    for (Index3* t = to.begin() + oldSize; t != to.end(); ++t)
        *t = {t->a + offset, t->b + offset, t->c + offset};
}

void appendMoved(Array<FacedgeTriple>& to, const Array<FacedgeTriple>& from, uint32 faceOffset)
{
    const uint32 oldSize = to.size();
    append(to, from);
    for (FacedgeTriple* t = to.begin() + oldSize; t != to.end(); ++t)
        *t = {t->a.moved(faceOffset), t->b.moved(faceOffset), t->c.moved(faceOffset)};
}

}  // namespace

void Mesh::copySlot(Slot slot, const Mesh& other, TX_CopyMode mode)
{
    const ArrayHandle source = other.handleOf(slot);
    if (TX_ArrayServer::instance().referenceCount(source) == 0) return;
    releaseSlot(slot);
    fillSlot(slot, mode == TX_CopyMode::Shallow ? TX_ArrayServer::instance().share(source)
                                                : TX_ArrayServer::instance().copy(source));
}

void Mesh::copyFrom(const Mesh& other, bool copyName)
{
    if (this == &other) return;
    unreserve();
    if (copyName) _name = other._name;
    _id = other._id;
    _flags = other._flags;
    if (_flags & boxValid) _box = other._box;

    constexpr std::array copied{
        Slot::TrindexPos,     Slot::TrindexNor,    Slot::Pos,           Slot::Nor,        Slot::FaceNor,
        Slot::TrindexFacedge, Slot::BindexFacedge, Slot::BindexPos,     Slot::PosPosInfo, Slot::PosPosData,
        Slot::PosEdgeInfo,    Slot::PosEdgeData,   Slot::NorAllSmoothed};
    fillOrRelease(
        [&]
        {
            for (const Slot slot : copied) copySlot(slot, other, TX_CopyMode::Deep);
        });
}

void Mesh::copyAllFrom(const Mesh& other, bool copyName)
{
    if (this == &other) return;
    copyFrom(other, copyName);
    fillOrRelease(
        [&]
        {
            copySlot(Slot::PosFaceInfo, other, TX_CopyMode::Deep);
            copySlot(Slot::PosFaceData, other, TX_CopyMode::Deep);
            copyExtraArrays(other);
        });
}

/// Appends deep copies of the arrays that are in no slot of the other mesh.
void Mesh::copyExtraArrays(const Mesh& other)
{
    for (uint32 i = 0; i < other._arraySet.size(); ++i)
    {
        if (other.isInSlot(other._arraySet.handle(i))) continue;
        const MeshArrayInf& inf = other._arraySet.inf(i);
        const ArrayHandle copy = TX_ArrayServer::instance().copy(other._arraySet.handle(i));
        if (!copy.isNone()) addArray(copy, inf.name, inf.flags | MeshArrayInf::LIFE_CYCLE);
    }
}

bool Mesh::isInSlot(ArrayHandle handle) const
{
    return std::find(_handles.begin(), _handles.end(), handle) != _handles.end();
}

void Mesh::copyPartialFrom(const Mesh& other, uint32 seedFace, Array<uint32>& sourcePositions)
{
    if (this == &other) return copyPartialFrom(Mesh(other), seedFace, sourcePositions);
    unreserve();
    sourcePositions.clear();
    if (seedFace >= other.getFacesSize()) return;
    const std::vector<bool> chosen = connectedFaces(other, seedFace);
    fillOrRelease(
        [&]
        {
            copyChosen(refTrindexPos(), other.trindexPos(), chosen);
            copyChosen(refFaceNor(), other.faceNor(), chosen);
            sourcePositions = compactIndices(refTrindexPos(), other.getPosSize());
            gather(refPos(), other.pos(), sourcePositions);
            if (!hasNormals(other)) return;
            copyChosen(refTrindexNor(), other.trindexNor(), chosen);
            gather(refNor(), other.nor(), compactIndices(refTrindexNor(), other.nor().size()));
        });
}

void Mesh::copyConnectivityFrom(TX_CopyMode mode, const Mesh& other)
{
    if (this == &other) return;
    invalidateConnectivity();
    for (auto slot = static_cast<uint32>(Slot::TrindexFacedge);
         slot <= static_cast<uint32>(Slot::PosFaceData); ++slot)
        copySlot(static_cast<Slot>(slot), other, mode);
}

void Mesh::reincarnate(Mesh& other) noexcept
{
    if (this == &other) return;
    releaseAllArrays();
    _flags = other._flags;
    _name = std::move(other._name);
    _box = other._box;
    _id = other._id;
    _arraySet = std::move(other._arraySet);
    _handles = std::exchange(other._handles, {});
    Mesh_RL* const renderObject = std::exchange(other._renderObject, nullptr);
    other.destroy();
    other._renderObject = renderObject;
}

void Mesh::addMesh(const Mesh& other)
{
    const uint32 posOffset = getPosSize();
    const uint32 norOffset = nor().size();
    const uint32 faceOffset = getFacesSize();
    const uint32 otherFaces = other.getFacesSize();
    const auto onEveryFace = [&](uint32 own, uint32 others)
    { return own == faceOffset && others == otherFaces; };
    // of this mesh, which may be large, it is enough to know whether its normals were ever made
    const bool hasOwn = faceOffset == 0 || norOffset != 0;
    const bool keepNormals =
        onEveryFace(trindexNor().size(), other.trindexNor().size()) && hasOwn && hasNormals(other);
    const bool keepFaceNormals = onEveryFace(faceNor().size(), other.faceNor().size());
    const bool keepFacedges = onEveryFace(trindexFacedge().size(), other.trindexFacedge().size());

    makeRoom(refPos(), other.pos());
    makeRoom(refNor(), other.nor());
    makeRoom(refTrindexPos(), other.trindexPos());
    if (keepNormals) makeRoom(refTrindexNor(), other.trindexNor());
    if (keepFaceNormals) makeRoom(refFaceNor(), other.faceNor());
    if (keepFacedges) makeRoom(refTrindexFacedge(), other.trindexFacedge());

    invalidateBox();
    append(refPos(), other.pos());
    append(refNor(), other.nor());
    appendMoved(refTrindexPos(), other.trindexPos(), posOffset);
    keepNormals ? appendMoved(refTrindexNor(), other.trindexNor(), norOffset) : refTrindexNor().clear();
    keepFaceNormals ? append(refFaceNor(), other.faceNor()) : refFaceNor().clear();
    keepFacedges ? appendMoved(refTrindexFacedge(), other.trindexFacedge(), faceOffset)
                 : refTrindexFacedge().clear();
    invalidateConnectivityDerived();
    releaseSlot(Slot::NorAllSmoothed);
}

}  // namespace tavrix
