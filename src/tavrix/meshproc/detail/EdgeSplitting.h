#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// A face under splitting: its corners' vertices and normals, and the face of the mesh of which it is a part.
struct SplitFace
{
    Index3 vertices, normals;
    uint32 source;
};

/// Splits edges in the middle, round by round: each round all that are too long, of the faces that the round
/// before made. The others have none.
class EdgeSplitting
{
public:
    /// No face may name a vertex twice. Normals are split when there are some.
    EdgeSplitting(Array<Vector3D> positions, Array<Vector3F> normals, Array<SplitFace> faces);

    /// Until no edge is longer; false when stopped, or when there would be more than `mostFaces`.
    bool run(double longest, uint32 mostFaces, uint32 threadCount, Polling& polling);
    bool isTooLarge() const { return _isTooLarge; }

    const Array<Vector3D>& positions() const { return _positions; }
    const Array<Vector3F>& normals() const { return _normals; }
    /// Unordered.
    const Array<SplitFace>& faces() const { return _faces; }
    /// Of every vertex that was added, in their order.
    const Array<Tuple2<uint32, uint32>>& ends() const { return _ends; }

private:
    bool markEdges(double longest, Polling& polling);
    void makeNormals();
    uint32 middleNormal(uint32 a, uint32 b);
    void splitFace(const SplitFace& face, const Index3& middles, const Index3& normals,
                   SplitFace* pieces) const;

    Array<Vector3D> _positions;
    Array<Vector3F> _normals;
    Array<SplitFace> _faces, _active;
    Array<Tuple2<uint32, uint32>> _ends;
    Array<Index3> _middles, _middleNormals;  ///< of the active faces' edges; noIndex where one stays
    uint32 _lastCount = 0;                   ///< of vertices that the last round added
    bool _isTooLarge = false;
};

}  // namespace tavrix::detail
