#include <tavrix/reconstruction/detail/PartAssembly.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/reconstruction/detail/PartSeparation.h>

namespace tavrix::detail
{

namespace
{

/// A face that another rank has, at a vertex of this one.
struct FaceOfOther
{
    uint32 number;  ///< among the faces of all blocks
    Index3 corners;
    uint32 owners[3];  ///< of the corners
};

/// The part on its way. Vertices have their names until all are there.
class PartAssembly
{
public:
    PartAssembly(RankGroup& ranks, NamedFaces& faces, std::vector<BlockSurface>& surfaces, MeshPart& part)
        : _ranks(ranks), _faces(faces), _surfaces(surfaces), _part(part)
    {
        for (BlockSurface& surface : surfaces) surface.faces.elements.reset();
    }

    void run(const PartSeparation& separation)
    {
        collectFaces();
        if (separation.dropsFaces) findUsed();
        collectCopies();
        collectVertices();
        numberCorners();
        placeVertices();
        numberInWhole(separation.vertices);
    }

private:
    uint32 blockFirst(std::size_t s) const { return _faces.starts()[s].vertices; }
    uint32 blockCount(std::size_t s) const { return _surfaces[s].vertices.count; }
    bool isInBlock(std::size_t s, uint32 vertex) const { return vertex - blockFirst(s) < blockCount(s); }

    void collectFaces();
    Incoming<FaceOfOther> exchangeFaces();
    void findUsed();
    void collectCopies();
    void collectVertices();
    void numberCorners();
    void placeVertices();
    void numberInWhole(uint32 addedCount);
    std::vector<BlockCount> finalStarts() const;

    /// Where faces of one block are in the part.
    struct FaceRun
    {
        std::size_t surface;
        uint32 first, count;
    };

    RankGroup& _ranks;
    NamedFaces& _faces;
    std::vector<BlockSurface>& _surfaces;
    MeshPart& _part;
    std::vector<FaceRun> _faceRuns;
    std::vector<VertexName> _copies;        ///< ascending
    std::vector<uint32> _copyPlaces;        ///< in the part
    std::vector<uint32> _firstOfBlock;      ///< where the vertices of blocks begin in the part; and the added
    std::vector<uint32> _countOfBlock;      ///< how many are there
    std::vector<uint8> _isUsed;             ///< own vertices, one block's behind the other's; empty: all are
    std::vector<std::size_t> _usedOfBlock;  ///< where those of a block begin
};

/// Sends the faces that lie at vertices of other ranks to these.
Incoming<FaceOfOther> PartAssembly::exchangeFaces()
{
    return exchangeRecords<FaceOfOther>(
        _ranks,
        [&](const auto& send)
        {
            for (std::size_t s = 0; s < _surfaces.size(); ++s)
            {
                uint32 number = _faces.starts()[s].faces;
                for (const Index3& f : _faces.facesOf(s))
                {
                    const uint32 own = number++;
                    if (NamedFaces::isDropped(f)) continue;
                    if (isInBlock(s, f.a) && isInBlock(s, f.b) && isInBlock(s, f.c)) continue;
                    FaceOfOther face{own, f, {}};
                    for (uint32 c = 0; c < 3; ++c) face.owners[c] = _faces.ownerOf(f[c]);
                    for (uint32 c = 0; c < 3; ++c)
                        if (face.owners[c] != _ranks.rank() &&
                            std::find(face.owners, face.owners + c, face.owners[c]) == face.owners + c)
                            send(face.owners[c], face);
                }
            }
        });
}

/// Puts own faces and those of others into the order that they have in the whole mesh.
void PartAssembly::collectFaces()
{
    const Incoming<FaceOfOther> came = exchangeFaces();
    std::vector<FaceOfOther> others(came.records.begin(), came.records.end());
    std::sort(others.begin(), others.end(),
              [](const FaceOfOther& a, const FaceOfOther& b) { return a.number < b.number; });
    Array<Index3>& faces = _part.mesh.refTrindexPos();
    auto next = others.begin();
    const auto addOthersBefore = [&](uint32 number)
    {
        for (; next != others.end() && next->number < number; ++next)
        {
            faces.push_back(next->corners);
            for (uint32 c = 0; c < 3; ++c)
                if (next->owners[c] != _ranks.rank()) _copies.push_back({next->corners[c], next->owners[c]});
        }
    };
    uint32 ownCount = 0;
    for (std::size_t s = 0; s < _surfaces.size(); ++s) ownCount += _surfaces[s].faces.count;
    faces.reserve(ownCount + came.records.size());
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        addOthersBefore(_faces.starts()[s].faces);
        const uint32 first = faces.size();
        for (const Index3& f : _faces.facesOf(s))
            if (!NamedFaces::isDropped(f)) faces.push_back(f);
        _faceRuns.push_back({s, first, faces.size() - first});
    }
    addOthersBefore(noIndex);
    _faces.clearFaces();
}

/// Marks the own vertices that a face names.
void PartAssembly::findUsed()
{
    std::size_t count = 0;
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        _usedOfBlock.push_back(count);
        count += blockCount(s);
    }
    _isUsed.assign(count, 0);
    for (const Index3& f : _part.mesh.trindexPos())
        for (uint32 c = 0; c < 3; ++c)
            if (_faces.isOwn(f[c]))
            {
                const std::size_t s = _faces.surfaceOf(f[c]);
                _isUsed[_usedOfBlock[s] + f[c] - blockFirst(s)] = 1;
            }
}

