#include <tavrix/reconstruction/detail/PartSeparation.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/mesh/SheetSeparation.h>

namespace tavrix::detail
{

namespace
{

/// A face by its number among those of all blocks, and its corners' names.
struct NumberedFace
{
    uint32 number;
    Index3 corners;
};

struct PlacedVertex
{
    uint32 number;
    Vector3D position;
};

std::vector<uint32> sortedOnce(const Array<uint32>& numbers)
{
    std::vector<uint32> sorted(numbers.begin(), numbers.end());
    sortOnce(sorted);
    return sorted;
}

/// What all ranks have, sorted, each once.
std::vector<uint32> shared(RankGroup& ranks, const std::vector<uint32>& numbers)
{
    return sortedOnce(shareRecords<uint32>(ranks,
                                           [&](const auto& send)
                                           {
                                               for (const uint32 n : numbers) send(n);
                                           }));
}

/// The numbers of this rank's surfaces and faces in them that name one of the vertices, which ascend.
struct FacePlace
{
    std::size_t surface;
    uint32 face;
};

/// Looks numbers up among some that ascend. Most are of one surface, of whose vertices few or none are there.
class VertexLookup
{
public:
    /// For the surface whose vertices are numbered from first to last, exclusive.
    VertexLookup(const std::vector<uint32>& vertices, uint32 first, uint32 last)
        : _all(vertices),
          _first(first),
          _count(last - first),
          _begin(std::lower_bound(vertices.begin(), vertices.end(), first)),
          _end(std::lower_bound(_begin, vertices.end(), last))
    {
    }

    bool has(uint32 vertex) const
    {
        if (vertex - _first < _count) return _begin != _end && std::binary_search(_begin, _end, vertex);
        return std::binary_search(_all.begin(), _all.end(), vertex);
    }

private:
    const std::vector<uint32>& _all;
    uint32 _first, _count;
    std::vector<uint32>::const_iterator _begin, _end;
};

std::vector<FacePlace> facesAt(NamedFaces& faces, std::size_t surfaceCount,
                               const std::vector<uint32>& vertices)
{
    std::vector<FacePlace> found;
    for (std::size_t s = 0; s < surfaceCount; ++s)
    {
        const VertexLookup lookup(vertices, faces.starts()[s].vertices, faces.starts()[s + 1].vertices);
        const std::span<const Index3> all = faces.facesOf(s);
        for (uint32 n = 0; n < all.size(); ++n)
            if (!NamedFaces::isDropped(all[n]) &&
                (lookup.has(all[n].a) || lookup.has(all[n].b) || lookup.has(all[n].c)))
                found.push_back({s, n});
    }
    return found;
}

/// A mesh of faces that came from many ranks, by their numbers, which it carries; and those of its vertices.
class GatheredMesh
{
public:
    GatheredMesh(const Array<NumberedFace>& faces, const Array<PlacedVertex>& vertices)
    {
        std::vector<PlacedVertex> sorted(vertices.begin(), vertices.end());
        std::sort(sorted.begin(), sorted.end(),
                  [](const PlacedVertex& a, const PlacedVertex& b) { return a.number < b.number; });
        Array<uint32>& vertexNumbers = mesh.addArray<uint32>("number");
        for (const PlacedVertex& v : sorted)
        {
            mesh.refPos().push_back(v.position);
            vertexNumbers.push_back(v.number);
        }
        std::vector<NumberedFace> inOrder(faces.begin(), faces.end());
        std::sort(inOrder.begin(), inOrder.end(),
                  [](const NumberedFace& a, const NumberedFace& b) { return a.number < b.number; });
        Array<uint32>& faceNumbers = mesh.addArray<uint32>("face", MeshArrayInf::PER_FACE);
        for (const NumberedFace& f : inOrder)
        {
            mesh.refTrindexPos().push_back(
                {placeOf(f.corners.a), placeOf(f.corners.b), placeOf(f.corners.c)});
            faceNumbers.push_back(f.number);
        }
    }

    Mesh mesh;

    /// The place of a vertex that the mesh began with.
    uint32 placeOf(uint32 number) const
    {
        const Array<uint32>& numbers = *mesh.findArray<uint32>("number");
        return static_cast<uint32>(std::lower_bound(numbers.begin(), numbers.end(), number) -
                                   numbers.begin());
    }
    /// What a face has become; nothing when it is gone.
    const Index3* find(uint32 number) const
    {
        const Array<uint32>& numbers = *mesh.findArray<uint32>("face");
        const auto found = std::lower_bound(numbers.begin(), numbers.end(), number);
        if (found == numbers.end() || *found != number) return nullptr;
        return &mesh.trindexPos()[static_cast<std::size_t>(found - numbers.begin())];
    }
};

/// The corners of the faces of a region, sorted.
std::vector<uint32> cornersOf(const Array<NumberedFace>& faces)
{
    Array<uint32> corners;
    for (const NumberedFace& f : faces)
        for (uint32 c = 0; c < 3; ++c) corners.push_back(f.corners[c]);
    return sortedOnce(corners);
}

/// One separation over ranks.
class Separation
{
public:
    Separation(RankGroup& ranks, NamedFaces& faces)
        : _ranks(ranks), _faces(faces), _surfaceCount(faces.starts().size() - 1)
    {
    }

