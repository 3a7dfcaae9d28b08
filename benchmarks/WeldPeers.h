#pragma once

#include <cstddef>

/// Other libraries joining the vertices of a triangle soup, each in a source of its own because their headers
/// are theirs. `coordinates` holds three a corner, three corners a face; they return how many vertices are
/// left. What they make besides goes away with them.
long long vtkWeld(const float* coordinates, std::size_t corners);
/// VTK's locator by bins, merging within a tolerance (0: what is equal) on so many threads.
long long vtkStaticWeld(const float* coordinates, std::size_t corners, double tolerance, int threads);
/// What is equal to the bit.
long long meshoptimizerWeld(const float* coordinates, std::size_t corners);
