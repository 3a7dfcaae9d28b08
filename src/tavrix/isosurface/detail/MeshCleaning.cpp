#include <tavrix/isosurface/detail/MeshCleaning.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/detail/Prefetch.h>

namespace tavrix::detail
{

namespace
{

bool collapsed(const Index3& face) { return face.a == face.b || face.b == face.c || face.c == face.a; }

/// The numbers of the faces that name a position twice, ascending, where change(begin, end) comes before the
/// look at these faces.
template <class Change>
std::vector<uint32> findCollapsedFaces(const Array<Index3>& faces, uint32 threadCount, Polling& polling,
                                       Change change)
{
    const uint32 workers = threadsWorth(faces.size(), scatteredItems, threadCount);
    std::vector<std::vector<uint32>> found(workers);
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  const auto low = static_cast<uint32>(uint64{faces.size()} * w / workers);
                  const auto high = static_cast<uint32>(uint64{faces.size()} * (w + 1) / workers);
                  for (uint32 begin = low; begin < high;)
                  {
                      const uint32 end = begin + std::min<uint32>(scatteredItems, high - begin);
                      change(begin, end);
                      for (uint32 f = begin; f < end; ++f)
                          if (collapsed(faces[f])) found[w].push_back(f);
                      if (!polling.goOn()) return;
                      begin = end;
                  }
              });
    std::vector<uint32> all;
    for (const auto& list : found) all.insert(all.end(), list.begin(), list.end());
    return all;
}

/// Replaces every index by its group; an index past the groups is left alone. The groups are looked up all
/// over their array, so they are asked for some faces ahead.
void renumber(Array<Index3>& faces, const Array<uint32>& groupOf, uint32 begin, uint32 end)
{
    constexpr uint32 ahead = 12;
    for (uint32 f = begin; f < end; ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            if (end - f > ahead) prefetch(groupOf.data() + faces[f + ahead][c]);
            uint32& index = faces[f][c];
            if (index < groupOf.size()) index = groupOf[index];
        }
}

/// Removes the elements of these ascending numbers by moving the runs between them together.
template <class T>
bool erase(Array<T>& elements, const std::vector<uint32>& numbers, Polling& polling)
{
    if (numbers.empty() || numbers.front() >= elements.size()) return true;
    PollCounter moved(polling, lightItems);
    T* to = elements.data() + numbers.front();
    for (std::size_t n = 0; n < numbers.size(); ++n)
    {
        uint32 begin = std::min(numbers[n] + 1, elements.size());
        const uint32 end =
            n + 1 < numbers.size() ? std::min(numbers[n + 1], elements.size()) : elements.size();
        while (begin < end)
        {
            const uint32 stop = begin + std::min<uint32>(lightItems, end - begin);
            to = std::copy(elements.data() + begin, elements.data() + stop, to);
            if (!moved.add(stop - begin)) return false;
            begin = stop;
        }
    }
    elements.resize(static_cast<uint32>(to - elements.data()));
    return true;
}

/// Copies an array, when there is a callback that may want its old contents back.
template <class T>
Array<T>* workingCopy(Array<T>& array, Array<T>& copy, Polling& polling)
{
    if (!polling.hasCallback()) return &array;
    copy.resize(array.size());
    inPieces(polling, array.size(), lightItems,
             [&](uint64 begin, uint64 end)
             { std::copy(array.data() + begin, array.data() + end, copy.data() + begin); });
    return &copy;
}

}  // namespace

double& mergeTolerance()
{
    static double tolerance = 0;
    return tolerance;
}

bool mergePositions(Array<Vector3D>& positions, TripleArrays triples, uint32 threadCount, Polling& polling,
                    Array<uint32>* openers)
{
    const Array<uint32> groupOf = mergeVertices(positions, mergeTolerance(), threadCount, polling, openers);
    return !polling.isStopped() &&
           std::all_of(triples.begin(), triples.end(),
                       [&](Array<Index3>* t)
                       {
                           return inPieces(polling, t->size(), scatteredItems, threadCount,
                                           [&](uint32, uint64 begin, uint64 end) {
                                               renumber(*t, groupOf, static_cast<uint32>(begin),
                                                        static_cast<uint32>(end));
                                           });
                       });
}

bool cleanSurface(Array<Vector3D>& positions, Array<Index3>& faces, uint32 threadCount, Polling& polling,
                  const Rank& rank)
{
    const Array<uint32> groupOf =
        mergeVertices(positions, mergeTolerance(), threadCount, polling, nullptr, rank);
    if (polling.isStopped()) return false;
    const std::vector<uint32> numbers = findCollapsedFaces(
        faces, threadCount, polling, [&](uint32 begin, uint32 end) { renumber(faces, groupOf, begin, end); });
    return !polling.isStopped() && erase(faces, numbers, polling);
}

