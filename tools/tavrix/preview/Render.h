#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/mesh/Mesh.h>

#include "preview/Picture.h"
#include "preview/View.h"

namespace tavrix::tool
{

// Pictures of meshes and particles as on a photographer's table: blue matter on a light ground, a key light
// with soft shadows from the upper left, light from all over the sky. Traced rays, nine a pixel. The same
// input gives the same bytes for every number of threads. They throw Failure when interrupted.

/// Draws the faces whose indices exist and whose corners are finite, seen from either side, smooth with the
/// mesh's normals; faces without usable normals are flat. A mesh with nothing to draw gives the empty table.
/// O(faces log faces + pixels log faces); about 90 bytes a face and 100 a pixel.
Picture renderMesh(const Mesh& mesh, const View& view, const PreviewOptions& options);

/// Draws a sphere of the radius around each finite position.
Picture renderParticles(const Array<Vector3F>& positions, float radius, const View& view,
                        const PreviewOptions& options);

}  // namespace tavrix::tool
