#include "DecimationPeer.h"

#include <meshoptimizer.h>

std::vector<unsigned> meshoptimizerSimplify(const float* coordinates, std::size_t vertices,
                                            const unsigned* corners, std::size_t faces, std::size_t target)
{
    constexpr float anyError = 1e9f;
    std::vector<unsigned> left(3 * faces);
    left.resize(meshopt_simplify(left.data(), corners, 3 * faces, coordinates, vertices, 3 * sizeof(float),
                                 3 * target, anyError, 0, nullptr));
    return left;
}
