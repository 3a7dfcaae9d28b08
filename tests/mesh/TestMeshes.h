#pragma once

#include <random>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::test
{

/// A mesh of the positions and faces, with a normal triple like each position triple and a zero normal a
/// position.
inline Mesh makeMesh(std::initializer_list<Vector3D> positions, std::initializer_list<Index3> faces)
{
    Mesh mesh;
    mesh.refPos() = Array<Vector3D>(positions);
    mesh.refTrindexPos() = Array<Index3>(faces);
    mesh.refTrindexNor() = Array<Index3>(faces);
    mesh.refNor().assign(static_cast<uint32>(positions.size()), Vector3F{0, 0, 0});
    return mesh;
}

inline Mesh makeTetrahedron()
{
    return makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                    {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}});
}

/// Faces with random corners over few positions: open, folded, non-manifold, and now and then degenerate.
inline Mesh makeRandomSoup(uint32 positionCount, uint32 faceCount, uint32 seed)
{
    std::mt19937 random(seed);
    const auto coordinate = [&] { return static_cast<double>(random() % 2001) / 1000 - 1; };
    Mesh mesh;
    for (uint32 i = 0; i < positionCount; ++i)
    {
        const double x = coordinate(), y = coordinate();
        mesh.refPos().push_back({x, y, coordinate()});
    }
    const auto corner = [&] { return static_cast<uint32>(random() % positionCount); };
    for (uint32 f = 0; f < faceCount; ++f)
    {
        const uint32 a = corner(), b = corner();
        mesh.refTrindexPos().push_back({a, b, corner()});
    }
    mesh.refTrindexNor() = mesh.trindexPos();
    mesh.refNor().assign(positionCount, Vector3F{0, 0, 0});
    return mesh;
}

/// A height field over an n by n grid: 2 (n-1)^2 faces in rows.
inline Mesh makeTerrain(uint32 n)
{
    Mesh mesh;
    mesh.refPos().reserve(n * n);
    mesh.refTrindexPos().reserve(2 * (n - 1) * (n - 1));
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double x = i / 8.0, y = k / 8.0;
            mesh.refPos().push_back({x, y, (i * 7 + k * 13) % 32 / 40.0 + x * y / n});
        }
    for (uint32 i = 0; i + 1 < n; ++i)
        for (uint32 k = 0; k + 1 < n; ++k)
        {
            const uint32 a = i * n + k;
            mesh.refTrindexPos().push_back({a, a + n, a + 1});
            mesh.refTrindexPos().push_back({a + 1, a + n, a + n + 1});
        }
    mesh.refTrindexNor() = mesh.trindexPos();
    mesh.refNor().assign(n * n, Vector3F{0, 0, 0});
    return mesh;
}

}  // namespace tavrix::test
