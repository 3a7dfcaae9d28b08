#include "preview/Render.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/platform/Hardware.h>

#include "preview/Film.h"
#include "preview/Light.h"
#include "preview/Sampling.h"
#include "preview/Shapes.h"
#include "preview/Studio.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

/// How a pixel is sampled: on a grid of side by side places, at every `perLight`-th of which one ray asks for
/// each of the two lights; of pixels with one such place only every other asks for the fill light, which is
/// soft.
struct Sampling
{
    uint32 side, perLight;
};
constexpr Sampling ofOneSurface{2, 4};  ///< its lights are smoothed over its neighbours
constexpr Sampling ofEdges{4, 2};       ///< of pixels that see several surfaces
constexpr float skin = 4e-4f;           ///< how far off a surface its rays begin, for it not to meet itself
constexpr float infinite = std::numeric_limits<float>::infinity();

/// Adds what a sample makes of the key light; where it asks for it, that counts in the pixel's mean as much
/// as it shows.
template <class KeyLight>
void addKey(Pixel& pixel, const Vector3F& key, const Sample& sample, const KeyLight& keyLight)
{
    pixel.key += key;
    if (!sample.asksForKey) return;
    pixel.keyLight += keyLight() * brightness(key);
    pixel.keyWeight += brightness(key);
}

/// The same for the fill light.
template <class FillLight>
void addFill(Pixel& pixel, const Vector3F& fill, bool asks, const FillLight& fillLight)
{
    pixel.fill += fill;
    if (!asks) return;
    pixel.fillLight += fillLight() * brightness(fill);
    pixel.fillWeight += brightness(fill);
}

/// Whether the pixel sees more than one surface.
bool isEdge(const Pixel& pixel)
{
    const bool isMixed = pixel.groundShare > 0 && pixel.groundShare < 1;
    return pixel.weight > 0 && (isMixed || pixel.weight < 1 || dot(pixel.normal, pixel.normal) < 0.9f);
}

template <class Shapes>
class Tracer
{
public:
    Tracer(const Shapes& shapes, const View& view, const PreviewOptions& options);

    Pixel pixel(uint32 x, uint32 y) const;

private:
    struct Meeting
    {
        float distance;
        uint32 place;
    };

    Pixel sampledPixel(uint32 x, uint32 y, const Sampling& sampling) const;
    Meeting meeting(Ray ray) const;
    bool isBlocked(Ray ray) const;
    void addSample(Pixel& pixel, uint32 column, uint32 row, const Sample& sample) const;
    void addSurface(Pixel& pixel, const Ray& ray, const Meeting& met, const Sample& sample) const;
    void addGround(Pixel& pixel, const Vector3F& place, const Vector3F& paper, const Sample& sample) const;
    float keyLightAt(const Vector3F& place, const Sample& sample) const;
    Vector3F fillLightAt(const Vector3F& place, const Vector3F& normal, const Sample& sample) const;

    const Shapes& _shapes;
    const View& _view;
    uint32 _width, _height;
    Disk _disk;
    Vector3F _eye, _right, _upward, _forward;
    Vector3F _brightSide;
    float _tangentX, _tangentY, _ground;
    LocalFrame _key;  ///< its axis leads to the key light
};

template <class Shapes>
Tracer<Shapes>::Tracer(const Shapes& shapes, const View& view, const PreviewOptions& options)
    : _shapes(shapes),
      _view(view),
      _width(options.width),
      _height(options.height),
      _eye(convert<float>(view.camera.eye)),
      _right(convert<float>(view.camera.right)),
      _upward(convert<float>(view.camera.upward)),
      _forward(convert<float>(view.camera.forward)),
      _brightSide(directionOfBrightSide(view)),
      _tangentX(static_cast<float>(view.camera.tangentX)),
      _tangentY(static_cast<float>(view.camera.tangentY)),
      _ground(static_cast<float>(view.ground) - 1e-4f),
      _key(directionOfKey(view))
{
}

template <class Shapes>
typename Tracer<Shapes>::Meeting Tracer<Shapes>::meeting(Ray ray) const
{
    Meeting met{infinite, 0};
    _shapes.tree().walk(ray,
                        [&](uint32 place, Ray& shortened)
                        {
                            const float distance = _shapes.distance(place, shortened);
                            if (distance < shortened.far)
                            {
                                shortened.far = distance;
                                met = {distance, place};
                            }
                            return false;
                        });
    return met;
}

template <class Shapes>
bool Tracer<Shapes>::isBlocked(Ray ray) const
{
    bool blocked = false;
    _shapes.tree().walk(ray, [&](uint32 place, const Ray& whole)
                        { return blocked = _shapes.distance(place, whole) < whole.far; });
    return blocked;
}

