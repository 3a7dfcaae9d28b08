#include <tavrix/reconstruction/detail/NamedFaces.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>

namespace tavrix::detail
{

namespace
{

constexpr Index3 dropped{noIndex, noIndex, noIndex};

std::vector<BlockCount> startsOf(RankGroup& ranks, const std::vector<BlockSurface>& surfaces)
{
    std::vector<BlockIndex> blocks;
    std::vector<BlockCount> counts;
    for (const BlockSurface& surface : surfaces)
    {
        blocks.push_back(surface.block);
        counts.push_back({surface.vertices.count, surface.faces.count});
    }
    return startsInOrder(ranks, blocks, counts);
}

/// Calls use(edge, owner) for the foreign edges of all surfaces, with the rank that owns its block.
template <class Use>
void forEachForeignEdge(const std::vector<BlockSurface>& surfaces, const BlockLattice& lattice,
                        const BlockOwners& owners, const Use& use)
{
    for (const BlockSurface& surface : surfaces)
    {
        std::array<uint32, 8> ownerBeside;
        ownerBeside.fill(noIndex);
        for (const BlockEdge foreign : surface.foreignEdges)
        {
            const OwnedEdge edge = ownedEdge(surface.block, foreign);
            uint32& owner = ownerBeside[edge.sides];
            if (owner == noIndex) owner = owners.ownerOf(placeOf(lattice, edge.block));
            use(edge, owner);
        }
    }
}

}  // namespace

NamedFaces::NamedFaces(RankGroup& ranks, const BlockLattice& lattice, const BlockOwners& owners,
                       const std::vector<BlockSurface>& surfaces, bool joinsAtNodes)
    : _surfaces(surfaces), _self(ranks.rank()), _starts(startsOf(ranks, surfaces))
{
    if (joinsAtNodes) _joined = joinOverRanks(ranks, lattice, owners, surfaces, _starts);
    nameCorners(askForEdges(ranks, lattice, owners));
}

std::size_t NamedFaces::surfaceOf(uint32 number) const
{
    const auto behind =
        std::upper_bound(_starts.begin(), _starts.end() - 1, number,
                         [](uint32 n, const BlockCount& start) { return n < start.vertices; });
    return static_cast<std::size_t>(behind - _starts.begin()) - 1;
}

bool NamedFaces::isOwn(uint32 number) const
{
    if (_surfaces.empty() || number < _starts.front().vertices) return false;
    const std::size_t surface = surfaceOf(number);
    return number - _starts[surface].vertices < _surfaces[surface].vertices.count;
}

const Vector3D& NamedFaces::positionOf(uint32 number) const
{
    const std::size_t surface = surfaceOf(number);
    return _surfaces[surface].vertices[number - _starts[surface].vertices];
}

const JoinedVertex* NamedFaces::findJoined(uint32 number) const
{
    const auto found =
        std::lower_bound(_joined.begin(), _joined.end(), number,
                         [](const JoinedVertex& joined, uint32 n) { return joined.vertex < n; });
    return found != _joined.end() && found->vertex == number ? &*found : nullptr;
}

bool NamedFaces::isGone(uint32 number) const
{
    const JoinedVertex* joined = findJoined(number);
    return joined && joined->isGone();
}

uint32 NamedFaces::ownerOf(uint32 number) const
{
    const auto found = std::lower_bound(_others.begin(), _others.end(), VertexName{number, 0});
    return found != _others.end() && found->number == number ? found->owner : _self;
}

NamedFaces::EdgeAnswer NamedFaces::nameOf(uint32 number) const
{
    const JoinedVertex* joined = _joined.empty() ? nullptr : findJoined(number);
    return joined ? EdgeAnswer{joined->to, true} : EdgeAnswer{{number, _self}, false};
}

NamedFaces::EdgeAnswer NamedFaces::answer(const OwnedEdge& edge) const
{
    const BlockSurface* surface = surfaceAt(_surfaces, edge.block);
    const uint32 vertex = surface ? vertexAt(*surface, edge.edge) : noIndex;
    if (vertex == noIndex) return {{noIndex, _self}, false};
    return nameOf(_starts[static_cast<std::size_t>(surface - _surfaces.data())].vertices + vertex);
}

/// The answers for the foreign edges of all surfaces, in their order.
std::vector<NamedFaces::EdgeAnswer> NamedFaces::askForEdges(RankGroup& ranks, const BlockLattice& lattice,
                                                            const BlockOwners& owners) const
{
    const auto asked = exchangeRecords<OwnedEdge>(
        ranks,
        [&](const auto& send)
        {
            forEachForeignEdge(_surfaces, lattice, owners,
                               [&](const OwnedEdge& edge, uint32 owner) { send(owner, edge); });
        });
    const auto answers =
        answerRecords<EdgeAnswer>(ranks, asked, [&](const OwnedEdge& edge, uint32) { return answer(edge); });
    FromEachRank ofRanks(answers);
    std::vector<EdgeAnswer> inOrder;
    inOrder.reserve(answers.records.size());
    forEachForeignEdge(_surfaces, lattice, owners,
                       [&](const OwnedEdge&, uint32 owner) { inOrder.push_back(ofRanks.next(owner)); });
    return inOrder;
}

void NamedFaces::nameCorners(const std::vector<EdgeAnswer>& answers)
{
    uint32 faceCount = 0;
    for (const BlockSurface& surface : _surfaces)
    {
        _firstFaces.push_back(faceCount);
        faceCount += surface.faces.count;
    }
    _faces.resize(faceCount);
    const EdgeAnswer* ofSurface = answers.data();
    for (std::size_t s = 0; s < _surfaces.size(); ++s)
    {
        const uint32 first = _starts[s].vertices;
        const bool mayBeJoined = _surfaces[s].verticesAtNodes.count > 0;
        const auto name = [&](uint32 corner)
        {
            if (corner & foreignFlag) return ofSurface[corner ^ foreignFlag].name.number;
            return mayBeJoined ? nameOf(first + corner).name.number : first + corner;
        };
        Index3* face = facesOf(s).data();
        for (const Index3& f : _surfaces[s].faces)
        {
            *face = {name(f.a), name(f.b), name(f.c)};
            const bool isWhole = face->a != noIndex && face->b != noIndex && face->c != noIndex;
            if (!isWhole || face->a == face->b || face->b == face->c || face->c == face->a) *face = dropped;
            ++face;
        }
        ofSurface += _surfaces[s].foreignEdges.count;
    }
    for (const EdgeAnswer& answer : answers) know(answer);
    for (const JoinedVertex& joined : _joined) know({joined.to, true});
    sortOnce(_others);
    sortOnce(_joinedInto);
}

void NamedFaces::know(const EdgeAnswer& answer)
{
    if (answer.name.owner != _self) _others.push_back(answer.name);
    if (answer.isJoinedInto) _joinedInto.push_back(answer.name.number);
}

void NamedFaces::add(const AddedVertex& added)
{
    if (isOwn(added.copyOf))
        _added.push_back(added);
    else if (const uint32 owner = ownerOf(added.copyOf); owner != _self)
        _others.push_back({added.number, owner});
}

}  // namespace tavrix::detail
