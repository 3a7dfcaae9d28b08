#include <gtest/gtest.h>

#include <cmath>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/MeshTopology.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<double, double>;

template <class Function>
Field sampled(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation, Function f)
{
    Field field;
    field.reset(sizeX, sizeY, sizeZ, separation);
    field.moveTo({0.3, -0.2, 0.1});
    for (uint32 m = 0; m < field.size(); ++m) field[m] = f(field.getPoint(m));
    return field;
}

Field quadratic()
{
    return sampled(6, 5, 7, {0.5, 0.5, 0.5},
                   [](const Vector3D& p)
                   {
                       return 1 + 2 * p.x - p.y + 3 * p.z + p.x * p.x - 2 * p.y * p.y + 4 * p.z * p.z +
                              5 * p.x * p.y - 6 * p.x * p.z + 7 * p.y * p.z;
                   });
}

Vector3D quadraticGradient(const Vector3D& p)
{
    return {2 + 2 * p.x + 5 * p.y - 6 * p.z, -1 - 4 * p.y + 5 * p.x + 7 * p.z,
            3 + 8 * p.z - 6 * p.x + 7 * p.y};
}

Field sphere(uint32 size, double radius)
{
    return sampled(size, size, size, Vector3D{2, 2, 2} / (size - 1.0),
                   [=](const Vector3D& p) {
                       return length(p - Vector3D{0.3, -0.2, 0.1}) - radius;
                   });
}

}  // namespace

TEST(ScalarField3Derivatives, NodeStencilsAreExactOnQuadraticsAndSayWhereTheyDoNotFit)
{
    const Field field = quadratic();
    using Stencil = bool (Field::*)(const Index3&, double&) const;
    const Stencil first[] = {&Field::gradx, &Field::grady, &Field::gradz},
                  second[] = {&Field::gradxx, &Field::gradyy, &Field::gradzz},
                  mixed[] = {&Field::gradyz, &Field::gradxz, &Field::gradxy};
    const double expectedSecond[] = {2, -4, 8}, expectedMixed[] = {7, -6, 5};
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n = field.getIndexes(m);
        const Vector3D expected = quadraticGradient(field.getPoint(m));
        bool fits[3];
        for (uint32 axis = 0; axis < 3; ++axis)
            fits[axis] = n[axis] > 0 && n[axis] + 1 < field.getGrid().sizeAlong(axis);
        Vector3D gradient;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            EXPECT_TRUE((field.*first[axis])(n, gradient[axis]));
            // At the ends the one-sided difference is off by half a step times the second derivative.
            const double border = n[axis] == 0 ? 0.25 : fits[axis] ? 0 : -0.25;
            EXPECT_NEAR(gradient[axis], expected[axis] + border * expectedSecond[axis], 1e-9);
            double found = 99;
            EXPECT_EQ((field.*second[axis])(n, found), fits[axis]);
            EXPECT_NEAR(found, fits[axis] ? expectedSecond[axis] : 99, 1e-9);
            const bool bothFit = fits[(axis + 1) % 3] && fits[(axis + 2) % 3];
            found = 99;
            EXPECT_EQ((field.*mixed[axis])(n, found), bothFit);
            EXPECT_NEAR(found, bothFit ? expectedMixed[axis] : 99, 1e-9);
        }
        EXPECT_EQ(field.evalGradCentral(n), (Tuple2<bool, Vector3D>{true, gradient}));
        float curvature = 99;
        EXPECT_EQ(field.curv(n, curvature), fits[0] && fits[1] && fits[2]);
    }
    // the largest separation counts on every axis
    const Field uneven = sampled(4, 4, 4, {1, 2, 1}, [](const Vector3D& p) { return p.x + p.y; });
    EXPECT_EQ(uneven.evalGradCentral(Index3{1, 1, 1}).b, (Vector3D{0.5, 1, 0}));
}

TEST(ScalarField3Derivatives, GradientsAtPoints)
{
    const Field field = quadratic();
    using Types = Field::GradTypes;
    constexpr EvalGradType central = TX_FIELD_GRAD_CENTRAL;
    const Box3D& box = field.getBox();
    const Vector3D span = box.max - box.min;
    for (uint32 n = 0; n <= 1000; ++n)
    {
        const Vector3D p = box.min + Vector3D{span.x * (n % 11) / 10, span.y * (n / 11 % 10) / 9,
                                              span.z * (n / 110 % 10) / 9};
        const auto symmetric = field.evalGradSafe(p, TX_FIELD_EVAL_SYMMETRIC);
        ASSERT_TRUE(symmetric.a);
        EXPECT_LT(length(symmetric.b - quadraticGradient(p)), 1e-9);
        const auto types = field.evalGradSafe(p, Types{central, central, central});
        EXPECT_EQ(types, field.evalGradSafe(p, TX_FIELD_EVAL_ASYMMETRIC));
        EXPECT_EQ(types, field.evalGradCentral(p));
    }
    // Between nodes forward and backward differences are half a step off, each its own way.
    const Vector3D middle = box.center();
    const auto oneSided =
        field.evalGradSafe(middle, Types{TX_FIELD_GRAD_FORWARD, TX_FIELD_GRAD_BACKWARD, central});
    EXPECT_LT(length(oneSided.b - quadraticGradient(middle) - Vector3D{0.25 * 2, -0.25 * -4, 0}), 1e-9);

    const Vector3D outside = box.max + Vector3D{1e-9, 0, 0};
    EXPECT_FALSE(field.evalGradSafe(outside, TX_FIELD_EVAL_SYMMETRIC).a);
    EXPECT_FALSE(field.evalCurvature(outside, TX_FIELD_EVAL_SYMMETRIC).a);
    const Vector3D node = field.getPoint(2, 2, 3);
    const Types types{central, central, central};
    double highest = field.get(2, 2, 3);
    for (uint32 c = 0; c < 8; ++c)
        highest = std::max(highest, field.get(2 + c % 2, 2 + c / 2 % 2, 3 + c / 4));
    EXPECT_TRUE(field.evalGradSafe_useThreshold(node, types, highest).a);
    EXPECT_FALSE(field.evalGradSafe_useThreshold(node, types, std::nextafter(highest, -1e9)).a);
}

