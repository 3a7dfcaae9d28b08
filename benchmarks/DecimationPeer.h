#pragma once

#include <cstddef>
#include <vector>

/// meshoptimizer's simplifier, in a source of its own because its header is its own: the corners of what it
/// leaves of a mesh when asked for so many faces, three a face. `coordinates` holds three a vertex, `corners`
/// three a face.
std::vector<unsigned> meshoptimizerSimplify(const float* coordinates, std::size_t vertices,
                                            const unsigned* corners, std::size_t faces, std::size_t target);
