#include <algorithm>
#include <span>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/foundation/ParallelFor.h>
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
    uint32 newIndex(uint32 element) const { return _newIndex[element]; }

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

/// Gives a mesh a triple for each triangle of the object: write(group, its triangle, triple).
template <class Write>
void writeFaces(const ObjObject& object, uint32 threadCount, Array<Index3>& triples, const Write& write)
{
    std::size_t count = 0;
    for (const ObjGroup* group : object.groups) count += group->positions.size();
    triples.resize(Array<Index3>::checkedSize(count));
    Index3* first = triples.data();
    for (const ObjGroup* group : object.groups)
    {
        const std::size_t faces = group->positions.size();
        parallelFor(faces, threadsWorth(faces, lightItems, threadCount),
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 f = begin; f < end; ++f) write(*group, f, first[f]);
                    });
        first += faces;
    }
}

/// The positions of a mesh, one for each pair of position and texture coordinate that the group uses: in file
/// order of the positions, first with the texture coordinate that came first, then with the others in file
/// order.
class PositionBuilder
{
public:
    PositionBuilder(std::span<const Vector3F> positions, std::span<const Vector3F> textures,
                    uint32 threadCount)
        : _positions(positions),
          _textures(textures),
          _threadCount(threadCount),
          _subset(positions.size()),
          _firstTexture(positions.size())
    {
    }

    void build(const ObjObject& object, bool withTextures, Mesh& mesh)
    {
        for (const ObjGroup* group : object.groups) collect(*group, withTextures);
        sortSeams();
        writePositions(withTextures, mesh);
        writeTriangles(object, withTextures, mesh.refTrindexPos());
        _subset.clear();
        _seams.clear();
    }

private:
    static uint64 pairKey(uint32 position, uint32 texture) { return uint64{position} << 32 | texture; }

    /// The texture coordinates of a triangle; none, where its group has none.
    static Index3 texturesOf(const ObjGroup& group, std::size_t face, bool withTextures)
    {
        return withTextures && !group.textures.empty() ? group.textures[face] : noTriple;
    }

    void collect(const ObjGroup& group, bool withTextures)
    {
        for (std::size_t f = 0; f < group.positions.size(); ++f)
        {
            const Index3 textures = texturesOf(group, f, withTextures);
            for (uint32 corner = 0; corner < 3; ++corner)
            {
                const uint32 position = group.positions[f][corner];
                if (_subset.add(position))
                    _firstTexture[position] = textures[corner];
                else if (_firstTexture[position] != textures[corner])
                    _seams.push_back(pairKey(position, textures[corner]));
            }
        }
    }

    void sortSeams()
    {
        sortOnce(_seams);
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

    void writeTriangles(const ObjObject& object, bool withTextures, Array<Index3>& trindexPos)
    {
        const auto write = [&](const ObjGroup& group, std::size_t face, Index3& triangle)
        {
            const Index3 textures = texturesOf(group, face, withTextures);
            for (uint32 corner = 0; corner < 3; ++corner)
                triangle[corner] = indexOf(group.positions[face][corner], textures[corner]);
        };
        writeFaces(object, _threadCount, trindexPos, write);
    }

    uint32 indexOf(uint32 position, uint32 texture) const
    {
        if (_firstTexture[position] == texture) return _subset.newIndex(position);
        const auto seam = std::lower_bound(_seams.begin(), _seams.end(), pairKey(position, texture));
        return _seamIndex[static_cast<std::size_t>(seam - _seams.begin())];
    }

    std::span<const Vector3F> _positions, _textures;
    uint32 _threadCount;
    Subset _subset;
    std::vector<uint32> _firstTexture;
    std::vector<uint64> _seams;      ///< pairs whose texture coordinate is not their position's first, sorted
    std::vector<uint32> _seamIndex;  ///< their positions in the mesh
};

bool isComplete(const ObjObject& object)
{
    const auto lacks = [](const Index3& t) { return t.a == noIndex || t.b == noIndex || t.c == noIndex; };
    return std::all_of(object.groups.begin(), object.groups.end(),
                       [&](const ObjGroup* group)
                       {
                           return group->normals.size() == group->positions.size() &&
                                  std::none_of(group->normals.begin(), group->normals.end(), lacks);
                       });
}

/// Takes the file's normals, and calculates those of the faces beside them, so that the mesh counts as having
/// its normals.
void buildNormals(std::span<const Vector3F> normals, const ObjObject& object, uint32 threadCount,
                  Subset& subset, Mesh& mesh)
{
    if (!isComplete(object))
    {
        mesh.refTrindexNor() = mesh.trindexPos();
        return;
    }
    for (const ObjGroup* group : object.groups)
        for (const Index3& triple : group->normals)
            for (uint32 corner = 0; corner < 3; ++corner) subset.add(triple[corner]);

    const std::vector<uint32>& used = subset.inFileOrder();
    Array<Vector3F>& nor = mesh.refNor();
    nor.resize(Array<Vector3F>::checkedSize(used.size()));
    for (uint32 i = 0; i < nor.size(); ++i)
    {
        nor[i] = normals[used[i]];
        subset.newIndex(used[i]) = i;
    }
    writeFaces(object, threadCount, mesh.refTrindexNor(),
               [&](const ObjGroup& group, std::size_t face, Index3& triple)
               {
                   const Index3& given = group.normals[face];
                   triple = {subset.newIndex(given.a), subset.newIndex(given.b), subset.newIndex(given.c)};
               });
    subset.clear();
    mesh.recalculateFaceNormals(threadCount);
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

/// The elements of one kind of all pieces, one behind the other, given up by the pieces.
template <class Elements>
std::span<const Vector3F> ObjReader::join(const Elements& elements, Array<Vector3F>& storage) const
{
    if (_readings.size() == 1) return elements(*_readings[0].piece);
    std::vector<std::size_t> first(_readings.size() + 1);
    for (std::size_t i = 0; i < _readings.size(); ++i)
        first[i + 1] = first[i] + elements(*_readings[i].piece).size();
    storage.resize(Array<Vector3F>::checkedSize(first.back()));
    parallelFor(_readings.size(), _threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 i = begin; i < end; ++i)
                    {
                        std::vector<Vector3F>& part = elements(*_readings[i].piece);
                        std::copy(part.begin(), part.end(), storage.data() + first[i]);
                        std::vector<Vector3F>().swap(part);
                    }
                });
    return {storage.data(), storage.size()};
}

