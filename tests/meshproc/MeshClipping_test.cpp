#include <tavrix/meshproc/MeshClipping.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/FileRam.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/VertexWelding.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

constexpr double reach = 100;
const Box3D everything{{-reach, -reach, -reach}, {reach, reach, reach}};

/// All that lies on one side of a plane.
Box3D half(uint32 axis, double value, bool isAbove)
{
    Box3D box = everything;
    (isAbove ? box.min : box.max)[axis] = value;
    return box;
}

Mesh makeTorus(uint32 n, const std::function<double(double)>& round = nullptr)
{
    Mesh mesh;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double u = 2 * piValue * i / n, v = 2 * piValue * k / n, r = 2 + std::cos(v);
            Vector3D p{r * std::cos(u), r * std::sin(u), std::sin(v)};
            if (round) p = {round(p.x), round(p.y), round(p.z)};
            mesh.refPos().push_back(p);
            const uint32 j = (i + 1) % n, l = (k + 1) % n;
            mesh.refTrindexPos().push_back({i * n + k, j * n + k, j * n + l});
            mesh.refTrindexPos().push_back({i * n + k, j * n + l, i * n + l});
        }
    return mesh;
}

/// A box, each of its sides n by n pairs of faces.
Mesh makeBox(const Box3D& box, uint32 n = 1)
{
    Mesh mesh;
    for (uint32 side = 0; side < 6; ++side)
        for (uint32 i = 0; i <= n; ++i)
            for (uint32 k = 0; k <= n; ++k)
            {
                const uint32 axis = side / 2;
                Vector3D at{};
                at[axis] = side % 2;
                at[(axis + 1) % 3] = (side % 2 == 1 ? i : k) / double(n);
                at[(axis + 2) % 3] = (side % 2 == 1 ? k : i) / double(n);
                for (uint32 c = 0; c < 3; ++c) at[c] = box.min[c] * (1 - at[c]) + box.max[c] * at[c];
                mesh.refPos().push_back(at);
                if (i == n || k == n) continue;
                const uint32 a = mesh.getPosSize() - 1, b = a + n + 1;
                mesh.refTrindexPos().push_back({a, b, b + 1});
                mesh.refTrindexPos().push_back({a, b + 1, a + 1});
            }
    weldVertices(mesh.refPos(), mesh.refTrindexPos(), std::array{0.0});
    return mesh;
}

Mesh makeCube(double size, uint32 n = 1) { return makeBox({{-size, -size, -size}, {size, size, size}}, n); }

Mesh operator+(Mesh a, const Mesh& b)
{
    a.addMesh(b);
    return a;
}

Mesh turned(Mesh mesh)
{
    turnFaces(mesh);
    return mesh;
}

std::string recordOf(const Mesh& mesh)
{
    FileRam ram;
    mesh.saveBasic(ram);
    return {reinterpret_cast<const char*>(ram.data()), ram.size()};
}

struct Clipped
{
    Mesh mesh;
    ClipReport report;
};

Clipped clip(const Mesh& mesh, const Box3D& box, ClipCut cut = ClipCut::Closed)
{
    Clipped result;
    result.mesh.copyAllFrom(mesh, true);
    result.report = clipMesh(result.mesh, box, cut);
    return result;
}

/// What holds for whatever is left of a closed manifold.
void expectSolid(const Clipped& clipped, const Box3D& box)
{
    const MeshTopology topology = computeTopology(clipped.mesh);
    EXPECT_EQ(topology.boundaryEdgeCount, 0u);
    EXPECT_EQ(topology.collapsedFaceCount, 0u);
    EXPECT_TRUE(topology.isConsistentlyOriented());
    EXPECT_TRUE(topology.isManifold());
    EXPECT_EQ(topology.positionCount, clipped.mesh.getPosSize()) << "vertices without a face";
    EXPECT_TRUE(hasValidIndices(clipped.mesh));
    EXPECT_EQ(clipped.report.openLoops, 0u);
    for (const Vector3D& p : clipped.mesh.pos()) ASSERT_TRUE(box.contains(p));
}

struct Case
{
    const char* what;
    Mesh mesh;
    Box3D box;
    double volume, tolerance;
    uint32 loops;
    int64 euler;
};

}  // namespace

