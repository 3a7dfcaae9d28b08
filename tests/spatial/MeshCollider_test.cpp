#include <tavrix/spatial/MeshCollider.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <thread>
#include <utility>

#include <mesh/TestMeshes.h>
#include <Polls.h>
#include <spatial/TestSolids.h>
#include <tavrix/mesh/detail/LineWinding.h>
#include <tavrix/spatial/detail/RayTriangle.h>
#include <tavrix/spatial/detail/TriangleNearest.h>
#include <TestFolder.h>

#if !defined(_WIN32)
#include <FailingAllocations.h>
#endif

namespace tavrix
{

using namespace test;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Numbers in [-1, 1], or integers in [-3, 3].
class Random
{
public:
    explicit Random(uint32 seed) : _random(seed) {}
    double number(bool isInteger)
    {
        const auto n = _random();
        return isInteger ? static_cast<double>(n % 7) - 3 : static_cast<double>(n % 200001) / 100000 - 1;
    }
    Vector3D vector(bool integers)
    {
        const double x = number(integers), y = number(integers);
        return {x, y, number(integers)};
    }

private:
    std::mt19937 _random;
};

/// Faces with corners on a small grid of integers: they overlap, touch and lie in common planes, and some
/// are segments and points.
Mesh makeGridSoup(uint32 faceCount, uint32 seed)
{
    Mesh mesh = makeRandomSoup(faceCount, faceCount, seed);
    for (Vector3D& p : mesh.refPos()) p = {std::round(3 * p.x), std::round(3 * p.y), std::round(3 * p.z)};
    return mesh;
}

/// One face often, and faces that grow, each twice as large as the one before: no cut of these is even.
Mesh makeUnevenSoup()
{
    Mesh mesh = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0.5}}, {});
    for (uint32 n = 0; n < 200; ++n) mesh.refTrindexPos().push_back({0, 1, 2});
    for (uint32 n = 0; n < 100; ++n)
    {
        const double x = std::ldexp(1.0, static_cast<int>(n) - 99);
        const uint32 first = mesh.getPosSize();
        for (const Vector3D& p : {Vector3D{x, 0, 0}, {2 * x, 0, x}, {x, x, 0}}) mesh.refPos().push_back(p);
        mesh.refTrindexPos().push_back({first, first + 1, first + 2});
    }
    return mesh;
}

std::vector<Mesh> someMeshes()
{
    return {Mesh(),
            makeCube(-1, 2),
            makeTorus(1, 0.5, 24),
            makeRandomSoup(90, 400, 1),
            makeGridSoup(300, 2),
            makeTerrain(20),
            makeUnevenSoup(),
            together(makeCube(-1, 1), makeCube(-1, 1))};
}

MeshCollider makeCollider(const Mesh& mesh)
{
    MeshCollider collider;
    collider.create(mesh);
    return collider;
}

using Corners = std::array<Vector3D, 3>;

Corners cornersOf(const Mesh& mesh, uint32 face)
{
    const Index3& t = mesh.trindexPos()[face];
    return {mesh.pos()[t.a], mesh.pos()[t.b], mesh.pos()[t.c]};
}

/// Every face in turn with the tests of the library: what the tree must not change.
std::optional<MeshPoint> everyFaceHit(const Mesh& mesh, const Ray3D& ray)
{
    std::optional<MeshPoint> best;
    const detail::RayTriangle test(ray);
    detail::TriangleHit hit;
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        const auto [a, b, c] = cornersOf(mesh, f);
        if (test.hit(a, b, c, hit) && (!best || hit.t < best->distance))
            best = MeshPoint{f, hit.t, hit.weights, {}};
    }
    return best;
}

/// The same ray with its direction's largest component in [1, 2).
Ray3D normalized(Ray3D ray)
{
    const Vector3D& d = ray.direction;
    const int exponent = std::ilogb(std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)}));
    return {ray.origin, d * std::ldexp(1.0, -exponent)};
}

