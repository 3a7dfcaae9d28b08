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
    using Field = ScalarField3_base<Value, Coord>;
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
    using Positions = Array<Vector3F>;
    using Numbers = Array<float>;
    using Call = decltype(ParticleSetter<Value, Coord>::call);
    const auto plain =
        [](bool (Field::*set)(const Positions&, const Numbers&, float, uint32, CancelCallback)) -> Call
    {
        return [=](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
        { return (f.*set)(p.positions, p.radii, margin, threads, callback); };
    };
    const auto influenced =
        [](bool (Field::*set)(const Positions&, const Numbers&, float, float, uint32, CancelCallback)) -> Call
    {
        return [=](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
        { return (f.*set)(p.positions, p.radii, margin, 30, threads, callback); };
    };
    const auto weighing = [](bool (Field::*set)(const Positions&, const Numbers&, const Numbers&, float,
                                                float, uint32, CancelCallback)) -> Call
    {
        return [=](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
        { return (f.*set)(p.positions, p.radii, p.weights, margin, 1.5f, threads, callback); };
    };
    const Call capping =
        [](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
    {
        return f.setWeigthDistanceField(p.positions, p.radii, p.weights, margin, 1.5f, 0.5f, 0.3, threads,
                                        callback);
    };
    const Call flattening =
        [](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
    {
        return f.setWeigthNormalDistanceField(p.positions, p.radii, p.normals, p.weights, margin, threads,
                                              callback);
    };
    const Call anisotropic =
        [](Field& f, const Particles& p, float margin, uint32 threads, CancelCallback callback)
    { return f.setAnisotropyDistanceField(p.positions, p.radii, margin, {}, threads, callback); };
    return {{"distance", false, false, plain(&Field::setDistanceField), distance},
            {"metaballs", false, true, influenced(&Field::setMetaballField), metaball},
            {"weighted", false, false, weighing(&Field::setWeigthDistanceField), weighted},
            {"capped", false, false, capping, capped},
            {"weighted sum", false, true, weighing(&Field::setWeigthDistanceField_v2), weighted},
            {"flattened", false, false, flattening, flattened},
            {"anisotropic", false, true, anisotropic, nullptr},
            {"carved distance", true, false, plain(&Field::setSubtractiveDistanceField), distance},
            {"carved metaballs", true, true, influenced(&Field::setSubtractiveMetaballField), metaball},
            {"carved weighted", true, false, weighing(&Field::setSubtractiveWeigthDistanceField), weighted}};
}

}  // namespace tavrix
