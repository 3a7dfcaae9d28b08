#include <algorithm>

#include <tavrix/mesh/detail/IndexTriples.h>
#include <tavrix/mesh/detail/LieDownNormals.h>
#include <tavrix/mesh/detail/NormalJob.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

using detail::neededEntries;
using detail::NormalJob;

NormalJob makeJob(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
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

/// The whole computation: the sums, and lie-down normals where a sum vanished. Those are found on a copy, and
/// taken for the zero entries alone.
void runJob(const NormalJob& job, uint32 threadCount)
{
    if (!detail::calculateNormals(job, threadCount)) return;
    Array<Vector3F> copy(std::span<const Vector3F>(job.nor, job.norCount));
    NormalJob lieDown = job;
    lieDown.nor = copy.data();
    detail::fillLieDownNormals(lieDown);
    for (uint32 n = 0; n < job.norCount; ++n)
        if (job.nor[n] == Vector3F{0, 0, 0}) job.nor[n] = copy[n];
}

}  // namespace

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  const Array<Index3>& trindexNor, Array<Wector3F>& faceNor,
                                  Array<Vector3F>& nor)
{
    if (trindexNor.size() >= trindexPos.size())
        return runJob(makeJob(pos, trindexPos, trindexNor, &faceNor, nor), 1);
    staticCalculateNormals(pos, trindexPos, faceNor);
    runJob(makeJob(pos, trindexPos, trindexNor, nullptr, nor), 1);
}

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  Array<Vector3F>& nor)
{
    runJob(makeJob(pos, trindexPos, trindexPos, nullptr, nor), 1);
}

void Mesh::staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                  Array<Wector3F>& faceNor)
{
    faceNor.resize(trindexPos.size());
    const NormalJob job{pos.data(),     trindexPos.data(), nullptr, trindexPos.size(),
                        faceNor.data(), nullptr,           0};
    detail::calculateNormals(job, 1);
}

void Mesh::staticCalculateLieDownNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                         const Array<Index3>& trindexNor, Array<Vector3F>& nor)
{
    detail::fillLieDownNormals(makeJob(pos, trindexPos, trindexNor, nullptr, nor));
}

/// Makes "TrindexNor" and "Nor" fit the faces: without one triple a face, or with indices that no sensible
/// number of normals explains, the normals are the positions'; a "Nor" that is too short grows.
void Mesh::prepareNormalArrays()
{
    const uint64 sensible = 3 * uint64{std::max({nor().size(), getPosSize(), getFacesSize()})};
    uint64 needed = neededEntries(trindexNor());
    if (trindexNor().size() != getFacesSize() || needed > sensible)
    {
        refTrindexNor() = trindexPos();
        needed = getPosSize();
    }
    if (needed > nor().size()) refNor().resize(Array<Vector3F>::checkedSize(needed));
}

void Mesh::recalculateNormals() { recalculateNormalsParallelized(1); }

void Mesh::recalculateNormalsParallelized(uint32 threadCount)
{
    prepareNormalArrays();
    runJob(makeJob(pos(), trindexPos(), trindexNor(), &refFaceNor(), refNor()), threadCount);
    if (!getArrNorSurface().isNone()) calculateVerticesSurfaceNormal(threadCount);
}

void Mesh::recalculateFaceNormals() { staticCalculateNormals(pos(), trindexPos(), refFaceNor()); }

void Mesh::recalculateVertexesNormals()
{
    prepareNormalArrays();
    runJob(makeJob(pos(), trindexPos(), trindexNor(), nullptr, refNor()), 1);
}

void Mesh::confirmNormalsCalculated()
{
    const bool calculated = faceNor().size() == getFacesSize() && trindexNor().size() == getFacesSize() &&
                            neededEntries(trindexNor()) <= nor().size();
    if (!calculated) recalculateNormals();
}

void Mesh::calculateVerticesSurfaceNormal(uint32 threadCount)
{
    Array<Vector3F>& normals = require<Vector3F>(Slot::NorAllSmoothed);
    normals.resize(getPosSize());
    runJob(makeJob(pos(), trindexPos(), trindexPos(), nullptr, normals), threadCount);
}

void Mesh::calculateVerticesSurfaceNormalExternal(Array<Vector3F>& normals) const
{
    normals.resize(getPosSize());
    staticCalculateNormals(pos(), trindexPos(), normals);
}

void Mesh::createSafe_arrNorSurface(uint32 threadCount)
{
    if (getArrNorSurface().isNone() || norSurface().size() != getPosSize())
        calculateVerticesSurfaceNormal(threadCount);
}

}  // namespace tavrix