    PartSeparation run()
    {
        const std::vector<uint32> suspects = shared(_ranks, _faces.joinedInto());
        if (suspects.empty()) return {};
        const std::vector<FacePlace> region = regionAround(suspects);
        const Incoming<NumberedFace> came = gatherFaces(region);
        GatheredMesh gathered(came.records, gatherVertices(cornersOf(came.records)));
        const uint32 before = gathered.mesh.getPosSize();
        const bool isFirst = _ranks.rank() == 0;
        SheetSeparation done;
        if (isFirst) done = separateGathered(gathered, suspects);
        applyTo(region, came, gathered, before);
        addVertices(gathered, before);
        return {static_cast<uint32>(sumOver(_ranks, done.vertices)), sumOver(_ranks, done.faces) > 0};
    }

private:
    /// This rank's faces within two rings of the vertices.
    std::vector<FacePlace> regionAround(const std::vector<uint32>& vertices)
    {
        std::vector<uint32> near;
        for (const FacePlace& place : facesAt(_faces, _surfaceCount, vertices))
            for (uint32 c = 0; c < 3; ++c) near.push_back(at(place)[c]);
        return facesAt(_faces, _surfaceCount, shared(_ranks, near));
    }
    Index3& at(const FacePlace& place) { return _faces.facesOf(place.surface)[place.face]; }

    Incoming<NumberedFace> gatherFaces(const std::vector<FacePlace>& region)
    {
        return exchangeRecords<NumberedFace>(
            _ranks,
            [&](const auto& send)
            {
                for (const FacePlace& place : region)
                    send(0, NumberedFace{_faces.starts()[place.surface].faces + place.face, at(place)});
            });
    }

    /// Brings vertices that the first rank wants there.
    Array<PlacedVertex> gatherVertices(const std::vector<uint32>& wanted)
    {
        const std::vector<uint32> all = shared(_ranks, wanted);
        return exchangeRecords<PlacedVertex>(_ranks,
                                             [&](const auto& send)
                                             {
                                                 for (const uint32 v : all)
                                                     if (_faces.isOwn(v))
                                                         send(0, PlacedVertex{v, _faces.positionOf(v)});
                                             })
            .records;
    }

    static SheetSeparation separateGathered(GatheredMesh& gathered, const std::vector<uint32>& suspects)
    {
        std::vector<uint32> places;
        for (const uint32 v : suspects)
            if (const uint32 place = gathered.placeOf(v);
                place < gathered.mesh.getPosSize() &&
                (*gathered.mesh.findArray<uint32>("number"))[place] == v)
                places.push_back(place);
        return tavrix::separateSheets(gathered.mesh, places);
    }

    /// Gives every rank's faces the corners that they have in the gathered mesh.
    void applyTo(const std::vector<FacePlace>& region, const Incoming<NumberedFace>& came,
                 const GatheredMesh& gathered, uint32 before)
    {
        const Array<uint32>& numbers = *gathered.mesh.findArray<uint32>("number");
        const auto name = [&](uint32 v)
        { return v < before ? numbers[v] : _faces.starts().back().vertices + v - before; };
        const auto answers = answerRecords<Index3>(
            _ranks, came,
            [&](const NumberedFace& f, uint32)
            {
                const Index3* is = gathered.find(f.number);
                return is ? Index3{name(is->a), name(is->b), name(is->c)} : Index3{noIndex, noIndex, noIndex};
            });
        for (std::size_t n = 0; n < region.size(); ++n) at(region[n]) = answers.records[n];
    }

    /// Tells all ranks of the vertices that were added.
    void addVertices(const GatheredMesh& gathered, uint32 before)
    {
        const Array<uint32>& numbers = *gathered.mesh.findArray<uint32>("number");
        const Array<AddedVertex> added = shareRecords<AddedVertex>(
            _ranks,
            [&](const auto& send)
            {
                for (uint32 v = before; v < numbers.size(); ++v)
                    send(AddedVertex{_faces.starts().back().vertices + v - before, numbers[v]});
            });
        for (const AddedVertex& vertex : added) _faces.add(vertex);
    }

    RankGroup& _ranks;
    NamedFaces& _faces;
    std::size_t _surfaceCount;
};

}  // namespace

PartSeparation separateSheets(RankGroup& ranks, NamedFaces& faces) { return Separation(ranks, faces).run(); }

}  // namespace tavrix::detail