TEST(MeshClipping, SolidsOfClosedForm)
{
    const double halfTorus = piValue * piValue * 2;
    const Mesh shell = makeCube(2, 3) + turned(makeCube(1, 2));
    const Case cases[] = {
        {"two discs", makeTorus(128), half(0, 0, true), halfTorus, 2e-2, 2, 2},
        {"a ring", makeTorus(128), half(2, 0, true), halfTorus, 2e-2, 2, 0},
        {"a quarter", makeTorus(128), {{0, 0, -reach}, {reach, reach, reach}}, halfTorus / 2, 2e-2, 2, 2},
        {"an eighth", makeTorus(128), {{0, 0, 0}, {reach, reach, reach}}, halfTorus / 4, 2e-2, 3, 2},
        {"the box itself", makeCube(5, 3), {{-1, -2, -3}, {1, 2, 3}}, 48, 0, 6, 2},
        {"a box's corner", makeCube(1, 3), {{0.1, 0.2, 0.3}, {2, 2, 2}}, 0.9 * 0.8 * 0.7, 1e-15, 3, 2},
        {"a hole in the cap", shell, half(0, 0.3, true), 1.7 * 16 - 0.7 * 4, 1e-13, 2, 2},
        {"the hollow within", makeCube(5) + turned(makeCube(1)), makeCube(2).getBox(), 64 - 8, 0, 6, 4},
        {"through vertices and edges", makeCube(2, 4), {{-1, -1, 0}, {reach, 1, reach}}, 3 * 2 * 2, 0, 4, 2},
        {"a touching side stays", makeCube(1), {{-1, -1, -1}, {1, 1, 0.5}}, 6, 1e-15, 1, 2},
        {"touched from outside", makeCube(1), half(0, 1, true), 0, 0, 0, 0},
        {"touched along an edge", makeCube(1), {{1, 1, -reach}, {reach, reach, reach}}, 0, 0, 0, 0},
        {"inside out", turned(makeCube(2)), makeCube(1).getBox(), -8, 0, 6, 2},
        {"nothing", makeCube(1), {{0, 0, 0}, {0, 1, 1}}, 0, 0, 0, 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        const Clipped clipped = clip(c.mesh, c.box);
        expectSolid(clipped, c.box);
        EXPECT_NEAR(signedVolume(clipped.mesh), c.volume, c.tolerance);
        EXPECT_EQ(clipped.report.loops, c.loops);
        EXPECT_EQ(clipped.report.crossedCaps, 0u);
        EXPECT_EQ(computeTopology(clipped.mesh).eulerCharacteristic(), c.euler);
    }
    EXPECT_EQ(clip(makeCube(5, 3), makeCube(1).getBox()).mesh.getFacesSize(), 12u);
}

// What two halves hold adds up to the whole, whatever the vertices that lie on the plane; and both cut the
// same edges at the same places.
TEST(MeshClipping, HalvesFitTogether)
{
    const auto eighths = [](double x) { return std::round(x * 8) / 8; };
    const auto halves = [](double x) { return std::round(x * 2) / 2; };
    const Mesh meshes[] = {makeTorus(96), makeTorus(24), makeTorus(96, eighths), makeTorus(48, halves),
                           makeTorus(32) + makeTorus(16, eighths)};
    for (const Mesh& mesh : meshes)
        for (uint32 axis = 0; axis < 3; ++axis)
            for (const double value : {-2.0, -1.0, -0.5, 0.0, 0.1, 0.5, 0.875, 1.0, 1.3})
            {
                SCOPED_TRACE(testing::Message() << &mesh - meshes << " axis " << axis << " at " << value);
                const Clipped below = clip(mesh, half(axis, value, false)),
                              above = clip(mesh, half(axis, value, true));
                EXPECT_NEAR(signedVolume(below.mesh) + signedVolume(above.mesh), signedVolume(mesh), 1e-12);
                std::set<std::tuple<double, double, double>> cuts[2];
                for (const Clipped* clipped : {&below, &above})
                {
                    const MeshTopology topology = computeTopology(clipped->mesh);
                    EXPECT_TRUE(topology.boundaryEdgeCount == 0 && topology.inconsistentEdgeCount == 0);
                    for (const Vector3D& p : clipped->mesh.pos())
                        if (p[axis] == value) cuts[clipped == &above].insert({p.x, p.y, p.z});
                }
                EXPECT_TRUE(&mesh >= meshes + 2 || above.mesh.isEmpty() || below.mesh.isEmpty() ||
                            cuts[0] == cuts[1]);
            }
}

// A loaf of nested shells side by side: caps of very many loops, holes in islands in holes.
TEST(MeshClipping, ManyLoops)
{
    Mesh mesh;
    for (uint32 n = 0; n < 400; ++n)
    {
        const Vector3D at{(n % 20) * 3.0, (n / 20) * 3.0 + 0.01 * n, 0};
        for (uint32 ring = 0; ring < 4; ++ring)
        {
            const double r = 1.2 - 0.3 * ring;
            const Mesh cube = makeBox({at - Vector3D{r, r, r}, at + Vector3D{r, r, r}});
            mesh.addMesh(ring % 2 == 0 ? cube : turned(cube));
        }
    }
    const Box3D box{{-reach, -reach, 0.1}, {reach, reach, reach}};
    const Clipped clipped = clip(mesh, box);
    expectSolid(clipped, box);
    double volume = 0;
    for (uint32 ring = 0; ring < 4; ++ring)
    {
        const double r = 1.2 - 0.3 * ring;
        volume += 400 * (ring % 2 == 0 ? 1 : -1) * 4 * r * r * (r - 0.1);
    }
    EXPECT_NEAR(signedVolume(clipped.mesh), volume, 1e-9);
    EXPECT_EQ(clipped.report.loops, 1600u);
    EXPECT_EQ(clipped.report.crossedCaps, 0u);
    EXPECT_EQ(clipped.report.facesOfCaps, 400u * 2 * 16);
}

// The area of the caps' faces is that of the section, so they neither overlap nor turn over.
TEST(MeshClipping, CapsLieFlat)
{
    std::mt19937 random(7);
    const Mesh mesh = makeTorus(96);
    for (uint32 n = 0; n < 20; ++n)
    {
        const double value = static_cast<double>(random() % 1000) / 1000 * 2.8;
        const Clipped clipped = clip(mesh, half(n % 2, value, n % 4 < 2));
        EXPECT_EQ(clipped.report.crossedCaps, 0u);
        double area = 0, turned = 0;
        const uint32 faces = clipped.mesh.getFacesSize();
        for (uint32 f = faces - clipped.report.facesOfCaps; f < faces; ++f)
        {
            const Index3& t = clipped.mesh.trindexPos()[f];
            const Array<Vector3D>& p = clipped.mesh.pos();
            const double twice = cross(p[t.b] - p[t.a], p[t.c] - p[t.a])[n % 2] * (n % 4 < 2 ? -1 : 1);
            area += twice / 2;
            turned += std::min(twice, 0.0);
        }
        // the section of the torus at x: z from -1 to 1, by Simpson's rule
        double section = 0;
        const int steps = 20000;
        for (int i = 0; i < steps; ++i)
        {
            const double z = std::sin(piValue * ((i + 0.5) / steps - 0.5)), w = std::sqrt(1 - z * z);
            const auto chord = [&](double r) { return r > value ? 2 * std::sqrt(r * r - value * value) : 0; };
            section += (chord(2 + w) - chord(2 - w)) * w * piValue / steps;
        }
        EXPECT_NEAR(area, section, 2e-2);
        EXPECT_GE(turned, -1e-12);
    }
}

TEST(MeshClipping, ValuesFollow)
{
    Mesh mesh = makeTorus(24);
    mesh.createNormals(0.1);
    const auto linear = [](const Vector3D& p) { return Vector3F{float(p.x), float(p.y + p.z), 1}; };
    auto& map = mesh.addArray<Array<Vector3F>::value_type>("UV_MAP_0");
    auto& weights = mesh.addArray<float>("Weights");
    auto& own = mesh.addArray<uint32>("Own");
    auto& faces = mesh.addArray<uint32>("Faces", MeshArrayInf::PER_FACE);
    for (const Vector3D& p : mesh.pos())
    {
        map.push_back(linear(p));
        weights.push_back(float(p.x));
        weights.push_back(float(2 * p.z));
        own.push_back(own.size());
    }
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f) faces.push_back(f);

    const Box3D box{{0.05, -reach, -0.5}, {reach, 1.7, 0.4}};
    const Clipped clipped = clip(mesh, box);
    expectSolid(clipped, box);
    const Mesh& made = clipped.mesh;
    ASSERT_EQ(made.findArray<Vector3F>("UV_MAP_0")->size(), made.getPosSize());
    ASSERT_EQ(made.findArray<float>("Weights")->size(), 2 * made.getPosSize());
    for (uint32 n = 0; n < made.getPosSize(); ++n)
    {
        const Vector3D& p = made.pos()[n];
        EXPECT_LE(length((*made.findArray<Vector3F>("UV_MAP_0"))[n] - linear(p)), 1e-6);
        EXPECT_NEAR((*made.findArray<float>("Weights"))[2 * n + 1], 2 * p.z, 1e-6);
        const Vector3D& source = mesh.pos()[(*made.findArray<uint32>("Own"))[n]];
        EXPECT_LE(length(source - p), 1) << "the nearer end of an edge, or near that";
    }
    const uint32 caps = made.getFacesSize() - clipped.report.facesOfCaps;
    ASSERT_EQ(made.trindexNor().size(), made.getFacesSize());
    ASSERT_EQ(made.findArray<uint32>("Faces")->size(), made.getFacesSize());
    for (uint32 f = 0; f < made.getFacesSize(); ++f)
    {
        const Index3 &t = made.trindexPos()[f], &n = made.trindexNor()[f];
        const Vector3D a = made.pos()[t.a], across = cross(made.pos()[t.b] - a, made.pos()[t.c] - a);
        const Vector3D normal = unitOrZero(across), corner = convert<double>(made.nor()[n.a]);
        EXPECT_TRUE(length(across) < 1e-9 || dot(normal, corner) > (f < caps ? 0.9 : 1 - 1e-9));
        EXPECT_NEAR(length(corner), 1, 1e-6);
        if (f < caps) continue;
        EXPECT_TRUE(n.a == n.b && n.b == n.c);
    }
    for (uint32 f = 0; f < caps; ++f)
    {
        const Index3 t = mesh.trindexPos()[(*made.findArray<uint32>("Faces"))[f]];
        const Vector3D a = mesh.pos()[t.a], normal = cross(mesh.pos()[t.b] - a, mesh.pos()[t.c] - a);
        for (const uint32 c : {made.trindexPos()[f].a, made.trindexPos()[f].b, made.trindexPos()[f].c})
            EXPECT_NEAR(dot(made.pos()[c] - a, normal), 0, 1e-12) << "in the plane of its face";
    }
}

