#include <tavrix/spatial/MeshCollider.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <mesh/TestMeshes.h>
#include <tavrix/spatial/detail/RayTriangle.h>
#include <tavrix/spatial/detail/TriangleNearest.h>
#include <TestFolder.h>

namespace tavrix
{

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Numbers in [-1, 1], or integers in [-3, 3].
class Random
{
public:
    explicit Random(uint32 seed) : _random(seed) {}
    double unit() { return static_cast<double>(_random() % 200001) / 100000 - 1; }
    double integer() { return static_cast<double>(_random() % 7) - 3; }
    Vector3D vector(bool integers)
    {
        const double x = integers ? integer() : unit(), y = integers ? integer() : unit();
        return {x, y, integers ? integer() : unit()};
    }

private:
    std::mt19937 _random;
};

Mesh makeTorus(uint32 n, double R, double r)
{
    Mesh mesh;
    const double step = 2 * std::acos(-1.0) / n;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double around = R + r * std::cos(k * step);
            mesh.refPos().push_back(
                {around * std::cos(i * step), around * std::sin(i * step), r * std::sin(k * step)});
        }
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const uint32 j = (i + 1) % n, l = (k + 1) % n;
            mesh.refTrindexPos().push_back({i * n + k, j * n + k, j * n + l});
            mesh.refTrindexPos().push_back({i * n + k, j * n + l, i * n + l});
        }
    return mesh;
}

/// A ball of radius 1 whose poles are many corners at one place.
Mesh makeBall(uint32 n, const Vector3D& center)
{
    Mesh mesh = makeTorus(n, 1, 0);
    for (uint32 m = 0; m < mesh.getPosSize(); ++m)
    {
        const uint32 row = m % n;
        const double latitude = std::acos(-1.0) * row / (n - 1);
        const double radius = row == 0 || row == n - 1 ? 0 : std::sin(latitude);
        Vector3D& p = mesh.refPos()[m];
        p = center + Vector3D{p.x * radius, p.y * radius, -std::cos(latitude)};
    }
    // the torus' faces from the last row to the first would join the poles
    Array<Index3> faces;
    for (const Index3& t : mesh.trindexPos())
        if (std::max({t.a % n, t.b % n, t.c % n}) - std::min({t.a % n, t.b % n, t.c % n}) <= 1)
            faces.push_back(t);
    mesh.refTrindexPos() = faces;
    return mesh;
}

Mesh makeCube(double low, double high)
{
    Mesh mesh;
    mesh.createCubePrimitive({{low, low, low}, {high, high, high}});
    return mesh;
}

Mesh together(const Mesh& a, const Mesh& b)
{
    Mesh all(a);
    all.addMesh(b);
    return all;
}

Mesh flipped(Mesh mesh)
{
    for (Index3& t : mesh.refTrindexPos()) t = {t.a, t.c, t.b};
    return mesh;
}

/// Faces with corners on a small grid of integers: they overlap, touch and lie in common planes, and some
/// are segments and points.
Mesh makeGridSoup(uint32 faceCount, uint32 seed)
{
    Random random(seed);
    Mesh mesh;
    for (uint32 f = 0; f < faceCount; ++f)
    {
        for (uint32 c = 0; c < 3; ++c) mesh.refPos().push_back(random.vector(true));
        mesh.refTrindexPos().push_back({3 * f, 3 * f + 1, 3 * f + 2});
    }
    return mesh;
}

std::vector<Mesh> someMeshes()
{
    return {Mesh(),
            makeCube(-1, 2),
            makeTorus(24, 1, 0.5),
            test::makeRandomSoup(90, 400, 1),
            makeGridSoup(300, 2),
            test::makeTerrain(20),
            together(makeCube(-1, 1), makeCube(-1, 1))};
}

MeshCollider makeCollider(const Mesh& mesh)
{
    MeshCollider collider;
    collider.create(mesh);
    return collider;
}

struct Corners
{
    Vector3D a, b, c;
};

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
        const Corners t = cornersOf(mesh, f);
        if (test.hit(t.a, t.b, t.c, hit) && (!best || hit.t < best->distance))
            best = MeshPoint{f, hit.t, hit.weights, {}};
    }
    return best;
}