void expectOnFace(const Mesh& mesh, const MeshPoint& point)
{
    const auto [a, b, c] = cornersOf(mesh, point.face);
    const Vector3D w = point.barycentric;
    EXPECT_TRUE(w.x >= 0 && w.y >= 0 && w.z >= 0);
    EXPECT_NEAR(w.x + w.y + w.z, 1, 1e-14);
    EXPECT_LT(length(a * w.x + b * w.y + c * w.z - point.position), 1e-12);
}

TEST(MeshCollider, RaysHitWhatEveryFaceSays)
{
    for (const Mesh& mesh : someMeshes())
    {
        const MeshCollider collider = makeCollider(mesh);
        Random random(3);
        uint32 hits = 0;
        for (uint32 n = 0; n < 2000; ++n)
        {
            const bool isOnGrid = n % 2 == 0;
            const Vector3D origin = random.vector(isOnGrid) * 1.5;
            // at a corner of the mesh, along the grid, anywhere
            Vector3D direction = random.vector(isOnGrid);
            if (n % 3 == 0 && !mesh.isEmpty()) direction = mesh.pos()[n % mesh.getPosSize()] - origin;
            if (direction == Vector3D{0, 0, 0}) continue;
            const Ray3D ray = normalized({origin, direction});
            const auto hit = collider.castRay(ray);
            const auto expected = everyFaceHit(mesh, ray);
            ASSERT_EQ(hit.has_value(), expected.has_value()) << n;
            EXPECT_EQ(collider.isHit(ray), hit.has_value());
            if (!hit) continue;
            ++hits;
            EXPECT_EQ(hit->face, expected->face);
            EXPECT_EQ(hit->distance, expected->distance);
            expectOnFace(mesh, *hit);
            EXPECT_LT(length(ray.at(hit->distance) - hit->position), 1e-11);
            EXPECT_TRUE(collider.isHit(ray, hit->distance));
            EXPECT_FALSE(collider.castRay(ray, std::nextafter(hit->distance, -1)));
            const auto longer = collider.castRay({ray.origin, ray.direction * 0x1p-10});
            ASSERT_TRUE(longer);
            EXPECT_EQ(longer->distance, 1024 * hit->distance);
        }
        EXPECT_TRUE(mesh.isEmpty() || hits > 100) << hits;
    }
}

TEST(MeshCollider, NoRaySlipsThrough)
{
    const Vector3D far{1000.1, -0.3, 1e5};
    const auto expectClosed = [](const Mesh& mesh, const Vector3D& inside)
    {
        const MeshCollider collider = makeCollider(mesh);
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        {
            const auto [a, b, c] = cornersOf(mesh, f);
            for (const Vector3D& target :
                 {a, b, c, (a + b) * 0.5, b * 0.3 + c * 0.7, (a + c) * 0.5, (a + b + c) * (1.0 / 3)})
            {
                const auto hit = collider.castRay({inside, target - inside});
                ASSERT_TRUE(hit) << f;
                EXPECT_LT(hit->distance, 1 + 1e-8);
            }
        }
    };
    for (const Vector3D& inside : {Vector3D{0, 0, 0}, {0.25, -0.125, 0.5}, {0.1, 0.2, 0.3}})
        expectClosed(makeCube(-1, 1), inside);
    for (const Vector3D& aside : {Vector3D{0, 0, 0}, {0.1, 0.2, -0.5}, {0, 0, 0.9}, {0.9, 0, 0}})
        expectClosed(makeSphere(far, 1, 40), far + aside);
}

