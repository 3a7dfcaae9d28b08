#include <algorithm>

#include <tavrix/meshio/detail/ObjReader.h>

namespace tavrix::detail
{

namespace
{

/// The elements of a file that one group uses, renumbered in file order. One object serves group after group:
/// the table over all elements is made once, and only what a group touched is reset.
class Subset
{
public:
    explicit Subset(std::size_t elementCount) : _newIndex(elementCount, noIndex) {}

    /// True when the element is new to the group.
    bool add(uint32 element)
    {
        if (_newIndex[element] != noIndex) return false;
        _newIndex[element] = 0;
        _used.push_back(element);
        return true;
    }

    /// The group's elements in file order.
    const std::vector<uint32>& inFileOrder()
    {
        if (!std::is_sorted(_used.begin(), _used.end())) sort();
        return _used;
    }

    uint32& newIndex(uint32 element) { return _newIndex[element]; }

    void clear()
    {
        for (const uint32 element : _used) _newIndex[element] = noIndex;
        _used.clear();
    }

private:
    /// Reads the order off the table where the elements lie close enough to each other.
    void sort()
    {
        const auto [low, high] = std::minmax_element(_used.begin(), _used.end());
        const uint32 first = *low;
        const uint32 last = *high;
        if ((last - first) / 8 > _used.size())
        {
            std::sort(_used.begin(), _used.end());
            return;
        }
        auto next = _used.begin();
        for (uint32 element = first; element <= last; ++element)
            if (_newIndex[element] != noIndex) *next++ = element;
    }

    std::vector<uint32> _newIndex;
    std::vector<uint32> _used;
};

constexpr Index3 noTriple{noIndex, noIndex, noIndex};

/// The positions of a mesh, one for each pair of position and texture coordinate that the group uses: in file
/// order of the positions, first with the texture coordinate that came first, then with the others in file
/// order.
class PositionBuilder
{
public:
    PositionBuilder(const std::vector<Vector3F>& positions, const std::vector<Vector3F>& textures)
        : _positions(positions),
          _textures(textures),
          _subset(positions.size()),
          _firstTexture(positions.size())
    {
    }

    void build(const ObjGroup& group, bool withTextures, Mesh& mesh)
    {
        collect(group, withTextures);
        writePositions(withTextures, mesh);
        writeTriangles(group, withTextures, mesh.refTrindexPos());
        _subset.clear();
        _seams.clear();
    }

private:
    static uint64 pairKey(uint32 position, uint32 texture) { return uint64{position} << 32 | texture; }

    void collect(const ObjGroup& group, bool withTextures)
    {
        for (std::size_t f = 0; f < group.positions.size(); ++f)
        {
            const Index3 textures = withTextures ? group.textures[f] : noTriple;
            for (uint32 corner = 0; corner < 3; ++corner)
            {
                const uint32 position = group.positions[f][corner];
                if (_subset.add(position))
                    _firstTexture[position] = textures[corner];
                else if (_firstTexture[position] != textures[corner])
                    _seams.push_back(pairKey(position, textures[corner]));
            }
        }
        std::sort(_seams.begin(), _seams.end());
        _seams.erase(std::unique(_seams.begin(), _seams.end()), _seams.end());
        _seamIndex.resize(_seams.size());
    }

    void writePositions(bool withTextures, Mesh& mesh)
    {
        const std::vector<uint32>& used = _subset.inFileOrder();
        const uint32 count = Array<Vector3D>::checkedSize(used.size() + _seams.size());
        Array<Vector3D>& pos = mesh.refPos();
        Array<Vector3F>* uv = withTextures ? &mesh.addArray<Vector3F>("UV_MAP_0") : nullptr;
        pos.resize(count);
        if (uv) uv->resize(count);

        uint32 next = 0;
        std::size_t seam = 0;
        const auto append = [&](uint32 position, uint32 texture)
        {
            pos[next] = convert<double>(_positions[position]);
            if (uv) (*uv)[next] = texture == noIndex ? Vector3F{0.0f, 0.0f, 0.0f} : _textures[texture];
            return next++;
        };
        for (const uint32 position : used)
        {
            _subset.newIndex(position) = append(position, _firstTexture[position]);
            for (; seam < _seams.size() && _seams[seam] >> 32 == position; ++seam)
                _seamIndex[seam] = append(position, static_cast<uint32>(_seams[seam]));
        }
    }

    void writeTriangles(const ObjGroup& group, bool withTextures, Array<Index3>& trindexPos)
    {
        trindexPos.resize(Array<Index3>::checkedSize(group.positions.size()));
        for (uint32 f = 0; f < trindexPos.size(); ++f)
        {
            const Index3 positions = group.positions[f];
            const Index3 textures = withTextures ? group.textures[f] : noTriple;
            for (uint32 corner = 0; corner < 3; ++corner)
                trindexPos[f][corner] = indexOf(positions[corner], textures[corner]);
        }
    }