/// By Moeller and Trumbore, who know nothing of edges that are shared.
double everyFaceDistance(const Mesh& mesh, const Ray3D& ray)
{
    double best = infinity;
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        const auto [a, b, c] = cornersOf(mesh, f);
        const Vector3D p = cross(ray.direction, c - a), s = ray.origin - a, q = cross(s, b - a);
        const double det = dot(b - a, p), u = dot(s, p) / det, v = dot(ray.direction, q) / det;
        const double t = dot(c - a, q) / det;
        if (u >= 0 && v >= 0 && u + v <= 1 && t >= 0) best = std::min(best, t);
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
            if (!isOnGrid && n % 3 != 0) { EXPECT_NEAR(hit->distance, everyFaceDistance(mesh, ray), 1e-9); }
        }
        EXPECT_TRUE(mesh.isEmpty() || hits > 100) << hits;
    }
}

TEST(MeshCollider, NoRaySlipsThrough)
{
    const Vector3D far{1000.1, -0.3, 1e5};
    const Mesh ball = makeBall(40, far), cube = makeCube(-1, 1);
    const auto expectClosed = [](const Mesh& mesh, const Vector3D& inside)
    {
        const MeshCollider collider = makeCollider(mesh);
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        {
            const auto [a, b, c] = cornersOf(mesh, f);
            for (const Vector3D& target : {a, b, c, (a + b) * 0.5, b * 0.3 + c * 0.7, (a + c) * 0.5})
            {
                const Ray3D ray{inside, target - inside};
                const auto hit = collider.castRay(ray);
                ASSERT_TRUE(hit) << f;
                EXPECT_LT(hit->distance, 1 + 1e-8);
            }
        }
    };
    expectClosed(cube, {0, 0, 0});
    expectClosed(cube, {0.25, -0.125, 0.5});
    expectClosed(cube, {0.1, 0.2, 0.3});
    for (const Vector3D& aside :
         {Vector3D{0, 0, 0}, Vector3D{0.1, 0.2, -0.5}, Vector3D{0, 0, 0.9}, Vector3D{0.9, 0, 0}})
        expectClosed(ball, far + aside);
}

double distanceFromSegment(const Vector3D& p, const Vector3D& a, const Vector3D& b)
{
    const double square = dot(b - a, b - a);
    const double t = square > 0 ? std::clamp(dot(p - a, b - a) / square, 0.0, 1.0) : 0;
    return length(p - (a + (b - a) * t));
}

double distanceFromFace(const Vector3D& p, const Corners& t)
{
    const auto [a, b, c] = t;
    const double edges =
        std::min({distanceFromSegment(p, a, b), distanceFromSegment(p, b, c), distanceFromSegment(p, c, a)});
    const Vector3D n = cross(b - a, c - a);
    const bool isOver = dot(cross(b - a, p - a), n) >= 0 && dot(cross(c - b, p - b), n) >= 0 &&
                        dot(cross(a - c, p - c), n) >= 0;
    return isOver && length(n) > 1e-12 ? std::min(edges, std::fabs(dot(p - a, n)) / length(n)) : edges;
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
                const Corners t = cornersOf(mesh, f);
                nearest = std::min(nearest, distanceFromFace(point, t));
                const auto own = detail::TriangleNearest::to(point, t.a, t.b, t.c);
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
        Mesh mesh;
        mesh.refPos() = {a, b, c};
        mesh.refTrindexPos() = {{0, 1, 2}};
        const MeshCollider collider = makeCollider(mesh);
        const Vector3D over = normal * (1e6 / length(normal)), beside = cross(b - a, over);
        EXPECT_LT(length(collider.nearestPoint(foot + over)->position - foot), 1e-8);
        EXPECT_LT(length(collider.nearestPoint(along + over + beside)->position - along), 1e-8);
    }
}