TEST(MeshCollider, FindsTheNearestPoint)
{
    for (const Mesh& mesh : someMeshes())
    {
        const MeshCollider collider = makeCollider(mesh);
        Random random(4);
        for (uint32 n = 0; n < 700; ++n)
        {
            Vector3D point = random.vector(n % 2 == 0) * (n % 3 == 0 ? 10 : 1);
            if (n % 7 == 0 && !mesh.isEmpty()) point = mesh.pos()[n % mesh.getPosSize()];
            const auto found = collider.nearestPoint(point);
            ASSERT_EQ(found.has_value(), !mesh.isEmpty());
            if (!found) continue;
            double nearest = infinity, squared = infinity;
            uint32 face = noIndex;
            for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
            {
                const auto [a, b, c] = cornersOf(mesh, f);
                nearest = std::min(nearest, distanceFromFace(point, a, b, c));
                const auto own = detail::TriangleNearest::to(point, a, b, c);
                if (own.squared < squared) squared = own.squared, face = f;
            }
            EXPECT_NEAR(found->distance, nearest, 1e-9);
            EXPECT_EQ(found->face, face);
            EXPECT_EQ(found->distance, std::sqrt(squared));
            expectOnFace(mesh, *found);
            EXPECT_NEAR(length(found->position - point), found->distance, 1e-12);
            EXPECT_FALSE(collider.nearestPoint(point, found->distance * (1 - 1e-9) - 1e-300));
            EXPECT_TRUE(collider.nearestPoint(point, found->distance * (1 + 1e-9)));
        }
    }
}

TEST(MeshCollider, FindsTheFootOfDistantPoints)
{
    Random random(8);
    for (uint32 n = 0; n < 200; ++n)
    {
        const Vector3D a = random.vector(false), b = random.vector(false), c = random.vector(false);
        const Vector3D normal = cross(b - a, c - a), foot = a * 0.3 + b * 0.4 + c * 0.3,
                       along = (a + b) * 0.5;
        if (length(normal) < 0.3) continue;
        const MeshCollider collider = makeCollider(makeMesh({a, b, c}, {{0, 1, 2}}));
        const Vector3D over = normal * (1e6 / length(normal)), beside = cross(b - a, over);
        EXPECT_LT(length(collider.nearestPoint(foot + over)->position - foot), 1e-8);
        EXPECT_LT(length(collider.nearestPoint(along + over + beside)->position - along), 1e-8);
    }
}

/// Whether anything of a triangle is left when a box's planes have cut it.
bool isLeftOver(const Corners& t, const Box3D& box)
{
    std::vector<Vector3D> outline(t.begin(), t.end());
    for (uint32 axis = 0; axis < 3; ++axis)
        for (const double side : {1.0, -1.0})
        {
            const double plane = side > 0 ? box.max[axis] : -box.min[axis];
            std::vector<Vector3D> cut;
            for (std::size_t n = 0; n < outline.size(); ++n)
            {
                const Vector3D &p = outline[n], &q = outline[(n + 1) % outline.size()];
                const double above = side * p[axis] - plane, next = side * q[axis] - plane;
                if (above <= 0) cut.push_back(p);
                if ((above < 0 && next > 0) || (above > 0 && next < 0))
                    cut.push_back(p + (q - p) * (above / (above - next)));
            }
            outline = cut;
        }
    return !outline.empty();
}

TEST(MeshCollider, FindsFacesInBoxes)
{
    const std::vector<Mesh> meshes = someMeshes();
    for (const Mesh& mesh : meshes)
    {
        const MeshCollider collider = makeCollider(mesh);
        Random random(5);
        for (uint32 n = 0; n < 300; ++n)
        {
            const bool isOnGrid = n % 2 == 0;
            Box3D box = Box3D::empty();
            box.extend(random.vector(isOnGrid));
            box.extend(random.vector(isOnGrid));
            if (n % 10 == 0) box.max.x = infinity;
            Array<uint32> found{7};
            collider.findOverlapping(box, found);
            ASSERT_TRUE(std::is_sorted(found.begin(), found.end()));
            // what only just touches counts, and is told for sure where all coordinates are integers
            const bool isSure = &mesh == &meshes[4] && isOnGrid;
            const Vector3D spare{1e-9, 1e-9, 1e-9}, needed = spare * (isSure ? -1.0 : 1.0);
            for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
            {
                const Corners t = cornersOf(mesh, f);
                const bool isFound = std::binary_search(found.begin(), found.end(), f);
                EXPECT_TRUE(isFound || !isLeftOver(t, {box.min + needed, box.max - needed})) << n << ' ' << f;
                EXPECT_TRUE(!isFound || isLeftOver(t, {box.min - spare, box.max + spare})) << n << ' ' << f;
            }
        }
    }
}

