#include <algorithm>

#include <tavrix/mesh/detail/IndexTriples.h>
#include <tavrix/mesh/detail/LieDownNormals.h>
#include <tavrix/mesh/detail/VertexNormals.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

using detail::neededEntries;
using detail::NormalArrays;
using detail::Polling;

NormalArrays makeJob(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                     const Array<Index3>& trindexNor, Array<Wector3F>* faceNor, Array<Vector3F>& nor)
{
    if (faceNor) faceNor->resize(trindexPos.size());
    return {pos.data(),
            trindexPos.data(),
            trindexNor.data(),
            std::min(trindexPos.size(), trindexNor.size()),
            faceNor ? faceNor->data() : nullptr,
            nor.data(),
            nor.size()};
}

/// The whole computation: the sums, and lie-down normals where a sum vanished. False when the polling stopped
/// it.
bool fillNormals(const NormalArrays& arrays, uint32 threadCount, Polling& polling)
{
    const bool someVanished = detail::calculateNormals(arrays, threadCount, polling);
    if (polling.isStopped()) return false;
    return !someVanished || detail::fillLieDownNormals(arrays, threadCount, polling);
}

void fillNormals(const NormalArrays& arrays)
{
    Polling none(nullptr);
    fillNormals(arrays, 1, none);
}

bool faceNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos, Array<Wector3F>& faceNor,
                 uint32 threadCount, Polling& polling)
{
    faceNor.resize(trindexPos.size());
    const NormalArrays arrays{pos.data(),     trindexPos.data(), nullptr, trindexPos.size(),
                              faceNor.data(), nullptr,           0};
    detail::calculateNormals(arrays, threadCount, polling);
    return !polling.isStopped();
}

/// Makes the triples a copy of others; false, and nothing changed, when the polling stopped it.
bool copyTriples(const Array<Index3>& from, Array<Index3>& to, uint32 threadCount, Polling& polling)
{
    Array<Index3> copy(from.size());
    if (!inPieces(polling, from.size(), detail::lightItems, threadCount,
                  [&](uint32, uint64 begin, uint64 end)
                  { std::copy(from.data() + begin, from.data() + end, copy.data() + begin); }))
        return false;
    to.swap(copy);
    return true;
}

}  // namespace

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  const Array<Index3>& trindexNor, Array<Wector3F>& faceNor,
                                  Array<Vector3F>& nor)
{
    if (trindexNor.size() >= trindexPos.size())
        return fillNormals(makeJob(pos, trindexPos, trindexNor, &faceNor, nor));
    staticCalculateNormals(pos, trindexPos, faceNor);
    fillNormals(makeJob(pos, trindexPos, trindexNor, nullptr, nor));
}

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  Array<Vector3F>& nor)
{
    fillNormals(makeJob(pos, trindexPos, trindexPos, nullptr, nor));
}

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  Array<Wector3F>& faceNor)
{
    Polling none(nullptr);
    faceNormals(pos, trindexPos, faceNor, 1, none);
}

void Mesh::staticCalculateLieDownNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                         const Array<Index3>& trindexNor, Array<Vector3F>& nor)
{
    Polling none(nullptr);
    detail::fillLieDownNormals(makeJob(pos, trindexPos, trindexNor, nullptr, nor), 1, none);
}

/// Makes "TrindexNor" and "Nor" fit the faces: without one triple a face, or with indices that no sensible
/// number of normals explains, the normals are the positions'; a "Nor" that is too short grows.
bool Mesh::prepareNormalArrays(uint32 threadCount, Polling& polling)
{
    const uint64 sensible = 3 * uint64{std::max({nor().size(), getPosSize(), getFacesSize()})};
    uint64 needed = neededEntries(trindexNor(), threadCount, polling);
    if (polling.isStopped()) return false;
    if (trindexNor().size() != getFacesSize() || needed > sensible)
    {
        if (!copyTriples(trindexPos(), refTrindexNor(), threadCount, polling)) return false;
        needed = getPosSize();
    }
    if (needed > nor().size()) refNor().resize(Array<Vector3F>::checkedSize(needed));
    return true;
}

bool Mesh::recalculateNormals(CancelCallback callback) { return recalculateNormalsParallelized(1, callback); }

bool Mesh::recalculateNormalsParallelized(uint32 threadCount, CancelCallback callback)
{
    Polling polling(callback);
    return polling.goOn() && recalculateNormals(threadCount, polling);
}

bool Mesh::recalculateNormals(uint32 threadCount, Polling& polling)
{
    if (!prepareNormalArrays(threadCount, polling)) return false;
    return fillNormals(makeJob(pos(), trindexPos(), trindexNor(), &refFaceNor(), refNor()), threadCount,
                       polling) &&
           (getArrNorSurface().isNone() || calculateVerticesSurfaceNormal(threadCount, polling));
}

void Mesh::recalculateFaceNormals(uint32 threadCount)
{
    Polling none(nullptr);
    faceNormals(pos(), trindexPos(), refFaceNor(), threadCount, none);
}

bool Mesh::recalculateVertexesNormals(uint32 threadCount, CancelCallback callback)
{
    Polling polling(callback);
    return polling.goOn() && recalculateVertexesNormals(threadCount, polling);
}

bool Mesh::recalculateVertexesNormals(uint32 threadCount, Polling& polling)
{
    return prepareNormalArrays(threadCount, polling) &&
           fillNormals(makeJob(pos(), trindexPos(), trindexNor(), nullptr, refNor()), threadCount, polling);
}

bool Mesh::createNormals(double angle, uint32 threadCount, CancelCallback callback)
{
    Polling polling(callback);
    uint32 normalCount = 0;
    if (!polling.goOn() || !faceNormals(pos(), trindexPos(), refFaceNor(), threadCount, polling) ||
        !groupNormals(angle, normalCount, polling))
        return false;
    refNor().resize(normalCount);
    return recalculateVertexesNormals(threadCount, polling);
}

bool Mesh::confirmNormalsCalculated(uint32 threadCount, CancelCallback callback)
{
    Polling polling(callback);
    if (!polling.goOn()) return false;
    const bool calculated = faceNor().size() == getFacesSize() && trindexNor().size() == getFacesSize() &&
                            neededEntries(trindexNor(), threadCount, polling) <= nor().size();
    return !polling.isStopped() && (calculated || recalculateNormals(threadCount, polling));
}

bool Mesh::calculateVerticesSurfaceNormal(uint32 threadCount, CancelCallback callback)
{
    Polling polling(callback);
    return polling.goOn() && calculateVerticesSurfaceNormal(threadCount, polling);
}

bool Mesh::calculateVerticesSurfaceNormal(uint32 threadCount, Polling& polling)
{
    Array<Vector3F>& normals = require<Vector3F>(Slot::NorAllSmoothed);
    normals.resize(getPosSize());
    return fillNormals(makeJob(pos(), trindexPos(), trindexPos(), nullptr, normals), threadCount, polling);
}

void Mesh::calculateVerticesSurfaceNormalExternal(Array<Vector3F>& normals) const
{
    normals.resize(getPosSize());
    staticCalculateNormals(pos(), trindexPos(), normals);
}

bool Mesh::createSafe_arrNorSurface(uint32 threadCount, CancelCallback callback)
{
    if (!getArrNorSurface().isNone() && norSurface().size() == getPosSize()) return true;
    if (calculateVerticesSurfaceNormal(threadCount, callback)) return true;
    releaseSlot(Slot::NorAllSmoothed);  // so that they are not taken for complete
    return false;
}

}  // namespace tavrix
