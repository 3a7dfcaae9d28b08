#include <meshoptimizer.h>

#include <vector>

#include "WeldPeers.h"

long long meshoptimizerWeld(const float* coordinates, std::size_t corners)
{
    constexpr std::size_t vertexSize = 3 * sizeof(float);
    std::vector<unsigned int> remap(corners), indices(corners);
    const std::size_t count =
        meshopt_generateVertexRemap(remap.data(), nullptr, corners, coordinates, corners, vertexSize);
    std::vector<float> vertices(3 * count);
    meshopt_remapVertexBuffer(vertices.data(), coordinates, corners, vertexSize, remap.data());
    meshopt_remapIndexBuffer(indices.data(), nullptr, corners, remap.data());
    return static_cast<long long>(count);
}