    uint32 indexOf(uint32 position, uint32 texture)
    {
        if (_firstTexture[position] == texture) return _subset.newIndex(position);
        const auto seam = std::lower_bound(_seams.begin(), _seams.end(), pairKey(position, texture));
        return _seamIndex[static_cast<std::size_t>(seam - _seams.begin())];
    }

    const std::vector<Vector3F>& _positions;
    const std::vector<Vector3F>& _textures;
    Subset _subset;
    std::vector<uint32> _firstTexture;
    std::vector<uint64> _seams;      ///< pairs whose texture coordinate is not their position's first, sorted
    std::vector<uint32> _seamIndex;  ///< their positions in the mesh
};

bool isComplete(const std::vector<Index3>& triples)
{
    const auto lacks = [](const Index3& t) { return t.a == noIndex || t.b == noIndex || t.c == noIndex; };
    return !triples.empty() && std::none_of(triples.begin(), triples.end(), lacks);
}

/// Takes the file's normals, and calculates those of the faces beside them, so that the mesh counts as having
/// its normals.
void buildNormals(const std::vector<Vector3F>& normals, const ObjGroup& group, Subset& subset, Mesh& mesh)
{
    if (!isComplete(group.normals))
    {
        mesh.refTrindexNor() = mesh.trindexPos();
        return;
    }
    for (const Index3& triple : group.normals)
        for (uint32 corner = 0; corner < 3; ++corner) subset.add(triple[corner]);

    const std::vector<uint32>& used = subset.inFileOrder();
    Array<Vector3F>& nor = mesh.refNor();
    nor.resize(Array<Vector3F>::checkedSize(used.size()));
    for (uint32 i = 0; i < nor.size(); ++i)
    {
        nor[i] = normals[used[i]];
        subset.newIndex(used[i]) = i;
    }
    Array<Index3>& trindexNor = mesh.refTrindexNor();
    trindexNor.resize(mesh.getFacesSize());
    for (uint32 f = 0; f < trindexNor.size(); ++f)
    {
        const Index3& triple = group.normals[f];
        trindexNor[f] = {subset.newIndex(triple.a), subset.newIndex(triple.b), subset.newIndex(triple.c)};
    }
    subset.clear();
    mesh.recalculateFaceNormals();
}

bool isBelow(const Index3& triple, std::size_t count)
{
    return triple.a < count && triple.b < count && triple.c < count;
}

/// Makes indices without an element mean "none"; triples that are all none are given up.
void forgetMissing(std::vector<Index3>& triples, std::size_t count)
{
    bool any = false;
    for (Index3& triple : triples)
        for (uint32* index : {&triple.a, &triple.b, &triple.c})
            if (*index < count)
                any = true;
            else
                *index = noIndex;
    if (!any) triples.clear();
}

template <class Keep>
void keepTriples(std::vector<Index3>& triples, const Keep& keep)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < triples.size(); ++i)
        if (keep[i]) triples[kept++] = triples[i];
    triples.resize(kept);
}

}  // namespace

void ObjReader::dropFacesWithoutPosition(ObjGroup& group) const
{
    const auto isValid = [&](std::size_t i) { return isBelow(group.positions[i], _positions.size()); };
    const std::size_t count = group.positions.size();
    std::size_t valid = 0;
    while (valid < count && isValid(valid)) ++valid;
    if (valid == count) return;
    std::vector<bool> keep(count, true);
    for (std::size_t i = valid; i < count; ++i) keep[i] = isValid(i);
    for (const auto& [first, triangles] : group.polygons)
    {
        const auto begin = keep.begin() + first, end = begin + triangles;
        if (std::find(begin, end, false) != end) std::fill(begin, end, false);
    }
    keepTriples(group.positions, keep);
    keepTriples(group.textures, keep);
    keepTriples(group.normals, keep);
}

void ObjReader::BuildObjects(bool withTextures, ArrayOfPtr<Mesh>& meshes)
{
    PositionBuilder positions(_positions, _textures);
    Subset normals(_normals.size());
    for (std::unique_ptr<ObjGroup>& group : _groups)
    {
        if (_report)
        {
            countFaults(*group);
            triangulate(*group);
        }
        dropFacesWithoutPosition(*group);
        if (group->positions.empty()) continue;
        forgetMissing(group->textures, _textures.size());
        forgetMissing(group->normals, _normals.size());
        auto mesh = std::make_unique<Mesh>();
        mesh->setName(TX_String(group->name));
        positions.build(*group, withTextures && !group->textures.empty(), *mesh);
        buildNormals(_normals, *group, normals, *mesh);
        meshes.push_back(mesh.release());
        group.reset();
    }
}

}  // namespace tavrix::detail
