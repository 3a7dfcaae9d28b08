#pragma once

#include <tavrix/implicit/LevelSetSampling.h>

namespace tavrix
{

class Mesh;

/// Extracts the surface of a level set as extractExplicitSurface does, but closed and 2-manifold: where the
/// inside reaches the grid's border, the surface is closed half a separation beyond (cappedGrid, for which
/// there is a second grid then), and where clean-up joined vertices at nodes, sheets that touch are cut apart
/// (separateSheets). The mesh is to be empty. Returns the number of faces; 0 when the callback stopped it.
/// The cut costs some passes over the mesh at most. The same bytes for every thread count.
TX_GEOMETRY_API uint32 extractClosed(const LevelSet& surface, Mesh& mesh, uint32 threadCount = 1,
                                     CancelCallback callback = nullptr);

}  // namespace tavrix