/// Finds the vertices of other ranks that faces name.
void PartAssembly::collectCopies()
{
    for (const FaceRun& run : _faceRuns)
        for (uint32 n = run.first; n < run.first + run.count; ++n)
        {
            const Index3& f = _part.mesh.trindexPos()[n];
            for (uint32 c = 0; c < 3; ++c)
            {
                if (isInBlock(run.surface, f[c])) continue;
                if (const uint32 owner = _faces.ownerOf(f[c]); owner != _ranks.rank())
                    _copies.push_back({f[c], owner});
            }
        }
    sortOnce(_copies);
}

/// Lists the names of all vertices that the part has, ascending.
void PartAssembly::collectVertices()
{
    Array<uint32>& numbers = _part.numbers;
    auto copy = _copies.begin();
    const auto addCopiesBefore = [&](uint32 number)
    {
        for (; copy != _copies.end() && copy->number < number; ++copy)
        {
            _copyPlaces.push_back(numbers.size());
            numbers.push_back(copy->number);
        }
    };
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        addCopiesBefore(blockFirst(s));
        _firstOfBlock.push_back(numbers.size());
        for (uint32 v = 0; v < blockCount(s); ++v)
            if (!_faces.isGone(blockFirst(s) + v) && (_isUsed.empty() || _isUsed[_usedOfBlock[s] + v]))
                numbers.push_back(blockFirst(s) + v);
        _countOfBlock.push_back(numbers.size() - _firstOfBlock.back());
    }
    for (const AddedVertex& added : _faces.added())
    {
        addCopiesBefore(added.number);
        numbers.push_back(added.number);
    }
    addCopiesBefore(noIndex);
}

/// Replaces names by places in the part.
void PartAssembly::numberCorners()
{
    const Array<uint32>& numbers = _part.numbers;
    const auto placeOf = [&](uint32 name)
    { return static_cast<uint32>(std::lower_bound(numbers.begin(), numbers.end(), name) - numbers.begin()); };
    Array<Index3>& faces = _part.mesh.refTrindexPos();
    auto run = _faceRuns.begin();
    for (uint32 n = 0; n < faces.size(); ++n)
    {
        while (run != _faceRuns.end() && n >= run->first + run->count) ++run;
        const bool isOwn = run != _faceRuns.end() && n >= run->first;
        // in blocks that have kept all their vertices, these follow each other
        const bool isPlain = isOwn && _countOfBlock[run->surface] == blockCount(run->surface);
        for (uint32 c = 0; c < 3; ++c)
        {
            uint32& corner = faces[n][c];
            corner = isPlain && isInBlock(run->surface, corner)
                         ? _firstOfBlock[run->surface] + corner - blockFirst(run->surface)
                         : placeOf(corner);
        }
    }
}

/// Gives the vertices their positions, and the part its border.
void PartAssembly::placeVertices()
{
    Array<uint32>& numbers = _part.numbers;
    Array<Vector3D>& positions = _part.mesh.refPos();
    positions.resize(numbers.size());
    for (const AddedVertex& added : _faces.added())
    {
        const auto place = std::lower_bound(numbers.begin(), numbers.end(), added.number) - numbers.begin();
        positions[static_cast<std::size_t>(place)] = _faces.positionOf(added.copyOf);
    }
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        const uint32 first = _firstOfBlock[s];
        for (uint32 v = first; v < first + _countOfBlock[s]; ++v)
            positions[v] = _surfaces[s].vertices[numbers[v] - blockFirst(s)];
        _surfaces[s].vertices.elements.reset();
    }
    std::vector<CopiedVertex> copies;
    for (std::size_t n = 0; n < _copies.size(); ++n) copies.push_back({_copyPlaces[n], _copies[n].owner});
    _part.border = MeshBorder(_ranks, copies, numbers);
    _part.border.update(positions);
}

/// Where blocks start once some vertices and faces are gone.
std::vector<BlockCount> PartAssembly::finalStarts() const
{
    std::vector<BlockIndex> blocks;
    std::vector<BlockCount> counts;
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        blocks.push_back(_surfaces[s].block);
        counts.push_back({_countOfBlock[s], _faceRuns[s].count});
    }
    return startsInOrder(_ranks, blocks, counts);
}

/// Gives the vertices and faces their numbers in the whole mesh.
void PartAssembly::numberInWhole(uint32 addedCount)
{
    const std::vector<BlockCount> starts = finalStarts();
    Array<uint32>& numbers = _part.numbers;
    const uint32 named = _faces.starts().back().vertices, kept = starts.back().vertices;
    for (const AddedVertex& added : _faces.added())
    {
        const auto place = std::lower_bound(numbers.begin(), numbers.end(), added.number) - numbers.begin();
        _part.vertexRuns.push_back({static_cast<uint32>(place), 1, kept + (added.number - named)});
    }
    std::vector<MeshRun> runs;
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        runs.push_back({_firstOfBlock[s], _countOfBlock[s], starts[s].vertices});
        _part.faceRuns.push_back({_faceRuns[s].first, _faceRuns[s].count, starts[s].faces});
    }
    _part.vertexRuns.insert(_part.vertexRuns.begin(), runs.begin(), runs.end());
    for (const MeshRun& run : _part.vertexRuns)
        for (uint32 n = 0; n < run.count; ++n) numbers[run.first + n] = run.number + n;
    _part.border.update(numbers);
    _part.vertexCount = kept + addedCount;
    _part.faceCount = starts.back().faces;
}

}  // namespace

void assemblePart(RankGroup& ranks, const BlockLattice& lattice, const BlockOwners& owners,
                  std::vector<BlockSurface>& surfaces, bool joinsAtNodes, MeshPart& part)
{
    NamedFaces faces(ranks, lattice, owners, surfaces, joinsAtNodes);
    const PartSeparation separation = joinsAtNodes ? separateSheets(ranks, faces) : PartSeparation{};
    PartAssembly(ranks, faces, surfaces, part).run(separation);
}

}  // namespace tavrix::detail
