#pragma once

#include <array>

#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// Positions and faces of a sphere.
template <uint32 positionCount, uint32 faceCount>
struct SphereTable
{
    std::array<Vector3D, positionCount> positions;
    std::array<Index3, faceCount> faces;
};

inline constexpr SphereTable<12, 20> icosahedronTable{
    {{{0, 0, 1},
      {0.8944272, 0, 0.4472136},
      {0.2763932, 0.8506508, 0.4472136},
      {-0.7236068, 0.5257311, 0.4472136},
      {-0.7236068, -0.5257311, 0.4472136},
      {0.2763932, -0.8506508, 0.4472136},
      {0.7236068, 0.5257311, -0.4472136},
      {-0.2763932, 0.8506508, -0.4472136},
      {-0.8944272, 0, -0.4472136},
      {-0.2763932, -0.8506508, -0.4472136},
      {0.7236068, -0.5257311, -0.4472136},
      {0, 0, -1}}},
    {{{0, 1, 2},  {0, 2, 3},  {0, 3, 4},  {0, 4, 5},  {0, 5, 1},   {1, 10, 6}, {2, 6, 7},
      {3, 7, 8},  {4, 8, 9},  {5, 9, 10}, {6, 2, 1},  {7, 3, 2},   {8, 4, 3},  {9, 5, 4},
      {10, 1, 5}, {11, 7, 6}, {11, 8, 7}, {11, 9, 8}, {11, 10, 9}, {11, 6, 10}}}};

/// Divides an icosahedron's faces by five along each edge. Positions 0 to 11 are its corners, 12 to 131 the
/// points on its 30 edges, four an edge, and 132 to 251 those within its faces, six a face.
class GeodesicSphere
{
public:
    static constexpr SphereTable<252, 500> make()
    {
        GeodesicSphere sphere;
        for (const Index3& face : corners) sphere.divide(face);
        return sphere._table;
    }

private:
    static constexpr uint32 frequency = 5, cornerCount = 12, edgeCount = 30;

    /// What all positions but the poles, which are as they are, lie below the unit sphere along y.
    static constexpr double sunk = 2e-6;

    /// The corners, and the first points on the edge between the first two, as this sphere has always had
    /// them; the others are calculated.
    static constexpr std::array<Vector3D, 14> given{{{0, -1, 0},
                                                     {0.8944272, -0.4472156, 0},
                                                     {0.2763932, -0.4472156, 0.8506508},
                                                     {-0.7236068, -0.4472156, 0.5257310},
                                                     {-0.7236068, -0.4472156, -0.5257312},
                                                     {0.2763933, -0.4472156, -0.8506508},
                                                     {0.7236068, 0.4472116, 0.5257311},
                                                     {-0.2763932, 0.4472116, 0.8506508},
                                                     {-0.8944272, 0.4472116, 0},
                                                     {-0.2763933, 0.4472116, -0.8506508},
                                                     {0.7236070, 0.4472116, -0.5257308},
                                                     {0, 1, 0},
                                                     {0.2196247, -0.9755864, 0},
                                                     {0.4285248, -0.9035319, 0}}};

    static constexpr std::array<Index3, 20> corners{
        {{0, 1, 2},  {0, 2, 3},  {0, 3, 4},  {0, 4, 5},  {0, 5, 1},   {1, 6, 2},  {2, 7, 3},
         {3, 8, 4},  {4, 9, 5},  {5, 10, 1}, {6, 7, 2},  {7, 8, 3},   {8, 9, 4},  {9, 10, 5},
         {10, 6, 1}, {11, 7, 6}, {11, 8, 7}, {11, 9, 8}, {11, 10, 9}, {11, 6, 10}}};

    /// sin(n / 5 * e) for the angle e = atan(2) between neighbouring corners: the weights of corners that put
    /// points on an edge at equal angles.
    static constexpr std::array<double, frequency + 1> weights{0,
                                                               0.21962468264893148,
                                                               0.4285248458846539,
                                                               0.6164996605971476,
                                                               0.774370105898305,
                                                               0.8944271909999159};

    struct Edge
    {
        uint32 from, to;
    };

    constexpr GeodesicSphere()
    {
        for (uint32 n = 0; n < given.size(); ++n) _table.positions[n] = given[n];
    }

    /// Adds the faces of one face of the icosahedron, row after row from its first corner on.
    constexpr void divide(const Index3& face)
    {
        std::array<uint32, frequency + 1> row{face.a}, next{};
        for (uint32 r = 0; r < frequency; ++r)
        {
            for (uint32 n = 0; n <= r + 1; ++n) next[n] = point(face, r + 1, n);
            for (uint32 n = 0; n <= r; ++n)
            {
                _table.faces[_faceCount++] = {row[n], next[n], next[n + 1]};
                if (n < r) _table.faces[_faceCount++] = {row[n], next[n + 1], row[n + 1]};
            }
            row = next;
        }
    }

    /// The index of the n-th point in a row of a face.
    constexpr uint32 point(const Index3& face, uint32 row, uint32 n)
    {
        if (n == 0) return pointOnEdge(face.a, face.b, row);
        if (n == row) return pointOnEdge(face.a, face.c, row);
        if (row == frequency) return pointOnEdge(face.b, face.c, n);
        place(_innerCount, face, {frequency - row, row - n, n});
        return _innerCount++;
    }

    constexpr uint32 pointOnEdge(uint32 from, uint32 to, uint32 n)
    {
        if (n == 0) return from;
        if (n == frequency) return to;
        uint32 e = 0;
        for (; e < _edgeCount; ++e)
        {
            if (_edges[e].from == from && _edges[e].to == to) break;
            if (_edges[e].from == to && _edges[e].to == from) return pointOnEdge(to, from, frequency - n);
        }
        if (e == _edgeCount)
        {
            _edges[_edgeCount++] = {from, to};
            for (uint32 m = 1; m < frequency; ++m)
                place(cornerCount + 4 * e + m - 1, {from, to, from}, {frequency - m, m, 0});
        }
        return cornerCount + 4 * e + n - 1;
    }

    /// Calculates the point with such shares of the corners, unless it is a given one.
    constexpr void place(uint32 index, const Index3& face, const Index3& shares)
    {
        if (index < given.size()) return;
        const Vector3D sum = raised(face.a) * weights[shares.a] + raised(face.b) * weights[shares.b] +
                             raised(face.c) * weights[shares.c];
        _table.positions[index] = sum / root(dot(sum, sum)) - Vector3D{0, sunk, 0};
    }

    /// A corner on the unit sphere.
    static constexpr Vector3D raised(uint32 corner)
    {
        const bool isPole = corner == 0 || corner == 11;
        return isPole ? given[corner] : given[corner] + Vector3D{0, sunk, 0};
    }

    /// The square root of a number about 1, by Newton's method.
    static constexpr double root(double square)
    {
        double x = 1;
        for (int step = 0; step < 8; ++step) x = (x + square / x) / 2;
        return x;
    }

    SphereTable<252, 500> _table{};
    std::array<Edge, edgeCount> _edges{};
    uint32 _edgeCount = 0, _faceCount = 0;
    uint32 _innerCount = cornerCount + 4 * edgeCount;
};

}  // namespace tavrix::detail
