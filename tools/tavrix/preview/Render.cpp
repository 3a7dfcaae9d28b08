#include "Render.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/platform/Hardware.h>

#include "../Failure.h"
#include "../Interrupt.h"
#include "Light.h"
#include "Shapes.h"

namespace tavrix::tool
{

namespace
{

// The set. Colours are linear, and 1 is white.

constexpr uint32 samplesPerSide = 3;
constexpr uint32 samplesPerSideAtEdges = 5;

constexpr Vector3F matter{0.032f, 0.165f, 0.385f};      ///< share of light that the surface scatters
constexpr Vector3F keyColor{2.35f, 2.25f, 2.08f};       ///< of the key light on a surface that faces it
constexpr Vector3F zenith{0.50f, 0.63f, 0.82f};         ///< of the sky, from above
constexpr Vector3F horizon{0.86f, 0.88f, 0.92f};        ///< and from the side
constexpr Vector3F groundGlow{0.52f, 0.51f, 0.50f};     ///< of the lit ground, from below
constexpr Vector3F neighbourGlow{0.05f, 0.14f, 0.25f};  ///< of matter that blocks the sky
constexpr double keyElevation = 42, keyTurn = -66;      ///< in degrees; the turn is from the camera
constexpr float keyRadius = 0.085f;                     ///< of the key light as seen from the stage, radians
constexpr float groundKeyShare = 0.42f;                 ///< of the ground's light that the key light gives

constexpr float infinite = std::numeric_limits<float>::infinity();

uint32 hash(uint32 x)
{
    x = (x ^ (x >> 16)) * 0x7feb352du;
    x = (x ^ (x >> 15)) * 0x846ca68bu;
    return x ^ (x >> 16);
}

Vector3F mix(const Vector3F& a, const Vector3F& b, float t) { return a * (1 - t) + b * t; }
Vector3F product(const Vector3F& a, const Vector3F& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
Vector3F unit(const Vector3F& v) { return v * (1 / length(v)); }

/// Two unit vectors that form a right angle with the unit vector and with each other.
struct Frame
{
    Vector3F axis, side, other;
    explicit Frame(const Vector3F& n) : axis(n)
    {
        side = unit(std::fabs(n.x) < 0.7f ? cross(n, {1, 0, 0}) : cross(n, {0, 1, 0}));
        other = cross(n, side);
    }
};

/// One of the side * side samples of a pixel, with a number that is the pixel's own.
struct Sample
{
    uint32 number, side, random;
};

/// Points spread evenly over the unit disk in the order of their distance from the middle: a spiral with the
/// golden angle.
class Disk
{
public:
    Disk()
    {
        constexpr double goldenAngle = 2.399963229728653;
        for (uint32 n = 0; n < size; ++n)
        {
            const auto [sine, cosine] = sineCosine(n * goldenAngle);
            const double radius = std::sqrt((n + 0.5) / size);
            _points[n] = {static_cast<float>(radius * cosine), static_cast<float>(radius * sine)};
        }
    }

    struct Point
    {
        float x, y;
    };
    /// A point for one of a pixel's samples: each sample has a ring of its own.
    Point point(const Sample& sample) const
    {
        const uint32 ring = size / (sample.side * sample.side);
        return _points[sample.number * ring + sample.random % ring];
    }

private:
    static constexpr uint32 size = 2048;
    std::array<Point, size> _points;
};

/// Light from the sky and the ground, from the direction.
Vector3F skyColor(const Vector3F& direction, const Vector3F& brightSide)
{
    const float height = std::max(direction.y, 0.0f);
    const float side = 0.5f + 0.5f * dot(direction, brightSide);
    return mix(horizon, zenith, height * (2 - height)) * (0.5f + 0.9f * side * side);
}

/// From 0 at `from` to 1 at `to`, smooth.
float step(float from, float to, float x)
{
    const float t = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

/// What a surface mirrors: a bright wall above, a dark room below.
Vector3F mirroredSky(const Vector3F& direction, const Vector3F& brightSide)
{
    const float up = step(-0.2f, 0.5f, direction.y), side = step(0.2f, 0.85f, dot(direction, brightSide));
    return mix({0.12f, 0.18f, 0.26f}, {1.3f, 1.35f, 1.4f}, up) + Vector3F{1.1f, 1.15f, 1.2f} * side;
}

float brightness(const Vector3F& color) { return 0.2f * color.x + 0.7f * color.y + 0.1f * color.z; }

/// Adds what a sample makes of the lights; a light counts in the pixel's mean as much as it shows.
void addLights(Pixel& pixel, const Vector3F& key, float keyLight, const Vector3F& fill,
               const Vector3F& fillLight)
{
    pixel.key += key;
    pixel.keyLight += keyLight * brightness(key);
    pixel.fill += fill;
    pixel.fillLight += fillLight * brightness(fill);
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

    Pixel sampledPixel(uint32 x, uint32 y, uint32 side) const;
    Meeting meeting(Ray ray) const;
    bool isBlocked(Ray ray) const;
    void addSample(Pixel& pixel, uint32 column, uint32 row, const Sample& sample) const;
    void addSurface(Pixel& pixel, const Ray& ray, const Meeting& met, const Sample& sample) const;
    void addGround(Pixel& pixel, const Vector3F& place, const Vector3F& backdrop, const Sample& sample) const;
    float keyLightAt(const Vector3F& place, const Sample& sample) const;
    Vector3F fillLightAt(const Vector3F& place, const Vector3F& normal, const Sample& sample) const;
    Vector3F backdrop(float x, float y) const;

    const Shapes& _shapes;
    uint32 _width, _height;
    Disk _disk;
    Vector3F _eye, _right, _upward, _forward;
    Vector3F _brightSide;  ///< where the sky is brightest: at the right, behind the subject
    float _tangentX, _tangentY, _ground;
    Frame _key;  ///< its axis leads to the key light
};

Vector3F directionOfKey(const View& view)
{
    const auto [sinA, cosA] = sineCosine(view.azimuth + keyTurn * piValue / 180);
    const auto [sinE, cosE] = sineCosine(keyElevation * piValue / 180);
    return convert<float>(Vector3D{sinA * cosE, sinE, cosA * cosE});
}

template <class Shapes>
Tracer<Shapes>::Tracer(const Shapes& shapes, const View& view, const PreviewOptions& options)
    : _shapes(shapes),
      _width(options.width),
      _height(options.height),
      _eye(convert<float>(view.eye)),
      _right(convert<float>(view.right)),
      _upward(convert<float>(view.upward)),
      _forward(convert<float>(view.forward)),
      _brightSide(unit(_right * 0.85f + Vector3F{0, 0.45f, 0} - _forward * 0.1f)),
      _tangentX(static_cast<float>(view.tangentX)),
      _tangentY(static_cast<float>(view.tangentY)),
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

/// The paper behind everything: a light wall, a little brighter in the middle.
template <class Shapes>
Vector3F Tracer<Shapes>::backdrop(float x, float y) const
{
    const float aspect = _tangentX / _tangentY;
    const float distance =
        x * x * std::min(aspect, 1.0f) + (y + 0.15f) * (y + 0.15f) * std::min(1 / aspect, 1.0f);
    const float glow = 1 / (1 + 0.42f * distance);
    return mix({0.56f, 0.62f, 0.70f}, {0.90f, 0.92f, 0.94f}, glow);
}

template <class Shapes>
float Tracer<Shapes>::keyLightAt(const Vector3F& place, const Sample& sample) const
{
    const auto [x, y] = _disk.point(sample);
    const Vector3F direction = unit(_key.axis + (_key.side * x + _key.other * y) * keyRadius);
    return isBlocked({place, direction, infinite}) ? 0.0f : 1.0f;
}

/// One ray's light from all over the half-space, the more likely the steeper, as matte surfaces gather it.
/// Where the ray meets the ground, the ground is the darker the nearer it is: something stands on it there.
template <class Shapes>
Vector3F Tracer<Shapes>::fillLightAt(const Vector3F& place, const Vector3F& normal,
                                     const Sample& sample) const
{
    const auto [x, y] = _disk.point({sample.number, sample.side, hash(sample.random)});
    const Frame frame(normal);
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
    if (dot(normals.geometric, toEye) < 0) normals = {-normals.geometric, -normals.shading};
    const Vector3F& n = normals.shading;
    const Vector3F place = ray.at(met.distance) + normals.geometric * 4e-4f;

    const float cosine = std::max(dot(n, toEye), 0.0f);
    const float grazing = 1 - cosine, grazing2 = grazing * grazing;
    const float fresnel = 0.05f + 0.4f * grazing2 * grazing2 * grazing;
    const Vector3F mirrored = n * (2 * dot(n, toEye)) - toEye;
    const Vector3F fill = matter * (1 - fresnel) + mirroredSky(mirrored, _brightSide) * fresnel;

    const float cosineToKey = dot(n, _key.axis), facing = cosineToKey * step(0, 0.3f, cosineToKey);
    const bool isLit = facing > 0 && dot(normals.geometric, _key.axis) > 0;
    float shine = std::max(dot(n, unit(_key.axis + toEye)), 0.0f);
    for (int k = 0; k < 6; ++k) shine *= shine;
    const Vector3F key =
        isLit ? product(keyColor, matter * facing) + keyColor * (shine * 0.3f * facing) : Vector3F{0, 0, 0};
    addLights(pixel, key, isLit ? keyLightAt(place, sample) : 0.0f, fill, fillLightAt(place, n, sample));
    pixel.position += place;
    pixel.normal += n;
    pixel.weight += 1;
}

/// The ground is the backdrop, less what shadows take from it: so it has no end.
template <class Shapes>
void Tracer<Shapes>::addGround(Pixel& pixel, const Vector3F& place, const Vector3F& backdrop,
                               const Sample& sample) const
{
    constexpr Vector3F open{0.58f, 0.66f, 0.78f};  // the fill light where nothing stands
    const Vector3F fill{backdrop.x / open.x, backdrop.y / open.y, backdrop.z / open.z};
    addLights(pixel, backdrop * groundKeyShare, keyLightAt(place, sample), fill * (1 - groundKeyShare),
              fillLightAt(place, {0, 1, 0}, sample));
    pixel.position += place;
    pixel.normal += Vector3F{0, 1, 0};
    pixel.weight += 1;
    pixel.groundShare += 1;
}

template <class Shapes>
void Tracer<Shapes>::addSample(Pixel& pixel, uint32 column, uint32 row, const Sample& sample) const
{
    // A square grid, sheared so that no two samples share a column or a row.
    const auto i = static_cast<float>(sample.number % sample.side),
               j = static_cast<float>(sample.number / sample.side);
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
        addGround(pixel, ray.at(toGround) + Vector3F{0, 2e-4f, 0}, backdrop(x, y), sample);
    else
        pixel.own += backdrop(x, y);
}

template <class Shapes>
Pixel Tracer<Shapes>::pixel(uint32 x, uint32 y) const
{
    const Pixel pixel = sampledPixel(x, y, samplesPerSide);
    return isEdge(pixel) ? sampledPixel(x, y, samplesPerSideAtEdges) : pixel;
}

template <class Shapes>
Pixel Tracer<Shapes>::sampledPixel(uint32 x, uint32 y, uint32 side) const
{
    Pixel pixel{};
    const uint32 count = side * side, random = hash(y * _width + x);
    for (uint32 n = 0; n < count; ++n) addSample(pixel, x, y, {n, side, random});
    if (pixel.weight > 0)
    {
        const float keySum = brightness(pixel.key);
        pixel.keyLight = keySum > 0 ? pixel.keyLight / keySum : 0;
        pixel.fillLight *= 1 / brightness(pixel.fill);
        pixel.position *= 1 / pixel.weight;
        pixel.normal *= 1 / pixel.weight;
    }
    for (Vector3F* color : {&pixel.own, &pixel.fill, &pixel.key}) *color *= 1.0f / static_cast<float>(count);
    pixel.weight /= static_cast<float>(count);
    pixel.groundShare /= static_cast<float>(count);
    return pixel;
}

/// Calls body(x, y) for all pixels. Workers take tiles as they come, for their work differs much.
template <class Body>
void forEachPixel(const PreviewOptions& options, uint32 threads, const Body& body)
{
    constexpr uint32 side = 32;
    const uint32 columns = (options.width + side - 1) / side, rows = (options.height + side - 1) / side;
    std::atomic<uint32> next = 0;
    parallelFor(threads, threads,
                [&](uint32, uint64, uint64)
                {
                    for (uint32 tile = next++; tile < columns * rows && !interrupted(); tile = next++)
                    {
                        const uint32 left = tile % columns * side, top = tile / columns * side;
                        for (uint32 y = top; y < std::min(top + side, options.height); ++y)
                            for (uint32 x = left; x < std::min(left + side, options.width); ++x) body(x, y);
                    }
                });
    if (interrupted()) throw Failure("interrupted");
}

/// What the eye makes of brightness: the sRGB curve, with x^(1 / 2.4) = (x^5)^(1 / 12) by roots that are the
/// same on every system.
float sRgb(float x)
{
    if (x <= 0.0031308f) return 12.92f * x;
    const double fourth = std::sqrt(std::sqrt(static_cast<double>(x) * x * x * x * x));
    double cubeRoot = 0.5 + 0.5 * fourth;
    for (int n = 0; n < 12; ++n) cubeRoot -= (cubeRoot - fourth / (cubeRoot * cubeRoot)) / 3;
    return static_cast<float>(1.055 * cubeRoot - 0.055);
}

/// Brightness as a film takes it: true up to a bound, then ever less, and never more than white.
float onFilm(float x)
{
    constexpr float bound = 0.8f;
    if (x <= bound) return x;
    const float over = (x - bound) / (1 - bound);
    return bound + (1 - bound) * over / (1 + over);
}

unsigned char byteOf(float x)
{
    return static_cast<unsigned char>(sRgb(onFilm(std::max(x, 0.0f))) * 255 + 0.5f);
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

    Picture picture{options.width, options.height, {}};
    picture.rgb.reserve(pixels.size() * 3);
    for (const Pixel& p : pixels)
    {
        const Vector3F color = p.own + product(p.fill, p.fillLight) + p.key * p.keyLight;
        for (uint32 channel = 0; channel < 3; ++channel) picture.rgb.push_back(byteOf(color[channel]));
    }
    return picture;
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
