#pragma once

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/foundation/Wector3.h>

namespace tavrix::detail
{

/// The arrays of one calculation of normals. `faceNor` may be null, and so may `nor` (with `trindexNor`).
struct NormalArrays
{
    const Vector3D* pos;
    const Index3* trindexPos;
    const Index3* trindexNor;
    uint32 faceCount;
    Wector3F* faceNor;
    Vector3F* nor;
    uint32 norCount;
};

/// Fills the face normals and the vertex normals of the arrays; returns whether a vertex normal vanished and
/// was left zero. The result is the same bytes for every thread count: each vertex normal is one sum in face
/// order. It means nothing once the polling has stopped.
bool calculateNormals(const NormalArrays& arrays, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