TEST(MeshCollider, KnowsInsideFromOutside)
{
    std::vector<Solid> solids = closedSolids();
    solids.push_back(solids[0]);
    solids.back().name = "torus with a hole";
    solids.back().tolerance = 0.05;
    Array<Index3>& faces = solids.back().mesh.refTrindexPos();
    std::swap(faces[1000], faces.back());
    faces.resize(faces.size() - 1);
    for (const Solid& solid : solids)
    {
        const MeshCollider collider = makeCollider(solid.mesh), other = makeCollider(flipped(solid.mesh));
        uint32 wrong = 0;
        // halves lie in the planes of edges and faces, the quarters of the torus on rings of corners
        for (int32 x = -10; x <= 10; ++x)
            for (int32 y = -10; y <= 10; ++y)
                for (int32 z = -10; z <= 10; ++z)
                {
                    const Vector3D p{x * 0.25, y * 0.25, z * 0.25};
                    const double d = solid.shape(p);
                    if (std::fabs(d) <= solid.tolerance) continue;
                    wrong += (d < 0) != collider.isInside(p) || (d < 0) != other.isInside(p);
                }
        EXPECT_EQ(wrong, 0u) << solid.name;
    }
}

bool isSame(const MeshPoint& a, const MeshPoint& b)
{
    return a.face == b.face && a.distance == b.distance && a.barycentric == b.barycentric &&
           a.position == b.position;
}

/// The windings around a point inside of the box, by a look at every face.
double everyFaceWinding(const Mesh& mesh, const Vector3D& point)
{
    int32 sum = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        detail::LineWinding line(point, axis);
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        {
            const auto [a, b, c] = cornersOf(mesh, f);
            line.add(a, b, c);
        }
        sum += line.sum();
    }
    return sum / 6.0;
}

