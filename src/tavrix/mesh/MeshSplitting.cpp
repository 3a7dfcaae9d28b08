#include <tavrix/mesh/MeshSplitting.h>

#include <memory>
#include <span>

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/mesh/detail/IndexTriples.h>

namespace tavrix
{

namespace
{

/// Numbers sorted by the part that they belong to, in their order within each.
struct ByPart
{
    Array<uint32> begins;  ///< of each part, and of the end
    Array<uint32> numbers;

    std::span<const uint32> of(uint32 part) const
    {
        return {numbers.data() + begins[part], numbers.data() + begins[part + 1]};
    }
};

/// Sorts the numbers below a count; those of noIndex are left out.
template <class PartOf>
ByPart sortByPart(uint32 partCount, uint32 count, PartOf partOf)
{
    ByPart sorted;
    sorted.begins.assign(partCount + 1, 0);
    for (uint32 n = 0; n < count; ++n)
        if (const uint32 part = partOf(n); part != noIndex) ++sorted.begins[part + 1];
    for (uint32 part = 0; part < partCount; ++part) sorted.begins[part + 1] += sorted.begins[part];
    sorted.numbers.resize(sorted.begins[partCount]);
    Array<uint32> next = sorted.begins;
    for (uint32 n = 0; n < count; ++n)
        if (const uint32 part = partOf(n); part != noIndex) sorted.numbers[next[part]++] = n;
    return sorted;
}

class Splitter
{
public:
    Splitter(const Mesh& mesh, detail::Polling& polling)
        : _mesh(mesh),
          _polling(polling),
          _hasNormals(mesh.trindexNor().size() == mesh.getFacesSize() &&
                      detail::neededEntries(mesh.trindexNor()) <= mesh.nor().size())
    {
    }

    ArrayOfPtr<Mesh> split(uint32 leastFaces)
    {
        ArrayOfPtr<Mesh> parts;
        numberParts();
        if (_polling.isStopped()) return parts;
        const Array<Index3>& faces = _mesh.trindexPos();
        const ByPart ofFaces =
            sortByPart(_partCount, faces.size(), [&](uint32 f) { return _partOf[faces[f].a]; });
        const ByPart ofPositions =
            sortByPart(_partCount, _partOf.size(), [&](uint32 n) { return _partOf[n]; });
        _fresh.resize(_mesh.getPosSize());
        _freshNormals.assign(_hasNormals ? _mesh.nor().size() : 0, noIndex);
        detail::PollCounter work(_polling, detail::scatteredItems);
        for (uint32 part = 0; part < _partCount; ++part)
        {
            if (ofFaces.of(part).size() >= leastFaces)
                parts.push_back(makePart(ofPositions.of(part), ofFaces.of(part)).release());
            if (!work.add(ofFaces.of(part).size() + 1)) return {};
        }
        return parts;
    }

private:
    /// By their first faces.
    void numberParts()
    {
        detail::UnionFind sets(_mesh.getPosSize(), _polling);
        detail::PollCounter work(_polling, detail::scatteredItems);
        for (const Index3& t : _mesh.trindexPos())
        {
            sets.unite(t.a, t.b);
            sets.unite(t.b, t.c);
            if (!work.add(1)) return;
        }
        Array<uint32> partOfSet(_mesh.getPosSize(), noIndex);
        _partOf.assign(_mesh.getPosSize(), noIndex);
        for (const Index3& t : _mesh.trindexPos())
        {
            uint32& part = partOfSet[sets.find(t.a)];
            if (part == noIndex) part = _partCount++;
            for (uint32 corner = 0; corner < 3; ++corner) _partOf[t[corner]] = part;
        }
    }

    std::unique_ptr<Mesh> makePart(std::span<const uint32> positions, std::span<const uint32> faces)
    {
        auto part = std::make_unique<Mesh>();
        part->setName(_mesh.getName());
        part->refPos().reserve(static_cast<uint32>(positions.size()));
        for (const uint32 n : positions)
        {
            _fresh[n] = part->getPosSize();
            part->refPos().push_back(_mesh.pos()[n]);
        }
        part->refTrindexPos().reserve(static_cast<uint32>(faces.size()));
        for (const uint32 f : faces)
        {
            const Index3& t = _mesh.trindexPos()[f];
            part->refTrindexPos().push_back({_fresh[t.a], _fresh[t.b], _fresh[t.c]});
        }
        if (_hasNormals) takeNormals(*part, faces);
        takeArrays(*part, positions, faces);
        return part;
    }

    /// Normals that several parts use become several.
    void takeNormals(Mesh& part, std::span<const uint32> faces)
    {
        part.refTrindexNor().reserve(static_cast<uint32>(faces.size()));
        for (const uint32 f : faces)
        {
            Index3 t = _mesh.trindexNor()[f];
            for (uint32 corner = 0; corner < 3; ++corner)
            {
                uint32& fresh = _freshNormals[t[corner]];
                if (fresh == noIndex)
                {
                    fresh = part.nor().size();
                    part.refNor().push_back(_mesh.nor()[t[corner]]);
                    _used.push_back(t[corner]);
                }
                t[corner] = fresh;
            }
            part.refTrindexNor().push_back(t);
        }
        for (const uint32 n : _used) _freshNormals[n] = noIndex;
        _used.clear();
    }

    /// The arrays that hosts gave the mesh, of positions and of faces.
    void takeArrays(Mesh& part, std::span<const uint32> positions, std::span<const uint32> faces)
    {
        TX_ArrayServer& server = TX_ArrayServer::instance();
        const ArraySet<MeshArrayInf>& arrays = _mesh.getArraySet();
        for (uint32 i = 0; i < arrays.size(); ++i)
        {
            const MeshArrayInf& inf = arrays.inf(i);
            const bool isOfPositions = (inf.flags & MeshArrayInf::PER_POSITION) != 0;
            const bool isOfFaces = (inf.flags & MeshArrayInf::PER_FACE) != 0;
            const uint32 count = isOfPositions ? _mesh.getPosSize() : _mesh.getFacesSize();
            const uint32 size = server.size(arrays.handle(i));
            if (isOfPositions == isOfFaces || _mesh.isInSlot(arrays.handle(i)) || size == 0 ||
                size % count != 0)
                continue;
            const ArrayHandle own = server.gather(arrays.handle(i), isOfPositions ? positions : faces,
                                                  size / count, [] { return true; });
            if (!own.isNone()) part.addArray(own, inf.name, inf.flags | MeshArrayInf::LIFE_CYCLE);
        }
    }

    const Mesh& _mesh;
    detail::Polling& _polling;
    bool _hasNormals;
    uint32 _partCount = 0;
    Array<uint32> _partOf;  ///< of each position; noIndex without a face
    Array<uint32> _fresh;   ///< the number of each position in its part
    Array<uint32> _freshNormals, _used;
};

}  // namespace

ArrayOfPtr<Mesh> splitParts(const Mesh& mesh, uint32 leastFaces, CancelCallback callback)
{
    detail::Polling polling(callback);
    return Splitter(mesh, polling).split(leastFaces);
}

}  // namespace tavrix
