#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/fields/detail/SplatChange.h>
#include <tavrix/fields/ScalarField3_base.h>

namespace tavrix
{

using detail::distanceKernel;
using detail::metaballKernel;

namespace
{

/// The balls of a call as numbered particles.
struct Balls
{
    const Array<Vector3F>& positions;
    const Array<float>& radii;

    uint32 size() const { return std::min(positions.size(), radii.size()); }
    detail::Particle operator()(uint32 n) const
    {
        return {positions[n].x, positions[n].y, positions[n].z, radii[n]};
    }
};

}  // namespace

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const Balls balls{positions, radii};
    return applyParticles(detail::buildingBy<Value, Coord>(
        detail::SplattedParticles{distanceKernel, balls.size(), margin, threadCount, callback, balls}));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setSubtractiveDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    const Balls balls{positions, radii};
    return applyParticles(detail::carvingBy<Value, Coord>(
        detail::SplattedParticles{distanceKernel, balls.size(), margin, threadCount, callback, balls},
        detail::carveDistance<Value>));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setMetaballField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, float influence,
    uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    const Balls balls{positions, radii};
    return applyParticles(detail::buildingBy<Value, Coord>(detail::SplattedParticles{
        metaballKernel(influence), balls.size(), margin, threadCount, callback, balls}));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setSubtractiveMetaballField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, float influence,
    uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    const Balls balls{positions, radii};
    return applyParticles(
        detail::carvingBy<Value, Coord>(detail::SplattedParticles{metaballKernel(influence), balls.size(),
                                                                  margin, threadCount, callback, balls},
                                        detail::carveSum<Value>));
}

#define TX_INSTANTIATE(Value, Coord)                                                        \
    template bool ScalarField3_base<Value, Coord>::setDistanceField(                        \
        const Array<Vector3F>&, const Array<float>&, float, uint32, CancelCallback);        \
    template bool ScalarField3_base<Value, Coord>::setSubtractiveDistanceField(             \
        const Array<Vector3F>&, const Array<float>&, float, uint32, CancelCallback);        \
    template bool ScalarField3_base<Value, Coord>::setMetaballField(                        \
        const Array<Vector3F>&, const Array<float>&, float, float, uint32, CancelCallback); \
    template bool ScalarField3_base<Value, Coord>::setSubtractiveMetaballField(             \
        const Array<Vector3F>&, const Array<float>&, float, float, uint32, CancelCallback);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