TEST(MeshCollider, BatchesAnswerAsSingleQueries)
{
    std::vector<Mesh> meshes = someMeshes();
    // so large that batches are sorted, and that threads build the tree together
    meshes.push_back(makeTerrain(270));
    for (const Mesh& mesh : meshes)
    {
        MeshCollider collider;
        collider.create(mesh, 3);
        Random random(6);
        std::vector<Ray3D> rays;
        std::vector<Vector3D> points{{infinity, 0, 0}};
        for (uint32 n = 0; n < 5000; ++n)
        {
            rays.push_back({random.vector(n % 2 == 0) * 1.5, random.vector(n % 3 == 0)});
            points.push_back(rays.back().origin);
        }
        for (const uint32 threads : {1u, 3u})
            for (const double limit : {infinity, 0.25})
            {
                Array<MeshPoint> hits, nearest;
                ASSERT_TRUE(collider.castRays(rays, hits, limit, threads));
                ASSERT_TRUE(collider.nearestPoints(points, nearest, limit, threads));
                ASSERT_TRUE(hits.size() == rays.size() && nearest.size() == points.size());
                const MeshPoint none{noIndex, infinity, {0, 0, 0}, {0, 0, 0}};
                for (uint32 n = 0; n < hits.size(); ++n)
                    ASSERT_TRUE(isSame(hits[n], collider.castRay(rays[n], limit).value_or(none))) << n;
                for (uint32 n = 0; n < nearest.size(); ++n)
                    ASSERT_TRUE(isSame(nearest[n], collider.nearestPoint(points[n], limit).value_or(none)))
                        << n;
            }
        Array<double> windings;
        Array<uint8> inside{7};
        ASSERT_TRUE(collider.windingNumbers(points, windings, 2));
        ASSERT_TRUE(collider.areInside(points, inside, 2));
        for (uint32 n = 0; n < points.size(); ++n)
        {
            ASSERT_EQ(windings[n], collider.windingNumber(points[n])) << n;
            ASSERT_EQ(inside[n], collider.isInside(points[n]) ? 1 : 0) << n;
        }
        const Box3D box = mesh.getBox();
        for (uint32 n = 0; n < points.size(); n += mesh.getFacesSize() < 5000 ? 20 : 500)
        {
            if (box.contains(points[n])) { EXPECT_EQ(windings[n], everyFaceWinding(mesh, points[n])) << n; }
            const Ray3D& ray = rays[n % rays.size()];
            if (ray.direction == Vector3D{0, 0, 0}) continue;
            const auto hit = collider.castRay(normalized(ray)),
                       expected = everyFaceHit(mesh, normalized(ray));
            EXPECT_EQ(hit ? hit->face : noIndex, expected ? expected->face : noIndex) << n;
        }
        EXPECT_FALSE(collider.areInside(points, inside, 2, [] { return 1; }));
        EXPECT_TRUE(inside.empty());
        EXPECT_TRUE(collider.areInside({}, inside, 2) && inside.empty());
    }
}

TEST(MeshCollider, BadInputFindsNothing)
{
    const double big = 1e300, none = std::nan("");
    Mesh mesh = makeCube(-1, 1);
    for (const Vector3D& p : {Vector3D{none, 0, 0}, {0, infinity, 0}, {big, -big, big}})
        mesh.refPos().push_back(p);
    for (const Index3& t : {Index3{0, 1, 8}, {9, 1, 0}, {0, 1, 4000000000u}})
        mesh.refTrindexPos().push_back(t);
    const MeshCollider collider = makeCollider(mesh);
    const Vector3D o{0, 0, 0}, toRight{1, 0, 0};
    EXPECT_FALSE(collider.castRay({o, o}));
    for (const Vector3D& bad : {Vector3D{none, 0, 0}, {0, infinity, 1}, {0, 0, -infinity}})
    {
        EXPECT_FALSE(collider.castRay({o, bad}) || collider.isHit({o, bad}));
        EXPECT_FALSE(collider.castRay({bad, toRight}) || collider.nearestPoint(bad) ||
                     collider.isInside(bad));
    }
    EXPECT_FALSE(collider.castRay({o, toRight}, none) || collider.nearestPoint(o, none));
    for (const double size : {1e-310, 1e-300, 1e300})
    {
        const auto hit = collider.castRay({o, {0, size, 0}});
        ASSERT_TRUE(hit);
        EXPECT_LT(hit->face, 12u);
        EXPECT_NEAR(hit->position.y, 1, 1e-15);
    }
    Array<uint32> faces;
    collider.findOverlapping({{-infinity, -infinity, -infinity}, {infinity, infinity, infinity}}, faces);
    EXPECT_EQ(faces.size(), 12u);
    collider.findOverlapping({{none, -1, -1}, {none, 1, 1}}, faces);
    EXPECT_EQ(faces.size(), 0u);
    EXPECT_TRUE(collider.isInside(o));
    EXPECT_FALSE(collider.isInside({big, 0, 0}));

    mesh.refTrindexPos().push_back({0, 1, 10});  // with a corner that is far away
    const MeshCollider far = makeCollider(mesh);
    EXPECT_TRUE(far.castRay({{0, 0, 0.5}, {-1, 0.1, 0}}));
    EXPECT_NEAR(far.nearestPoint({-5, 0, 0})->distance, 4, 1e-12);
}

