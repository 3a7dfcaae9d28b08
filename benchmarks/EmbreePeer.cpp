#include "EmbreePeer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include <embree3/rtcore.h>

namespace
{

template <class Action>
double secondsOf(Action action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Vector
{
    float x, y, z;
};

Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vector operator*(const Vector& a, float s) { return {a.x * s, a.y * s, a.z * s}; }
float dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vector cross(const Vector& a, const Vector& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

float squareFromEdge(const Vector& corner, const Vector& edge)
{
    const float along = std::clamp(-dot(corner, edge) / dot(edge, edge), 0.0f, 1.0f);
    const Vector foot = corner + edge * along;
    return dot(foot, foot);
}

/// The squared distance of the origin from a triangle: from its plane over its inside, else from an edge.
float squareFromTriangle(const Vector& a, const Vector& b, const Vector& c)
{
    const Vector normal = cross(b - a, c - a);
    if (dot(cross(b - a, normal), a) >= 0 && dot(cross(c - b, normal), b) >= 0 &&
        dot(cross(a - c, normal), c) >= 0)
    {
        const float height = dot(normal, a);
        return height * height / dot(normal, normal);
    }
    return std::min({squareFromEdge(a, b - a), squareFromEdge(b, c - b), squareFromEdge(c, a - c)});
}

struct Triangles
{
    const Vector* points;
    const unsigned* corners;
};

/// Draws the radius of the query in to the face that Embree came to.
bool shrinkToFace(RTCPointQueryFunctionArguments* arguments)
{
    const auto& triangles = *static_cast<const Triangles*>(arguments->userPtr);
    const unsigned* corners = triangles.corners + 3 * std::size_t{arguments->primID};
    RTCPointQuery& query = *arguments->query;
    const Vector point{query.x, query.y, query.z};
    const float square =
        squareFromTriangle(triangles.points[corners[0]] - point, triangles.points[corners[1]] - point,
                           triangles.points[corners[2]] - point);
    if (!(square < query.radius * query.radius)) return false;
    query.radius = std::sqrt(square);
    return true;
}

}  // namespace

struct EmbreePeer::Scene
{
    RTCDevice device = rtcNewDevice("threads=1");
    RTCScene scene = rtcNewScene(device);
    Triangles triangles{};
    double buildSeconds = 0;

    ~Scene()
    {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }
};

EmbreePeer::EmbreePeer(const float* points, std::size_t pointCount, const unsigned* triangles,
                       std::size_t triangleCount)
    : _scene(std::make_unique<Scene>())
{
    rtcSetSceneFlags(_scene->scene, RTC_SCENE_FLAG_ROBUST);
    _scene->buildSeconds = secondsOf(
        [&]
        {
            RTCGeometry geometry = rtcNewGeometry(_scene->device, RTC_GEOMETRY_TYPE_TRIANGLE);
            void* ownPoints = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                      3 * sizeof(float), pointCount);
            std::memcpy(ownPoints, points, 3 * sizeof(float) * pointCount);
            void* ownTriangles = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                         3 * sizeof(unsigned), triangleCount);
            std::memcpy(ownTriangles, triangles, 3 * sizeof(unsigned) * triangleCount);
            _scene->triangles = {static_cast<const Vector*>(ownPoints),
                                 static_cast<const unsigned*>(ownTriangles)};
            rtcCommitGeometry(geometry);
            rtcAttachGeometry(_scene->scene, geometry);
            rtcReleaseGeometry(geometry);
            rtcCommitScene(_scene->scene);
        });
}

EmbreePeer::~EmbreePeer() = default;

double EmbreePeer::buildSeconds() const { return _scene->buildSeconds; }

double EmbreePeer::castRays(const float* rays, std::size_t count, float* distances) const
{
    return secondsOf(
        [&]
        {
            RTCIntersectContext context;
            rtcInitIntersectContext(&context);
            for (std::size_t n = 0; n < count; ++n)
            {
                const float* r = rays + 6 * n;
                RTCRayHit hit{};
                hit.ray = {r[0], r[1], r[2], 0, r[3], r[4], r[5], 0, INFINITY, 0xFFFFFFFFu, 0, 0};
                hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
                rtcIntersect1(_scene->scene, &context, &hit);
                distances[n] = hit.hit.geomID == RTC_INVALID_GEOMETRY_ID ? -1 : hit.ray.tfar;
            }
        });
}

double EmbreePeer::findNearest(const float* points, std::size_t count, float* distances) const
{
    return secondsOf(
        [&]
        {
            for (std::size_t n = 0; n < count; ++n)
            {
                RTCPointQuery query{points[3 * n], points[3 * n + 1], points[3 * n + 2], 0, INFINITY};
                RTCPointQueryContext context;
                rtcInitPointQueryContext(&context);
                rtcPointQuery(_scene->scene, &query, &context, shrinkToFace, &_scene->triangles);
                distances[n] = query.radius;
            }
        });
}