TEST(MeshClipping, OpenSurfaces)
{
    const Mesh torus = makeTorus(24);
    const Box3D box{{0.05, -reach, -0.5}, {reach, 1.7, 0.4}};
    const Clipped open = clip(torus, box, ClipCut::Open), closed = clip(torus, box);
    EXPECT_EQ(open.mesh.getFacesSize() + closed.report.facesOfCaps, closed.mesh.getFacesSize());
    EXPECT_GT(computeTopology(open.mesh).boundaryEdgeCount, 0u);
    EXPECT_TRUE(computeTopology(open.mesh).isManifold());

    // a closed torus with a hole in it, which the plane crosses: what has no rim of its own stays open
    Mesh holed = torus;
    holed.refTrindexPos().resize(holed.getFacesSize() - 30);
    const Clipped torn = clip(holed, half(2, 0.01, true));
    EXPECT_EQ(torn.report.openLoops + torn.report.loops, 2u);
    EXPECT_GT(torn.report.openLoops, 0u);
    EXPECT_TRUE(hasValidIndices(torn.mesh));

    // faces on a side belong to a surface, whatever way they look
    const Mesh cube = makeCube(1, 2);
    EXPECT_EQ(clip(cube, half(2, 1, true), ClipCut::Open).mesh.getFacesSize(), 8u);

    Mesh spoilt = makeCube(1, 2);
    spoilt.refPos()[0].x = std::nan("");
    const Clipped left = clip(spoilt, half(0, 0.5, true));
    EXPECT_GT(left.report.unusableFaces, 0u);
    for (const Vector3D& p : left.mesh.pos()) EXPECT_TRUE(isFinite(p));
}

TEST(MeshClipping, WithinOutsideAndStopped)
{
    Mesh mesh = makeTorus(64);
    mesh.createNormals(0.3);
    mesh.getBox();
    const std::string record = recordOf(mesh);
    for (const ClipCut cut : {ClipCut::Open, ClipCut::Closed})
    {
        EXPECT_TRUE(recordOf(clip(mesh, mesh.getBox(), cut).mesh) == record);
        for (const Box3D& box : {half(0, 3.5, true), Box3D::empty(), Box3D{{0, 0, 0}, {std::nan(""), 1, 1}}})
        {
            const Clipped nothing = clip(mesh, box, cut);
            EXPECT_TRUE(nothing.mesh.isEmpty() && nothing.mesh.pos().empty() && nothing.mesh.nor().empty());
        }
    }
    Mesh changed, whole = mesh;
    const auto run = [&](CancelCallback callback)
    {
        changed = mesh;
        return !clipMesh(changed, half(1, 0.1, true), ClipCut::Closed, callback).isStopped;
    };
    const auto isUnchanged = [&] { EXPECT_TRUE(recordOf(changed) == recordOf(whole)); };
    EXPECT_GT(test::stopAtPolls(20, run, isUnchanged), 4);
}