TEST(MeshCollider, FollowsItsMesh)
{
    const Mesh source = makeTorus(1, 0.5, 24);
    MeshCollider collider;
    collider.create(source, 2);
    const double half = std::sqrt(0.5);
    const auto matrix = Matrix4<double>::rotationTranslation({half, 0, half, 0}, {10, 0, 0}) *
                        Matrix4<double>::rotationTranslation({1, 0, 0, 0}, {0, 0, 3});
    const MeshCollider before = collider;
    ASSERT_TRUE(collider.transformRt(matrix, before.getMesh()));
    // the torus' axis is x now, and its centre (13, 0, 0)
    EXPECT_NEAR(collider.castRay({{0, 1, 0}, {1, 0, 0}})->distance, 12.5, 1e-12);
    EXPECT_FALSE(collider.castRay({{0, 0, 0}, {1, 0, 0}}));
    EXPECT_NEAR(collider.getMesh().getBox().max.x, 13.5, 1e-12);
    const Vector3F normal = before.getMesh().norSurface()[7], turned = collider.getMesh().norSurface()[7];
    EXPECT_LT(length(turned - Vector3F{normal.z, normal.y, -normal.x}), 1e-6f);
    EXPECT_TRUE(before.castRay({{1, 0, 5}, {0, 0, -1}}));
    EXPECT_FALSE(collider.transformRt(matrix, makeCube(0, 1)));

    // a face without a corner keeps smoothed normals from being computed, not the mesh from moving
    Mesh broken = source;
    broken.refTrindexPos().push_back({0, 1, 1000000});
    Mesh withNormals = before.getMesh();
    withNormals.refTrindexPos() = broken.trindexPos();
    collider.create(withNormals);
    ASSERT_TRUE(collider.transformRt(matrix, broken));
    EXPECT_NEAR(collider.castRay({{0, 1, 0}, {1, 0, 0}})->distance, 12.5, 1e-12);

    // moved, it answers from its new place, and leaves one that finds nothing
    static_assert(std::is_nothrow_move_constructible_v<MeshCollider> &&
                  std::is_nothrow_move_assignable_v<MeshCollider>);
    MeshCollider other = before;
    collider = MeshCollider(std::move(other));
    EXPECT_TRUE(collider.castRay({{1, 0, 5}, {0, 0, -1}}));
    EXPECT_TRUE(other.getTree().isEmpty() && !other.nearestPoint({0, 0, 0}));
    other.create(makeCube(0, 1));
    EXPECT_TRUE(other.isInside({0.5, 0.5, 0.5}));

    collider = before;
    for (Vector3D& p : collider.getMesh().refPos()) p = p * 2.0;
    collider.recalculateTree();
    EXPECT_NEAR(collider.castRay({{2, 0, 5}, {0, 0, -1}})->distance, 4, 1e-12);
}

TEST(MeshCollider, ThePublicTreeIsThatOfItsCreation)
{
    Mesh mesh = makeRandomSoup(200, 900, 7);
    mesh.refPos()[3].x = std::nan("");
    for (const bool isMoved : {false, true})
    {
        MeshCollider::Tree expected;
        expected.integrateMesh(mesh.trindexPos(), mesh.pos(), true);
        MeshCollider collider;
        collider.create(mesh, 2);
        for (Vector3D& p : collider.getMesh().refPos()) p = {p.y * 3, p.x, 1 - p.z};
        if (isMoved) collider.recalculateTree();
        if (isMoved) expected.recalculateMesh(mesh.trindexPos(), collider.getMesh().pos(), 0x1p-23f);
        // asked for by several at once, or of a copy
        const MeshCollider copy = collider;
        std::vector<std::thread> askers;
        for (uint32 n = 0; n < 3; ++n) askers.emplace_back([&] { std::as_const(collider).getTree(); });
        for (std::thread& asker : askers) asker.join();
        const auto isSameNode = [](const auto& a, const auto& b)
        { return a.link == b.link && a.box == b.box; };
        for (const MeshCollider* each : {&std::as_const(collider), &copy})
            EXPECT_TRUE(std::ranges::equal(each->getTree().nodes(), expected.nodes(), isSameNode));
        const Ray3D ray = normalized({{0, 0, 9}, {0.01, 0.02, -1}});
        const auto hit = collider.castRay(ray);
        const auto there = everyFaceHit(isMoved ? collider.getMesh() : mesh, ray);
        EXPECT_EQ(hit ? hit->face : noIndex, there ? there->face : noIndex);
    }
}