/// The objects in the order in which they first appear.
std::vector<ObjObject> ObjReader::collectObjects() const
{
    std::vector<ObjObject> objects{{"default", {}}};
    std::unordered_map<std::string, std::size_t> byName{{"default", 0}};
    std::size_t current = 0;
    const auto find = [&](const std::string& name)
    {
        if (_mode == ObjReadingMode::groupByName)
            return byName.try_emplace(name, objects.size()).first->second;
        return objects.size();
    };
    for (const Reading& reading : _readings)
    {
        std::size_t last = current;
        for (const std::unique_ptr<ObjGroup>& group : reading.piece->groups())
        {
            const bool goesOn = group == reading.piece->groups().front();
            const std::size_t object = goesOn ? current : find(group->name);
            if (object == objects.size()) objects.push_back({group->name, {}});
            if (!group->positions.empty()) objects[object].groups.push_back(group.get());
            if (group.get() == reading.piece->lastGroup()) last = object;
        }
        current = last;
    }
    if (_mode == ObjReadingMode::groupByLine)
        for (std::size_t line = 0; line + 1 < objects.size(); ++line)
            objects[line + 1].name += '_' + std::to_string(line);
    return objects;
}

/// Leaves out of every group what the file does not have, and cuts its polygons.
void ObjReader::mendGroups()
{
    std::vector<ObjGroup*> groups;
    for (const Reading& reading : _readings)
        for (const std::unique_ptr<ObjGroup>& group : reading.piece->groups()) groups.push_back(group.get());
    std::vector<MeshReadingReport> faults(groups.size());
    const auto mend = [&](uint64 i)
    {
        if (_report) faults[i] = countFaults(*groups[i]);
        if (_report) triangulate(*groups[i]);
        dropFacesWithoutPosition(*groups[i]);
        forgetMissing(groups[i]->textures, _textures.size());
        forgetMissing(groups[i]->normals, _normals.size());
    };
    parallelFor(groups.size(), _threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 i = begin; i < end; ++i) mend(i);
                });
    if (!_report) return;
    const auto add = [&](const MeshReadingReport& part)
    {
        _report->faces += part.faces;
        _report->corners += part.corners;
        _report->numbers += part.numbers;
    };
    for (const Reading& reading : _readings) add(reading.piece->leftOut());
    for (const MeshReadingReport& part : faults) add(part);
}

void ObjReader::BuildObjects(bool withTextures, ArrayOfPtr<Mesh>& meshes)
{
    _positions = join(
        [](ObjPiece & piece) -> auto& { return piece.positions(); }, _joinedPositions);
    _textures = join(
        [](ObjPiece & piece) -> auto& { return piece.textures(); }, _joinedTextures);
    _normals = join(
        [](ObjPiece & piece) -> auto& { return piece.normals(); }, _joinedNormals);
    mendGroups();
    PositionBuilder positions(_positions, _textures, _threadCount);
    Subset normals(_normals.size());
    for (const ObjObject& object : collectObjects())
    {
        if (object.groups.empty()) continue;
        const auto hasTextures = [](const ObjGroup* group) { return !group->textures.empty(); };
        auto mesh = std::make_unique<Mesh>();
        mesh->setName(TX_String(object.name));
        positions.build(object,
                        withTextures && std::any_of(object.groups.begin(), object.groups.end(), hasTextures),
                        *mesh);
        buildNormals(_normals, object, _threadCount, normals, *mesh);
        meshes.push_back(mesh.release());
        for (ObjGroup* group : object.groups) *group = {};
    }
}

}  // namespace tavrix::detail