/// Whether anything of a triangle is left when a box's planes have cut it.
bool isLeftOver(const Corners& t, const Box3D& box)
{
    std::vector<Vector3D> outline{t.a, t.b, t.c};
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

using Inside = std::function<double(const Vector3D&)>;  ///< below 0 inside, about the distance

TEST(MeshCollider, KnowsInsideFromOutside)
{
    const auto cube = [](const Vector3D& p, double low, double high) {
        return std::max({low - p.x, p.x - high, low - p.y, p.y - high, low - p.z, p.z - high});
    };
    const Mesh torus = makeTorus(48, 1, 0.5);
    const Inside inTorus = [](const Vector3D& p) { return std::hypot(std::hypot(p.x, p.y) - 1, p.z) - 0.5; };
    Mesh open = makeTorus(48, 1, 0.5);
    std::swap(open.refTrindexPos()[1000], open.refTrindexPos().back());
    open.refTrindexPos().resize(open.getFacesSize() - 1);
    struct Solid
    {
        Mesh mesh;
        Inside inside;
        double tolerance;
    };
    const std::vector<Solid> solids = {
        {torus, inTorus, 0.01},
        {flipped(torus), inTorus, 0.01},
        {open, inTorus, 0.05},
        {makeCube(-1, 1), [=](const Vector3D& p) { return cube(p, -1, 1); }, 0},
        {together(makeCube(-1, 1), makeCube(0, 2)),
         [=](const Vector3D& p) { return std::min(cube(p, -1, 1), cube(p, 0, 2)); }, 0},
        {together(makeCube(-1, 1), makeCube(-1, 1)), [=](const Vector3D& p) { return cube(p, -1, 1); }, 0},
        {together(makeCube(-2, 2), flipped(makeCube(-1, 1))),
         [=](const Vector3D& p) { return std::max(cube(p, -2, 2), -cube(p, -1, 1)); }, 0},
        {Mesh(), [](const Vector3D&) { return 1.0; }, 0},
    };
    for (const Solid& solid : solids)
    {
        const MeshCollider collider = makeCollider(solid.mesh);
        uint32 wrong = 0;
        // halves lie in the planes of edges and faces, the quarters of the torus on rings of corners
        for (int32 x = -12; x <= 12; ++x)
            for (int32 y = -12; y <= 12; ++y)
                for (int32 z = -12; z <= 12; ++z)
                {
                    const Vector3D p{x * 0.25, y * 0.25, z * 0.25};
                    const double d = solid.inside(p);
                    wrong += std::fabs(d) > solid.tolerance && (d < 0) != collider.isInside(p);
                }
        EXPECT_EQ(wrong, 0u) << &solid - solids.data();
    }
}

TEST(MeshCollider, BadInputFindsNothing)
{
    const double big = 1e300, none = std::nan("");
    Mesh mesh = makeCube(-1, 1);
    for (const Vector3D& p : {Vector3D{none, 0, 0}, Vector3D{0, infinity, 0}}) mesh.refPos().push_back(p);
    mesh.refTrindexPos().push_back({0, 1, 8});
    mesh.refTrindexPos().push_back({9, 1, 0});
    mesh.refTrindexPos().push_back({0, 1, 4000000000u});
    const MeshCollider collider = makeCollider(mesh);
    for (const Vector3D& bad :
         {Vector3D{none, 0, 0}, Vector3D{0, infinity, 1}, Vector3D{0, 0, -infinity}, Vector3D{0, 0, 0}})
    {
        EXPECT_FALSE(collider.castRay({{0, 0, 0}, bad}));
        EXPECT_FALSE(collider.isHit({{0, 0, 0}, bad}));
        if (bad == Vector3D{0, 0, 0}) continue;
        EXPECT_FALSE(collider.castRay({bad, {1, 0, 0}}));
        EXPECT_FALSE(collider.nearestPoint(bad));
        EXPECT_FALSE(collider.isInside(bad));
    }
    EXPECT_FALSE(collider.castRay({{0, 0, 0}, {1, 0, 0}}, none));
    EXPECT_FALSE(collider.nearestPoint({0, 0, 0}, none));
    for (const double size : {1e-310, 1e-300, 1e300})
    {
        const auto hit = collider.castRay({{0, 0, 0}, {0, size, 0}});
        ASSERT_TRUE(hit);
        EXPECT_LT(hit->face, 12u);
        EXPECT_NEAR(hit->position.y, 1, 1e-15);
    }
    Array<uint32> faces;
    collider.findOverlapping({{-infinity, -infinity, -infinity}, {infinity, infinity, infinity}}, faces);
    EXPECT_EQ(faces.size(), 12u);
    collider.findOverlapping({{none, -1, -1}, {none, 1, 1}}, faces);
    EXPECT_EQ(faces.size(), 0u);
    EXPECT_TRUE(collider.isInside({0, 0, 0}));
    EXPECT_FALSE(collider.isInside({big, 0, 0}));

    mesh.refPos().push_back({big, -big, big});
    mesh.refTrindexPos().push_back({0, 1, 10});
    const MeshCollider far = makeCollider(mesh);
    EXPECT_TRUE(far.castRay({{0, 0, 0.5}, {-1, 0.1, 0}}));
    EXPECT_NEAR(far.nearestPoint({-5, 0, 0})->distance, 4, 1e-12);
}

TEST(MeshCollider, FollowsItsMesh)
{
    const Mesh source = makeTorus(24, 1, 0.5);
    MeshCollider collider;
    collider.create(source, 2);
    EXPECT_EQ(collider.getMesh().norSurface().size(), source.getPosSize());
    const double half = std::sqrt(0.5);
    const auto matrix = Matrix4<double>::rotationTranslation({half, 0, half, 0}, {10, 0, 0}) *
                        Matrix4<double>::rotationTranslation({1, 0, 0, 0}, {0, 0, 3});
    const MeshCollider before = collider;
    ASSERT_TRUE(collider.transformRt(matrix, before.getMesh()));
    // the torus' axis is x now, and its centre (13, 0, 0)
    const auto hit = collider.castRay({{0, 1, 0}, {1, 0, 0}});
    ASSERT_TRUE(hit);
    EXPECT_NEAR(hit->distance, 12.5, 1e-12);
    EXPECT_FALSE(collider.castRay({{0, 0, 0}, {1, 0, 0}}));
    EXPECT_NEAR(collider.getMesh().getBox().max.x, 13.5, 1e-12);
    const Vector3F normal = before.getMesh().norSurface()[7], turned = collider.getMesh().norSurface()[7];
    EXPECT_NEAR(turned.x, normal.z, 1e-6);
    EXPECT_NEAR(turned.z, -normal.x, 1e-6);
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
                  std::is_nothrow_move_assignable_v<MeshCollider> &&
                  std::is_nothrow_move_constructible_v<MeshCollider::Tree> &&
                  std::is_nothrow_move_assignable_v<MeshCollider::Tree>);
    MeshCollider other = before;
    const GeometryNode<Box3F>* const nodes = other.getTree().nodes().data();
    MeshCollider moved = std::move(other);
    EXPECT_EQ(moved.getTree().nodes().data(), nodes) << "nothing was copied";
    collider = std::move(moved);
    EXPECT_TRUE(collider.castRay({{1, 0, 5}, {0, 0, -1}}));
    for (MeshCollider* left : {&other, &moved})
    {
        EXPECT_TRUE(left->getTree().isEmpty());
        EXPECT_FALSE(left->nearestPoint({0, 0, 0}));
        left->create(makeCube(0, 1));
        EXPECT_TRUE(left->isInside({0.5, 0.5, 0.5}));
    }

    collider = before;
    for (Vector3D& p : collider.getMesh().refPos()) p = p * 2.0;
    collider.recalculateTree();
    EXPECT_NEAR(collider.castRay({{2, 0, 5}, {0, 0, -1}})->distance, 4, 1e-12);
}

