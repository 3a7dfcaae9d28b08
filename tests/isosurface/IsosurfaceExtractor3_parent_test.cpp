#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include <tavrix/fields/ScalarField3Parent.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

/// Part of the field x^2 + y^2 + z^2 - r^2 on a lattice of separation 1/8.
Field part(const Vector3D& center, double r)
{
    Field field;
    field.reset(17, 17, 17, 0.125);
    field.moveTo(center);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Vector3D p = field.getPoint(m);
        field.set(m, static_cast<float>(dot(p, p) - r * r));
    }
    return field;
}

}  // namespace

TEST(ScalarField3ParentExtraction, JoinsChildrenAndFollowsTheZeroCrossing)
{
    const double r = 0.77;
    const Field left = part({-0.5, 0, 0}, r), right = part({0.5, 0, 0}, r);
    ScalarField3Parent<float, double> parent;
    parent.reset(25, 17, 17, 0.125);
    parent.setDefaultValue(10);
    ASSERT_TRUE(parent.addChild(left));
    ASSERT_TRUE(parent.addChild(right));
    Field coarse;
    coarse.reset(3, 3, 3, 0.25);
    EXPECT_FALSE(parent.addChild(coarse));
    EXPECT_EQ(parent.get({0, 8, 8}), left.get(0, 8, 8));
    EXPECT_EQ(parent.get({24, 8, 8}), right.get(16, 8, 8));

    Mesh mesh;
    testing::internal::CaptureStderr();
    const unsigned long faces = IsosurfaceExtractor3::extractMesh(parent, mesh, 0.0f, 2, nullptr, false);
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_EQ(lines.find("Entering extract "), 0u);
    EXPECT_NE(lines.find("\ngoing out from getVerticesIndex...  "), std::string::npos);
    EXPECT_NE(lines.find("\nmonoooooooo " + std::to_string(faces * 3) + "\n"), std::string::npos);

    EXPECT_TRUE(computeTopology(mesh).isClosed());
    EXPECT_EQ(computeTopology(mesh).eulerCharacteristic(), 2);
    for (uint32 v = 0; v < mesh.getPosSize(); ++v)
    {
        EXPECT_NEAR(length(mesh.pos()[v]), r, 0.01);
        EXPECT_GT(dot(mesh.pos()[v], convert<double>(mesh.nor()[v])), 0.99 * length(mesh.pos()[v]));
        EXPECT_NEAR(length(mesh.nor()[v]), 1.0f, 1e-6f);
    }

    // Corners are classified against the threshold, yet the vertices keep to the zero of their edge's line.
    Mesh shifted;
    IsosurfaceExtractor3::extractMesh(parent, shifted, 0.02f, 1, nullptr, false);
    for (const Vector3D& p : shifted.pos()) EXPECT_NEAR(length(p), r, 0.02);
}