TEST(MeshCollider, IsMadeOfAnAseFile)
{
    const TestFolder folder;
    std::string text = "*COMMENT \"two\"\n";
    for (const std::string z : {"0", "5"})
        text += "*GEOMOBJECT {\n*NODE_NAME \"n\"\n*MESH {\n*MESH_VERTEX_LIST {\n*MESH_VERTEX 0 -1 -1 " + z +
                "\n*MESH_VERTEX 1 3 -1 " + z + "\n*MESH_VERTEX 2 -1 3 " + z +
                "\n}\n*MESH_FACE_LIST {\n*MESH_FACE 0: A: 0 B: 1 C: 2\n}\n}\n}\n";
    MeshCollider collider;
    ASSERT_TRUE(collider.create_ASE(folder.write("two.ase", text)));
    EXPECT_EQ(collider.getMesh().getFacesSize(), 2u);
    EXPECT_FALSE(collider.create_ASE(folder.write("bad.ase", "nonsense")));
    EXPECT_FALSE(collider.create_ASE(folder.file("missing.ase")));
    EXPECT_EQ(collider.castRay({{0, 0, 9}, {0, 0, -1}})->face, 1u);
}

TEST(MeshCollider, EveryPollCanStopItsCreation)
{
    const Mesh terrain = makeTerrain(200);
    for (const uint32 threads : {1u, 3u})
    {
        MeshCollider collider;
        const auto create = [&](CancelCallback callback)
        {
            collider.create(makeTerrain(3));
            return collider.create(terrain, threads, callback);
        };
        const auto isEmpty = [&]
        {
            EXPECT_TRUE(collider.getMesh().isEmpty());
            EXPECT_EQ(collider.getTree().size(), 0u);
            EXPECT_FALSE(collider.nearestPoint({0, 0, 0}));
        };
        EXPECT_GT(test::stopAtPolls(10, create, isEmpty), 20);
        EXPECT_TRUE(collider.create(terrain, threads, [] { return 0; }));
        MeshCollider other;
        other.create(terrain);
        EXPECT_EQ(collider.nearestPoint({0.3, 0.4, 9})->face, other.nearestPoint({0.3, 0.4, 9})->face);
    }
}

#if !defined(_WIN32)
TEST(MeshCollider, AFailureLeavesNothingToBeFound)
{
    const Mesh terrain = makeTerrain(20);
    MeshCollider large, small;
    large.create(terrain);
    small.create(makeTerrain(5));
    const std::function<void(MeshCollider&)> fills[] = {
        [&](MeshCollider& collider) { collider.create(terrain); },
        [&](MeshCollider& collider) { collider = large; },
    };
    for (const auto& fill : fills)
    {
        int failures = 0;
        for (bool failed = true; failed; ++failures)
        {
            ASSERT_LT(failures, 1000);
            MeshCollider collider(small);
            failed = failsAtAllocation(failures, [&] { fill(collider); });
            EXPECT_EQ(collider.getTree().size(), failed ? 0u : large.getTree().size()) << failures;
            EXPECT_EQ(collider.nearestPoint({0, 0, 0}).has_value(), !failed) << failures;
        }
        EXPECT_GT(failures, 10);
    }
}
#endif

}  // namespace

}  // namespace tavrix