TEST(MeshCollider, IsMadeOfAnAseFile)
{
    const test::TestFolder folder;
    std::string text = "*COMMENT \"two\"\n";
    for (const char* z : {"0", "5"})
        text += std::string(
                    "*GEOMOBJECT {\n*NODE_NAME \"n\"\n*MESH {\n*MESH_VERTEX_LIST {\n"
                    "*MESH_VERTEX 0 -1 -1 ") +
                z + "\n*MESH_VERTEX 1 3 -1 " + z + "\n*MESH_VERTEX 2 -1 3 " + z +
                "\n}\n*MESH_FACE_LIST {\n*MESH_FACE 0: A: 0 B: 1 C: 2\n}\n}\n}\n";
    const TX_String path = folder.write("two.ase", text);
    MeshCollider collider;
    ASSERT_TRUE(collider.create_ASE(path));
    EXPECT_EQ(collider.getMesh().getFacesSize(), 2u);
    EXPECT_EQ(collider.castRay({{0, 0, 9}, {0, 0, -1}})->face, 1u);
    folder.write("two.ase", "nonsense");
    EXPECT_FALSE(collider.create_ASE(path));
    EXPECT_FALSE(collider.create_ASE(folder.file("missing.ase")));
    EXPECT_EQ(collider.castRay({{0, 0, 9}, {0, 0, -1}})->face, 1u);
}

}  // namespace

}  // namespace tavrix
