#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include <tavrix/mesh/Mesh.h>

// Surfaces from one lattice, compared cell by cell.

namespace tavrix::test
{

/// The faces as triples of lattice edges, each beginning with its smallest, ascending; and where the surface
/// crosses these edges.
struct Crossings
{
    std::set<std::array<std::array<int64, 4>, 3>> faces;
    std::map<std::array<int64, 4>, double> edges;

    Crossings(const Mesh& mesh, double spacing)
    {
        std::vector<std::array<int64, 4>> keys;
        for (const Vector3D& p : mesh.pos())
        {
            std::array<int64, 4> key{};
            double crossing = 0;
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const double steps = p[axis] / spacing, nearest = std::round(steps);
                key[axis] = static_cast<int64>(nearest);
                if (std::fabs(steps - nearest) < 1e-8) continue;
                key[axis] = static_cast<int64>(std::floor(steps));
                key[3] = axis;
                crossing = steps;
            }
            keys.push_back(key);
            edges[key] = crossing;
        }
        for (const Index3& f : mesh.trindexPos())
        {
            std::array<std::array<int64, 4>, 3> face{keys[f.a], keys[f.b], keys[f.c]};
            std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
            faces.insert(face);
        }
    }
};

inline void expectTheSameSurface(const Mesh& blocks, const Mesh& dense, double spacing,
                                 double tolerance = 1e-4)
{
    ASSERT_GT(dense.getFacesSize(), 2000u);
    ASSERT_EQ(blocks.getFacesSize(), dense.getFacesSize());
    ASSERT_EQ(blocks.getPosSize(), dense.getPosSize());
    const Crossings ours(blocks, spacing), theirs(dense, spacing);
    ASSERT_EQ(ours.edges.size(), blocks.getPosSize()) << "an edge has two vertices";
    EXPECT_TRUE(ours.faces == theirs.faces);
    double worst = 0;
    for (const auto& [edge, crossing] : ours.edges)
    {
        const auto found = theirs.edges.find(edge);
        ASSERT_TRUE(found != theirs.edges.end());
        worst = std::max(worst, std::fabs(crossing - found->second));
    }
    EXPECT_LT(worst, tolerance) << "in steps of the lattice";
}

}  // namespace tavrix::test
