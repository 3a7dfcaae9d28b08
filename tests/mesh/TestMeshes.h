#pragma once

#include <random>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::test
{

/// A mesh of the positions and faces, with a normal triple like each position triple and a zero normal a
/// position.
inline Mesh makeMesh(const Array<Vector3D>& positions, const Array<Index3>& faces)
{
    Mesh mesh;
    mesh.refPos() = positions;
    mesh.refTrindexPos() = mesh.refTrindexNor() = faces;
    mesh.refNor().assign(positions.size(), Vector3F{0, 0, 0});
    return mesh;
}

inline Mesh makeTetrahedron()
{
    return makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                    {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}});
}

inline Mesh makeCube()
{
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
    return mesh;
}

/// Faces with random corners over few positions: open, folded, non-manifold, and now and then degenerate.
inline Mesh makeRandomSoup(uint32 positionCount, uint32 faceCount, uint32 seed)
{
    std::mt19937 random(seed);
    const auto coordinate = [&] { return static_cast<double>(random() % 2001) / 1000 - 1; };
    const auto corner = [&] { return static_cast<uint32>(random() % positionCount); };
    Array<Vector3D> positions(positionCount);
    Array<Index3> faces(faceCount);
    for (Vector3D& p : positions) p.x = coordinate(), p.y = coordinate(), p.z = coordinate();
    for (Index3& f : faces) f.a = corner(), f.b = corner(), f.c = corner();
    return makeMesh(positions, faces);
}

/// A height field over an n by n grid: 2 (n-1)^2 faces in rows.
inline Mesh makeTerrain(uint32 n)
{
    Array<Vector3D> positions;
    Array<Index3> faces;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double x = i / 8.0, y = k / 8.0;
            positions.push_back({x, y, (i * 7 + k * 13) % 32 / 40.0 + x * y / n});
            if (i + 1 == n || k + 1 == n) continue;
            const uint32 a = i * n + k;
            faces.push_back({a, a + n, a + 1});
            faces.push_back({a + 1, a + n, a + n + 1});
        }
    return makeMesh(positions, faces);
}

/// Has all lists of neighbours made.
inline void connect(Mesh& mesh)
{
    mesh.createSafe_arrTrindexFacedge();
    mesh.createSafe_arrBindexFacedge();
    mesh.createSafe_PosConnectivityToPos();
    mesh.createSafe_PosConnectivityToEdges();
    mesh.createSafe_PosConnectivityToFaces();
}

/// FNV-1a over the bytes of the arrays.
template <class... Arrays>
uint64 checksum(const Arrays&... arrays)
{
    uint64 hash = 14695981039346656037u;
    const auto add = [&](const auto& array)
    {
        const auto* bytes = reinterpret_cast<const unsigned char*>(array.data());
        for (std::size_t i = 0; i < array.size() * sizeof array[0]; ++i)
            hash = (hash ^ bytes[i]) * 1099511628211u;
    };
    (add(arrays), ...);
    return hash;
}

}  // namespace tavrix::test