template <class Shapes>
float Tracer<Shapes>::keyLightAt(const Vector3F& place, const Sample& sample) const
{
    const auto [x, y] = _disk.point(sample.light);
    const Vector3F direction = unit(_key.axis + (_key.side * x + _key.other * y) * keyRadius);
    return isBlocked({place, direction, infinite}) ? 0.0f : 1.0f;
}

/// One ray's light from all over the half-space, the more likely the steeper, as matte surfaces gather it.
/// Where the ray meets the ground, the ground is the darker the nearer it is: something stands on it there.
template <class Shapes>
Vector3F Tracer<Shapes>::fillLightAt(const Vector3F& place, const Vector3F& normal,
                                     const Sample& sample) const
{
    const auto [x, y] = _disk.point(hash(sample.random) ^ sample.light);
    const LocalFrame frame(normal);
    const float height = std::sqrt(std::max(1 - x * x - y * y, 0.0f));
    const Vector3F direction = frame.side * x + frame.other * y + normal * height;
    const float toGround = direction.y < 0 ? (_ground - place.y) / direction.y : infinite;
    if (isBlocked({place, direction, toGround})) return neighbourGlow;
    if (toGround == infinite) return skyColor(direction, _brightSide);
    return groundGlow * (toGround / (toGround + 0.12f));
}

template <class Shapes>
void Tracer<Shapes>::addSurface(Pixel& pixel, const Ray& ray, const Meeting& met, const Sample& sample) const
{
    Normals normals = _shapes.normals(met.place, ray, met.distance);
    const Vector3F toEye = -ray.direction;
    const bool hasNormal = dot(normals.geometric, normals.geometric) > 0.5f;  // a speck may have none
    if (!hasNormal) normals = {toEye, toEye};
    if (dot(normals.geometric, toEye) < 0) normals = {-normals.geometric, -normals.shading};
    const Vector3F& n = normals.shading;
    const Vector3F place = ray.at(met.distance) + normals.geometric * skin;

    const float cosine = std::max(dot(n, toEye), 0.0f);
    const float grazing = 1 - cosine, grazing2 = grazing * grazing;
    const float fresnel = 0.05f + 0.4f * grazing2 * grazing2 * grazing;
    const Vector3F mirrored = n * (2 * dot(n, toEye)) - toEye;
    const Vector3F fill = matterColor * (1 - fresnel) + mirroredColor(mirrored, _brightSide) * fresnel;

    const float cosineToKey = dot(n, _key.axis), facing = cosineToKey * smoothStep(0, 0.3f, cosineToKey);
    const bool isLit = facing > 0 && dot(normals.geometric, _key.axis) > 0;
    float shine = std::max(dot(n, unit(_key.axis + toEye)), 0.0f);
    for (int k = 0; k < 6; ++k) shine *= shine;
    const Vector3F key = isLit ? product(keyColor, matterColor * facing) + keyColor * (shine * 0.3f * facing)
                               : Vector3F{0, 0, 0};
    addKey(pixel, key, sample, [&] { return isLit ? keyLightAt(place, sample) : 0.0f; });
    // outlines have few neighbours to ask instead
    const bool asksForFill = sample.asksForKey && (sample.asksForFill || cosine < 0.45f);
    addFill(pixel, fill, asksForFill, [&] { return fillLightAt(place, n, sample); });
    pixel.position += place;
    pixel.normal += n;
    pixel.weight += 1;
}

/// Ground = backdrop minus shadows, which hides the horizon.
template <class Shapes>
void Tracer<Shapes>::addGround(Pixel& pixel, const Vector3F& place, const Vector3F& paper,
                               const Sample& sample) const
{
    const Vector3F fill{paper.x / fillOnGround.x, paper.y / fillOnGround.y, paper.z / fillOnGround.z};
    addKey(pixel, paper * groundKeyShare, sample, [&] { return keyLightAt(place, sample); });
    addFill(pixel, fill * (1 - groundKeyShare), sample.asksForFill,
            [&] {
                return fillLightAt(place, {0, 1, 0}, sample);
            });
    pixel.position += place;
    pixel.normal += Vector3F{0, 1, 0};
    pixel.weight += 1;
    pixel.groundShare += 1;
}

template <class Shapes>
void Tracer<Shapes>::addSample(Pixel& pixel, uint32 column, uint32 row, const Sample& sample) const
{
    // A square grid, sheared so that no two samples share a column or a row.
    const uint32 before = sample.number % sample.side, above = sample.number / sample.side;
    const auto i = static_cast<float>(before), j = static_cast<float>(above);
    const auto side = static_cast<float>(sample.side);
    const float inX = (i + (j + 0.5f) / side) / side;
    const float inY = (j + (i + 0.5f) / side) / side;
    const float x = 2 * (static_cast<float>(column) + inX) / static_cast<float>(_width) - 1;
    const float y = 1 - 2 * (static_cast<float>(row) + inY) / static_cast<float>(_height);
    const Ray ray(_eye, unit(_forward + _right * (x * _tangentX) + _upward * (y * _tangentY)), infinite);

    const Meeting met = meeting(ray);
    const float toGround = ray.direction.y < 0 ? (_ground - _eye.y) / ray.direction.y : infinite;
    if (met.distance < toGround)
        addSurface(pixel, ray, met, sample);
    else if (toGround < 1e4f)
        addGround(pixel, ray.at(toGround) + Vector3F{0, skin / 2, 0}, paperColor(x, y, _view), sample);
    else
        pixel.own += paperColor(x, y, _view);
}

