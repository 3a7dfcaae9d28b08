#include <tavrix/spatial/MeshThickness.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <tavrix/spatial/MeshCollider.h>

#include "Polls.h"
#include "spatial/TestSolids.h"

using namespace tavrix;
using namespace tavrix::test;

namespace
{

Array<double> thicknessesOf(const Mesh& mesh, uint32 threads = 1)
{
    MeshCollider collider;
    collider.create(mesh);
    Array<double> found;
    EXPECT_TRUE(measureThickness(collider, found, threads));
    return found;
}

TEST(MeshThickness, IsTheWayThroughAWallFromEitherSideWhereverItLies)
{
    for (const double away : {0.0, 1e7})
    {
        Mesh plate;
        plate.createCubePrimitive({{away, 0, 0}, {away + 3, 2, 0.25}});
        const Vector3D size{3, 2, 0.25};
        for (const Mesh& mesh : {plate, flipped(plate)})
        {
            const Array<double> found = thicknessesOf(mesh);
            for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
            {
                const Index3 t = mesh.trindexPos()[f];
                uint32 axis = 0;
                while (mesh.pos()[t.a][axis] != mesh.pos()[t.b][axis] ||
                       mesh.pos()[t.a][axis] != mesh.pos()[t.c][axis])
                    ++axis;
                EXPECT_NEAR(found[f], size[axis], 1e-6) << f;
            }
        }
    }
    // a hollow ball, and the ball around it
    const Mesh shell = together(makeSphere({0, 0, 0}, 1, 96), flipped(makeSphere({0, 0, 0}, 0.8, 96)));
    MeshCollider collider;
    collider.create(shell);
    Array<double> found;
    ASSERT_TRUE(measureThickness(collider, found, 3));
    const ThicknessSummary summary = summarizeThickness(collider, found);
    EXPECT_NEAR(summary.least, 0.2, 0.003);
    EXPECT_NEAR(summary.greatest, 0.2, 0.003);
    EXPECT_NEAR(summary.median, 0.2, 0.003);
    EXPECT_EQ(found[summary.thinnest], summary.least);
}

TEST(MeshThickness, HasNoneWithoutAnotherSide)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Mesh sheet = makeCube(0, 1);
    sheet.refTrindexPos() = Array<Index3>{{0, 1, 2}, {0, 0, 1}};
    for (const double thickness : thicknessesOf(sheet)) EXPECT_EQ(thickness, infinity);
    MeshCollider collider;
    collider.create(sheet);
    EXPECT_EQ(summarizeThickness(collider, thicknessesOf(sheet)).thinnest, noIndex);
    sheet.refTrindexPos()[1] = {7, 8, 99};
    EXPECT_EQ(thicknessesOf(sheet)[1], infinity);
    EXPECT_TRUE(thicknessesOf(Mesh()).empty());

    collider.create(makeTorus(1, 0.3));
    Array<double> found;
    const auto run = [&](CancelCallback callback) { return measureThickness(collider, found, 1, callback); };
    EXPECT_GT(stopAtPolls(3, run, [&] { EXPECT_TRUE(found.empty()); }), 0);
}

TEST(MeshThickness, TheMedianIsThatOfTheArea)
{
    // a thick block of few faces beside a thin one of as many
    Mesh thin;
    thin.createCubePrimitive({{5, 0, 0}, {5.2, 0.2, 0.1}});
    MeshCollider collider;
    collider.create(together(makeCube(0, 2), thin));
    Array<double> found;
    ASSERT_TRUE(measureThickness(collider, found));
    const ThicknessSummary summary = summarizeThickness(collider, found);
    EXPECT_NEAR(summary.least, 0.1, 1e-6);
    EXPECT_NEAR(summary.median, 2, 1e-6);
    EXPECT_GE(summary.thinnest, 12u);
}

}  // namespace
