#include "EmbreePeer.h"

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

}  // namespace

EmbreeRays castWithEmbree(const float* points, unsigned pointCount, const unsigned* triangles,
                          unsigned triangleCount, const float* rays, unsigned rayCount, float* distances)
{
    EmbreeRays result{};
    RTCDevice device = rtcNewDevice("threads=1");
    RTCScene scene = rtcNewScene(device);
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
    result.buildSeconds = secondsOf(
        [&]
        {
            RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
            std::memcpy(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                3 * sizeof(float), pointCount),
                        points, 3 * sizeof(float) * pointCount);
            std::memcpy(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                3 * sizeof(unsigned), triangleCount),
                        triangles, 3 * sizeof(unsigned) * triangleCount);
            rtcCommitGeometry(geometry);
            rtcAttachGeometry(scene, geometry);
            rtcReleaseGeometry(geometry);
            rtcCommitScene(scene);
        });
    result.castSeconds = secondsOf(
        [&]
        {
            RTCIntersectContext context;
            rtcInitIntersectContext(&context);
            for (unsigned n = 0; n < rayCount; ++n)
            {
                const float* r = rays + 6 * n;
                RTCRayHit hit{};
                hit.ray = {r[0], r[1], r[2], 0, r[3], r[4], r[5], 0, INFINITY, 0xFFFFFFFFu, 0, 0};
                hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
                rtcIntersect1(scene, &context, &hit);
                distances[n] = hit.hit.geomID == RTC_INVALID_GEOMETRY_ID ? -1 : hit.ray.tfar;
            }
        });
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
    return result;
}
