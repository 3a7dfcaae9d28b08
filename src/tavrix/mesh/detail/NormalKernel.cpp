#include <tavrix/mesh/detail/NormalKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>
#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::detail::TX_KERNEL
{

namespace
{

/// A length up to this has no direction.
constexpr double smallestLength = 1e-28;

Vector edge(const FaceBatch& block, uint32 from, uint32 to, uint32 i)
{
    return {block.corner[to][0][i] - block.corner[from][0][i],
            block.corner[to][1][i] - block.corner[from][1][i],
            block.corner[to][2][i] - block.corner[from][2][i]};
}

/// The angles between the edges, before they are scaled: at corner c the arc cosine of
/// -(edge that arrives)·(edge that leaves) / (product of their lengths).
void computeRawAngles(FaceBatch& block, uint32 count)
{
    for (uint32 i = 0; i < count; ++i)
    {
        const Vector e0 = edge(block, 0, 1, i);
        const Vector e1 = edge(block, 1, 2, i);
        const Vector e2 = edge(block, 2, 0, i);
        const double l0 = length(e0);
        const double l1 = length(e1);
        const double l2 = length(e2);
        block.angle[0][i] = -dot(e2, e0) / (l2 * l0);
        block.angle[1][i] = -dot(e0, e1) / (l0 * l1);
        block.angle[2][i] = -dot(e1, e2) / (l1 * l2);
    }
    for (auto& angles : block.angle)
        for (uint32 i = 0; i < count; ++i) angles[i] = arcCosine(angles[i]);
}

void scaleAngles(FaceBatch& block, uint32 count)
{
    for (uint32 i = 0; i < count; ++i)
    {
        const double scale = piValue / (block.angle[0][i] + block.angle[1][i] + block.angle[2][i]);
        block.angle[0][i] *= scale;
        block.angle[1][i] *= scale;
        block.angle[2][i] *= scale;
    }
}

}  // namespace

void computeFaceNormals(FaceBatch& block, uint32 count)
{
    for (uint32 i = 0; i < count; ++i)
    {
        const Vector u = edge(block, 0, 1, i);
        const Vector v = edge(block, 0, 2, i);
        const Vector n = cross(u, v);
        const double twiceArea = length(n);
        const bool hasDirection = twiceArea > smallestLength;
        block.normal[0][i] = hasDirection ? n.x / twiceArea : 1.0;
        block.normal[1][i] = hasDirection ? n.y / twiceArea : 0.0;
        block.normal[2][i] = hasDirection ? n.z / twiceArea : 0.0;
        block.area[i] = hasDirection ? twiceArea * 0.5 : 0.0;
    }
}

void computeCornerContributions(FaceBatch& block, uint32 count)
{
    computeRawAngles(block, count);
    scaleAngles(block, count);
    for (uint32 c = 0; c < 3; ++c)
        for (uint32 axis = 0; axis < 3; ++axis)
            for (uint32 i = 0; i < count; ++i)
                block.contribution[c][axis][i] =
                    static_cast<float>(block.normal[axis][i] * block.angle[c][i]);
}

}  // namespace tavrix::detail::TX_KERNEL
