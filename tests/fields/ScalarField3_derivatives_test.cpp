#include <gtest/gtest.h>

#include <cmath>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

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

bool isInside(const Field& field, const Index3& n, uint32 axis)
{
    return n[axis] > 0 && n[axis] + 1 < field.getGrid().sizeAlong(axis);
}

void expectNear(const Vector3D& a, const Vector3D& b, double tolerance)
{
    for (uint32 axis = 0; axis < 3; ++axis) EXPECT_NEAR(a[axis], b[axis], tolerance) << "axis " << axis;
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
    const double second[3] = {2, -4, 8}, mixed[3] = {5, -6, 7};
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n = field.getIndexes(m);
        const Vector3D expected = quadraticGradient(field.getPoint(m));
        Vector3D g;
        EXPECT_TRUE(field.gradx(n, g.x) && field.grady(n, g.y) && field.gradz(n, g.z));
        EXPECT_EQ(field.evalGradCentral(n), (Tuple2<bool, Vector3D>{true, g}));
        double xx = 99, yy = 99, zz = 99, xy = 99, xz = 99, yz = 99;
        const bool fits[3] = {field.gradxx(n, xx), field.gradyy(n, yy), field.gradzz(n, zz)};
        const double found[3] = {xx, yy, zz};
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            EXPECT_EQ(fits[axis], isInside(field, n, axis));
            EXPECT_NEAR(found[axis], fits[axis] ? second[axis] : 99, 1e-9);
            // At the ends the one-sided difference is off by half a step times the second derivative.
            const double border = n[axis] == 0 ? 0.25 : fits[axis] ? 0 : -0.25;
            EXPECT_NEAR(g[axis], expected[axis] + border * second[axis], 1e-9);
        }
        const bool mixedFits[3] = {field.gradxy(n, xy), field.gradxz(n, xz), field.gradyz(n, yz)};
        const double mixedFound[3] = {xy, xz, yz};
        for (uint32 pair = 0; pair < 3; ++pair)
        {
            EXPECT_EQ(mixedFits[pair], fits[pair == 2 ? 1 : 0] && fits[pair == 0 ? 1 : 2]);
            EXPECT_NEAR(mixedFound[pair], mixedFits[pair] ? mixed[pair] : 99, 1e-9);
        }
        float curvature = 99;
        EXPECT_EQ(field.curv(n, curvature), fits[0] && fits[1] && fits[2]);
    }
}

TEST(ScalarField3Derivatives, TheLargestSeparationCountsOnEveryAxis)
{
    const Field field = sampled(4, 4, 4, {1, 2, 1}, [](const Vector3D& p) { return p.x + p.y; });
    double x = 0, y = 0;
    field.gradx({1, 1, 1}, x);
    field.grady({1, 1, 1}, y);
    EXPECT_DOUBLE_EQ(x, 0.5);
    EXPECT_DOUBLE_EQ(y, 1.0);
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
        expectNear(symmetric.b, quadraticGradient(p), 1e-9);
        const auto types = field.evalGradSafe(p, Types{central, central, central});
        EXPECT_EQ(types, field.evalGradSafe(p, TX_FIELD_EVAL_ASYMMETRIC));
        EXPECT_EQ(types, field.evalGradCentral(p));
    }
    // Between nodes forward and backward differences are half a step off, each its own way.
    const Vector3D middle = box.center();
    const auto oneSided =
        field.evalGradSafe(middle, Types{TX_FIELD_GRAD_FORWARD, TX_FIELD_GRAD_BACKWARD, central});
    expectNear(oneSided.b, quadraticGradient(middle) + Vector3D{0.25 * 2, -0.25 * -4, 0}, 1e-9);

    const Vector3D outside = box.max + Vector3D{1e-9, 0, 0};
    EXPECT_FALSE(field.evalGradSafe(outside, TX_FIELD_EVAL_SYMMETRIC).a);
    EXPECT_FALSE(field.evalCurvature(outside, TX_FIELD_EVAL_SYMMETRIC).a);
    const double value = field.get(2, 2, 3);
    const Vector3D node = field.getPoint(2, 2, 3);
    const Types types{central, central, central};
    double highest = value;
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
        double error = 0;
        for (uint32 n = 0; n < 500; ++n)
        {
            const double z = 2 * (n + 0.5) / 500 - 1, angle = 2.4 * n, r = std::sqrt(1 - z * z);
            const Vector3D p =
                field.getBox().center() + Vector3D{r * std::cos(angle), r * std::sin(angle), z} * radius;
            const auto found = field.evalCurvature(p, TX_FIELD_EVAL_ASYMMETRIC);
            ASSERT_TRUE(found.a);
            error = std::max(error, std::fabs(found.b - 2 / radius));
        }
        if (lastError > 0) { EXPECT_GT(std::log2(lastError / error), 1.8) << size << " nodes"; }
        lastError = error;
    }
}

TEST(ScalarField3Derivatives, SymmetricCurvatureHoldsUpToTheBorder)
{
    const Field field = sphere(81, 0.6);
    for (const Vector3D& p : {field.getBox().min, field.getBox().max, field.getPoint(0, 40, 13)})
    {
        EXPECT_FALSE(field.evalCurvature(p, TX_FIELD_EVAL_ASYMMETRIC).a);
        const auto found = field.evalCurvature(p, TX_FIELD_EVAL_SYMMETRIC);
        ASSERT_TRUE(found.a);
        EXPECT_NEAR(found.b, 2 / length(p - field.getBox().center()), 0.01);
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
        expectNear(convert<double>(mesh.nor()[v]), (mesh.pos()[v] - field.getBox().center()) / 0.6, 0.01);
    EXPECT_EQ(mesh.nor().back(), (Vector3F{0, 0, 0}));
    const Index3 face = mesh.trindexPos()[0];
    const Array<Vector3D>& pos = mesh.pos();
    EXPECT_GT(
        dot(cross(pos[face.b] - pos[face.a], pos[face.c] - pos[face.a]), convert<double>(mesh.nor()[face.a])),
        0);
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
