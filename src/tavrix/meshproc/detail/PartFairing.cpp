#include <tavrix/meshproc/detail/PartFairing.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <tavrix/meshproc/detail/MeshParts.h>
#include <tavrix/meshproc/detail/PartMeasures.h>
#include <tavrix/meshproc/detail/RingFilter.h>

namespace tavrix::detail
{

namespace
{

/// The passes that a part gets fall in steps of that factor.
constexpr double passStep = 0.85;

/// The width of a part's smoothing is at most this share of its radius, three times its volume over its area.
constexpr double widestShare = 0.4;

/// The surface counts as bent sharply when its principal curvatures add up to so much more than a ball's with
/// as much volume for its area, over the width of its smoothing: not at all, and altogether.
constexpr double gentleBend = 0.25, sharpBend = 0.55;

/// Passes that even out where the surface is bent, as a share of those that it was found after.
constexpr double bendPasses = 0.3;

/// Volumes are restored to that part of them.
constexpr double volumeTolerance = 1e-7;

/// One call of fairPositions. Steps are false, on all ranks, when the polling stopped them.
class Fairing
{
public:
    Fairing(const Array<Vector3D>& positions, const Array<Index3>& faces, const MeshBorder& border,
            const FairingSettings& settings, Polling& polling)
        : _settings(settings),
          _polling(polling),
          _border(border),
          _positions(positions),
          _rings(positions.size(), faces, settings.threadCount, polling),
          _parts(_rings, border, settings.threadCount, polling),
          _measures(_positions, _rings, _parts, settings.threadCount, polling)
    {
    }

    bool run()
    {
        if (!goesOn()) return false;
        const std::vector<PartSums> before = _measures.measure();
        return goesOn() && smooth(before) && restoreVolumes(before);
    }

    Array<Vector3D>& positions() { return _positions; }

private:
    bool goesOn() const { return _border.all(!_polling.isStopped()); }

    /// Gives every vertex a value: value(v) where it is owned.
    template <class T, class Value>
    void fill(Array<T>& values, Value value)
    {
        values.resize(_rings.size());
        inPieces(_polling, _rings.size(), scatteredItems, _settings.threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (auto v = static_cast<uint32>(begin); v < end; ++v)
                         if (!_border.isCopy(v)) values[v] = value(v);
                 });
        _border.update(values);
    }

    bool smooth(const std::vector<PartSums>& parts);
    FilterOutput assign(uint32 passes, uint32 terms, const std::vector<PartSums>& parts) const;
    bool findGentle(FilterOutput& narrow, const std::vector<PartSums>& parts, Array<float>& share);
    bool restoreVolumes(const std::vector<PartSums>& before);
    void findUmbrella();
    Wector3F meanOf(uint32 v, const Array<Wector3F>& values) const;

