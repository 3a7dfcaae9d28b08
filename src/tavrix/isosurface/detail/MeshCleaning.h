#pragma once

#include <initializer_list>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/isosurface/detail/VertexMerging.h>
#include <tavrix/mesh/detail/CarriedArrays.h>

namespace tavrix::detail
{

using TripleArrays = std::initializer_list<Array<Index3>*>;

/// The process-wide merge tolerance: set by every clean-up, read by the merge.
double& mergeTolerance();

/// Merges positions within the process-wide tolerance of one another, in the order that
/// IsosurfaceExtractor3::mcaClean describes, and renumbers the triples; an index past the positions is left
/// alone. `openers`, when not null, receives the old number of every new position. The same result for every
/// thread count. False when the polling stopped it; the arrays then mean nothing.
bool mergePositions(Array<Vector3D>& positions, TripleArrays triples, uint32 threadCount, Polling& polling,
                    Array<uint32>* openers = nullptr);

/// Merges the positions of a surface that nothing else is numbered by, renumbers its faces, and removes those
/// that name a position twice: as mergePositions and dropCollapsedFaces do, in one pass over the faces. False
/// when the polling stopped it; the arrays then mean nothing.
bool cleanSurface(Array<Vector3D>& positions, Array<Index3>& faces, uint32 threadCount, Polling& polling,
                  const Rank& rank);

/// Makes the normals as many as the positions, new ones zero.
void fitNormals(Array<Vector3F>& normals, uint32 positionCount);

/// Removes the faces of which the first triples name a position twice, from all the arrays, keeping the order
/// of the others. `kept`, when not null and faces go, receives the old numbers of the others. False when the
/// polling stopped it; the arrays then mean nothing.
bool dropCollapsedFaces(TripleArrays triples, uint32 threadCount, Polling& polling,
                        Array<uint32>* kept = nullptr);

/// The clean-up of one mesh. With a callback it works on copies, so that a stop leaves the mesh as it was.
class MeshCleaning
{
public:
    MeshCleaning(Mesh& mesh, uint32 threadCount, CancelCallback callback);
    MeshCleaning(const MeshCleaning&) = delete;
    MeshCleaning& operator=(const MeshCleaning&) = delete;

    /// Merges the positions; what the mesh holds per position follows.
    bool eraseRepeatedVertices();
    /// Drops the faces that name a position twice; what hosts added per face follows.
    bool eraseFacesWithRepatedIndexes();
    /// Gives the mesh what was made.
    void finish();

private:
    void settle();
    bool normalsFollowPositions();
    bool gatherExtras(MeshArrayInf::Flag kind, uint32 oldCount, const Array<uint32>& numbers);

    Mesh& _mesh;
    uint32 _threadCount;
    Polling _polling;
    CarriedArrays _extras;
    Array<Vector3D> _posCopy;
    Array<Index3> _trindexPosCopy, _trindexNorCopy;
    Array<Vector3D>* _pos;
    Array<Index3>*_trindexPos, *_trindexNor;
    bool _normalsFollow = true;  ///< "TrindexNor" numbers positions
    bool _merged = false;
};

}  // namespace tavrix::detail
