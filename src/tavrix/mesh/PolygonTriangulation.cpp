#include <tavrix/mesh/PolygonTriangulation.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <tavrix/mesh/detail/EarClipping.h>
#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix
{

namespace
{

/// The sum of the cross products of neighbouring corners, seen from the first: the normal, twice the area
/// long.
Vector3D newellNormal(std::span<const Vector3D> corners, double scale)
{
    Vector3D normal{0, 0, 0};
    for (std::size_t i = 2; i < corners.size(); ++i)
        normal += cross(corners[i - 1] * scale - corners[0] * scale, corners[i] * scale - corners[0] * scale);
    return normal;
}

/// The power of two that brings the largest coordinate near 1; 0 when there is none, or none that is finite.
double unitScale(std::span<const Vector3D> corners)
{
    double largest = 0;
    for (const Vector3D& p : corners)
    {
        if (!isFinite(p)) return 0;
        largest = std::max({largest, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
    }
    int exponent = 0;
    std::frexp(largest, &exponent);
    return largest > 0 ? std::ldexp(1.0, -std::clamp(exponent, -1000, 1000)) : 0;
}

uint32 longestAxis(const Vector3D& v)
{
    const Vector3D size{std::abs(v.x), std::abs(v.y), std::abs(v.z)};
    if (size.x > size.y && size.x > size.z) return 0;
    return size.y > size.z ? 1 : 2;
}

/// The corners as seen along the axis, counter-clockwise; none when the polygon has no area.
std::vector<Vector2D> projected(std::span<const Vector3D> corners)
{
    std::vector<Vector2D> points;
    const double scale = unitScale(corners);
    const Vector3D normal = newellNormal(corners, scale);
    const uint32 axis = longestAxis(normal);
    if (!(std::abs(normal[axis]) > 0)) return points;
    const bool isSeenFromBehind = normal[axis] < 0;
    const uint32 x = (axis + (isSeenFromBehind ? 2 : 1)) % 3, y = (axis + (isSeenFromBehind ? 1 : 2)) % 3;
    points.reserve(corners.size());
    for (const Vector3D& p : corners) points.push_back({p[x] * scale, p[y] * scale});
    return points;
}

/// Whether the corners are clearly a fan, wherever they lie: a look at most polygons that costs little.
bool isPlainFan(std::span<const Vector3D> corners)
{
    // far above rounding
    constexpr double least = 1e-9;
    const auto across = [&](std::size_t i, std::size_t j)
    { return cross(corners[i] - corners[0], corners[j] - corners[0]); };
    const Vector3D first = across(1, 2);
    const double area = dot(first, first);
    for (std::size_t i = 3; i < corners.size(); ++i)
        if (!(dot(across(i - 1, i), first) > least * area && dot(across(1, i), first) > least * area))
            return false;
    return area > 0;
}

/// Whether the first corner sees all others one after another, within half a turn.
bool isFan(const std::vector<Vector2D>& points)
{
    for (std::size_t i = 2; i < points.size(); ++i)
        if (detail::sideOf(points[0], points[i - 1], points[i]) <= 0 ||
            detail::sideOf(points[0], points[1], points[i]) <= 0)
            return false;
    return true;
}

void addFan(uint32 count, Array<Index3>& triangles)
{
    triangles.reserve(std::max(triangles.capacity(), count - 2));
    for (uint32 i = 2; i < count; ++i) triangles.push_back({0, i - 1, i});
}

}  // namespace

void triangulatePolygon(std::span<const Vector3D> corners, Array<Index3>& triangles)
{
    triangles.clear();
    const uint32 count = Array<Index3>::checkedSize(corners.size());
    if (count < 3) return;
    if (count == 3 || isPlainFan(corners)) return addFan(count, triangles);
    const std::vector<Vector2D> points = projected(corners);
    if (points.empty() || isFan(points)) return addFan(count, triangles);
    triangles.reserve(std::max(triangles.capacity(), count - 2));
    detail::clipEars(points, triangles);
}

}  // namespace tavrix