TEST(ScalarField3Derivatives, CurvatureOfASphereConvergesAtSecondOrder)
{
    constexpr double radius = 0.6;
    double lastError = 0;
    for (const uint32 size : {21u, 41u, 81u})
    {
        const Field field = sphere(size, radius);
        const Vector3D center = field.getBox().center();
        double error = 0;
        for (uint32 n = 0; n < 500; ++n)
        {
            const double z = 2 * (n + 0.5) / 500 - 1, angle = 2.4 * n, r = std::sqrt(1 - z * z);
            const Vector3D p = center + Vector3D{r * std::cos(angle), r * std::sin(angle), z} * radius;
            const auto found = field.evalCurvature(p, TX_FIELD_EVAL_ASYMMETRIC);
            ASSERT_TRUE(found.a);
            error = std::max(error, std::fabs(found.b - 2 / radius));
        }
        if (lastError > 0) { EXPECT_GT(std::log2(lastError / error), 1.8) << size << " nodes"; }
        lastError = error;
        // up to the border only the symmetric one
        for (const Vector3D& p : {field.getBox().min, field.getBox().max, field.getPoint(0, size / 2, 5)})
        {
            EXPECT_FALSE(field.evalCurvature(p, TX_FIELD_EVAL_ASYMMETRIC).a);
            const auto found = field.evalCurvature(p, TX_FIELD_EVAL_SYMMETRIC);
            EXPECT_TRUE(found.a);
            if (size == 81) { EXPECT_NEAR(found.b, 2 / length(p - center), 0.01); }
        }
    }
    EXPECT_FALSE(sphere(3, 1).evalCurvature({0.3, -0.2, 0.1 + 0.9}, TX_FIELD_EVAL_SYMMETRIC).a);
}

TEST(ScalarField3Derivatives, WholeFieldGradientIsTheNodesGradient)
{
    for (const Index3& size : {Index3{6, 5, 7}, Index3{1, 2, 3}, Index3{4, 1, 1}, Index3{0, 0, 0},
                               Index3{0, 3, 4}, Index3{3, 0, 4}})
    {
        ScalarField3<float, double> field;
        field.reset(size.a, size.b, size.c, 0.3);
        field.moveTo({1, 2, 3});
        for (uint32 m = 0; m < field.size(); ++m) field[m] = static_cast<float>(m * 7 % 11);
        for (const uint32 threads : {1u, 3u})
        {
            Vector3Field3<float, double> gradient;
            field.gradient(gradient, threads);
            ASSERT_EQ(gradient.size(), field.size());
            EXPECT_EQ(gradient.getBox(), field.getBox());
            for (uint32 m = 0; m < field.size(); ++m)
                EXPECT_EQ(gradient.get(m), field.evalGradCentral(field.getIndexes(m)).b) << m;
        }
    }
}

TEST(ScalarField3Derivatives, FieldNormalsPointAsTheFacesDo)
{
    const Field field = sphere(41, 0.6);
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0, 0, 0, 0, 0, 0, 0, true);
    mesh.refPos().push_back({9, 9, 9});
    field.computeFieldNormals(mesh, 2);
    ASSERT_EQ(mesh.nor().size(), mesh.pos().size());
    EXPECT_EQ(mesh.trindexNor(), mesh.trindexPos());
    for (uint32 v = 0; v + 1 < mesh.pos().size(); ++v)
    {
        const Vector3D outwards = (mesh.pos()[v] - field.getBox().center()) / 0.6;
        EXPECT_LT(length(convert<double>(mesh.nor()[v]) - outwards), 0.01);
    }
    EXPECT_EQ(mesh.nor().back(), (Vector3F{0, 0, 0}));
    EXPECT_GT(signedVolume(mesh), 0);
}

TEST(ScalarField3Derivatives, SurfacesCutByTheGridHaveNormalsEverywhere)
{
    for (int n = 0; n < 40; ++n)
    {
        ScalarField3<float, double> field;
        field.reset(9, 8, 7, 0.1);
        field.moveTo({0.37 * n, 100.0 / (n + 3), -0.013 * n});
        const Vector3D corner = field.getBox().max;
        for (uint32 m = 0; m < field.size(); ++m)
            field[m] = static_cast<float>(length(field.getPoint(m) - corner));
        Mesh mesh;
        ASSERT_GT(IsosurfaceExtractor3::extractMesh(field, mesh, 0.25, 0, 0, 0, 0, 0, 0, n % 2 == 0), 0u);
        field.computeFieldNormals(mesh);
        for (const Vector3F& normal : mesh.nor()) EXPECT_NEAR(length(normal), 1, 1e-5);
    }
}
