#include <algorithm>

#include <tavrix/fields/detail/EllipsoidSplat.h>
#include <tavrix/fields/detail/SplatChange.h>
#include <tavrix/fields/ScalarField3_base.h>

namespace tavrix
{

using detail::Ellipsoid;
using detail::EllipsoidKernel;
using detail::SplatMerge;

namespace
{

/// Marks a particle that adds nothing.
constexpr Ellipsoid nothing{};

/// The weighted balls of a call as numbered particles.
struct WeightedBalls
{
    const Array<Vector3F>& positions;
    const Array<float>& radii;
    const Array<float>& weights;
    float reach;          ///< in radii
    float leastWeight;    ///< balls that weigh no more are left out
    double largestReach;  ///< a length

    uint32 size() const { return std::min({positions.size(), radii.size(), weights.size()}); }
    Ellipsoid operator()(uint32 n) const
    {
        const auto length = static_cast<float>(std::min(double{radii[n]} * reach, largestReach));
        if (!(weights[n] > leastWeight) || !(radii[n] > 0) || !(length > 0)) return nothing;
        const Vector3F& p = positions[n];
        return Ellipsoid::ball(p.x, p.y, p.z, length, weights[n]);
    }
};

/// The weighted balls of a call, flattened along their normals.
struct FlattenedBalls
{
    const Array<Vector3F>& positions;
    const Array<float>& radii;
    const Array<Vector3F>& normals;
    const Array<float>& weights;

    uint32 size() const { return std::min({positions.size(), radii.size(), normals.size(), weights.size()}); }
    Ellipsoid operator()(uint32 n) const
    {
        if (!(weights[n] > 0) || !(radii[n] > 0)) return nothing;
        const Vector3F& p = positions[n];
        Ellipsoid e = Ellipsoid::ball(p.x, p.y, p.z, 2 * radii[n], weights[n]);
        const Vector3F& normal = normals[n];
        const float s = 3 * e.xx;
        e.xy = s * normal.x * normal.y;
        e.xz = s * normal.x * normal.z;
        e.yz = s * normal.y * normal.z;
        e.xx += s * normal.x * normal.x;
        e.yy += s * normal.y * normal.y;
        e.zz += s * normal.z * normal.z;
        e.fitExtent();
        return e;
    }
};

constexpr EllipsoidKernel maximumKernel{SplatMerge::Maximum}, sumKernel{SplatMerge::Sum};
constexpr float lowest = -farValue;

}  // namespace

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    return setWeigthDistanceField(positions, radii, weights, margin, reach, 0.0f, threadCount, callback);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, float leastWeight, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    return setWeigthDistanceField(positions, radii, weights, margin, reach, leastWeight, double{farValue},
                                  threadCount, callback);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, float leastWeight, double largestReach, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const WeightedBalls balls{positions, radii, weights, reach, std::max(leastWeight, 0.0f), largestReach};
    return applyParticles(detail::buildingBy<Value, Coord>(
        detail::SplattedParticles{maximumKernel, balls.size(), margin, threadCount, callback, balls}));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthDistanceField_v2(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    return setWeigthDistanceField_v2(positions, radii, weights, margin, reach, lowest, threadCount, callback);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthDistanceField_v2(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, float leastWeight, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const WeightedBalls balls{positions, radii, weights, reach, leastWeight, double{farValue}};
    return applyParticles(detail::buildingBy<Value, Coord>(
        detail::SplattedParticles{sumKernel, balls.size(), margin, threadCount, callback, balls}));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setSubtractiveWeigthDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    return setSubtractiveWeigthDistanceField(positions, radii, weights, margin, reach, 0.0f, threadCount,
                                             callback);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setSubtractiveWeigthDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights, float margin,
    float reach, float leastWeight, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const WeightedBalls balls{positions,       radii, weights, reach, std::max(leastWeight, 0.0f),
                              double{farValue}};
    return applyParticles(detail::carvingBy<Value, Coord>(
        detail::SplattedParticles{maximumKernel, balls.size(), margin, threadCount, callback, balls},
        detail::carveDistance<Value>));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setWeigthNormalDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, const Array<Vector3F>& normals,
    const Array<float>& weights, float margin, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const FlattenedBalls balls{positions, radii, normals, weights};
    return applyParticles(detail::buildingBy<Value, Coord>(
        detail::SplattedParticles{maximumKernel, balls.size(), margin, threadCount, callback, balls}));
}

using Positions = Array<Vector3F>;
using Numbers = Array<float>;
#define TX_INSTANTIATE(Value, Coord)                                                                    \
    template bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(                              \
        const Positions&, const Numbers&, const Numbers&, float, float, uint32, CancelCallback);        \
    template bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(                              \
        const Positions&, const Numbers&, const Numbers&, float, float, float, uint32, CancelCallback); \
    template bool ScalarField3_base<Value, Coord>::setWeigthDistanceField(                              \
        const Positions&, const Numbers&, const Numbers&, float, float, float, double, uint32,          \
        CancelCallback);                                                                                \
    template bool ScalarField3_base<Value, Coord>::setWeigthDistanceField_v2(                           \
        const Positions&, const Numbers&, const Numbers&, float, float, uint32, CancelCallback);        \
    template bool ScalarField3_base<Value, Coord>::setWeigthDistanceField_v2(                           \
        const Positions&, const Numbers&, const Numbers&, float, float, float, uint32, CancelCallback); \
    template bool ScalarField3_base<Value, Coord>::setSubtractiveWeigthDistanceField(                   \
        const Positions&, const Numbers&, const Numbers&, float, float, uint32, CancelCallback);        \
    template bool ScalarField3_base<Value, Coord>::setSubtractiveWeigthDistanceField(                   \
        const Positions&, const Numbers&, const Numbers&, float, float, float, uint32, CancelCallback); \
    template bool ScalarField3_base<Value, Coord>::setWeigthNormalDistanceField(                        \
        const Positions&, const Numbers&, const Positions&, const Numbers&, float, uint32, CancelCallback);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
