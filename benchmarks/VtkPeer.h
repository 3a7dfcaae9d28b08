#pragma once

/// One run of vtkFlyingEdges3D, points only, on size^3 samples at level 0; returns its number of faces. In a
/// source of its own because VTK's headers are C++17.
long long flyingEdges(const float* samples, int size, int threads);
