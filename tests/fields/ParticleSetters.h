#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <tavrix/fields/ScalarField3_base.h>

// Every setter of a field from particles, each with its kernel as the formula has it.

namespace tavrix
{

struct Particles
{
    Array<Vector3F> positions, normals;
    Array<float> radii, weights;
};

/// Particles in a cube around the origin.
inline Particles cloud(uint32 count, float extent, uint32 seed)
{
    std::mt19937 random(seed);
    const auto unit = [&] { return static_cast<float>(random() % 100001) / 100000.0f; };
    const auto vector = [&] { return Vector3F{unit() - 0.5f, unit() - 0.5f, unit() - 0.5f}; };
    Particles p;
    for (uint32 n = 0; n < count; ++n)
    {
        p.positions.push_back(vector() * extent);
        p.normals.push_back(vector() * 2.0f);
        p.radii.push_back(0.1f + 0.2f * unit());
        p.weights.push_back(2 * unit());
    }
    return p;
}

template <class Value, class Coord>
struct ParticleSetter
{
    using Field = ScalarField3_base<Value, Coord>;

    const char* name;
    bool carves, sums;
    std::function<bool(Field&, const Particles&, float margin, uint32 threads, CancelCallback)> call;
    /// What particle n adds at an offset; none where there is no closed form.
    std::function<double(const Particles&, uint32 n, const Vector3D& offset)> kernel;
};

/// weight (1 - q)^3 within q < 1.
inline double bump(double weight, double q) { return q < 1 ? weight * (1 - q) * (1 - q) * (1 - q) : 0; }

/// The setter's result from a field's samples, every particle against every node.
template <class Value, class Coord>
std::vector<double> bruteForce(const ParticleSetter<Value, Coord>& setter,
                               const ScalarField3_base<Value, Coord>& field, const Particles& p)
{
    std::vector<double> samples(field.size());
    for (uint32 m = 0; m < field.size(); ++m)
    {
        double v = 0;
        const Vector3D node = convert<double>(field.getPoint(m));
        for (uint32 n = 0; n < p.positions.size(); ++n)
        {
            const double k = setter.kernel(p, n, node - convert<double>(p.positions[n]));
            v = setter.sums ? v + k : std::max(v, k);
        }
        const double before = static_cast<double>(field.get(m));
        if (setter.carves) v = v > 0 && (setter.sums || before > 0) ? before - v : before;
        samples[m] = v;
    }
    return samples;
}

template <class Value, class Coord>
std::vector<ParticleSetter<Value, Coord>> particleSetters()
{
    const auto distance = [](const Particles& p, uint32 n, const Vector3D& d)
    {
        const float r = p.radii[n], t = 1 - 0.25f * static_cast<float>(dot(d, d)) / (r * r);
        return t > 0 ? double{t * t * t} : 0;  // as it is stored
    };
    const auto metaball = [](const Particles& p, uint32 n, const Vector3D& d)
    {
        const double k = 30 * 3.8 / 100 + 1.2, reach = k * double{p.radii[n]};
        return bump(1 / std::pow(1 - 1 / (k * k), 3), dot(d, d) / (reach * reach));
    };
    const auto weighted = [](const Particles& p, uint32 n, const Vector3D& d)
    {
        const double reach = 1.5 * double{p.radii[n]};
        return bump(p.weights[n], dot(d, d) / (reach * reach));
    };
    const auto capped = [](const Particles& p, uint32 n, const Vector3D& d)
    {
        const double reach = std::min(1.5 * double{p.radii[n]}, 0.3);
        return p.weights[n] > 0.5f ? bump(p.weights[n], dot(d, d) / (reach * reach)) : 0;
    };
    const auto flattened = [](const Particles& p, uint32 n, const Vector3D& d)
    {
        const double along = dot(convert<double>(p.normals[n]), d), reach = 2 * double{p.radii[n]};
        return bump(p.weights[n], (dot(d, d) + 3 * along * along) / (reach * reach));
    };
    // where no numbers of its own follow, a call passes on the margin, the thread count and the callback
    return {
        {"distance", false, false,
         [](auto& f, auto& p, auto... rest) { return f.setDistanceField(p.positions, p.radii, rest...); },
         distance},
        {"metaballs", false, true,
         [](auto& f, auto& p, float margin, auto... rest)
         { return f.setMetaballField(p.positions, p.radii, margin, 30, rest...); },
         metaball},
        {"weighted", false, false,
         [](auto& f, auto& p, float margin, auto... rest)
         { return f.setWeigthDistanceField(p.positions, p.radii, p.weights, margin, 1.5f, rest...); },
         weighted},
        {"capped", false, false,
         [](auto& f, auto& p, float margin, auto... rest) {
             return f.setWeigthDistanceField(p.positions, p.radii, p.weights, margin, 1.5f, 0.5f, 0.3,
                                             rest...);
         },
         capped},
        {"weighted sum", false, true,
         [](auto& f, auto& p, float margin, auto... rest)
         { return f.setWeigthDistanceField_v2(p.positions, p.radii, p.weights, margin, 1.5f, rest...); },
         weighted},
        {"flattened", false, false,
         [](auto& f, auto& p, auto... rest)
         { return f.setWeigthNormalDistanceField(p.positions, p.radii, p.normals, p.weights, rest...); },
         flattened},
        {"anisotropic", false, true,
         [](auto& f, auto& p, float margin, auto... rest)
         { return f.setAnisotropyDistanceField(p.positions, p.radii, margin, {}, rest...); },
         nullptr},
        {"carved distance", true, false,
         [](auto& f, auto& p, auto... rest)
         { return f.setSubtractiveDistanceField(p.positions, p.radii, rest...); },
         distance},
        {"carved metaballs", true, true,
         [](auto& f, auto& p, float margin, auto... rest)
         { return f.setSubtractiveMetaballField(p.positions, p.radii, margin, 30, rest...); },
         metaball},
        {"carved weighted", true, false,
         [](auto& f, auto& p, float margin, auto... rest) {
             return f.setSubtractiveWeigthDistanceField(p.positions, p.radii, p.weights, margin, 1.5f,
                                                        rest...);
         },
         weighted},
    };
}

}  // namespace tavrix