void fitNormals(Array<Vector3F>& normals, uint32 positionCount)
{
    const uint32 before = normals.size();
    normals.resize(positionCount);
    for (uint32 n = before; n < positionCount; ++n) normals[n] = {0, 0, 0};
}

bool dropCollapsedFaces(TripleArrays triples, uint32 threadCount, Polling& polling, Array<uint32>* kept)
{
    const Array<Index3>& faces = **triples.begin();
    const std::vector<uint32> numbers =
        findCollapsedFaces(faces, threadCount, polling, [](uint32, uint32) {});
    if (kept && !numbers.empty())
    {
        kept->resize(faces.size());
        std::iota(kept->begin(), kept->end(), 0u);
        if (!erase(*kept, numbers, polling)) return false;
    }
    return !polling.isStopped() && std::all_of(triples.begin(), triples.end(),
                                               [&](Array<Index3>* t) { return erase(*t, numbers, polling); });
}

MeshCleaning::MeshCleaning(Mesh& mesh, uint32 threadCount, CancelCallback callback)
    : _mesh(mesh),
      _threadCount(threadCount),
      _polling(callback),
      _extras(mesh),
      _pos(workingCopy(mesh.refPos(), _posCopy, _polling)),
      _trindexPos(workingCopy(mesh.refTrindexPos(), _trindexPosCopy, _polling)),
      _trindexNor(workingCopy(mesh.refTrindexNor(), _trindexNorCopy, _polling))
{
}

/// Whether the normals can be numbered as the positions are. Otherwise they are a set of their own, and
/// merging positions leaves them and their triples alone.
bool MeshCleaning::normalsFollowPositions()
{
    bool follow = true;
    inPieces(_polling, _trindexNor->size(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 const uint32 count = _pos->size();
                 for (uint64 f = begin; f < end; ++f)
                 {
                     const Index3& t = (*_trindexNor)[f];
                     follow &= t.a < count && t.b < count && t.c < count;
                 }
             });
    return follow;
}

/// Makes what becomes of the mesh's extra arrays; false when stopped.
bool MeshCleaning::gatherExtras(MeshArrayInf::Flag kind, uint32 oldCount, const Array<uint32>& numbers)
{
    return _extras.gather(kind, oldCount, {numbers.data(), numbers.size()},
                          [this] { return _polling.goOn(); });
}

bool MeshCleaning::eraseRepeatedVertices()
{
    if (_polling.isStopped() || !_polling.goOn()) return false;
    if (_pos->empty()) return true;
    const uint32 oldCount = _pos->size();
    _normalsFollow = normalsFollowPositions();
    if (_normalsFollow && _mesh.refNor().capacity() < oldCount) _mesh.refNor().reserve(oldCount);
    const bool withExtras = _extras.has(MeshArrayInf::PER_POSITION);
    Array<uint32> openers;
    Array<Index3> none;
    if (!mergePositions(*_pos, {_trindexPos, _normalsFollow ? _trindexNor : &none}, _threadCount, _polling,
                        withExtras ? &openers : nullptr))
        return false;
    _merged = true;
    if (!_polling.hasCallback()) settle();
    return !withExtras || gatherExtras(MeshArrayInf::PER_POSITION, oldCount, openers);
}

bool MeshCleaning::eraseFacesWithRepatedIndexes()
{
    const uint32 oldCount = _trindexPos->size();
    const bool withExtras = _extras.has(MeshArrayInf::PER_FACE);
    Array<uint32> kept;
    if (!dropCollapsedFaces({_trindexPos, _trindexNor}, _threadCount, _polling, withExtras ? &kept : nullptr))
        return false;
    const bool dropped = _trindexPos->size() != oldCount;
    return !withExtras || !dropped || gatherExtras(MeshArrayInf::PER_FACE, oldCount, kept);
}

void MeshCleaning::finish()
{
    if (_polling.hasCallback())
    {
        _mesh.refPos().swap(_posCopy);
        _mesh.refTrindexPos().swap(_trindexPosCopy);
        _mesh.refTrindexNor().swap(_trindexNorCopy);
    }
    _extras.finish();
    settle();
}

/// Brings the rest of the mesh in line with its positions and faces.
void MeshCleaning::settle()
{
    if (_merged && _normalsFollow) fitNormals(_mesh.refNor(), _mesh.getPosSize());
    _mesh.invalidateBox();
    _mesh.invalidateConnectivity();
}

}  // namespace tavrix::detail
