#include <tavrix/foundation/Camera.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>

using namespace tavrix;

namespace
{

const Vector3D up{0, 1, 0};

double largestPart(const Vector2D& place) { return std::max(std::abs(place.x), std::abs(place.y)); }

Vector3D anywhere(std::mt19937& random, double reach)
{
    std::uniform_real_distribution<double> coordinate(-reach, reach);
    return {coordinate(random), coordinate(random), coordinate(random)};
}

}  // namespace

// What lies on the ray through a place is seen there, and the target in the middle.
TEST(Camera, ProjectsWhatItsRaysMeet)
{
    std::mt19937 random(1);
    for (uint32 n = 0; n < 100; ++n)
    {
        const Vector3D eye = anywhere(random, 5), target = anywhere(random, 5);
        const Camera camera =
            Camera::lookingAt(eye, target, n % 9 == 0 ? target - eye : up, 0.7, n % 2 ? 1.6 : 0.5);
        EXPECT_LT(largestPart(*camera.project(target)), 1e-12);
        EXPECT_NEAR(dot(cross(camera.right, camera.upward), camera.forward), -1, 1e-12);
        for (const Vector2D place : {Vector2D{0.3, -0.8}, Vector2D{-2, 1}})
        {
            const Ray3D ray = camera.ray(place);
            EXPECT_LT(largestPart(*camera.project(ray.at(7)) - place), 1e-12);
            EXPECT_FALSE(camera.project(ray.at(-1)));
        }
        const bool isUpright = n % 9 != 0;
        EXPECT_TRUE(!isUpright || camera.project(target + up * 0.01)->y > 0);
    }
    const Camera wide = Camera::lookingAt({0, 0, 3}, {0, 0, 0}, up, piValue / 2, 2);
    EXPECT_NEAR(wide.project({6, 3, 0})->x, 1, 1e-12);
    EXPECT_NEAR(wide.project({6, 3, 0})->y, 1, 1e-12);
}

// All points are in the picture, and some on two borders across from one another, so no nearer place would
// do.
TEST(Camera, FitsPointsAsNearAsItCan)
{
    std::mt19937 random(2);
    uint32 fitted = 0;
    for (uint32 n = 0; n < 200; ++n)
    {
        std::vector<Vector3D> points;
        for (uint32 k = 0; k < 1 + n % 30; ++k) points.push_back(anywhere(random, 1 + n % 5));
        const Camera before =
            Camera::lookingAt(anywhere(random, 9), {0, 0, 0}, up, 0.2 + n * 0.01, 0.4 + n * 0.01);
        const Camera camera = before.fitted(points, 0.1);
        EXPECT_EQ(camera.forward, before.forward);
        double left = 9, right = -9, low = 9, high = -9;
        bool isAtPoint = false;  // which then is seen everywhere
        for (const Vector3D& p : points)
        {
            isAtPoint |= length(p - camera.eye) < 1e-9;
            if (length(p - camera.eye) < 1e-9) continue;
            const auto place = camera.project(p);
            ASSERT_TRUE(place);
            left = std::min(left, place->x), right = std::max(right, place->x);
            low = std::min(low, place->y), high = std::max(high, place->y);
        }
        EXPECT_LT(std::max({-left, right, -low, high}), 0.9 + 1e-6);
        EXPECT_TRUE(isAtPoint || std::max(std::min(-left, right), std::min(-low, high)) > 0.9 - 1e-6);
        fitted += isAtPoint ? 0 : 1;
    }
    EXPECT_GT(fitted, 150u);
}

// Seen from its orbit a scene looks as if it had been turned the other way.
TEST(Camera, OrbitsAndTellsWhatItCannotSee)
{
    std::mt19937 random(3);
    const Camera camera = Camera::lookingAt({3, 1, 8}, {0.5, 0, 0}, up, 0.6, 1.5);
    const Vector3D center{1, 2, 3};
    for (const double angle : {0.4, piValue / 2, 4.0})
        for (uint32 n = 0; n < 10; ++n)
        {
            const Vector3D p = anywhere(random, 1), d = p - center;
            const double c = std::cos(angle), s = std::sin(angle);
            const Vector3D turned = center + Vector3D{c * d.x + s * d.z, d.y, c * d.z - s * d.x};
            const auto there = camera.orbited(center, up, angle).project(turned), here = camera.project(p);
            ASSERT_EQ(there.has_value(), here.has_value());
            EXPECT_TRUE(!here || largestPart(*there - *here) < 1e-12);
        }
    const Camera ahead = Camera::lookingAt({0, 0, 0}, {0, 0, -1}, up, piValue / 2, 1);
    const auto around = [](double x, double y, double z) {
        return Box3D{{x - 1, y - 1, z - 1}, {x + 1, y + 1, z + 1}};
    };
    EXPECT_TRUE(ahead.maySee(around(0, 0, -5)) && ahead.maySee(around(5, 5, -5)) &&
                ahead.maySee(around(0, 0, 0.5)));
    for (const Box3D& box : {around(0, 0, 2), around(8, 0, -5), around(-8, 0, -5), around(0, 8, -5),
                             around(0, -8, -5), Box3D::empty()})
        EXPECT_FALSE(ahead.maySee(box));
}