    const FairingSettings& _settings;
    Polling& _polling;
    const MeshBorder& _border;
    Array<Vector3D> _positions;
    const VertexRings _rings;
    const MeshParts _parts;
    const PartMeasures _measures;
    Array<Wector3F> _umbrella;  ///< from each vertex to the mean of its neighbours
};

void Fairing::findUmbrella()
{
    fill(_umbrella,
         [&](uint32 v)
         {
             Vector3D sum{0, 0, 0};
             for (const uint32 n : _rings[v]) sum += _positions[n] - _positions[v];
             const double share = 1.0 / std::max(_rings[v].size, 1u);
             return Wector3F{static_cast<float>(sum.x * share), static_cast<float>(sum.y * share),
                             static_cast<float>(sum.z * share), 0};
         });
}

/// The response to so many passes, and to fewer in parts that are small or thin. A Gaussian of n passes has
/// the width edge sqrt(n) / 2.
FilterOutput Fairing::assign(uint32 passes, uint32 terms, const std::vector<PartSums>& parts) const
{
    FilterOutput output;
    std::vector<uint8> steps(parts.size());
    for (std::size_t p = 0; p < parts.size(); ++p)
    {
        const double edges = widestShare * parts[p].radius() / std::sqrt(parts[p].squaredEdge());
        double allowed = passes;
        while (allowed >= 0.5 && !(allowed <= 4 * edges * edges))
        {
            allowed *= passStep;
            ++steps[p];
        }
        output.responses.resize(std::max<std::size_t>(output.responses.size(), steps[p] + 1u));
        Coefficients& response = output.responses[steps[p]];
        if (response.empty())
            response = responseOf(static_cast<uint32>(std::lround(allowed)), PassResponse::GivenBack, terms);
    }
    output.assigned.resize(_rings.size());
    for (uint32 v = 0; v < _rings.size(); ++v) output.assigned[v] = steps[_parts.partOf(v)];
    return output;
}

/// The mean of the values around a vertex; its own where it has no ring.
Wector3F Fairing::meanOf(uint32 v, const Array<Wector3F>& values) const
{
    const VertexRings::Ring ring = _rings[v];
    if (ring.size == 0) return values[v];
    Wector3F sum{0, 0, 0, 0};
    for (const uint32 n : ring)
    {
        sum.x += values[n].x;
        sum.y += values[n].y;
        sum.z += values[n].z;
    }
    const float share = 1.0f / static_cast<float>(ring.size);
    return {sum.x * share, sum.y * share, sum.z * share, 0};
}

/// How far each vertex may be smoothed by more than the narrow filter: 1 where the surface that this leaves
/// bends gently, 0 where it bends sharply.
bool Fairing::findGentle(FilterOutput& narrow, const std::vector<PartSums>& parts, Array<float>& share)
{
    // the umbrella vector is the sum of the principal curvatures times a quarter of the squared edge
    const auto widthAt = [&](uint32 v)
    { return std::sqrt(parts[_parts.partOf(v)].squaredEdge() * *_settings.passesAtBends) / 2; };
    _border.update(narrow.values);
    Array<Wector3F> bends, umbrella;
    fill(bends,
         [&](uint32 v)
         {
             const Wector3F mean = meanOf(v, narrow.values), own = narrow.values[v], &u = _umbrella[v];
             const double scale = 4 * widthAt(v) / parts[_parts.partOf(v)].squaredEdge();
             const double x = scale * (u.x + mean.x - own.x), y = scale * (u.y + mean.y - own.y),
                          z = scale * (u.z + mean.z - own.z);
             return Wector3F{static_cast<float>(x * x + y * y + z * z), 0, 0, 0};
         });
    fill(umbrella, [&](uint32 v) { return Wector3F{meanOf(v, bends).x - bends[v].x, 0, 0, 0}; });
    if (!goesOn()) return false;
    const auto passes = static_cast<uint32>(std::lround(bendPasses * *_settings.passesAtBends));
    FilterOutput even{{responseOf(passes, PassResponse::Plain, termsFor(passes))},
                      Array<uint8>(_rings.size(), uint8{0}),
                      {}};
    if (!filterRings(_rings, _border, umbrella, termsFor(passes), {&even}, _settings.threadCount, _polling))
        return false;
    fill(share,
         [&](uint32 v)
         {
             const double ofBall = 2 * widthAt(v) / parts[_parts.partOf(v)].radius();
             const double bend = std::sqrt(std::max(bends[v].x + even.values[v].x, 0.0f)) - ofBall;
             const double t = std::clamp((bend - gentleBend) / (sharpBend - gentleBend), 0.0, 1.0);
             return static_cast<float>(1 - t * t * (3 - 2 * t));
         });
    return goesOn();
}

bool Fairing::smooth(const std::vector<PartSums>& parts)
{
    findUmbrella();
    const uint32 terms = termsFor(_settings.passes);
    const bool isNarrowed = _settings.passesAtBends && *_settings.passesAtBends < _settings.passes;
    FilterOutput wide = assign(_settings.passes, terms, parts), narrow;
    std::vector<FilterOutput*> outputs{&wide};
    if (isNarrowed)
    {
        narrow = assign(*_settings.passesAtBends, terms, parts);
        outputs.push_back(&narrow);
    }
    if (!filterRings(_rings, _border, _umbrella, terms, outputs, _settings.threadCount, _polling))
        return false;
    Array<float> share;
    if (isNarrowed && !findGentle(narrow, parts, share)) return false;
    fill(_positions,
         [&](uint32 v)
         {
             const Wector3F& w = wide.values[v];
             Vector3D way{w.x, w.y, w.z};
             if (isNarrowed)
             {
                 const Vector3D least{narrow.values[v].x, narrow.values[v].y, narrow.values[v].z};
                 way = least + (way - least) * double{share[v]};
             }
             const double far = length(way);
             if (_settings.farthest && far > *_settings.farthest) way *= *_settings.farthest / far;
             return isFinite(way) ? _positions[v] + way : _positions[v];
         });
    return goesOn();
}

/// Moves each closed part along its normals until it has its volume again, by Newton's method: the volume
/// grows by the area times the way.
bool Fairing::restoreVolumes(const std::vector<PartSums>& before)
{
    constexpr uint32 mostSteps = 5;
    std::vector<double> ways(before.size());
    Array<Vector3D> moved;
    for (uint32 step = 0; step < mostSteps; ++step)
    {
        const std::vector<PartSums> now = _measures.measure();
        bool areRestored = true;
        for (std::size_t p = 0; p < ways.size(); ++p)
        {
            const double missing = before[p].volume - now[p].volume, farthest = before[p].radius();
            const bool isOff = !before[p].isOpen && now[p].area > 0 &&
                               std::fabs(missing) > volumeTolerance * std::fabs(before[p].volume);
            ways[p] = isOff ? std::clamp(missing / now[p].area, -farthest, farthest) : 0;
            areRestored &= !isOff;
        }
        if (!goesOn()) return false;
        if (_border.all(areRestored)) return true;
        fill(moved,
             [&](uint32 v)
             {
                 const double way = ways[_parts.partOf(v)];
                 return way == 0 ? _positions[v]
                                 : _positions[v] + unitOrZero(_measures.areaVectorAt(v)) * way;
             });
        if (!goesOn()) return false;
        _positions.swap(moved);
    }
    return true;
}

}  // namespace

bool fairPart(Array<Vector3D>& positions, const Array<Index3>& faces, const MeshBorder& border,
              const FairingSettings& settings, CancelCallback callback)
{
    Polling polling(callback);
    if (!border.all(polling.goOn())) return false;
    if (settings.passes == 0 || border.all(positions.empty())) return true;
    Fairing fairing(positions, faces, border, settings, polling);
    if (!fairing.run()) return false;
    positions.swap(fairing.positions());
    return true;
}

}  // namespace tavrix::detail