template <class Shapes>
Pixel Tracer<Shapes>::pixel(uint32 x, uint32 y) const
{
    const Pixel pixel = sampledPixel(x, y, ofOneSurface);
    return isEdge(pixel) ? sampledPixel(x, y, ofEdges) : pixel;
}

template <class Shapes>
Pixel Tracer<Shapes>::sampledPixel(uint32 x, uint32 y, const Sampling& sampling) const
{
    Pixel pixel{};
    const uint32 side = sampling.side, count = side * side, random = hash(y * _width + x);
    const uint32 lights = count / sampling.perLight, first = lightNumber(x, y) * lights;
    for (uint32 n = 0; n < count; ++n)
    {
        const bool asks = (n + n / side + random) % sampling.perLight == 0;
        addSample(
            pixel, x, y,
            {n, side, hash(x / lightBlock * 0x10001 + y / lightBlock),
             Disk::spread(first + n / sampling.perLight), asks, asks && (lights > 1 || (x + y) % 2 == 0)});
    }
    if (pixel.weight > 0)
    {
        pixel.keyLight = pixel.keyWeight > 0 ? pixel.keyLight / pixel.keyWeight : 0;
        if (pixel.fillWeight > 0) pixel.fillLight *= 1 / pixel.fillWeight;
        pixel.position *= 1 / pixel.weight;
        pixel.normal *= 1 / pixel.weight;
    }
    for (Vector3F* color : {&pixel.own, &pixel.fill, &pixel.key}) *color *= 1.0f / static_cast<float>(count);
    pixel.weight /= static_cast<float>(count);
    pixel.groundShare /= static_cast<float>(count);
    return pixel;
}

/// Calls body(x, y) for all pixels. Workers, of which the caller is one, take tiles as they come, for their
/// work differs much; the caller tells how far they are.
template <class Body>
void forEachPixel(const PreviewOptions& options, uint32 threads, const Body& body)
{
    constexpr uint32 side = 32;
    const uint32 columns = (options.width + side - 1) / side, rows = (options.height + side - 1) / side;
    const uint32 tiles = columns * rows;
    std::atomic<uint32> next = 0;
    const auto drawTiles = [&](const auto& tell)
    {
        for (uint32 tile = next++; tile < tiles && !interrupted(); tile = next++)
        {
            tell(tile);
            const uint32 left = tile % columns * side, top = tile / columns * side;
            for (uint32 y = top; y < std::min(top + side, options.height); ++y)
                for (uint32 x = left; x < std::min(left + side, options.width); ++x) body(x, y);
        }
    };
    std::vector<std::thread> helpers;
    for (uint32 w = 1; w < threads; ++w) helpers.emplace_back([&] { drawTiles([](uint32) {}); });
    drawTiles(
        [&](uint32 tile)
        {
            ProgressScope::tell(static_cast<double>(tile) / tiles);
            ProgressScope::poll();
        });
    for (std::thread& helper : helpers) helper.join();
    stopIfInterrupted();
}

template <class Shapes>
Picture render(const Shapes& shapes, const View& view, const PreviewOptions& options, uint32 threads)
{
    const Tracer<Shapes> tracer(shapes, view, options);
    std::vector<Pixel> pixels(std::size_t{options.width} * options.height);
    forEachPixel(options, threads,
                 [&](uint32 x, uint32 y)
                 { pixels[std::size_t{y} * options.width + x] = tracer.pixel(x, y); });
    filterLight(pixels, options.width, options.height, view, threads);

    return develop(pixels, options.width, options.height, threads);
}

uint32 threadsFor(const PreviewOptions& options)
{
    return options.threads ? options.threads : Hardware::getThreadCount();
}

}  // namespace

Picture renderMesh(const Mesh& mesh, const View& view, const PreviewOptions& options)
{
    const uint32 threads = threadsFor(options);
    return render(TriangleShapes(mesh, view, threads), view, options, threads);
}

Picture renderParticles(const Array<Vector3F>& positions, float radius, const View& view,
                        const PreviewOptions& options)
{
    const uint32 threads = threadsFor(options);
    return render(SphereShapes(positions, radius, view, threads), view, options, threads);
}

}  // namespace tavrix::tool
